#include "common/prefetch.h"
#include "linkage/ledger/ledger.h"

namespace TC {

using namespace ledger;

void CLedger::prefetchPlaces(std::uint32_t accountAt, std::uint32_t stock, const Pair* pair) const {
    const Account& account = m_accounts[accountAt];
    if (stock < account.holdings.size() && account.holdings[stock] != NONE) {
        m_holdings.prefetch(account.holdings[stock]);
    }
    for (const Pair* const each : {pair, findPair(accountAt, WHOLE_ACCOUNT_ID)}) {
        if (each) each->index.prefetch(stock);
    }
}

void CLedger::prefetchOrder(const OrderStep& step, const vexservice::COrderDetail& order) const {
    m_accounts[step.account].orders.prefetch(utils::mixHash(order.recordKey()));
    const Pair* const pair = findPair(step.account, step.strategy);
    prefetchPlaces(step.account, step.stock, pair);
    if (!pair) return;
    pair->levelIndex.prefetch(utils::mixHash(static_cast<std::uint32_t>(step.level)));
    if (step.runs) return;
    // When an order leaves a running set, the last order of the set moves to its place.
    for (const Pair* const each : {pair, findPair(step.account, WHOLE_ACCOUNT_ID)}) {
        if (each && !each->running.empty()) {
            utils::prefetch(&m_orders[each->running.back()].placeRunning);
        }
    }
}

void CLedger::prefetchDeal(const DealReport& report) const {
    m_accounts[report.account].deals.prefetch(utils::mixHash(report.deal->recordKey()));
    prefetchPlaces(report.account, report.stock, findPair(report.account, report.strategy));
}

void CLedger::prefetchFigures(std::uint32_t account, std::uint32_t strategy,
                              std::uint32_t stock) const {
    for (const Pair* const each :
         {findPair(account, strategy), findPair(account, WHOLE_ACCOUNT_ID)}) {
        if (const Figures* const figures = each ? each->index.find(stock) : nullptr) {
            figures->prefetch();
        }
    }
}

void CLedger::prefetchEntry(const OrderStep& step) const {
    const OrderEntry& entry = m_orders[step.entry];
    if (entry.levelCell != NONE) m_levels.prefetch(entry.levelCell);
    utils::prefetch(step.previous.get());
}

}  // namespace TC
