#pragma once

namespace TC {

/// Logs the exception that is being handled, whatever it is. Call it in a catch clause.
void logThrown(const char* operation) noexcept;

/// Raises a signal, or calls whatever stands for one, for listeners of the client's. What
/// one of them throws is logged in the name of `operation` and ends the raise; the work
/// of the manager behind it goes on.
template <class Signal, class... Arguments>
void raise(const char* operation, Signal&& signal, const Arguments&... arguments) noexcept {
    try {
        signal(arguments...);
    } catch (...) {
        logThrown(operation);
    }
}

/// Does a part of some work. What a service of the client's throws is logged in the name of
/// `operation` and costs this part; what comes behind it goes on. False when it threw.
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
