#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace paper {

/// A price as a whole number of ten-thousandths of a yuan, as exchanges count them, so
/// that prices are compared and multiplied exactly.
using Price = std::int64_t;

inline constexpr double PRICES_PER_YUAN = 10000.0;

/// 0 for what is no number; sizes beyond 100 million yuan are cut off there.
inline Price toPrice(double yuan) {
    if (std::isnan(yuan)) return 0;
    return std::llround(std::clamp(yuan, -1e8, 1e8) * PRICES_PER_YUAN);
}

/// Exact as long as the amount stays below 900 billion yuan.
inline double toYuan(double amount) { return amount / PRICES_PER_YUAN; }
inline double toYuan(Price price) { return toYuan(static_cast<double>(price)); }

}  // namespace paper
