#include "linkage/balance/guardedbalances.h"
#include "linkage/balance/linkagechanges.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/ledger.h"

namespace TC {

LinkageChanges CLinkageManager::getChanges(ChangeCursor& cursor, std::size_t most) {
    const CLock lock(m_mutex);
    LinkageChanges changes;
    // An answer that cannot be made, for want of memory, must not count as read.
    ChangeCursor next = cursor;
    m_pLedger->changesSince(next, most, changes);
    if (changes.everything) next.balances = 0;
    if (m_pGuarded) changes.balances = m_pGuarded->changedSince(next.balances);
    cursor = next;
    return changes;
}

std::vector<BalanceRecord> CGuardedBalances::changedSince(std::uint64_t& change) const {
    std::vector<BalanceRecord> records;
    if (change == m_nChanges) return records;
    for (const auto& [number, balance] : m_balances) {
        if (balance.changedAt > change) records.push_back(recordOf(balance));
    }
    change = m_nChanges;
    return records;
}

}  // namespace TC
