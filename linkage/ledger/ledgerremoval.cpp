#include "linkage/ledger/ledger.h"

#include <algorithm>
#include <iterator>

namespace TC {

using namespace ledger;

namespace {

template <class Entry>
void unchain(CArena<Entry>& entries, utils::CKeyIndex& index, std::uint32_t at) {
    const std::uint64_t key = entries[at].key;
    const std::uint64_t hash = utils::mixHash(key);
    const std::uint32_t next = entries[at].nextOfKey;
    std::uint32_t before =
        index.find(hash, [&](std::uint32_t each) { return entries[each].key == key; });
    if (before == at) {
        if (next == NONE) {
            index.remove(hash, at);
        } else {
            index.replace(hash, at, next);
        }
        return;
    }
    while (entries[before].nextOfKey != at) before = entries[before].nextOfKey;
    entries[before].nextOfKey = next;
}

// Drops the entries of a cell for which `mayGo` is true; `onGone` hears of each before. Gives how
// many it looked at.
template <class Entry, class MayGo, class OnGone>
std::size_t dropFiled(CArena<Entry>& entries, utils::CKeyIndex& index, std::uint32_t& first,
                      MayGo mayGo, OnGone onGone) {
    std::size_t looked = 0;
    for (std::uint32_t* link = &first; *link != NONE; ++looked) {
        const std::uint32_t at = *link;
        if (!mayGo(entries[at])) {
            link = &entries[at].nextInCell;
            continue;
        }
        *link = entries[at].nextInCell;
        unchain(entries, index, at);
        onGone(entries[at]);
        entries.drop(at);
    }
    return looked;
}

}  // namespace

// Finds the cells by the keys, so that a single record costs its cell alone. A cell is looked
// through once for all the keys that it has.
template <class Entry, class Drop>
void CLedger::removeFiled(const CArena<Entry>& entries, const utils::CKeyIndex& index, int day,
                          std::set<std::uint64_t>& keys, std::size_t most, Drop drop) {
    std::size_t looked = 0;
    std::vector<std::uint32_t> cells;
    while (!keys.empty() && looked < most) {
        const std::uint64_t key = *keys.begin();
        cells.clear();
        for (std::uint32_t at = index.find(
                 utils::mixHash(key), [&](std::uint32_t each) { return entries[each].key == key; });
             at != NONE; at = entries[at].nextOfKey) {
            const std::uint32_t cell = entries[at].cell;
            if (cell != NONE && m_cells[cell].day == day) cells.push_back(cell);
        }
        for (const std::uint32_t cell : cells) looked += drop(m_cells[cell]);
        keys.erase(key);
        ++looked;
    }
}

void CLedger::removeFiledOrders(int day, const std::string& accountKey,
                                std::set<std::uint64_t>& keys, std::size_t most) {
    const std::uint32_t at = findAccount(accountKey);
    if (at == NONE) return keys.clear();
    Account& account = m_accounts[at];
    const auto mayGo = [&](const OrderEntry& entry) {
        return entry.facets == FILED && keys.count(entry.key) > 0;
    };
    removeFiled(m_orders, account.orders, day, keys, most, [&](Cell& cell) {
        return dropFiled(m_orders, account.orders, cell.firstOrder, mayGo,
                         [&](const OrderEntry& entry) {
                             m_orderCopies.restart();
                             if (entry.told) noteGone({accountKey, entry.report}, {});
                         });
    });
}

void CLedger::removeFiledDeals(int day, const std::string& accountKey,
                               std::set<std::uint64_t>& keys, std::size_t most) {
    const std::uint32_t at = findAccount(accountKey);
    if (at == NONE) return keys.clear();
    Account& account = m_accounts[at];
    const auto mayGo = [&](const DealEntry& entry) { return keys.count(entry.key) > 0; };
    removeFiled(m_deals, account.deals, day, keys, most, [&](Cell& cell) {
        return dropFiled(m_deals, account.deals, cell.firstDeal, mayGo,
                         [&](const DealEntry& entry) {
                             m_dealCopies.restart();
                             if (entry.told) noteGone({}, {accountKey, entry.report});
                         });
    });
}

bool CLedger::removeAccount(const std::string& accountKey, int day) {
    m_tradeDay = day;
    m_days[day].asked = true;
    const std::uint32_t at = findAccount(accountKey);
    bool dateBegins = false;
    if (at != NONE) {
        Account& account = m_accounts[at];
        dateBegins = account.day && *account.day != day;
        m_journal.note(CChangeJournal::EKind::AccountDropped, at, account.droppedAt);
        removeRecords(account, day);
        removeFigures(account);
        for (const std::uint32_t held : account.holdings) {
            if (held == NONE) continue;
            Holding& holding = m_holdings[held];
            holding.hasOrderAmplitude = holding.hasDealAmplitude = false;
            holding.orderAmplitude = holding.dealAmplitude = 0.0;
        }
    }
    for (auto& [stock, accounts] : m_positions) accounts.erase(accountKey);
    return dateBegins;
}

// Drops the records of the day. Those of other days stay filed, without any figures. When
// the same trade day starts again, their deals count again as soon as they are reported
// again: so a second request has the same result as the first. On a new day they do not
// count any more, even if the data center repeats them.
void CLedger::removeRecords(Account& account, int day) {
    m_orderCopies.restart();
    m_dealCopies.restart();
    const bool startsAgain = account.day == day;
    account.day = day;
    account.orders.clear();
    account.deals.clear();
    const auto dropChain = [](auto& entries, std::uint32_t first) {
        for (std::uint32_t at = first; at != NONE;) {
            const std::uint32_t next = entries[at].nextInCell;
            entries.drop(at);
            at = next;
        }
    };
    for (const std::uint32_t at : account.parked) m_orders.drop(at);
    account.parked.clear();

    for (const std::uint32_t cellAt : account.cells) {
        Cell& cell = m_cells[cellAt];
        if (cell.day == day) {
            dropChain(m_orders, cell.firstOrder);
            dropChain(m_deals, cell.firstDeal);
            Cell fresh;
            fresh.day = cell.day;
            fresh.stock = cell.stock;
            fresh.account = cell.account;
            fresh.olderCell = cell.olderCell;
            cell = fresh;
            continue;
        }
        for (std::uint32_t at = cell.firstOrder; at != NONE; at = m_orders[at].nextInCell) {
            OrderEntry kept;
            kept.key = m_orders[at].key;
            kept.report = std::move(m_orders[at].report);
            kept.ended = m_orders[at].ended;
            kept.cell = cellAt;
            kept.nextInCell = m_orders[at].nextInCell;
            kept.facets = FILED;
            m_orders[at] = std::move(kept);
            chainOrder(account, at);
        }
        for (std::uint32_t at = cell.firstDeal; at != NONE; at = m_deals[at].nextInCell) {
            m_deals[at].nextOfKey = NONE;
            m_deals[at].dropped = startsAgain && (m_deals[at].counted || m_deals[at].dropped);
            m_deals[at].counted = false;
            m_deals[at].told = false;
            m_deals[at].changedAt = 0;
            chainDeal(account, at);
        }
    }
}

// Only filed records are left of past days, and nothing is derived from them. What was imported
// stays: its files would bring it back.
std::vector<int> CLedger::dropOldDays(const std::string& accountKey, std::size_t keep) {
    const std::uint32_t accountAt = findAccount(accountKey);
    if (accountAt == NONE) return {};
    Account& account = m_accounts[accountAt];
    const auto mayGo = [](const auto& entry) { return !entry.report->m_bImported; };
    const auto hasAny = [&](const auto& entries, std::uint32_t at) {
        while (at != NONE && !mayGo(entries[at])) at = entries[at].nextInCell;
        return at != NONE;
    };
    std::set<DayOrder> days;
    for (const std::uint32_t at : account.cells) {
        const Cell& cell = m_cells[at];
        const bool isPast = account.day && orderOf(cell.day) < orderOf(*account.day);
        if (isPast && (cell.hasTotals || hasAny(m_orders, cell.firstOrder) ||
                       hasAny(m_deals, cell.firstDeal))) {
            days.insert(orderOf(cell.day));
        }
    }
    if (days.size() <= keep) return {};
    days.erase(std::prev(days.end(), static_cast<std::ptrdiff_t>(keep)), days.end());
    account.droppedThrough = std::max(account.droppedThrough, *days.rbegin());

    m_orderCopies.restart();
    m_dealCopies.restart();
    std::erase_if(account.cells, [&](std::uint32_t at) {
        Cell& cell = m_cells[at];
        if (days.count(orderOf(cell.day)) == 0) return false;
        const auto nobodyKnows = [](const auto&) {};
        dropFiled(m_orders, account.orders, cell.firstOrder, mayGo, nobodyKnows);
        dropFiled(m_deals, account.deals, cell.firstDeal, mayGo, nobodyKnows);
        cell.hasTotals = false;
        cell.totals = {};
        if (cell.firstOrder != NONE || cell.firstDeal != NONE) return false;
        dropCell(at);
        return true;
    });
    std::erase_if(m_days, [&](const auto& day) {
        return days.count(orderOf(day.first)) > 0 && !hasCells(day.first);
    });
    return {days.begin(), days.end()};
}

void CLedger::dropCell(std::uint32_t at) {
    Holding& held = holding(m_cells[at].account, m_cells[at].stock);
    std::uint32_t* link = &held.newestCell;
    while (*link != at) link = &m_cells[*link].olderCell;
    *link = m_cells[at].olderCell;
    held.newestDay = held.newestCell == NONE ? 0 : m_cells[held.newestCell].day;
    m_cells.drop(at);
}

bool CLedger::hasCells(int day) const {
    for (const Account& account : m_accounts) {
        for (const std::uint32_t at : account.cells) {
            if (m_cells[at].day == day) return true;
        }
    }
    return false;
}

void CLedger::removeFigures(Account& account) {
    m_figureCopies.restart();
    const std::lock_guard names(m_namesMutex);
    for (const std::uint32_t pairAt : account.pairs) {
        if (pairAt == NONE) continue;
        Pair& pair = m_pairs[pairAt];
        for (Figures* const figures : pair.figures) {
            for (std::uint32_t at = figures->minutes; at != NONE;) {
                const std::uint32_t older = m_minutes[at].older;
                m_minutes.drop(at);
                at = older;
            }
            --m_nFigures;
            m_stocks[figures->stock].figures.drop(figures);
        }
        for (std::uint32_t at = pair.firstLevel; at != NONE;) {
            const std::uint32_t next = m_levels[at].nextOfPair;
            m_levels.drop(at);
            at = next;
        }
        Pair fresh;
        fresh.account = pair.account;
        fresh.strategy = pair.strategy;
        pair = std::move(fresh);
    }
}

}  // namespace TC
