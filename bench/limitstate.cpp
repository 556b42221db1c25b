#include "bench/limit.h"
#include "bench/ownlimit.h"

#include <QDateTime>

// What of the limit is not intake: its making, a pass, and its state in words.

namespace bench {

template <class Keeping>
CFlat<Keeping>::CFlat(const Workload& world)
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

template <class Keeping>
TC::ManagerState CFlat<Keeping>::state(const Workload& world,
                                       const std::function<Report(const KeptOrder&)>& orderOf,
                                       const std::function<Report(const KeptDeal&)>& dealOf) const {
    TC::ManagerState state;
    const int day =
        static_cast<int>(QDateTime::fromString(QString::fromStdString(world.tradeDate), "yyyyMMdd")
                             .toSecsSinceEpoch());
    state.tradeDate = world.tradeDate;
    state.orderDetails[day];
    state.dealDetails[day];
    const auto keyOf = [&](std::uint32_t account) { return world.accounts[account].key; };

    // A record of traded figures exists where an order or a deal was filed.
    std::vector<bool> seen(m_deals.size());
    for (const Order& kept : m_orders) {
        const Report report = orderOf(kept.report);
        const std::string& account = keyOf(report.account);
        const std::string& strategy = world.strategies[report.strategy];
        state.strategys.insert(strategy);
        state.orderDetails[day][world.stockKeys[kept.stock]][account][report.order->recordKey()] =
            report.order;
        state.orderPrices[strategy][account][static_cast<int>(kept.level % m_nLevels)] =
            m_lots[kept.level];
        seen[placeOf(kept.pair, kept.stock)] = true;
        seen[placeOf(kept.pair - report.strategy, kept.stock)] = true;
        for (const std::uint32_t name : {report.strategy, 0u}) {
            auto& running = state.runningOrders[account][world.strategies[name]];
            if (kept.place[0] != NOWHERE) running.insert(report.order->recordKey());
        }
    }
    for (const KeptDeal& kept : m_dealReports) {
        const Report report = dealOf(kept);
        const std::string& stock = world.stockKeys[report.stock];
        const std::uint32_t pair = pairOf(report.account, report.strategy);
        state.strategys.insert(world.strategies[report.strategy]);
        state.dealDetails[day][stock][keyOf(report.account)][report.deal->recordKey()] =
            report.deal;
        seen[placeOf(pair, report.stock)] = true;
        seen[placeOf(pair - report.strategy, report.stock)] = true;
        state.quoteRequests.insert(stock);
        state.latestPrices[stock] = m_latest[report.stock];
    }
    for (std::uint32_t stock = 0; stock < world.size.stocks; ++stock) {
        const std::string& stockKey = world.stockKeys[stock];
        for (std::uint32_t account = 0; account < m_nAccounts; ++account) {
            const std::size_t holding = stock * m_nAccounts + account;
            const std::string& key = keyOf(account);
            if (m_orderAmplitudes[holding] >= 0.0) {
                state.orderAmplitudes[stockKey][key] = m_orderAmplitudes[holding];
            }
            if (m_dealAmplitudes[holding] >= 0.0) {
                state.dealAmplitudes[stockKey][key] = m_dealAmplitudes[holding];
                const Day& totals = m_days[holding];
                state.buySellVolumes[day][stockKey][key] = {totals.boughtVolume, totals.soldVolume};
                state.buySellAmounts[day][stockKey][key] = {totals.boughtAmount, totals.soldAmount};
            }
        }
    }
    describeFigures(world, seen, state);
    return state;
}

template <class Keeping>
void CFlat<Keeping>::describeFigures(const Workload& world, const std::vector<bool>& seen,
                                     TC::ManagerState& state) const {
    for (std::uint32_t stock = 0; stock < world.size.stocks; ++stock) {
        const std::string& stockKey = world.stockKeys[stock];
        for (std::uint32_t account = 0; account < m_nAccounts; ++account) {
            const std::string& key = world.accounts[account].key;
            for (std::uint32_t strategy = 0; strategy < m_nStrategies; ++strategy) {
                const std::size_t place = placeOf(pairOf(account, strategy), stock);
                if (!seen[place]) continue;
                const Deals& deals = m_deals[place];
                auto record = TC::LinkagePeriodExtData::make();
                record->deals().m_nBuyVolume = deals.boughtVolume;
                record->deals().m_nSellVolume = deals.soldVolume;
                record->deals().m_dBuyAmount = deals.boughtAmount;
                record->deals().m_dSellAmount = deals.soldAmount;
                record->deals().m_dCommission = deals.commission;
                record->worth().m_dProfit = m_profits[place];
                record->worth().m_dPositionValue = m_values[place];
                record->m_buyVolumes.replace(0, m_sums[place].boughtVolume);
                record->m_sellVolumes.replace(0, m_sums[place].soldVolume);
                record->m_buyAmounts.replace(0.0, m_sums[place].boughtAmount);
                record->m_sellAmounts.replace(0.0, m_sums[place].soldAmount);
                const std::string& name = world.strategies[strategy];
                state.tradeStatDatas[key][name][stockKey] = record;
                for (std::uint32_t at = m_minutesOf[place]; at != NOWHERE;
                     at = m_minutes[at].older) {
                    const Minute& minute = m_minutes[at];
                    state.periodTrades[stockKey][key][name][minute.minute] = {
                        minute.boughtVolume, minute.soldVolume, minute.boughtAmount,
                        minute.soldAmount, minute.commission};
                }
            }
        }
    }
}

// In stock-key order, so that all programs add up the sums in the same order.
template <class Keeping>
void CFlat<Keeping>::revalue(const std::vector<bool>& renewed, std::vector<double>& sums) {
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

template class CFlat<ByNumber>;
template class CFlat<ByRecord>;
template class CFlat<NothingKept>;
template class CFlat<NoFigures>;
template class CFlat<NothingAtAll>;

}  // namespace bench
