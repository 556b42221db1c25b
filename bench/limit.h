#pragma once

#include "bench/workload.h"
#include "linkage/core/managerstate.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace bench {

/// The limit: the figures of the day's intake, kept as fast as we know how. Texts come as
/// ready-made integers, every place is an index into a flat array, and each report costs one hash
/// look-up of its record key. It assumes what the library may not assume: an order never changes
/// its stock, strategy, side or price, there is one day, no stock is excluded, nobody listens, no
/// other thread reads, and reports are kept by number.
class CLimit {
public:
    struct Deals {
        std::int32_t boughtVolume = 0;
        std::int32_t soldVolume = 0;
        double boughtAmount = 0.0;
        double soldAmount = 0.0;
        double commission = 0.0;
    };

    struct Orders {
        std::int32_t boughtVolume = 0;
        std::int32_t soldVolume = 0;
        double boughtAmount = 0.0;
        double soldAmount = 0.0;
    };

    struct Order {
        std::uint32_t report;
        std::uint32_t pair;
        std::uint32_t stock;
        std::uint32_t level;
        std::int32_t lots = 0;
        std::int32_t traded = 0;
        double amount = 0.0;
        std::uint32_t place[2] = {NOWHERE, NOWHERE};  ///< in the running sets
    };

    struct Minute {
        std::int32_t minute = 0;
        std::uint32_t older = NOWHERE;
        std::int64_t boughtVolume = 0;
        std::int64_t soldVolume = 0;
        double boughtAmount = 0.0;
        double soldAmount = 0.0;
        double commission = 0.0;
    };

    struct Day {
        std::int32_t boughtVolume = 0;
        std::int32_t soldVolume = 0;
        double boughtAmount = 0.0;
        double soldAmount = 0.0;
    };

    static constexpr std::uint32_t NOWHERE = 0xffffffffu;

    explicit CLimit(const Workload& world);

    void order(std::uint32_t number, const Report& report);
    void deal(std::uint32_t number, const Report& report);

    /// Revalues the records of the stocks that have a new price; the profit sum of every
    /// pair is then in `sums`.
    void revalue(const std::vector<bool>& renewed, std::vector<double>& sums);

    double profitOf(std::uint32_t account, std::uint32_t strategy, std::uint32_t stock) const {
        return m_profits[placeOf(pairOf(account, strategy), stock)];
    }

    /// In the form of the manager's state, for comparison.
    TC::ManagerState state(const Workload& world) const;

private:
    /// Record keys to numbers from 0 upwards.
    class CKeys {
    public:
        CKeys() : m_slots(1024) {}

        /// The number of the key; a new key gets the next one.
        std::uint32_t number(std::uint64_t key, bool& isNew) {
            for (std::size_t at = start(key);; at = (at + 1) & (m_slots.size() - 1)) {
                Slot& slot = m_slots[at];
                if (slot.key == key) {
                    isNew = false;
                    return slot.number;
                }
                if (slot.number != NOWHERE) continue;
                isNew = true;
                slot = {key, m_nUsed++};
                const std::uint32_t number = slot.number;
                if (m_nUsed * 2 > m_slots.size()) grow();
                return number;
            }
        }

    private:
        struct Slot {
            std::uint64_t key = 0;
            std::uint32_t number = NOWHERE;
        };
        std::size_t start(std::uint64_t key) const {
            return (key * 0x9e3779b97f4a7c15ull >> 20) & (m_slots.size() - 1);
        }
        void grow() {
            std::vector<Slot> old(m_slots.size() * 2);
            old.swap(m_slots);
            for (const Slot& slot : old) {
                if (slot.number == NOWHERE) continue;
                std::size_t at = start(slot.key);
                while (m_slots[at].number != NOWHERE) at = (at + 1) & (m_slots.size() - 1);
                m_slots[at] = slot;
            }
        }

        std::vector<Slot> m_slots;
        std::uint32_t m_nUsed = 0;
    };

    struct Terms {
        double tick, reference, limitUp, limitDown;
        int unit;
    };

    std::uint32_t pairOf(std::uint32_t account, std::uint32_t strategy) const {
        return account * m_nStrategies + strategy;
    }
    std::size_t placeOf(std::uint32_t pair, std::uint32_t stock) const {
        return static_cast<std::size_t>(stock) * m_nPairs + pair;
    }
    void describeFigures(const Workload& world, const std::vector<bool>& seen,
                         TC::ManagerState& state) const;
    void settle(Order& kept, const vexservice::COrderDetail& order, const Report& report);
    void setRunning(Order& kept, std::uint32_t number, std::uint32_t pair, int which, bool runs);
    Minute& minuteOf(std::size_t place, int minute);

    const std::uint32_t m_nStrategies;  ///< with the strategy ""
    const std::uint32_t m_nPairs;
    const std::uint32_t m_nAccounts;
    std::uint32_t m_nLevels = 0;

    std::vector<Terms> m_terms;
    std::vector<vexservice::CStkExchangeRateLimit> m_fees;
    std::vector<double> m_quotes;

    CKeys m_orderKeys;
    CKeys m_dealKeys;
    std::vector<Order> m_orders;
    std::vector<std::uint32_t> m_dealReports;
    std::vector<Deals> m_deals;              ///< by stock and pair
    std::vector<double> m_profits;           ///< likewise
    std::vector<double> m_values;            ///< likewise
    std::vector<Orders> m_sums;              ///< likewise
    std::vector<std::uint32_t> m_minutesOf;  ///< newest minute, likewise
    std::vector<Minute> m_minutes;
    std::vector<std::int32_t> m_lots;                   ///< by pair and level
    std::vector<std::vector<std::uint32_t>> m_running;  ///< by pair
    std::vector<double> m_orderAmplitudes;              ///< by stock and account; negative: none
    std::vector<double> m_dealAmplitudes;
    std::vector<Day> m_days;       ///< by stock and account
    std::vector<double> m_latest;  ///< by stock; 0: none
};

inline CLimit::CLimit(const Workload& world)
    : m_nStrategies(world.size.strategies + 1),
      m_nPairs(world.size.accounts * m_nStrategies),
      m_nAccounts(world.size.accounts),
      m_quotes(world.prices) {
    for (const auto& stock : world.stocks) {
        m_terms.push_back(
            {stock.tick, stock.reference, stock.limitUp, stock.limitDown, stock.unit});
        m_nLevels = std::max(m_nLevels, static_cast<std::uint32_t>(stock.limitUp / stock.tick) + 2);
    }
    for (const auto& account : world.accounts) m_fees.push_back(*account.fee);
    const std::size_t places = static_cast<std::size_t>(m_nPairs) * world.size.stocks;
    const std::size_t holdings = static_cast<std::size_t>(m_nAccounts) * world.size.stocks;
    m_deals.resize(places);
    m_profits.resize(places);
    m_values.resize(places);
    m_sums.resize(places);
    m_minutesOf.resize(places, NOWHERE);
    m_lots.resize(static_cast<std::size_t>(m_nPairs) * m_nLevels);
    m_running.resize(m_nPairs);
    m_orderAmplitudes.resize(holdings, -1.0);
    m_dealAmplitudes.resize(holdings, -1.0);
    m_days.resize(holdings);
    m_latest.resize(world.size.stocks);
}

inline void CLimit::order(std::uint32_t number, const Report& report) {
    const vexservice::COrderDetail& order = *report.order;
    bool isNew = false;
    const std::uint32_t at = m_orderKeys.number(order.m_nRecordKey, isNew);
    if (isNew) {
        const Terms& terms = m_terms[report.stock];
        Order fresh;
        fresh.pair = pairOf(report.account, report.strategy);
        fresh.stock = report.stock;
        fresh.level =
            fresh.pair * m_nLevels + static_cast<std::uint32_t>(order.m_dPrice / terms.tick + 0.5);
        m_orders.push_back(fresh);
        double& amplitude = m_orderAmplitudes[report.stock * m_nAccounts + report.account];
        amplitude =
            std::max(amplitude, std::fabs(order.m_dPrice - terms.reference) / terms.reference);
    }
    Order& kept = m_orders[at];
    kept.report = number;
    settle(kept, order, report);
    const bool runs = vexservice::isRunningStatus(order.m_eStatus);
    setRunning(kept, at, kept.pair, 0, runs);
    setRunning(kept, at, kept.pair - report.strategy, 1, runs);
}

inline void CLimit::settle(Order& kept, const vexservice::COrderDetail& order,
                           const Report& report) {
    std::int32_t lots = 0;
    if (order.m_eStatus == vexservice::STATUS_REPORTED ||
        order.m_eStatus == vexservice::STATUS_PART_SUCC) {
        const int unit = m_terms[report.stock].unit;
        const int left = order.m_nVolume - order.m_nTradedVolume;
        lots = left < unit ? 1 : static_cast<int>(static_cast<double>(left) / unit + 0.5);
    }
    m_lots[kept.level] += lots - kept.lots;
    kept.lots = lots;
    const std::int32_t volume = order.m_nTradedVolume - kept.traded;
    const double amount = order.m_dTradedAmount - kept.amount;
    Orders& own = m_sums[placeOf(kept.pair, report.stock)];
    Orders& wide = m_sums[placeOf(kept.pair - report.strategy, report.stock)];
    if (order.m_eDirection == vexservice::ENTRUST_BUY) {
        own.boughtVolume += volume;
        own.boughtAmount += amount;
        wide.boughtVolume += volume;
        wide.boughtAmount += amount;
    } else {
        own.soldVolume += volume;
        own.soldAmount += amount;
        wide.soldVolume += volume;
        wide.soldAmount += amount;
    }
    kept.traded = order.m_nTradedVolume;
    kept.amount = order.m_dTradedAmount;
}

inline void CLimit::setRunning(Order& kept, std::uint32_t number, std::uint32_t pair, int which,
                               bool runs) {
    std::vector<std::uint32_t>& running = m_running[pair];
    std::uint32_t& place = kept.place[which];
    if (runs == (place != NOWHERE)) return;
    if (runs) {
        place = static_cast<std::uint32_t>(running.size());
        running.push_back(number);
        return;
    }
    const std::uint32_t last = running.back();
    running[place] = last;
    m_orders[last].place[which] = place;
    running.pop_back();
    place = NOWHERE;
}

inline CLimit::Minute& CLimit::minuteOf(std::size_t place, int minute) {
    for (std::uint32_t at = m_minutesOf[place]; at != NOWHERE; at = m_minutes[at].older) {
        if (m_minutes[at].minute == minute) return m_minutes[at];
    }
    Minute fresh;
    fresh.minute = minute;
    fresh.older = m_minutesOf[place];
    m_minutesOf[place] = static_cast<std::uint32_t>(m_minutes.size());
    return m_minutes.emplace_back(fresh);
}

inline void CLimit::deal(std::uint32_t number, const Report& report) {
    const vexservice::CDealDetail& deal = *report.deal;
    bool isNew = false;
    const std::uint32_t at = m_dealKeys.number(deal.m_nRecordKey, isNew);
    if (!isNew) {
        m_dealReports[at] = number;
        return;
    }
    m_dealReports.push_back(number);
    const Terms& terms = m_terms[report.stock];
    const std::size_t holding = report.stock * m_nAccounts + report.account;
    double& amplitude = m_dealAmplitudes[holding];
    amplitude = std::max(amplitude, std::fabs(deal.m_dPrice - terms.reference) / terms.reference);

    const vexservice::CStkExchangeRateLimit& fee = m_fees[report.account];
    const bool buys = deal.m_eDirection == vexservice::ENTRUST_BUY;
    const double commission = std::max(fee.m_dRate * deal.m_dAmount, fee.m_dMinimum) +
                              fee.m_dTransfer * deal.m_dAmount +
                              (buys ? 0.0 : fee.m_dStamp * deal.m_dAmount);
    const char* const digits = deal.m_strTradeTime.data();
    const auto two = [&](int from) { return (digits[from] - '0') * 10 + digits[from + 1] - '0'; };
    const int minute = two(0) * 60 + two(2) + (two(4) >= 1 ? 1 : 0);

    const std::uint32_t pair = pairOf(report.account, report.strategy);
    const std::size_t own = placeOf(pair, report.stock);
    const std::size_t wide = placeOf(pair - report.strategy, report.stock);
    const auto count = [&](auto& totals) {
        (buys ? totals.boughtVolume : totals.soldVolume) += deal.m_nVolume;
        (buys ? totals.boughtAmount : totals.soldAmount) += deal.m_dAmount;
    };
    count(m_days[holding]);
    Minute& period = minuteOf(own, minute);
    count(period);
    period.commission += commission;
    count(m_deals[own]);
    m_deals[own].commission += commission;
    count(m_deals[wide]);
    m_deals[wide].commission += commission;
    m_latest[report.stock] = m_quotes[report.stock];
}

// In stock-key order, so that all three programs add up the sums in the same order.
inline void CLimit::revalue(const std::vector<bool>& renewed, std::vector<double>& sums) {
    constexpr double STEP = 0.1;  // a price limit of 10 %
    sums.assign(m_nPairs, 0.0);
    for (std::uint32_t stock = 0; stock < m_terms.size(); ++stock) {
        double* const profits = m_profits.data() + placeOf(0, stock);
        if (renewed[stock]) {
            const Deals* const deals = m_deals.data() + placeOf(0, stock);
            double* const values = m_values.data() + placeOf(0, stock);
            const double last = m_quotes[stock];
            const bool up = std::fabs(m_terms[stock].limitUp - last) <= 1e-5;
            const bool down = std::fabs(m_terms[stock].limitDown - last) <= 1e-5;
            const double longPrice = down ? last - STEP * last : last;
            const double shortPrice = up ? last + STEP * last : last;
            for (std::uint32_t pair = 0; pair < m_nPairs; ++pair) {
                const Deals& figures = deals[pair];
                const std::int32_t net = figures.boughtVolume - figures.soldVolume;
                const double price = net < 0 ? shortPrice : net >= 1 ? longPrice : last;
                profits[pair] =
                    price * net + (figures.soldAmount - figures.boughtAmount) - figures.commission;
                values[pair] = std::abs(net) * last;
            }
        }
        for (std::uint32_t pair = 0; pair < m_nPairs; ++pair) sums[pair] += profits[pair];
    }
}

}  // namespace bench
