#include "common/prefetch.h"
#include "linkage/ledger/ledger.h"

#include <array>

namespace TC {

using namespace ledger;

namespace {

// For prefetching, the first of a hash will do: which key it has would have to be waited for.
constexpr auto ANY = [](std::uint32_t) { return true; };

}  // namespace

CLedger::PairsOf CLedger::pairsOf(std::uint32_t account, std::uint32_t strategy) const {
    return {findPair(account, strategy), findPair(account, WHOLE_ACCOUNT_ID)};
}

// The look-ups at the end read what the beginning has asked for; all of it comes together.
void CLedger::prefetchOrder(OrderStep& step, const vexservice::COrderDetail& order) const {
    const PairsOf pairs = pairsOf(step.account, step.strategy);
    const Pair* const own = pairs[0];
    const std::uint64_t levelHash = utils::mixHash(static_cast<std::uint32_t>(step.level));
    utils::prefetch(step.holding);
    for (const Pair* const each : pairs) {
        if (each) each->index.prefetch(step.stock);
    }
    if (own) own->levelIndex.prefetch(levelHash);
    // When an order leaves a running set, the last order of the set moves to its place.
    for (const Pair* const each : pairs) {
        if (!step.runs && each && !each->running.empty()) {
            utils::prefetch(&m_orders[each->running.back()].placeRunning);
        }
    }

    step.entry = m_accounts[step.account].orders.find(utils::mixHash(order.recordKey()), ANY);
    if (step.entry != NONE) utils::prefetchAll(&m_orders[step.entry]);
    for (const Pair* const each : pairs) {
        if (each) utils::prefetch(each->index.find(step.stock));
    }
    if (step.entry != NONE || !own) return;
    const std::uint32_t level = own->levelIndex.find(levelHash, ANY);
    if (level != NONE) m_levels.prefetch(level);
}

void CLedger::prefetchDeal(const DealReport& report) const {
    utils::prefetch(report.holding);
    for (const Pair* const each : pairsOf(report.account, report.strategy)) {
        if (each) each->index.prefetch(report.stock);
    }
}

Figures* CLedger::findFigures(const DealStep& step) const {
    m_cells.prefetch(step.cell);
    const auto [own, wide] = pairsOf(step.account, step.strategy);
    Figures* const figures = own ? own->index.findForDeal(step.stock) : nullptr;
    if (figures) utils::prefetchAll(figures);
    if (wide) utils::prefetch(wide->index.findForDeal(step.stock));
    return figures;
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
        const std::uint32_t entry = accounts[at]->orders.find(hash, ANY);
        if (entry == NONE) continue;
        entries[at] = &m_orders[entry];
        utils::prefetchAll(entries[at]);
    }
    for (const OrderEntry* const entry : entries) {
        if (!entry) continue;
        utils::prefetch(entry->report.get());
        if (entry->levelCell != NONE) m_levels.prefetch(entry->levelCell);
        if (entry->figures) utils::prefetch(entry->figures);
    }
}

}  // namespace TC
