#pragma once

#include <cstdint>
#include <tuple>

namespace TC {

/// One point of a profit and balance curve: the figures at the end of a minute.
/// Volumes are shares, money is yuan; all are totals since the start of the day.
struct PeriodPoint {
    double profit = 0.0;          ///< after commission
    double positionValue = 0.0;   ///< value of the open volume, however signed
    std::int64_t buyVolume = 0;   ///< shares bought
    std::int64_t sellVolume = 0;  ///< shares sold
    double buyAmount = 0.0;       ///< yuan paid for what was bought
    double sellAmount = 0.0;      ///< yuan received for what was sold
    double commission = 0.0;      ///< yuan

    /// Every member, for comparisons.
    auto tied() const {
        return std::tie(profit, positionValue, buyVolume, sellVolume, buyAmount, sellAmount,
                        commission);
    }
    /// Whether all members are equal.
    bool operator==(const PeriodPoint& other) const { return tied() == other.tied(); }
    /// Whether any member differs.
    bool operator!=(const PeriodPoint& other) const { return !(*this == other); }
};

}  // namespace TC
