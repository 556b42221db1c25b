#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "linkage/tape/step.h"

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

constexpr char TASK_INTAKE[] = "CLinkageManager::doRequestTask";

bool isRunningTask(vexservice::ETaskStatus status) {
    return status < vexservice::TASK_COMPLETED || status > vexservice::TASK_FORCED_TERMINATED;
}

}  // namespace

void CLinkageManager::doRequestTask() {
    const bool whole = attempt(TASK_INTAKE, [this] { loadTasks(); });
    if (!whole) retryLater("tasks", LeftWork("loadTasks", {}));
}

// Everything is read before anything is dropped, and read once more after the subscription,
// because tasks that came in between were announced to nobody.
void CLinkageManager::loadTasks() {
    const auto global = dataCenter().getGlobalAccountData();
    const auto read = [&] {
        return global ? recordsOf(*global, vexservice::DATA_TASK) : Records();
    };
    const auto file = [this](const Records& tasks) {
        for (const auto& task : tasks) {
            doTaskDetail(boost::dynamic_pointer_cast<vexservice::CTaskDetail>(task));
        }
    };
    const Records tasks = read();
    {
        const CLock lock(m_mutex);
        m_pLedger->clearTasks();
        dropHistoryTasks();
    }
    file(tasks);
    const auto hold = [this](boost::shared_ptr<TaskConnection> connection) {
        const CLock lock(m_mutex);
        m_pEngine->m_taskConnection.swap(connection);
    };
    hold({});
    // The data center is asked without the lock.
    hold(boost::make_shared<TaskConnection>(dataCenter().subscribe(
        std::string(), vexservice::DATA_TASK, std::string(),
        guarded([this](const std::string&, const boost::shared_ptr<vexservice::IData>& data) {
            onTaskDetail(data);
        }))));
    file(differing(tasks, read()));
}

void CLinkageManager::onTaskDetail(const boost::shared_ptr<vexservice::IData>& data) {
    if (!data) return;
    const auto task = boost::dynamic_pointer_cast<vexservice::CTaskDetail>(data);
    if (task) post([this, task] { doTaskDetail(task); });
}

void CLinkageManager::doTaskDetail(const TaskPtr& task) {
    if (!task || !task->m_pCommand) return;
    const CStep step(tape(), [&] { return TaskInput{task}; });
    const vexservice::CCommandRecord& command = *task->m_pCommand;
    const CLock lock(m_mutex);
    if (command.m_strUser != m_strUserData) return;
    if (command.m_strTradeDate != m_pTradeDate->get()) return;
    if (command.m_nKind != 0 && command.m_nKind != 1) return;
    if (task->m_items.empty() || !task->m_items.front() || !task->m_items.front()->m_pAccountInfo) {
        return;
    }
    const std::string accountKey = task->m_items.front()->m_pAccountInfo->getKey();
    m_pLedger->fileTask(accountKey, task);
    const bool running = isRunningTask(task->m_eStatus);
    if (isHistoryBalance(&command)) {
        doHistoryTask(task, accountKey, task->recordKey(), running);
        return;
    }
    m_pLedger->listStrategy(strategyOf(&command));
    m_pLedger->runningTasks().update(accountKey, task, running, [&](const std::string& strategy) {
        balanceWaiting(accountKey, strategy);
    });
}

}  // namespace TC
