#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/managerstate.h"
#include "linkage/core/published.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"
#include "linkage/store/importstate.h"
#include "linkage/store/serverhistory.h"
#include "platform/services/clientconfig.h"

#include <QFile>

namespace TC {

RoomPtr<HistoryState> CLinkageManager::makeHistoryState() { return makeRoom<HistoryState>(); }

RoomPtr<ImportState> CLinkageManager::makeImportState() {
    const QString directory = getDataDir() + "/" + "Balance" + "/" + "imports";
    return makeRoom<ImportState>(QFile::encodeName(directory).toStdString(),
                                 std::make_unique<CDiskFiles>(), m_pSaver->directoryLock(), m_pDoor,
                                 [this] {
                                     if (!m_pEngine->hasStrand()) return false;
                                     post([this] { retryImportsLater(); });
                                     return true;
                                 });
}

RoomPtr<CServerHistory> CLinkageManager::makeServerHistory() { return makeRoom<CServerHistory>(); }

void CLinkageManager::newStoreDay() {
    m_pHistory->m_alreadyAddedKeys.clear();
    // The trade keys of any pair may go.
    m_pHistory->m_picture.newDay();
    auto& written = m_pHistory->m_writtenTradeKeys;
    if (m_options.guard) {
        // A date that is announced again brings the same deals again: what history has of them
        // would count twice, and be balanced away by the opposite order.
        const std::string date = m_pTradeDate->get();
        for (auto& [key, trades] : written) {
            std::erase_if(trades,
                          [&](const auto& trade) { return !csv::isTradeKeyOf(trade, date); });
        }
        std::erase_if(written, [](const auto& each) { return each.second.empty(); });
        if (!written.empty()) return;
    }
    written.clear();
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
