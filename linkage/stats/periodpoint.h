#pragma once

#include <cstdint>
#include <tuple>

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

    /// Every member, for comparisons.
    auto tied() const {
        return std::tie(profit, positionValue, buyVolume, sellVolume, buyAmount, sellAmount,
                        commission);
    }
    bool operator==(const PeriodPoint& other) const { return tied() == other.tied(); }
    bool operator!=(const PeriodPoint& other) const { return !(*this == other); }
};

}  // namespace TC
