#include "paper/matching.h"

#include <algorithm>

namespace paper {

std::vector<CBook::Level> CBook::levelsOf(const std::vector<vexservice::CPriceLevel>& side) {
    std::vector<Level> levels;
    for (const vexservice::CPriceLevel& level : side) {
        const Price price = toPrice(level.m_dPrice);
        if (price > 0 && level.m_nVolume > 0) levels.push_back({price, level.m_nVolume});
    }
    return levels;
}

void CBook::quote(const vexservice::CPriceData& data) {
    m_last = data.hasLastPrice() ? toPrice(data.m_dLastPrice) : 0;
    m_asks = levelsOf(data.m_asks);
    m_bids = levelsOf(data.m_bids);
    m_bBook = !m_asks.empty() || !m_bids.empty();
}

std::vector<Fill> CBook::take(bool buys, std::optional<Price> limit, int volume) {
    const auto acceptable = [&](Price price) {
        return !limit || (buys ? price <= *limit : price >= *limit);
    };
    std::vector<Fill> fills;
    if (!m_bBook) {
        if (limit && m_last > 0 && acceptable(m_last)) fills.push_back({m_last, volume});
        return fills;
    }
    for (Level& level : buys ? m_asks : m_bids) {
        if (volume == 0) break;
        if (level.volume == 0 || !acceptable(level.price)) continue;
        const int taken = static_cast<int>(std::min<long long>(level.volume, volume));
        level.volume -= taken;
        volume -= taken;
        fills.push_back({level.price, taken});
    }
    return fills;
}

}  // namespace paper
