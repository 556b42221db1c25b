#pragma once

#include "platform/export.h"

#include <cstdint>
#include <memory>

namespace utils {

class CWaits;

/// The one clock of the client. Nothing in the library, the client or the tests
/// reads another: "now", "today", timers and trade dates all follow it.
///
/// Threads: any. The clock must outlive everything that was armed on it.
class LINKAGE_PLATFORM_EXPORT IClock {
public:
    virtual ~IClock() = default;

    /// Microseconds since the epoch, UTC.
    virtual std::int64_t nowMicros() const = 0;

    /// Where timers wait on a clock that stands still until its owner moves it; the owner ends the
    /// waits that are due. Empty when time passes by itself: then timers wait in the engine.
    virtual std::shared_ptr<CWaits> waits() const { return {}; }
};

/// Puts a clock in place; null brings the machine's own clock back.
LINKAGE_PLATFORM_EXPORT void setClock(IClock* clock);

/// The clock in place.
LINKAGE_PLATFORM_EXPORT IClock& currentClock();

/// Seconds since the epoch, with fraction.
LINKAGE_PLATFORM_EXPORT double clock();

}  // namespace utils
