#pragma once

#include <cstdint>

namespace TC {

/// One point of a profit and balance curve: the figures at the end of a minute.
/// Volumes are shares, money is yuan; all are totals since the start of the day.
struct PeriodPoint {
    double profit = 0.0;
    double positionValue = 0.0;
    std::int64_t buyVolume = 0;
    std::int64_t sellVolume = 0;
    double buyAmount = 0.0;
    double sellAmount = 0.0;
    double commission = 0.0;

    bool operator==(const PeriodPoint&) const = default;
};

}  // namespace TC
