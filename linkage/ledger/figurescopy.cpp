#include "linkage/ledger/figurescopy.h"

#include "common/prefetch.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/selection.h"

#include <iterator>
#include <utility>

namespace TC {

using namespace ledger;

namespace {

/// The selected objects of a table; of all of them the order is that of their keys.
template <class Table>
std::vector<std::uint32_t> selectedIn(const Table& table, const std::set<std::string>& keys) {
    if (keys.empty()) return table.inOrder();
    std::vector<std::uint32_t> found;
    for (const std::string& key : keys) {
        if (const std::uint32_t at = table.find(key); at != NONE) found.push_back(at);
    }
    return found;
}

/// The place of each object in its order.
std::vector<std::uint32_t> placesOf(const std::vector<std::uint32_t>& order) {
    std::vector<std::uint32_t> places(order.size());
    for (std::uint32_t at = 0; at < order.size(); ++at) places[order[at]] = at;
    return places;
}

/// Sorts by one of the places; equal ones stay in their order. It counts: to compare would cost
/// many times as much.
template <class Place>
void sortBy(std::vector<Place>& places, std::uint32_t Place::*member, std::size_t values) {
    std::vector<std::size_t> next(values + 1);
    for (const Place& each : places) ++next[each.*member + 1];
    for (std::size_t at = 1; at < next.size(); ++at) next[at] += next[at - 1];
    std::vector<Place> sorted(places.size());
    for (const Place& each : places) sorted[next[each.*member]++] = each;
    places.swap(sorted);
}

}  // namespace

CLedger::CFiguresCopy::CFiguresCopy(CLedger& ledger, std::set<std::string> accountKeys,
                                    std::set<std::string> strategies,
                                    std::set<std::string> stockKeys)
    : CSlicedCopy(ledger.m_figureCopies),
      m_ledger(ledger),
      m_accountKeys(std::move(accountKeys)),
      m_strategyNames(std::move(strategies)),
      m_stockKeys(std::move(stockKeys)),
      m_bWithRest(selects(m_strategyNames, WHOLE_ACCOUNT)) {}

void CLedger::CFiguresCopy::begin() {
    m_accounts = selectedIn(m_ledger.m_accounts, m_accountKeys);
    m_strategies =
        selectedIn(m_ledger.m_strategies, m_bWithRest ? std::set<std::string>() : m_strategyNames);
    if (!m_stockKeys.empty()) m_stocks = selectedIn(m_ledger.m_stocks, m_stockKeys);
    m_nAccount = m_nStrategy = m_nRecord = 0;
    m_copied.clear();
}

bool CLedger::CFiguresCopy::copySome(std::size_t most) {
    for (; m_nAccount < m_accounts.size(); ++m_nAccount, m_nStrategy = 0) {
        const auto& pairs = m_ledger.m_accounts[m_accounts[m_nAccount]].pairs;
        for (; m_nStrategy < m_strategies.size(); ++m_nStrategy, m_nRecord = 0) {
            const std::uint32_t strategy = m_strategies[m_nStrategy];
            if (strategy >= pairs.size() || pairs[strategy] == NONE) continue;
            if (!copyPair(m_ledger.m_pairs[pairs[strategy]], most)) return false;
        }
    }
    return true;
}

// Records come through pointers, so the next ones are fetched while one is copied.
bool CLedger::CFiguresCopy::copyPair(const Pair& pair, std::size_t& most) {
    constexpr std::size_t NEAR = 6;
    constexpr std::size_t FAR = 12;
    const std::vector<Figures*>& all = pair.figures;
    const bool byStock = !m_stockKeys.empty();
    for (; m_nRecord < (byStock ? m_stocks.size() : all.size()); ++m_nRecord) {
        if (most == 0) return false;
        --most;
        if (byStock) {
            const Figures* const found = pair.index.find(m_stocks[m_nRecord]);
            if (found) copy(*found, pair.account, pair.strategy);
            continue;
        }
        if (m_nRecord + FAR < all.size()) utils::prefetchAll(all[m_nRecord + FAR]);
        if (m_nRecord + NEAR < all.size()) {
            const LinkagePeriodExtData& near = all[m_nRecord + NEAR]->record;
            utils::prefetch(&near.deals());
            utils::prefetch(&near.worth());
        }
        copy(*all[m_nRecord], pair.account, pair.strategy);
    }
    return true;
}

void CLedger::CFiguresCopy::copyAgain(const Figures* figures) {
    const Pair& pair = m_ledger.m_pairs[figures->pair];
    if (!selects(m_accountKeys, m_ledger.m_accounts[pair.account].key)) return;
    if (!m_bWithRest && !isSelected(pair.strategy)) return;
    if (!selects(m_stockKeys, m_ledger.m_stocks[figures->stock].key)) return;
    copy(*figures, pair.account, pair.strategy);
}

void CLedger::CFiguresCopy::copy(const Figures& figures, std::uint32_t account,
                                 std::uint32_t strategy) {
    m_copied.push_back(
        {account, figures.stock, strategy, valueOf(figures.record, m_ledger.m_bClientType3)});
}

bool CLedger::CFiguresCopy::isSelected(std::uint32_t strategy) const {
    return selects(m_strategyNames, m_ledger.m_strategies[strategy].key);
}

void CLedger::CFiguresCopy::takeNames() {
    m_accountOrder = m_ledger.m_accounts.inOrder();
    m_strategyOrder = m_ledger.m_strategies.inOrder();
    for (std::uint32_t at = 0; at < m_ledger.m_strategies.size(); ++at) {
        m_strategySelected.push_back(isSelected(at));
    }
    for (const std::uint32_t at : m_ledger.m_stocks.inOrder()) {
        const Stock& stock = m_ledger.m_stocks[at];
        m_stockOrder.push_back({at, &stock.key, stock.valuedPrice});
    }
}

std::vector<CLedger::CFiguresCopy::Place> CLedger::CFiguresCopy::inOrder() const {
    std::vector<std::uint32_t> stocks(m_stockOrder.size());
    for (std::uint32_t at = 0; at < m_stockOrder.size(); ++at) {
        stocks[m_stockOrder[at].stock] = at;
    }
    const std::vector<std::uint32_t> accounts = placesOf(m_accountOrder);
    const std::vector<std::uint32_t> strategies = placesOf(m_strategyOrder);
    std::vector<Place> places;
    places.reserve(m_copied.size());
    for (std::uint32_t at = 0; at < m_copied.size(); ++at) {
        const Copied& each = m_copied[at];
        places.push_back(
            {at, accounts[each.account], stocks[each.stock], strategies[each.strategy]});
    }
    sortBy(places, &Place::strategy, strategies.size());
    sortBy(places, &Place::stock, stocks.size());
    sortBy(places, &Place::account, accounts.size());
    return places;
}

void CLedger::CFiguresCopy::forEachStock(const VisitStock& visit) const {
    const std::vector<Place> places = inOrder();
    std::vector<Selected> records;
    for (auto at = places.begin(); at != places.end();) {
        const Place first = *at;
        const auto isSameStock = [&] {
            return at != places.end() && at->account == first.account && at->stock == first.stock;
        };
        records.clear();
        for (; isSameStock(); ++at) {
            // The same record once more is newer.
            const bool again = !records.empty() && std::prev(at)->strategy == at->strategy;
            if (again) records.pop_back();
            const Copied& each = m_copied[at->copied];
            records.push_back(
                {each.value, each.strategy == WHOLE_ACCOUNT_ID, m_strategySelected[each.strategy]});
        }
        const StockName& stock = m_stockOrder[first.stock];
        visit(*stock.key, stock.valuedPrice, records);
    }
}

}  // namespace TC
