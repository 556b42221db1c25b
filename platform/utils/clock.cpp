#include "platform/utils/clock.h"

#include "platform/utils/deadlinetimer.h"

#include <atomic>
#include <chrono>
#include <limits>

namespace utils {

namespace {

class MachineClock final : public IClock {
public:
    std::int64_t nowMicros() const override {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    }
};

MachineClock g_machineClock;
std::atomic<IClock*> g_clock{&g_machineClock};
std::atomic<std::uint64_t> g_armed{0};

}  // namespace

void setClock(IClock* clock) { g_clock.store(clock ? clock : &g_machineClock); }

IClock& currentClock() { return *g_clock.load(std::memory_order_acquire); }

double clock() { return static_cast<double>(currentClock().nowMicros()) / 1e6; }

// "Now" sorts behind every timer that is due at this very moment, so that each of
// them counts as expired.
ClockTimeTraits::time_type ClockTimeTraits::now() {
    return {currentClock().nowMicros(), std::numeric_limits<std::uint64_t>::max()};
}

ClockTimeTraits::time_type ClockTimeTraits::add(const time_type& time,
                                                const duration_type& duration) {
    const std::int64_t due = time.micros + duration.total_microseconds();
    currentClock().noteDue(due);
    return {due, g_armed.fetch_add(1)};
}

ClockTimeTraits::duration_type ClockTimeTraits::subtract(const time_type& left,
                                                         const time_type& right) {
    return boost::posix_time::microseconds(left.micros - right.micros);
}

boost::posix_time::time_duration ClockTimeTraits::to_posix_duration(const duration_type& duration) {
    if (!currentClock().isVirtual()) return duration;
    const bool due = duration.total_microseconds() <= 0;
    return due ? duration_type() : boost::posix_time::hours(1);
}

}  // namespace utils
