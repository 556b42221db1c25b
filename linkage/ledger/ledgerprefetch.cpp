#include "common/prefetch.h"
#include "linkage/ledger/ledger.h"

#include <array>

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

// In three passes, so that each report's places are on their way while the others' are looked up.
void CLedger::prefetch(const ComingReports& reports) const {
    std::array<const Account*, LOOK_AHEAD> accounts{};
    const std::string* lastKey = nullptr;
    const Account* last = nullptr;
    for (std::size_t at = 0; at < reports.size(); ++at) {
        const auto& [accountKey, order, deal] = reports[at];
        if (!order && !deal) continue;
        if (accountKey != lastKey) {
            lastKey = accountKey;
            const std::uint32_t found = findAccount(*accountKey);
            last = found == NONE ? nullptr : &m_accounts[found];
        }
        accounts[at] = last;
        if (!last) continue;
        if (order) last->orders.prefetch(utils::mixHash(order->recordKey()));
        if (deal) last->deals.prefetch(utils::mixHash(deal->recordKey()));
    }
    std::array<const OrderEntry*, LOOK_AHEAD> entries{};
    for (std::size_t at = 0; at < reports.size(); ++at) {
        if (!accounts[at] || !reports[at].order) continue;
        const std::uint64_t hash = utils::mixHash(reports[at].order->recordKey());
        // The first of this hash: which key it has would have to be waited for.
        const std::uint32_t entry =
            accounts[at]->orders.find(hash, [](std::uint32_t) { return true; });
        if (entry == NONE) continue;
        entries[at] = &m_orders[entry];
        utils::prefetch(entries[at]);
        utils::prefetch(&entries[at]->pair);
    }
    for (const OrderEntry* const entry : entries) {
        if (!entry) continue;
        utils::prefetch(entry->report.get());
        if (entry->levelCell != NONE) m_levels.prefetch(entry->levelCell);
        if (entry->figures) utils::prefetch(entry->figures);
    }
}

}  // namespace TC
