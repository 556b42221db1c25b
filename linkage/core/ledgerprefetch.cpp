#include "linkage/core/ledger.h"

namespace TC {

// What both kinds of reports touch. Gives the record of the account as a whole, which is
// near as a rule: every strategy's reports come by it.
const Figures* CLedger::prefetchPlaces(std::uint32_t accountAt, std::uint32_t stock,
                                       const Pair* pair) const {
    const Account& account = m_accounts[accountAt];
    if (stock < account.holdings.size() && account.holdings[stock] != NONE) {
        m_holdings.prefetch(account.holdings[stock]);
    }
    if (pair) pair->index.prefetch(stock);
    const Pair* const wide = findPair(accountAt, 0);
    const Figures* const figures = wide ? wide->index.find(stock) : nullptr;
    if (figures) __builtin_prefetch(figures);
    return figures;
}

void CLedger::prefetchOrder(const OrderStep& step, const vexservice::COrderDetail& order) const {
    m_accounts[step.account].orders.prefetch(mixHash(order.recordKey()));
    const Pair* const pair = findPair(step.account, step.strategy);
    prefetchPlaces(step.account, step.stock, pair);
    if (!pair) return;
    pair->levelIndex.prefetch(mixHash(static_cast<std::uint32_t>(step.level)));
    if (step.runs) return;
    // Who ends gives his place in the running set to the last one.
    for (const Pair* const each : {pair, findPair(step.account, 0)}) {
        if (each && !each->running.empty()) {
            __builtin_prefetch(&m_orders[each->running.back()].placeRunning);
        }
    }
}

void CLedger::prefetchEntry(const OrderStep& step) const {
    const OrderEntry& entry = m_orders[step.entry];
    if (entry.levelCell != NONE) m_levels.prefetch(entry.levelCell);
    if (entry.figures) {
        __builtin_prefetch(entry.figures);
    } else if (const Pair* const pair = findPair(step.account, step.strategy)) {
        __builtin_prefetch(pair->index.find(step.stock));
    }
    // Its counter, which stands right before a record that was made together with it.
    if (step.previous) __builtin_prefetch(reinterpret_cast<const char*>(step.previous.get()) - 24);
}

void CLedger::prefetchDeal(const DealStep& step, const vexservice::CDealDetail& deal) const {
    m_accounts[step.account].deals.prefetch(mixHash(deal.recordKey()));
    prefetchPlaces(step.account, step.stock, findPair(step.account, step.strategy));
}

}  // namespace TC
