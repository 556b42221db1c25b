#pragma once

#include "linkage/tape/step.h"

#include <memory>

namespace TC {

/// Logs the exception that is being handled, whatever it is. Call it in a catch clause.
void logThrown(const char* operation) noexcept;

/// Tells the tape of the step in hand that a signal is raised.
template <class Signal, class... Arguments>
void noteRaise(CStep& step, const char* operation, const Signal& signal,
               const Arguments&... arguments) {
    ITape::Signal raised{nullptr, operation, {}};
    if constexpr (requires { signal.num_slots(); }) raised.signal = std::addressof(signal);
    if constexpr (sizeof...(Arguments) > 0 && (requires { tapeValue(arguments); } && ...)) {
        const auto values = [&] { return std::vector<TapeValue>{tapeValue(arguments)...}; };
        raised.values = values;
        step.tape().raises(step, step.nextCall(), raised);
    } else {
        step.tape().raises(step, step.nextCall(), raised);
    }
}

/// Raises a signal, or calls a function that raises one, for the client's listeners. When a
/// listener throws, the exception is logged under the name `operation` and the raise ends; the
/// manager's work goes on.
template <class Signal, class... Arguments>
void raise(const char* operation, Signal&& signal, const Arguments&... arguments) noexcept {
    CStep* const step = CStep::current();
    const CStep::COutside outside(step);
    try {
        if (step) noteRaise(*step, operation, signal, arguments...);
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
