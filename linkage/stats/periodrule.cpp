#include "linkage/stats/periodrule.h"

#include "linkage/ledger/orderrule.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <set>

namespace TC {

namespace {

constexpr int DAY_END = 24 * 60;

}  // namespace

int tradingMinuteAt(int minute) {
    if (minute < FIRST_MINUTE) return 0;
    return isPauseMinute(minute) ? NOON_MINUTE : std::min(minute, LAST_MINUTE);
}

int priceMinute(int minute) {
    if (minute < AUCTION_MINUTE) return 0;
    return minute < FIRST_MINUTE ? AUCTION_MINUTE : tradingMinuteAt(minute);
}

int countTradingMinutes(int minute) {
    const int last = tradingMinuteAt(minute);
    if (last == 0) return 0;
    const int pause = last > NOON_MINUTE ? AFTERNOON_MINUTE - NOON_MINUTE - 1 : 0;
    return last - FIRST_MINUTE + 1 - pause;
}

DayMoment dayMoment(const std::string& now, const std::string& tradeDate) {
    const int order = now.compare(0, 8, tradeDate);
    if (order < 0) return {};
    if (order > 0) return {DAY_END, LAST_MINUTE};
    const int time = std::atoi(now.c_str() + 8);
    return {time / 10000 * 60 + time / 100 % 100, tradingMinuteAt(dealMinute(time))};
}

PeriodTotals totalsOf(const std::map<int, LinkagePeriodTradeData>& deals) {
    PeriodTotals totals;
    LinkagePeriodTradeData total;
    for (const auto& [minute, sum] : deals) {
        total += sum;
        totals.emplace_hint(totals.end(), minute, total);
    }
    return totals;
}

namespace {

bool hasTotals(const CurveStock& stock) { return stock.totals && !stock.totals->empty(); }
bool hasCloses(const CurveStock& stock) { return stock.closes && !stock.closes->empty(); }

bool hasTraded(const CurveStock& stock) {
    return stock.figures.buyVolume != 0 || stock.figures.sellVolume != 0;
}

std::vector<int> curveMinutes(const std::vector<CurveStock>& stocks, int running) {
    std::set<int> minutes;
    int first = std::numeric_limits<int>::max();
    int last = running;
    bool anything = false;
    for (const CurveStock& stock : stocks) {
        anything = anything || hasTotals(stock) || hasTraded(stock);
        if (!hasTotals(stock)) continue;
        first = std::min(first, stock.totals->begin()->first);
        for (const auto& [minute, total] : *stock.totals) {
            if (!isPauseMinute(minute)) minutes.insert(minute);
            // The exchange's clock may be ahead of ours.
            if (isTradingMinute(minute)) last = std::max(last, minute);
        }
    }
    for (int minute = std::max(first, FIRST_MINUTE); minute <= last; ++minute) {
        if (isTradingMinute(minute)) minutes.insert(minute);
    }
    if (minutes.empty() && anything && running > 0) minutes.insert(running);
    return {minutes.begin(), minutes.end()};
}

/// Finds the newest price of a list at or before minutes that come in their order.
class CNewestPrice {
public:
    using Prices = std::map<int, double>;

    explicit CNewestPrice(const Prices* prices, bool auctionsOnly = false)
        : m_bAuctionsOnly(auctionsOnly) {
        if (!prices) return;
        m_next = prices->begin();
        m_end = prices->end();
    }

    /// Null when the list begins later.
    const Prices::value_type* at(int minute) {
        for (; m_next != m_end && m_next->first <= minute; ++m_next) {
            if (!m_bAuctionsOnly || isAuctionMinute(m_next->first)) m_pFound = &*m_next;
        }
        return m_pFound;
    }

private:
    const bool m_bAuctionsOnly;
    Prices::const_iterator m_next;
    Prices::const_iterator m_end;
    const Prices::value_type* m_pFound = nullptr;
};

/// Walks one stock through the minutes of a curve, in their order.
class CStockWalk {
public:
    explicit CStockWalk(const CurveStock& stock)
        : m_stock(stock),
          m_bValued(hasCloses(stock) || stock.latest),
          m_closes(stock.closes),
          m_auctions(stock.traded, true),
          m_seen(stock.seen),
          m_traded(stock.traded) {
        if (m_bValued) setPrice(openingPrice());
    }

    void addMinute(int minute, PeriodPoint& point) {
        if (!hasTotals(m_stock)) return;
        const LinkagePeriodTradeData* const total = findPrevExtData(*m_stock.totals, minute);
        if (!total) return;
        moveTo(minute);
        addFigures(*total, point);
    }

    void addPresent(int minute, PeriodPoint& point) {
        const EffectiveFigures& now = m_stock.figures;
        if (m_stock.latest) {
            setPrice(*m_stock.latest);
        } else {
            moveTo(minute);
        }
        addFigures(
            {now.buyVolume, now.sellVolume, now.buyAmount, now.sellAmount, m_stock.commission},
            point);
    }

private:
    double openingPrice() const {
        if (m_stock.rule.reference > 0.0) return m_stock.rule.reference;
        return hasCloses(m_stock) ? m_stock.closes->begin()->second : *m_stock.latest;
    }

    void moveTo(int minute) {
        if (!m_bValued) return;
        const CNewestPrice::Prices::value_type* newest = nullptr;
        for (CNewestPrice* const prices : {&m_closes, &m_auctions, &m_seen}) {
            const auto* const found = prices->at(minute);
            if (found && (!newest || found->first > newest->first)) newest = found;
        }
        if (!newest) newest = m_traded.at(minute);
        if (newest && newest->second != m_prices.price) setPrice(newest->second);
    }

    void setPrice(double price) { m_prices = m_stock.rule.at(price); }

    void addFigures(const LinkagePeriodTradeData& total, PeriodPoint& point) const {
        point.buyVolume += total.m_nBuyVolume;
        point.sellVolume += total.m_nSellVolume;
        point.buyAmount += total.m_dBuyAmount;
        point.sellAmount += total.m_dSellAmount;
        point.commission += total.m_dCommission;
        if (!m_bValued) return;
        const auto net = static_cast<std::int32_t>(total.m_nBuyVolume - total.m_nSellVolume);
        point.profit +=
            profitOf(net, total.m_dBuyAmount, total.m_dSellAmount, total.m_dCommission, m_prices);
        point.positionValue += positionValueOf(net, m_prices.price);
    }

    const CurveStock& m_stock;
    const bool m_bValued;
    CNewestPrice m_closes;
    CNewestPrice m_auctions;
    CNewestPrice m_seen;
    CNewestPrice m_traded;
    ValuePrices m_prices;
};

}  // namespace

std::map<int, PeriodPoint> periodCurve(const std::vector<CurveStock>& stocks, int running) {
    const std::vector<int> minutes = curveMinutes(stocks, running);
    std::map<int, PeriodPoint> curve;
    if (minutes.empty()) return curve;
    std::vector<PeriodPoint> points(minutes.size());
    for (const CurveStock& stock : stocks) {
        CStockWalk walk(stock);
        for (std::size_t at = 0; at + 1 < minutes.size(); ++at) {
            walk.addMinute(minutes[at], points[at]);
        }
        walk.addPresent(minutes.back(), points.back());
    }
    for (std::size_t at = 0; at < minutes.size(); ++at) {
        curve.emplace_hint(curve.end(), minutes[at], points[at]);
    }
    return curve;
}

}  // namespace TC
