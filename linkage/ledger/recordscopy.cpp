#include "linkage/ledger/recordscopy.h"

#include "common/prefetch.h"
#include "linkage/ledger/selection.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace TC {

using namespace ledger;

template <class Ptr>
CLedger::CRecordsCopy<Ptr>::CRecordsCopy(CLedger& ledger, Which which)
    : CSlicedCopy(copiesOf(ledger)), m_ledger(ledger), m_which(std::move(which)) {}

template <class Ptr>
void CLedger::CRecordsCopy<Ptr>::begin() {
    m_nAccount = 0;
    m_nCell = 0;
    m_nPlace = 0;
    m_nNext = NONE;
    m_places.clear();
    m_placeOfCell.clear();
    m_copied.clear();
}

template <class Ptr>
bool CLedger::CRecordsCopy<Ptr>::copySome(std::size_t most) {
    if (!copyCell(most)) return false;
    for (; m_nAccount < m_ledger.m_accounts.size(); ++m_nAccount, m_nCell = 0) {
        const Account& account = m_ledger.m_accounts[m_nAccount];
        if (!selects(m_which.accountKeys, account.key)) continue;
        while (m_nCell < account.cells.size()) {
            if (most == 0) return false;
            --most;
            const std::uint32_t cell = account.cells[m_nCell++];
            const std::optional<std::uint32_t> place = placeOf(cell);
            if (!place) continue;
            m_nPlace = *place;
            m_nNext =
                OF_DEALS ? m_ledger.m_cells[cell].firstDeal : m_ledger.m_cells[cell].firstOrder;
            if (!copyCell(most)) return false;
        }
    }
    return true;
}

template <class Ptr>
bool CLedger::CRecordsCopy<Ptr>::copyCell(std::size_t& most) {
    constexpr std::size_t AHEAD = 4;
    std::uint32_t ahead = m_nNext;
    for (std::size_t at = 0; at < AHEAD && ahead != NONE; ++at) ahead = prefetchEntry(ahead);
    while (m_nNext != NONE) {
        if (most == 0) return false;
        --most;
        if (ahead != NONE) ahead = prefetchEntry(ahead);
        const std::uint32_t at = m_nNext;
        m_nNext = entries()[at].nextInCell;
        if (isWanted(at)) copy(m_nPlace, at);
    }
    return true;
}

// Gives the next entry. A copy counts who holds the report, which is not in the cache.
template <class Ptr>
std::uint32_t CLedger::CRecordsCopy<Ptr>::prefetchEntry(std::uint32_t at) const {
    utils::prefetch(entries()[at].report.get());
    return entries()[at].nextInCell;
}

template <class Ptr>
std::optional<std::uint32_t> CLedger::CRecordsCopy<Ptr>::placeOf(std::uint32_t at) {
    const auto known = m_placeOfCell.find(at);
    if (known != m_placeOfCell.end()) return known->second;
    const Cell& cell = m_ledger.m_cells[at];
    if ((cell.day == m_which.day) == m_which.otherDays) return std::nullopt;
    const std::string& account = m_ledger.m_accounts[cell.account].key;
    const std::string& stock = m_ledger.m_stocks[cell.stock].key;
    if (!selects(m_which.accountKeys, account)) return std::nullopt;
    if (!selects(m_which.stockKeys, stock)) return std::nullopt;
    const auto place = static_cast<std::uint32_t>(m_places.size());
    m_places.push_back({cell.day, &account, &stock});
    m_placeOfCell.emplace(at, place);
    return place;
}

// What is in no cell was filed, and stands in figures only.
template <class Ptr>
void CLedger::CRecordsCopy<Ptr>::copyAgain(std::uint32_t entry) {
    const std::uint32_t cell = entries()[entry].cell;
    if (cell == NONE) return;
    if (const auto place = placeOf(cell)) copy(*place, entry);
}

template <class Ptr>
bool CLedger::CRecordsCopy<Ptr>::isWanted(std::uint32_t entry) const {
    if constexpr (OF_DEALS) return !m_which.otherDays || !entries()[entry].counted;
    return true;
}

template <class Ptr>
void CLedger::CRecordsCopy<Ptr>::copy(std::uint32_t place, std::uint32_t entry) {
    const auto& filed = entries()[entry];
    m_copied.push_back({place, static_cast<std::uint32_t>(m_copied.size()), filed.key,
                        isWanted(entry) ? filed.report : Ptr()});
}

template <class Ptr>
std::vector<typename CLedger::CRecordsCopy<Ptr>::Record> CLedger::CRecordsCopy<Ptr>::take() {
    std::vector<Copied> copied;
    copied.reserve(m_copied.size());
    for (std::size_t at = 0; at < m_copied.size(); ++at) copied.push_back(std::move(m_copied[at]));
    m_copied.clear();
    std::sort(copied.begin(), copied.end(), [](const Copied& a, const Copied& b) {
        return std::tie(a.place, a.key, b.number) < std::tie(b.place, b.key, a.number);
    });
    std::vector<Record> records;
    records.reserve(copied.size());
    const Copied* before = nullptr;
    for (Copied& each : copied) {
        const bool isOlder = before && before->place == each.place && before->key == each.key;
        before = &each;
        if (isOlder || !each.report) continue;
        const Place& place = m_places[each.place];
        records.push_back(
            {each.key, std::move(each.report), place.day, place.account, place.stock});
    }
    return records;
}

template <class Ptr>
std::deque<Ptr> CLedger::CRecordsCopy<Ptr>::takeReports() {
    std::deque<Ptr> reports;
    for (std::size_t at = 0; at < m_copied.size(); ++at) {
        if (m_copied[at].report) reports.push_back(std::move(m_copied[at].report));
    }
    return reports;
}

template <class Ptr>
ByRecord<Ptr> CLedger::CRecordsCopy<Ptr>::takeByRecord() {
    ByRecord<Ptr> records;
    for (Record& each : take()) records.emplace(each.key, std::move(each.report));
    return records;
}

template class CLedger::CRecordsCopy<OrderPtr>;
template class CLedger::CRecordsCopy<DealPtr>;

}  // namespace TC
