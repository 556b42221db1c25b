#include "linkage/store/historystate.h"
#include "linkage/core/managerstate.h"

#include "platform/log.h"

namespace TC {

bool HistoryState::isFree(const std::string& key, const std::string& accountKey,
                          const std::string& strategy) const {
    const auto owner = m_owners.find(key);
    if (owner == m_owners.end() || owner->second == std::pair(accountKey, strategy)) return true;
    const bool used =
        m_historyLinkageData.count(key) > 0 || m_writtenTradeKeys.count(key) > 0 ||
        m_historyStatData.with([&](const auto& records) { return records.count(key) > 0; });
    return !used;
}

bool HistoryState::claim(const char* operation, const std::string& key,
                         const std::string& accountKey, const std::string& strategy) {
    if (isFree(key, accountKey, strategy)) {
        m_owners[key] = {accountKey, strategy};
        return true;
    }
    const auto& [otherAccount, otherStrategy] = m_owners.at(key);
    LINKAGE_LOG_INFO(
        operation,
        "history of account {0}, strategy {1} refused: its key {2} is the one of account {3}, "
        "strategy {4}",
        accountKey, strategy, key, otherAccount, otherStrategy);
    return false;
}

void HistoryState::describe(ManagerState& state) const {
    state.alreadyAddedKeys = m_alreadyAddedKeys;
    state.historyStatData = m_historyStatData.get();
    state.historyLinkageData = m_historyLinkageData;
    state.writtenTradeKeys = m_writtenTradeKeys;
    state.historyOrders = m_historyOrders.keys();
    state.historyTasks = m_historyTasks.keys();
}

}  // namespace TC
