#include "linkage/ledger/ledger.h"
#include "linkage/ledger/volume.h"

#include <algorithm>
#include <iterator>

namespace TC {

using namespace ledger;

namespace {

template <class Record>
void fillRecords(const CArena<Record>& entries, std::uint32_t first,
                 ByRecord<decltype(Record::report)>& records) {
    for (std::uint32_t at = first; at != NONE; at = entries[at].nextInCell) {
        records.emplace(entries[at].key, entries[at].report);
    }
}

/// The stocks that have orders or deals.
std::vector<std::uint32_t> stocksOf(const Day& day) {
    std::vector<std::uint32_t> stocks;
    stocks.reserve(day.orders.size() + day.deals.size());
    std::set_union(day.orders.begin(), day.orders.end(), day.deals.begin(), day.deals.end(),
                   std::back_inserter(stocks));
    return stocks;
}

}  // namespace

bool CLedger::fileOrder(int day, const std::string& stockKey, const std::string& accountKey,
                        const OrderPtr& order) {
    const std::uint32_t accountAt = accountId(accountKey);
    const std::uint32_t stock = stockId(stockKey);
    const std::uint32_t cell = cellOf(holding(accountAt, stock), accountAt, stock, day);
    const bool runs = vexservice::isRunningStatus(order->m_eStatus);
    Account& account = m_accounts[accountAt];
    for (std::uint32_t at = findOrder(account, order->recordKey()); at != NONE;
         at = m_orders[at].nextOfKey) {
        if (m_orders[at].cell == cell) {
            m_orders[at].file(order, runs);
            m_orderCopies.touch(at);
            if (m_orders[at].told) noteOrder(at);
            return false;
        }
    }
    const std::uint32_t made = addOrder(account, order->recordKey(), cell);
    m_orders[made].file(order, runs);
    m_orderCopies.touch(made);
    m_orders[made].told = day == m_tradeDay;
    if (m_orders[made].told) noteOrder(made);
    return true;
}

bool CLedger::fileDeal(int day, const std::string& stockKey, const std::string& accountKey,
                       const DealPtr& deal) {
    const std::uint32_t accountAt = accountId(accountKey);
    const std::uint32_t stock = stockId(stockKey);
    const auto [at, isNew] =
        putDeal(accountAt, cellOf(holding(accountAt, stock), accountAt, stock, day), deal);
    if (isNew && day == m_tradeDay) {
        m_deals[at].told = true;
        noteDeal(at);
    }
    return isNew;
}

ByRecord<OrderPtr> CLedger::accountOrders(const std::string& accountKey, int day) const {
    ByRecord<OrderPtr> records;
    const std::uint32_t account = findAccount(accountKey);
    if (account == NONE) return records;
    for (const std::uint32_t at : m_accounts[account].cells) {
        if (m_cells[at].day == day) fillRecords(m_orders, m_cells[at].firstOrder, records);
    }
    return records;
}

ByRecord<DealPtr> CLedger::accountDeals(const std::string& accountKey, int day) const {
    ByRecord<DealPtr> records;
    const std::uint32_t account = findAccount(accountKey);
    if (account == NONE) return records;
    for (const std::uint32_t at : m_accounts[account].cells) {
        if (m_cells[at].day == day) fillRecords(m_deals, m_cells[at].firstDeal, records);
    }
    return records;
}

std::set<int> CLedger::filedDays(const std::string& accountKey) const {
    std::set<int> days;
    const std::uint32_t account = findAccount(accountKey);
    if (account == NONE) return days;
    for (const std::uint32_t at : m_accounts[account].cells) {
        const Cell& cell = m_cells[at];
        if (cell.firstOrder != NONE || cell.firstDeal != NONE) days.insert(cell.day);
    }
    return days;
}

const CLedger::Cell* CLedger::findCell(int day, const std::string& stockKey,
                                       const std::string& accountKey) const {
    const std::uint32_t account = findAccount(accountKey);
    const std::uint32_t stock = findStock(stockKey);
    if (account == NONE || stock == NONE) return nullptr;
    const std::vector<std::uint32_t>& holdings = m_accounts[account].holdings;
    if (stock >= holdings.size() || holdings[stock] == NONE) return nullptr;
    std::uint32_t at = m_holdings[holdings[stock]].newestCell;
    while (at != NONE && m_cells[at].day != day) at = m_cells[at].olderCell;
    return at == NONE ? nullptr : &m_cells[at];
}

DayTotals CLedger::dayTotals(int day, const std::string& stockKey,
                             const std::string& accountKey) const {
    const Cell* const cell = findCell(day, stockKey, accountKey);
    return cell ? cell->totals : DayTotals();
}

DayTotals CLedger::filedTotals(int day, const std::string& stockKey,
                               const std::string& accountKey) const {
    DayTotals totals;
    const Cell* const cell = findCell(day, stockKey, accountKey);
    if (!cell) return totals;
    ByRecord<DealPtr> filed;
    fillRecords(m_deals, cell->firstDeal, filed);
    for (const auto& [key, deal] : filed) {
        totals.add(*deal, vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag));
    }
    return totals;
}

ByText<ByRecord<OrderPtr>> CLedger::orders(int day, const std::string& stockKey,
                                           const std::set<std::string>& accountKeys) const {
    ByText<ByRecord<OrderPtr>> result;
    for (const std::string& key : accountKeys) {
        const Cell* const cell = findCell(day, stockKey, key);
        if (cell && cell->hasOrders) fillRecords(m_orders, cell->firstOrder, result[key]);
    }
    return result;
}

ByText<ByRecord<DealPtr>> CLedger::deals(int day, const std::string& stockKey,
                                         const std::set<std::string>& accountKeys) const {
    ByText<ByRecord<DealPtr>> result;
    for (const std::string& key : accountKeys) {
        const Cell* const cell = findCell(day, stockKey, key);
        if (cell && cell->hasDeals) fillRecords(m_deals, cell->firstDeal, result[key]);
    }
    return result;
}

std::vector<const std::string*> CLedger::stocksOfDay(int day) {
    std::vector<const std::string*> keys;
    Day& today = m_days[day];
    today.asked = true;
    for (const std::uint32_t stock : stocksOf(today)) keys.push_back(&m_stocks[stock].key);
    return keys;
}

std::size_t CLedger::countStocks(int day) const {
    const auto at = m_days.find(day);
    if (at == m_days.end()) return 0;
    return stocksOf(at->second).size();
}

std::optional<std::vector<OrderPtr>> CLedger::runningOrders(const std::string& accountKey,
                                                            const std::string& strategy) const {
    const Pair* const pair = findPair(accountKey, strategy);
    if (!pair || !pair->hasRunning) return std::nullopt;
    std::vector<std::uint32_t> entries = pair->running;
    std::sort(entries.begin(), entries.end(), [&](std::uint32_t left, std::uint32_t right) {
        return m_orders[left].key < m_orders[right].key;
    });
    std::vector<OrderPtr> orders;
    orders.reserve(entries.size());
    for (const std::uint32_t at : entries) orders.push_back(m_orders[at].report);
    return orders;
}

int CLedger::runningOrderCount(const std::string& accountKey, const std::string& strategy) const {
    const Pair* const pair = findPair(accountKey, strategy);
    return pair ? static_cast<int>(pair->running.size()) : 0;
}

int CLedger::lotsAtLevel(const std::string& strategy, int level) const {
    const std::uint32_t name = findStrategy(strategy);
    if (name == NONE) return 0;
    std::int32_t lots = 0;
    for (const Account& account : m_accounts) {
        if (name >= account.pairs.size() || account.pairs[name] == NONE) continue;
        const Pair& pair = m_pairs[account.pairs[name]];
        const std::uint32_t at =
            pair.levelIndex.find(utils::mixHash(static_cast<std::uint32_t>(level)),
                                 [&](std::uint32_t each) { return m_levels[each].level == level; });
        if (at != NONE) lots = wrapAdd(lots, m_levels[at].lots);
    }
    return lots;
}

const CLedger::Pair* CLedger::findPair(std::uint32_t account, std::uint32_t strategy) const {
    if (account == NONE) return nullptr;
    const std::vector<std::uint32_t>& pairs = m_accounts[account].pairs;
    return strategy < pairs.size() && pairs[strategy] != NONE ? &m_pairs[pairs[strategy]] : nullptr;
}

const CLedger::Pair* CLedger::findPair(const std::string& accountKey,
                                       const std::string& strategy) const {
    return findPair(findAccount(accountKey), findStrategy(strategy));
}

}  // namespace TC
