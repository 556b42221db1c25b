#pragma once

#include "bench/recordkeys.h"
#include "bench/workload.h"
#include "linkage/core/managerstate.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

namespace bench {

/// The figures of the day's intake, kept as fast as we know how. Texts come as ready-made integers,
/// every place is an index into a flat array, and each report costs one hash look-up of its record
/// key. It assumes what the library may not assume: an order never changes its stock, strategy,
/// side or price, there is one day, no stock is excluded, nobody listens, and no other thread
/// reads.
///
/// `Keeping` says what is kept of an order's and a deal's report, and whether figures are derived.
template <class Keeping>
class CFlat {
public:
    using KeptOrder = typename Keeping::Order;
    using KeptDeal = typename Keeping::Deal;

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
        KeptOrder report{};
        std::uint32_t pair = 0;
        std::uint32_t stock = 0;
        std::uint32_t level = 0;
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

    explicit CFlat(const Workload& world);

    /// Tells the processor early which record comes.
    void prefetch(const vexservice::COrderDetail& order) const {
        m_orderKeys.prefetch(order.m_nRecordKey);
    }
    void prefetch(const vexservice::CDealDetail& deal) const {
        m_dealKeys.prefetch(deal.m_nRecordKey);
    }

    /// Whether it is the first report of its record.
    bool order(const KeptOrder& report, const vexservice::COrderDetail& order, const Ids& ids);
    bool deal(const KeptDeal& report, const vexservice::CDealDetail& deal, const Ids& ids);

    /// Revalues the records of the stocks that have a new price; the profit sum of every
    /// pair is then in `sums`.
    void revalue(const std::vector<bool>& renewed, std::vector<double>& sums);

    double profitOf(std::uint32_t account, std::uint32_t strategy, std::uint32_t stock) const {
        return m_profits[placeOf(pairOf(account, strategy), stock)];
    }

    /// In the form of the manager's state, for comparison. The two functions give the report that
    /// is kept, with its integers.
    TC::ManagerState state(const Workload& world,
                           const std::function<Report(const KeptOrder&)>& orderOf,
                           const std::function<Report(const KeptDeal&)>& dealOf) const;

private:
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
    void settle(Order& kept, const vexservice::COrderDetail& order, const Ids& ids);
    void setRunning(Order& kept, std::uint32_t number, std::uint32_t pair, int which, bool runs);
    Minute& minuteOf(std::size_t place, int minute);

    const std::uint32_t m_nStrategies;  ///< with the strategy ""
    const std::uint32_t m_nPairs;
    const std::uint32_t m_nAccounts;
    std::uint32_t m_nLevels = 0;

    std::vector<Terms> m_terms;
    std::vector<vexservice::CStkExchangeRateLimit> m_fees;
    std::vector<double> m_quotes;

    CRecordKeys m_orderKeys;
    CRecordKeys m_dealKeys;
    std::vector<Order> m_orders;
    std::vector<KeptDeal> m_dealReports;
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

template <class Keeping>
bool CFlat<Keeping>::order(const KeptOrder& report, const vexservice::COrderDetail& order,
                           const Ids& ids) {
    bool isNew = false;
    const std::uint32_t at = m_orderKeys.number(order.m_nRecordKey, isNew);
    if (isNew) {
        const Terms& terms = m_terms[ids.stock];
        Order fresh;
        fresh.pair = pairOf(ids.account, ids.strategy);
        fresh.stock = ids.stock;
        fresh.level =
            fresh.pair * m_nLevels + static_cast<std::uint32_t>(order.m_dPrice / terms.tick + 0.5);
        m_orders.push_back(fresh);
        if constexpr (Keeping::FIGURES) {
            double& amplitude = m_orderAmplitudes[ids.stock * m_nAccounts + ids.account];
            amplitude =
                std::max(amplitude, std::fabs(order.m_dPrice - terms.reference) / terms.reference);
        }
    }
    Order& kept = m_orders[at];
    kept.report = report;
    if constexpr (!Keeping::FIGURES) return isNew;
    settle(kept, order, ids);
    const bool runs = vexservice::isRunningStatus(order.m_eStatus);
    setRunning(kept, at, kept.pair, 0, runs);
    setRunning(kept, at, kept.pair - ids.strategy, 1, runs);
    return isNew;
}

template <class Keeping>
void CFlat<Keeping>::settle(Order& kept, const vexservice::COrderDetail& order, const Ids& ids) {
    std::int32_t lots = 0;
    if (order.m_eStatus == vexservice::STATUS_REPORTED ||
        order.m_eStatus == vexservice::STATUS_PART_SUCC) {
        const int unit = m_terms[ids.stock].unit;
        const int left = order.m_nVolume - order.m_nTradedVolume;
        lots = left < unit ? 1 : static_cast<int>(static_cast<double>(left) / unit + 0.5);
    }
    m_lots[kept.level] += lots - kept.lots;
    kept.lots = lots;
    const std::int32_t volume = order.m_nTradedVolume - kept.traded;
    const double amount = order.m_dTradedAmount - kept.amount;
    Orders& own = m_sums[placeOf(kept.pair, ids.stock)];
    Orders& wide = m_sums[placeOf(kept.pair - ids.strategy, ids.stock)];
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

template <class Keeping>
void CFlat<Keeping>::setRunning(Order& kept, std::uint32_t number, std::uint32_t pair, int which,
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

template <class Keeping>
typename CFlat<Keeping>::Minute& CFlat<Keeping>::minuteOf(std::size_t place, int minute) {
    for (std::uint32_t at = m_minutesOf[place]; at != NOWHERE; at = m_minutes[at].older) {
        if (m_minutes[at].minute == minute) return m_minutes[at];
    }
    Minute fresh;
    fresh.minute = minute;
    fresh.older = m_minutesOf[place];
    m_minutesOf[place] = static_cast<std::uint32_t>(m_minutes.size());
    return m_minutes.emplace_back(fresh);
}

template <class Keeping>
bool CFlat<Keeping>::deal(const KeptDeal& report, const vexservice::CDealDetail& deal,
                          const Ids& ids) {
    bool isNew = false;
    const std::uint32_t at = m_dealKeys.number(deal.m_nRecordKey, isNew);
    if (!isNew) {
        m_dealReports[at] = report;
        return false;
    }
    m_dealReports.push_back(report);
    if constexpr (!Keeping::FIGURES) return true;
    const Terms& terms = m_terms[ids.stock];
    const std::size_t holding = ids.stock * m_nAccounts + ids.account;
    double& amplitude = m_dealAmplitudes[holding];
    amplitude = std::max(amplitude, std::fabs(deal.m_dPrice - terms.reference) / terms.reference);

    const vexservice::CStkExchangeRateLimit& fee = m_fees[ids.account];
    const bool buys = deal.m_eDirection == vexservice::ENTRUST_BUY;
    const double commission = std::max(fee.m_dRate * deal.m_dAmount, fee.m_dMinimum) +
                              fee.m_dTransfer * deal.m_dAmount +
                              (buys ? 0.0 : fee.m_dStamp * deal.m_dAmount);
    const char* const digits = deal.m_strTradeTime.data();
    const auto two = [&](int from) { return (digits[from] - '0') * 10 + digits[from + 1] - '0'; };
    const int minute = two(0) * 60 + two(2) + (two(4) >= 1 ? 1 : 0);

    const std::uint32_t pair = pairOf(ids.account, ids.strategy);
    const std::size_t own = placeOf(pair, ids.stock);
    const std::size_t wide = placeOf(pair - ids.strategy, ids.stock);
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
    m_latest[ids.stock] = m_quotes[ids.stock];
    return true;
}

/// The limit keeps reports by number.
struct ByNumber {
    using Order = std::uint32_t;
    using Deal = std::uint32_t;
    static constexpr bool FIGURES = true;
};

using CLimit = CFlat<ByNumber>;

}  // namespace bench
