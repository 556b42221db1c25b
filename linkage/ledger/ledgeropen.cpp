#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"

namespace TC {

using namespace ledger;

void CLedger::forEachOrder(
    const std::string& accountKey, int today,
    const std::function<void(const std::string& stockKey, const OrderPtr& order)>& visit) const {
    const std::uint32_t accountAt = findAccount(accountKey);
    if (accountAt == NONE) return;
    const Account& account = m_accounts[accountAt];
    for (const std::uint32_t cellAt : account.cells) {
        const Cell& cell = m_cells[cellAt];
        for (std::uint32_t at = cell.firstOrder; at != NONE; at = m_orders[at].nextInCell) {
            const OrderEntry& entry = m_orders[at];
            if (!entry.report || entry.report->m_bImported) continue;
            const bool inFigures = (entry.facets & ~FILED) != 0;
            const bool ofHistory =
                cell.day == today && isHistoryBalance(entry.report->m_pCommand.get());
            if (!inFigures && !ofHistory) continue;
            if (findOrder(account, entry.key) == at) visit(m_stocks[cell.stock].key, entry.report);
        }
    }
}

void CLedger::forEachDeal(
    const std::string& accountKey, int today,
    const std::function<void(const std::string& stockKey, const DealPtr& deal)>& visit) const {
    const std::uint32_t accountAt = findAccount(accountKey);
    if (accountAt == NONE) return;
    for (const std::uint32_t cellAt : m_accounts[accountAt].cells) {
        const Cell& cell = m_cells[cellAt];
        for (std::uint32_t at = cell.firstDeal; at != NONE; at = m_deals[at].nextInCell) {
            const DealEntry& entry = m_deals[at];
            if (!entry.report || entry.report->m_bImported) continue;
            const bool ofHistory =
                cell.day == today && isHistoryBalance(entry.report->m_pCommand.get());
            if (entry.counted || ofHistory) visit(m_stocks[cell.stock].key, entry.report);
        }
    }
}

}  // namespace TC
