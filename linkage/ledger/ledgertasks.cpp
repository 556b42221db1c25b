#include "linkage/ledger/ledger.h"
#include "platform/utils/keys.h"

namespace TC {

void CLedger::fileTask(const std::string& accountKey, const TaskPtr& task) {
    noteTask(accountKey, task);
    for (const auto& item : task->m_items) {
        if (!item) continue;
        m_taskDetails[utils::zorStockKey(item->m_strMarket, item->m_strCode)][accountKey]
                     [task->recordKey()] = task;
    }
}

ByText<ByRecord<TaskPtr>> CLedger::tasks(const std::string& stockKey,
                                         const std::set<std::string>& accountKeys) const {
    ByText<ByRecord<TaskPtr>> result;
    const auto stock = m_taskDetails.find(stockKey);
    if (stock == m_taskDetails.end()) return result;
    for (const std::string& key : accountKeys) {
        const auto tasks = stock->second.find(key);
        if (tasks != stock->second.end()) result[key] = tasks->second;
    }
    return result;
}

void CLedger::clearTasks() {
    m_taskDetails.clear();
    m_taskEntries.clear();
    m_taskIndex.clear();
    m_journal.note(CChangeJournal::EKind::TasksDropped, 0, m_nTasksDroppedAt);
    m_runningTasks.clear();
}

void CLedger::filePosition(const std::string& stockKey, const std::string& accountKey,
                           const PositionPtr& position) {
    m_positions[stockKey][accountKey][position->recordKey()] = position;
}

const ByText<ByRecord<PositionPtr>>* CLedger::positions(const std::string& stockKey) const {
    const auto stock = m_positions.find(stockKey);
    return stock == m_positions.end() ? nullptr : &stock->second;
}

}  // namespace TC
