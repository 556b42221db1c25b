#pragma once

#include "platform/export.h"

#include <cstdint>

namespace utils {

/// The one clock of the client. Nothing in the library, the client or the tests
/// reads another: "now", "today", timers and trade dates all follow it.
///
/// Threads: any. The clock must outlive everything that was armed on it.
class PLATFORM_EXPORT IClock {
public:
    virtual ~IClock() = default;

    /// Microseconds since the epoch, UTC.
    virtual std::int64_t nowMicros() const = 0;

    /// True when the clock stands still between moves made by its owner; timers
    /// then never sleep, and their due times are announced through noteDue().
    virtual bool isVirtual() const { return false; }
    virtual void noteDue(std::int64_t /*dueMicros*/) {}
};

/// Puts a clock in place; null brings the machine's own clock back.
PLATFORM_EXPORT void setClock(IClock* clock);

/// The clock in place.
PLATFORM_EXPORT IClock& currentClock();

/// Seconds since the epoch, with fraction.
PLATFORM_EXPORT double clock();

}  // namespace utils
