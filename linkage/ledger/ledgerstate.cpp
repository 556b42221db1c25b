#include "linkage/ledger/ledger.h"

namespace TC {

namespace {

template <class Arena, class Records>
void fill(const Arena& entries, std::uint32_t first, Records& records) {
    for (std::uint32_t at = first; at != NONE; at = entries[at].nextInCell) {
        records.emplace(entries[at].key, entries[at].report);
    }
}

}  // namespace

void CLedger::describe(LedgerState& state) const {
    state.strategys = strategies();
    state.taskDetails = m_taskDetails;
    state.positions = m_positions;
    state.runningTasks = m_runningTasks.keys();
    for (const auto& [day, stocks] : m_days) {
        if (stocks.asked) state.orderDetails[day], state.dealDetails[day];
        for (const auto stock : stocks.orders) state.orderDetails[day][m_stocks[stock].key];
        for (const auto stock : stocks.deals) state.dealDetails[day][m_stocks[stock].key];
        for (const auto stock : stocks.totals) {
            state.buySellVolumes[day][m_stocks[stock].key];
            state.buySellAmounts[day][m_stocks[stock].key];
        }
    }
    for (const Stock& stock : m_stocks) {
        if (stock.hasOrderAmplitudes) state.orderAmplitudes[stock.key];
        if (stock.hasDealAmplitudes) state.dealAmplitudes[stock.key];
        if (stock.hasPeriods) state.periodTrades[stock.key];
    }
    for (const std::uint32_t at : m_newPrices) {
        state.latestPrices[m_stocks[at].key] = *m_stocks[at].lastPrice;
    }
    for (const Strategy& strategy : m_strategies) {
        if (strategy.hasLevels) state.orderPrices[strategy.key];
    }
    for (const Account& account : m_accounts) describeAccount(account, state);
}

void CLedger::describeAccount(const Account& account, LedgerState& state) const {
    for (const std::uint32_t at : account.cells) {
        const Cell& cell = m_cells[at];
        const std::string& stock = m_stocks[cell.stock].key;
        if (cell.hasOrders) {
            fill(m_orders, cell.firstOrder, state.orderDetails[cell.day][stock][account.key]);
        }
        if (cell.hasDeals) {
            fill(m_deals, cell.firstDeal, state.dealDetails[cell.day][stock][account.key]);
        }
        if (cell.hasTotals) {
            const DayTotals& totals = cell.totals;
            state.buySellVolumes[cell.day][stock][account.key] = {totals.boughtVolume,
                                                                  totals.soldVolume};
            state.buySellAmounts[cell.day][stock][account.key] = {totals.boughtAmount,
                                                                  totals.soldAmount};
        }
    }
    for (std::uint32_t stock = 0; stock < account.holdings.size(); ++stock) {
        if (account.holdings[stock] == NONE) continue;
        const Holding& held = m_holdings[account.holdings[stock]];
        const std::string& key = m_stocks[stock].key;
        if (held.hasOrderAmplitude) state.orderAmplitudes[key][account.key] = held.orderAmplitude;
        if (held.hasDealAmplitude) state.dealAmplitudes[key][account.key] = held.dealAmplitude;
    }
    for (const std::uint32_t at : account.pairs) {
        if (at != NONE) describePair(m_pairs[at], state);
    }
}

void CLedger::describePair(const Pair& pair, LedgerState& state) const {
    const std::string& account = m_accounts[pair.account].key;
    const std::string& strategy = m_strategies[pair.strategy].key;
    if (pair.hasRunning) {
        auto& keys = state.runningOrders[account][strategy];
        for (const std::uint32_t at : pair.running) keys.insert(m_orders[at].key);
    }
    for (std::uint32_t at = pair.firstLevel; at != NONE; at = m_levels[at].nextOfPair) {
        state.orderPrices[strategy][account][m_levels[at].level] = m_levels[at].lots;
    }
    for (Figures* const figures : pair.figures) {
        const std::string& stock = m_stocks[figures->stock].key;
        state.tradeStatDatas[account][strategy][stock] = figures->share();
        forEachMinute(*figures, [&](int minute, const LinkagePeriodTradeData& deals) {
            state.periodTrades[stock][account][strategy][minute] = deals;
        });
    }
}

}  // namespace TC
