#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/selection.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace TC {

using namespace ledger;

namespace {

/// The selected objects of a table in the order of their keys.
template <class Table>
std::vector<std::uint32_t> selectedInOrder(const Table& table, const std::set<std::string>& keys) {
    if (keys.empty()) return table.inOrder();
    std::vector<std::uint32_t> found;
    for (const std::string& key : keys) {
        if (const std::uint32_t at = table.find(key); at != NONE) found.push_back(at);
    }
    return found;
}

/// Puts the records of one account into the order of their stocks. It counts the records
/// of each stock; sorting would compare texts and cost many times as much.
class CStockOrder {
public:
    using Record = CLedger::Selected;

    CStockOrder(std::vector<std::uint32_t> stocks, std::uint32_t known)
        : m_stocks(std::move(stocks)), m_places(known) {
        for (const std::uint32_t stock : m_stocks) m_places[stock].selected = true;
    }

    /// Adds the selected records of a strategy; strategies come in their order.
    void add(const Pair& pair, bool selected) {
        const bool wide = pair.strategy == WHOLE_ACCOUNT_ID;
        if (m_stocks.size() < pair.figures.size()) {
            for (const std::uint32_t stock : m_stocks) {
                if (const Figures* const found = pair.index.find(stock)) {
                    add({found, wide, selected});
                }
            }
            return;
        }
        for (const Figures* const figures : pair.figures) {
            if (m_places[figures->stock].selected) add({figures, wide, selected});
        }
    }

    /// Visits the stocks in their order, each with its records, and forgets them.
    template <class Visit>
    void takeAll(Visit visit) {
        if (m_records.empty()) return;
        std::size_t next = 0;
        for (const std::uint32_t stock : m_stocks) {
            m_places[stock].next = next;
            next += m_places[stock].count;
        }
        m_inOrder.resize(m_records.size());
        for (const Record& each : m_records) m_inOrder[m_places[each.figures->stock].next++] = each;
        m_records.clear();
        for (const std::uint32_t stock : m_stocks) {
            const std::size_t count = std::exchange(m_places[stock].count, 0);
            const std::size_t end = m_places[stock].next;
            if (count > 0) visit(stock, std::span<const Record>(&m_inOrder[end - count], count));
        }
    }

private:
    struct Place {
        std::size_t next = 0;
        std::size_t count = 0;
        bool selected = false;
    };

    void add(const Record& record) {
        ++m_places[record.figures->stock].count;
        m_records.push_back(record);
    }

    const std::vector<std::uint32_t> m_stocks;
    std::vector<Place> m_places;
    std::vector<Record> m_records;
    std::vector<Record> m_inOrder;
};

}  // namespace

std::map<std::string, const Figures*> CLedger::figuresOfStock(const std::string& accountKey,
                                                              const std::string& stockKey) const {
    std::map<std::string, const Figures*> result;
    const std::uint32_t account = findAccount(accountKey);
    const std::uint32_t stock = findStock(stockKey);
    if (account == NONE || stock == NONE) return result;
    for (const std::uint32_t at : m_accounts[account].pairs) {
        if (at == NONE) continue;
        const Pair& pair = m_pairs[at];
        if (const Figures* const found = pair.index.find(stock)) {
            result[m_strategies[pair.strategy].key] = found;
        }
    }
    return result;
}

void CLedger::selectFigures(const std::set<std::string>& accountKeys,
                            const std::set<std::string>& strategies,
                            const std::set<std::string>& stockKeys, const VisitStock& visit) const {
    const bool withRest = selects(strategies, WHOLE_ACCOUNT);
    const auto wanted =
        selectedInOrder(m_strategies, withRest ? std::set<std::string>() : strategies);
    CStockOrder stocks(selectedInOrder(m_stocks, stockKeys), m_stocks.size());
    for (const std::uint32_t at : selectedInOrder(m_accounts, accountKeys)) {
        const std::vector<std::uint32_t>& pairs = m_accounts[at].pairs;
        for (const std::uint32_t strategy : wanted) {
            if (strategy >= pairs.size() || pairs[strategy] == NONE) continue;
            stocks.add(m_pairs[pairs[strategy]], selects(strategies, m_strategies[strategy].key));
        }
        stocks.takeAll([&](std::uint32_t stock, std::span<const Selected> records) {
            visit(m_stocks[stock].key, records);
        });
    }
}

ByDay<std::pair<double, double>> CLedger::amountsOfDeals(const std::set<std::string>& accountKeys,
                                                         const std::set<std::string>& strategies,
                                                         const std::set<std::string>& stockKeys,
                                                         int exceptDay) const {
    // The sums must not depend on the order of arrival: the deals are put in key order.
    std::map<std::tuple<int, std::string, std::string, std::uint64_t>, DealPtr> filed;
    for (const Account& account : m_accounts) {
        if (!selects(accountKeys, account.key)) continue;
        for (const std::uint32_t at : account.cells) {
            const Cell& cell = m_cells[at];
            const std::string& stock = m_stocks[cell.stock].key;
            if (cell.day == exceptDay || !selects(stockKeys, stock)) continue;
            for (std::uint32_t deal = cell.firstDeal; deal != NONE;
                 deal = m_deals[deal].nextInCell) {
                const DealEntry& entry = m_deals[deal];
                if (!entry.counted) {
                    filed[{cell.day, account.key, stock, entry.key}] = entry.report;
                }
            }
        }
    }
    ByDay<std::pair<double, double>> amounts;
    for (const auto& [place, deal] : filed) {
        const vexservice::CCommandRecord* const carrier = deal->m_pCommand.get();
        if (isHistoryBalance(carrier) || !selects(strategies, strategyOf(carrier))) continue;
        auto& [bought, sold] = amounts[std::get<0>(place)];
        const bool buys = vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
        (buys ? bought : sold) += deal->m_dAmount;
    }
    return amounts;
}

template <class Visit>
void CLedger::forEachHolding(const std::set<std::string>& accountKeys,
                             const std::set<std::string>& stockKeys, Visit visit) const {
    for (const Account& account : m_accounts) {
        if (!selects(accountKeys, account.key)) continue;
        for (std::uint32_t stock = 0; stock < account.holdings.size(); ++stock) {
            const std::uint32_t at = account.holdings[stock];
            if (at != NONE && selects(stockKeys, m_stocks[stock].key)) visit(m_holdings[at]);
        }
    }
}

double CLedger::largestOrderAmplitude(const std::set<std::string>& accountKeys,
                                      const std::set<std::string>& stockKeys) const {
    double largest = 0.0;
    forEachHolding(accountKeys, stockKeys,
                   [&](const Holding& held) { largest = std::max(largest, held.orderAmplitude); });
    return largest;
}

double CLedger::largestDealAmplitude(const std::set<std::string>& accountKeys,
                                     const std::set<std::string>& stockKeys) const {
    double largest = 0.0;
    forEachHolding(accountKeys, stockKeys,
                   [&](const Holding& held) { largest = std::max(largest, held.dealAmplitude); });
    return largest;
}

std::vector<std::string> CLedger::accountKeys() const {
    const std::lock_guard names(m_namesMutex);
    std::vector<std::string> keys;
    for (const Account& account : m_accounts) keys.push_back(account.key);
    return keys;
}

}  // namespace TC
