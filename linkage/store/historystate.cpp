#include "linkage/store/historystate.h"
#include "linkage/core/managerstate.h"

namespace TC {

namespace {

template <class Record>
void describeRunning(const HistoryState::Running<Record>& running,
                     ByText<ByText<std::set<unsigned long long>>>& keys) {
    for (const auto& [account, strategies] : running) {
        auto& ofAccount = keys[account];
        for (const auto& [strategy, records] : strategies) {
            auto& ofStrategy = ofAccount[strategy];
            for (const auto& [key, record] : records) ofStrategy.insert(key);
        }
    }
}

}  // namespace

void HistoryState::describe(ManagerState& state) const {
    state.alreadyAddedKeys = m_alreadyAddedKeys;
    state.historyStatData = m_historyStatData.get();
    state.historyLinkageData = m_historyLinkageData;
    state.writtenTradeKeys = m_writtenTradeKeys;
    describeRunning(m_historyOrders, state.historyOrders);
    describeRunning(m_historyTasks, state.historyTasks);
}

}  // namespace TC
