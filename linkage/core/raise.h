#pragma once

namespace TC {

/// Logs the exception that is being handled, whatever it is. Call it in a catch clause.
void logThrown(const char* operation) noexcept;

/// Raises a signal, or calls a function that raises one, for the client's listeners. When a
/// listener throws, the exception is logged under the name `operation` and the raise ends; the
/// manager's work goes on.
template <class Signal, class... Arguments>
void raise(const char* operation, Signal&& signal, const Arguments&... arguments) noexcept {
    try {
        signal(arguments...);
    } catch (...) {
        logThrown(operation);
    }
}

/// Does one part of some work. When a service of the client throws, the exception is logged
/// under the name `operation` and only this part is lost; the caller goes on. False when it
/// threw.
template <class Work>
bool attempt(const char* operation, const Work& work) {
    try {
        work();
        return true;
    } catch (...) {
        logThrown(operation);
        return false;
    }
}

}  // namespace TC
