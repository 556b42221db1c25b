#pragma once

#include "desk/picture.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Which resting orders a chart shows, and what its axes must hold. Values in, values out.
namespace desk {

/// The resting orders of one price and side.
struct RestingLevel {
    double price = 0.0;
    bool buys = true;
    std::int64_t volume = 0;  ///< shares not traded yet

    bool operator==(const RestingLevel&) const = default;
};

/// Levels of the running orders that have a price: those nearest to `market` first, at
/// most `most` of them.
std::vector<RestingLevel> restingLevels(const std::vector<OrderRow>& orders, double market,
                                        std::size_t most);

/// The newest price of the chosen stock, else its reference price; 0 when none is known.
double marketPrice(const Picture& picture);

/// What the axes must hold. Without data `first` > `last`.
struct ChartRange {
    int first = 24 * 60;  ///< minutes
    int last = 0;
    double low = 0.0;  ///< prices
    double high = 1.0;
    double least = 0.0;  ///< profits; zero is always shown
    double most = 0.0;
};

/// Resting levels stretch the prices, but to no more than three times what was traded,
/// so that one far order does not press the curve flat.
ChartRange chartRange(const Picture& picture, const std::vector<RestingLevel>& levels);

}  // namespace desk
