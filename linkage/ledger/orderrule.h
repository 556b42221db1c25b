#pragma once

#include "linkage/ledger/volume.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>

namespace TC {

/// The integer part of a double, limited to the range of 32 bits; NaN gives 0.
inline std::int32_t integerPart(double value) {
    if (!(value > std::numeric_limits<std::int32_t>::min())) {
        return value <= std::numeric_limits<std::int32_t>::min()
                   ? std::numeric_limits<std::int32_t>::min()
                   : 0;
    }
    if (value >= std::numeric_limits<std::int32_t>::max()) {
        return std::numeric_limits<std::int32_t>::max();
    }
    return static_cast<std::int32_t>(value);
}

/// The price step of a stock without instrument detail.
inline constexpr double DEFAULT_TICK = 0.001;

/// The price level at which an order's open lots count: the price in ticks, rounded. A
/// tick that is not above 0 counts as DEFAULT_TICK.
inline std::int32_t priceLevel(double price, double tick) {
    return integerPart(price / (tick > 0.0 ? tick : DEFAULT_TICK) + 0.5);
}

/// Open lots of an order: only reported (50) and partly filled (55) orders have any;
/// less than a lot, even nothing, counts as one.
inline std::int32_t openLots(int status, std::int32_t volume, std::int32_t traded,
                             std::int32_t unit) {
    if (status != 50 && status != 55) return 0;
    const std::int32_t remaining = wrapSub(volume, traded);
    if (remaining < unit) return 1;
    return integerPart(static_cast<double>(remaining) / unit + 0.5);
}

/// Relative distance of a price from the reference price. Nothing without a reference
/// price, or when the result is not finite.
inline std::optional<double> amplitude(double price, double reference) {
    if (reference == 0.0) return std::nullopt;
    const double distance = std::fabs(price - reference) / reference;
    return std::isfinite(distance) ? std::optional(distance) : std::nullopt;
}

/// What std::atoi reads of a time. Every deal brings one: six digits are read without a call.
inline int timeNumber(const std::string& hhmmss) {
    constexpr std::size_t USUAL = 6;
    if (hhmmss.size() != USUAL) return std::atoi(hhmmss.c_str());
    int number = 0;
    for (const char each : hhmmss) {
        const int digit = each - '0';
        if (digit < 0 || digit > 9) return std::atoi(hhmmss.c_str());
        number = 10 * number + digit;
    }
    return number;
}

/// The minute of the day in which a deal counts: the one that ends at or after its
/// time "hhmmss". -1 when the time cannot be read.
inline int dealMinute(int hhmmss) {
    if (hhmmss == 0) return -1;
    const int seconds = hhmmss % 100;
    return hhmmss / 10000 * 60 + hhmmss / 100 % 100 + (seconds >= 1 ? 1 : 0);
}

}  // namespace TC
