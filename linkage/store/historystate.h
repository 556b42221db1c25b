#pragma once

#include "linkage/core/managerstate.h"
#include "linkage/core/published.h"
#include "linkage/ledger/runningrecords.h"

#include <map>
#include <set>
#include <string>

namespace TC {

/// What is left to balance of earlier days, and what of today already counts there.
/// Guarded by the manager's lock; the statistics have a lock of their own besides,
/// because they are also read without the manager's.
struct HistoryState {
    /// history key
    CPublished<ByText<TradeStatData>> m_historyStatData;
    /// history key, stock
    ByText<ByText<boost::shared_ptr<LinkagePeriodExtData>>> m_historyLinkageData;
    /// History keys that were carried into history today.
    std::set<std::string> m_alreadyAddedKeys;
    /// history key: the deals that were counted into history
    ByText<std::set<std::string>> m_writtenTradeKeys;
    /// The stamp of the last write, or of the file that was read.
    std::string m_strWriteTime;
    /// Running orders and tasks that balance history.
    CRunningRecords<vexservice::COrderDetail> m_historyOrders;
    CRunningRecords<vexservice::CTaskDetail> m_historyTasks;

    void describe(ManagerState& state) const;
};

}  // namespace TC
