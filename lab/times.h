#pragma once

#include "platform/utils/clock.h"

#include <cstdint>

namespace lab {

// Microseconds.
inline constexpr std::int64_t MILLI = 1'000;
inline constexpr std::int64_t SECOND = 1'000'000;
/// So long a balance cancels at most.
inline constexpr std::int64_t LONGEST_CANCELLING = 30 * SECOND;
/// So long after it was sent an order that nobody has heard of may be taken for lost.
inline constexpr std::int64_t LOST_AFTER = 60 * SECOND;

inline std::int64_t now() { return utils::currentClock().nowMicros(); }

}  // namespace lab
