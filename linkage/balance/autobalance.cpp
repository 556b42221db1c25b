#include "linkage/balance/balanceaccount.h"
#include "linkage/balance/balancestate.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/ledger.h"
#include "linkage/tape/services.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"
#include "platform/services/dovcommandcenter.h"

#include <mongo/bson/bson.h>

namespace TC {

namespace {

constexpr std::int64_t START_MICROS = 5'000'000;

boost::shared_ptr<vexservice::CTaskOpRecord> terminationRecord() {
    boost::shared_ptr<vexservice::CTaskOpRecord> record(new vexservice::CTaskOpRecord);
    const std::string user = service<CUserConfig>().getUserDataString(USER_NAME).toStdString();
    record->m_eOperation = vexservice::TASK_OP_TERMINATE;
    record->m_nTime = service<CTimeService>().currentTime();
    record->m_strOperator = user;
    record->m_strRemark = user + "终止任务";
    return record;
}

/// A task stands under the account of its first item.
boost::shared_ptr<vexservice::CAccountInfo> taskAccount(const vexservice::CTaskDetail& task) {
    if (task.m_items.empty() || !task.m_items.front()) return {};
    return task.m_items.front()->m_pAccountInfo;
}

}  // namespace

bool CLinkageManager::runAutoBalance(const std::string& accountkey, const std::string& strategy,
                                     EBalanceAsker asker) {
    const CStep step(tape(), [&] {
        return callOf("runAutoBalance", accountkey, strategy, static_cast<int>(asker));
    });
    CLock lock(m_mutex);
    if (m_options.guard) {
        return m_pGuarded && m_pGuarded->ask({accountkey, strategy}, asker, START_MICROS);
    }
    if (m_pBalance->findStart(accountkey, strategy)) {
        LINKAGE_LOG_INFO("TC::CLinkageManager::runAutoBalance", "{0} not find balance data",
                         accountkey);
        return false;
    }
    const auto strand = m_pEngine->m_strand;
    const auto timer = m_pEngine->m_balanceTimer;
    lock.unlock();
    if (!timer) return false;

    // One timer starts the balances of all pairs, and its handler does not look at the
    // wait's error code: a pair that is still waiting starts at once when another asks.
    const std::lock_guard arming(m_pEngine->m_balanceTimerMutex);
    armTimer(*timer, *strand, START_MICROS, guarded(later({"start", {accountkey, strategy}})));
    return true;
}

void CLinkageManager::tryAutoBalance(const std::string& accountkey, const std::string& strategy) {
    const CStep step(tape(), [&] { return callOf("tryAutoBalance", accountkey, strategy); });
    constexpr auto operation = "TC::CLinkageManager::tryAutoBalance";
    const CLock lock(m_mutex);
    if (m_options.guard) {
        if (m_pGuarded) m_pGuarded->settle(accountkey);
        return;
    }
    auto& starts = m_pBalance->m_autoBalanceStarts;
    if (!starts.count(accountkey)) {
        LINKAGE_LOG_INFO(operation, "{0} : balancing data is empty", accountkey);
        return;
    }
    const int* start = m_pBalance->findStart(accountkey, strategy);
    if (!start) {
        LINKAGE_LOG_INFO(operation, "{0} : balancing data is not find", accountkey);
        return;
    }
    if (waitsForCancellations(balanceSecond(), *start) &&
        (getRunningTasks(accountkey, strategy) >= 1 ||
         getRunningOrders(accountkey, strategy) >= 1)) {
        LINKAGE_LOG_INFO(operation, "{0} : task or order is running", accountkey);
        return;
    }
    BalanceAccount account;
    const bool answered = attempt(operation, [&] {
        account = findBalanceAccount(accountkey, operation, "{0} : account data is empty",
                                     "{0} : accounntinfo is empty");
    });
    // The data center may answer at the next tick. Without the watchdog nobody would ask it
    // again.
    if (!answered && !m_pBalance->m_bAutoBalanceRunning) armBalanceWatchdog();
    if (!account.info) return;
    if (isBalancedType(*account.info)) {
        LINKAGE_LOG_INFO(operation, "accountkey {0}, strategy {1}", accountkey, strategy);
        attempt(operation, [&] { doStockBalanceBySignalTask(accountkey, strategy); });
    }
    starts[accountkey].erase(strategy);
}

// A running set is empty. With the guard nothing is decided before the report that emptied it
// is wholly in.
void CLinkageManager::balanceWaiting(const std::string& accountkey, const std::string& strategy) {
    const CLock lock(m_mutex);
    if (!m_options.guard) {
        tryAutoBalance(accountkey, strategy);
    } else if (m_pGuarded) {
        m_pGuarded->emptied(accountkey);
    }
}

void CLinkageManager::settleBalances() {
    const CLock lock(m_mutex);
    if (!m_pGuarded || m_pGuarded->news().empty()) return;
    const auto accounts = m_pGuarded->news();
    for (const std::string& account : accounts) settleBalances(account);
}

void CLinkageManager::settleBalances(const std::string& accountkey) {
    const CLock lock(m_mutex);
    if (!m_pGuarded) return;
    const CStep step(tape(), [&] { return callOf("settleBalances", accountkey); });
    attempt("TC::CLinkageManager::settleBalances", [&] { m_pGuarded->settle(accountkey); });
}

std::vector<BalanceRecord> CLinkageManager::getBalances(
    const std::optional<std::string>& account, const std::optional<std::string>& strategy) const {
    const CLock lock(m_mutex);
    return m_pGuarded ? m_pGuarded->records(account, strategy) : std::vector<BalanceRecord>();
}

bool CLinkageManager::cancelAllOrders(const std::string& accountkey, const std::string& strategy) {
    const CStep step(tape(), [&] { return callOf("cancelAllOrders", accountkey, strategy); });
    const CLock lock(m_mutex);
    const auto orders = m_pLedger->runningOrders(accountkey, strategy);
    if (!orders) return false;
    cancelOrders(*orders);
    return true;
}

void CLinkageManager::cancelOrders(
    const std::vector<boost::shared_ptr<vexservice::COrderDetail>>& orders) {
    for (const auto& order : orders) {
        if (!order) continue;
        attempt("TC::CLinkageManager::cancelAllOrders", [&] {
            QString error;
            service<CTradeClient>().cancelOrder(order, error, -1, QString(), {});
        });
    }
}

bool CLinkageManager::cancelAllTasks(const std::string& accountkey, const std::string& strategy) {
    const CStep step(tape(), [&] { return callOf("cancelAllTasks", accountkey, strategy); });
    const CLock lock(m_mutex);
    const auto tasks = m_pLedger->runningTasks().records(accountkey, strategy);
    if (!tasks) return false;
    terminateTasks(*tasks);
    return true;
}

void CLinkageManager::terminateTasks(
    const std::vector<boost::shared_ptr<vexservice::CTaskDetail>>& tasks) {
    if (tasks.empty()) return;
    const auto record = terminationRecord();
    const auto terminate = [&](const boost::shared_ptr<vexservice::CTaskDetail>& task) {
        if (task->m_bServerTask) {
            service<CDovCommandCenter>().operateServerTask(
                vexservice::CTaskHelper::genServerTaskKey(task), record, taskAccount(*task),
                guarded([this, task](const utils::VexError& error, const bson::BSONObj& result) {
                    onCancelServerTask(error, result, task);
                }));
            return;
        }
        const auto handler = taskCenter().getTaskHandler(task->recordKey());
        if (handler) handler->operate(record);
    };
    for (const auto& task : tasks) {
        if (!task) continue;
        attempt("TC::CLinkageManager::cancelAllTasks", [&] { terminate(task); });
    }
}

void CLinkageManager::cancelTask(int number, const QString& text) {
    const CStep step(tape(), [&] { return callOf("cancelTask", number, text.toStdString()); });
    raise("CLinkageManager::cancelTask", [&] { Q_EMIT sigCancelTask(number, text); });
}

// The reports of the task tell how its cancellation ended.
void CLinkageManager::onCancelServerTask(const utils::VexError&, bson::BSONObj,
                                         const boost::shared_ptr<vexservice::CTaskDetail>&) {}

}  // namespace TC
