#include "linkage/core/clinkagemanager.h"
#include "linkage/core/managerstate.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"
#include "linkage/store/import/samerecord.h"
#include "linkage/store/serverhistory.h"

namespace TC {

RoomPtr<HistoryState> CLinkageManager::makeHistoryState() { return makeRoom<HistoryState>(); }

RoomPtr<CServerHistory> CLinkageManager::makeServerHistory() { return makeRoom<CServerHistory>(); }

RoomPtr<ImportedRecords> CLinkageManager::makeImportedRecords() {
    return makeRoom<ImportedRecords>();
}

void CLinkageManager::newStoreDay() {
    m_pHistory->m_alreadyAddedKeys.clear();
    m_pHistory->m_writtenTradeKeys.clear();
    m_pSaver->remove({DETAIL_FILE, KEPT_FILE});
}

void CLinkageManager::dropHistoryOrders(const std::string& accountKey) {
    m_pHistory->m_historyOrders.dropAccount(accountKey);
}

std::vector<boost::shared_ptr<vexservice::CTaskDetail>> CLinkageManager::runningHistoryTasks(
    const std::string& accountKey, const std::string& strategy) const {
    const CLock lock(m_mutex);
    return m_pHistory->m_historyTasks.records(accountKey, strategy)
        .value_or(std::vector<boost::shared_ptr<vexservice::CTaskDetail>>());
}

bool CLinkageManager::isCountedInHistory(const std::string& historyKey,
                                         const vexservice::CDealDetail& deal) const {
    return !isCanWriteToFile(historyKey, csv::tradeKey(deal.m_strTradeDate, deal.m_strDealID));
}

void CLinkageManager::dropHistoryTasks() { m_pHistory->m_historyTasks.clear(); }

void CLinkageManager::describeHistory(ManagerState& state) const { m_pHistory->describe(state); }

}  // namespace TC
