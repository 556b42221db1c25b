#pragma once

#include <cmath>
#include <cstdint>
#include <string>

namespace TC {

/// At which price long and short net volume of a stock is valued.
struct ValuePrices {
    double price = 0.0;       ///< the newest price, for a net volume of 0 and for position values
    double longPrice = 0.0;   ///< for a net volume of 1 and more
    double shortPrice = 0.0;  ///< for a net volume below 0

    double of(std::int32_t net) const {
        return net < 0 ? shortPrice : net >= 1 ? longPrice : price;
    }
};

/// The day's trading range of a stock.
struct DayLimits {
    double up = 0.0;
    double down = 0.0;
};

/// A price this near to a limit is at the limit.
inline constexpr double LIMIT_TOLERANCE = 1e-5;

/// Whether the wider price limit of stocks under special treatment applies.
inline bool isSpecialTreatment(const std::string& stockKey) {
    return stockKey.find("ST") != std::string::npos;
}

/// The prices that value open volume. At limit-up nobody can buy a short position back:
/// it is valued one more limit step up. At limit-down nobody can sell a long position: it
/// is valued one more step down. `rate` is the daily limit as a fraction.
inline ValuePrices valuePrices(double price, const DayLimits* limits, double rate) {
    ValuePrices values{price, price, price};
    if (!limits) return values;
    if (std::fabs(limits->up - price) <= LIMIT_TOLERANCE) values.shortPrice = price + rate * price;
    if (std::fabs(limits->down - price) <= LIMIT_TOLERANCE) values.longPrice = price - rate * price;
    return values;
}

/// Net sold money less net bought money, plus the open volume at its value, less
/// commission.
inline double profitOf(std::int32_t net, double buyAmount, double sellAmount, double commission,
                       const ValuePrices& prices) {
    return net * prices.of(net) + (sellAmount - buyAmount) - commission;
}

inline double positionValueOf(std::int32_t net, double price) {
    return std::fabs(static_cast<double>(net)) * price;
}

}  // namespace TC
