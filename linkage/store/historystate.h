#pragma once

#include "linkage/core/managerstate.h"
#include "linkage/core/published.h"
#include "linkage/ledger/runningrecords.h"
#include "linkage/store/historypicture.h"

#include <map>
#include <set>
#include <string>
#include <utility>

namespace TC {

/// What earlier days have left to balance, and what of today already counts as history. Guarded
/// by the manager's lock; the statistics have a lock of their own besides, because they are
/// also read without the manager's.
struct HistoryState {
    /// history key
    CPublished<ByText<TradeStatData>> m_historyStatData;
    /// history key, stock
    ByText<ByText<boost::shared_ptr<LinkagePeriodExtData>>> m_historyLinkageData;
    /// History keys that were carried into history today.
    std::set<std::string> m_alreadyAddedKeys;
    /// history key: the deals that were counted into history
    ByText<std::set<std::string>> m_writtenTradeKeys;
    /// history key: the pair that its history is of. Two pairs may have one history key
    /// ("881" with "5", "88" with "15"); the key belongs to the first while it holds anything.
    std::map<std::string, std::pair<std::string, std::string>> m_owners;
    /// What saves see of the three above: whoever changes something there tells it.
    CHistoryPicture m_picture;
    /// Rows and names that could not be saved; each is logged once. Saves use it without the
    /// manager's lock.
    CPublished<std::set<std::string>> m_refusedNames;
    /// The stamp of the last write, or of the file that was read.
    std::string m_strWriteTime;
    /// Running orders and tasks that balance history.
    CRunningRecords<vexservice::COrderDetail> m_historyOrders;
    CRunningRecords<vexservice::CTaskDetail> m_historyTasks;

    /// Takes a history key for a pair. False, with a log line, when another pair has it.
    bool claim(const char* operation, const std::string& key, const std::string& accountKey,
               const std::string& strategy);
    /// False when the key has history that is known to belong to another pair.
    bool isFree(const std::string& key, const std::string& accountKey,
                const std::string& strategy) const;

    void describe(ManagerState& state) const;
};

}  // namespace TC
