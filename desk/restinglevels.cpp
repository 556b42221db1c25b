#include "desk/restinglevels.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace desk {

namespace {

/// The least room for resting orders, as a share of the price, when the price has hardly moved.
constexpr double LEAST_ROOM = 0.02;

struct Span {
    double low = 1e300;
    double high = -1e300;

    bool isEmpty() const { return low > high; }
    void hold(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
};

Span pricesOf(const Picture& picture, const std::vector<RestingLevel>& levels) {
    Span traded;
    if (picture.referencePrice > 0) traded.hold(picture.referencePrice);
    for (const auto& [minute, price] : picture.prices) traded.hold(price);
    for (const DealDot& dot : picture.dots) traded.hold(dot.price);
    Span shown = traded;
    const double room = std::max(traded.high - traded.low, LEAST_ROOM * std::fabs(traded.high));
    for (const RestingLevel& level : levels) {
        const bool near = level.price >= traded.low - room && level.price <= traded.high + room;
        if (traded.isEmpty() || near) shown.hold(level.price);
    }
    return shown;
}

}  // namespace

std::vector<RestingLevel> restingLevels(const std::vector<OrderRow>& orders, double market,
                                        std::size_t most) {
    std::map<std::pair<double, bool>, std::int64_t> resting;
    for (const OrderRow& order : orders) {
        const bool isLevel = order.running && std::isfinite(order.price) && order.price > 0;
        if (isLevel) resting[{order.price, order.buys}] += order.volume - order.traded;
    }
    std::vector<RestingLevel> levels;
    levels.reserve(resting.size());
    for (const auto& [level, volume] : resting)
        levels.push_back({level.first, level.second, volume});
    std::stable_sort(levels.begin(), levels.end(),
                     [market](const RestingLevel& left, const RestingLevel& right) {
                         return std::fabs(left.price - market) < std::fabs(right.price - market);
                     });
    levels.resize(std::min(levels.size(), most));
    return levels;
}

double marketPrice(const Picture& picture) {
    return picture.prices.empty() ? picture.referencePrice : picture.prices.rbegin()->second;
}

ChartRange chartRange(const Picture& picture, const std::vector<RestingLevel>& levels) {
    ChartRange range;
    const auto stretch = [&](int minute) {
        range.first = std::min(range.first, minute);
        range.last = std::max(range.last, minute);
    };
    for (const auto& [minute, price] : picture.prices) stretch(minute);
    for (const DealDot& dot : picture.dots) stretch(dot.minute);
    for (const auto& [minute, point] : picture.curve) {
        stretch(minute);
        range.least = std::min(range.least, point.profit);
        range.most = std::max(range.most, point.profit);
    }
    const Span prices = pricesOf(picture, levels);
    if (!prices.isEmpty()) {
        range.low = prices.low;
        range.high = prices.high;
    }
    return range;
}

}  // namespace desk
