#include "linkage/store/historystate.h"
#include "linkage/core/managerstate.h"

namespace TC {

void HistoryState::describe(ManagerState& state) const {
    state.alreadyAddedKeys = m_alreadyAddedKeys;
    state.historyStatData = m_historyStatData.get();
    state.historyLinkageData = m_historyLinkageData;
    state.writtenTradeKeys = m_writtenTradeKeys;
    state.historyOrders = m_historyOrders.keys();
    state.historyTasks = m_historyTasks.keys();
}

}  // namespace TC
