#include "platform/utils/clock.h"

#include <atomic>
#include <chrono>

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

}  // namespace

void setClock(IClock* clock) { g_clock.store(clock ? clock : &g_machineClock); }

IClock& currentClock() { return *g_clock.load(std::memory_order_acquire); }

double clock() { return static_cast<double>(currentClock().nowMicros()) / 1e6; }

}  // namespace utils
