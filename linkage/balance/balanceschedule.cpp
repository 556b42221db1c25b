#include "linkage/balance/balanceaccount.h"
#include "linkage/balance/balancestate.h"
#include "linkage/balance/balancetimes.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/tape/step.h"
#include "platform/log.h"

namespace TC {

namespace {
constexpr std::int64_t WATCHDOG_MICROS = 1'000'000;
}

// ------------------------------------------------------------- balance times

void CLinkageManager::addBalanceTime(const std::string& key, const std::string& time) {
    if ((m_options.guard || m_options.keepBalanceTimes) && !isTimeOfDay(time)) {
        LINKAGE_LOG_WARNING("TC::CLinkageManager::addBalanceTime", "{0}: \"{1}\" is no time of day",
                            key, time);
        return;
    }
    const CStep step(tape(), [&] { return callOf("addBalanceTime", key, time); });
    m_pBalance->m_balanceTimes.with([&](auto& times) {
        CStep::takesPlace();
        times[key] = time;
    });
    writeBlanaceTime();
}

bool CLinkageManager::deleteBalanceTime(const std::string& key) {
    const CStep step(tape(), [&] { return callOf("deleteBalanceTime", key); });
    const bool found = m_pBalance->m_balanceTimes.with([&](auto& times) {
        CStep::takesPlace();
        return times.erase(key) > 0;
    });
    if (found) writeBlanaceTime();
    return found;
}

std::map<std::string, std::string> CLinkageManager::getBalanceTime() const {
    return m_pBalance->m_balanceTimes.get();
}

// ---------------------------------------------------------- pending balances

void CLinkageManager::runAutoBalanceTimer(const std::string& accountkey,
                                          const std::string& strategy) {
    const CStep step(tape(), [&] { return callOf("runAutoBalanceTimer", accountkey, strategy); });
    const CLock lock(m_mutex);
    if (m_options.guard) {
        if (m_pGuarded) m_pGuarded->ask({accountkey, strategy}, EBalanceAsker::Demand, 0);
        return;
    }
    m_pBalance->m_autoBalanceStarts[accountkey][strategy] = balanceSecond();
    if (getRunningTasks(accountkey, strategy) == 0 && getRunningOrders(accountkey, strategy) == 0) {
        tryAutoBalance(accountkey, strategy);
        return;
    }
    constexpr auto operation = "TC::CLinkageManager::runAutoBalanceTimer";
    attempt(operation, [&] { cancelAllTasks(accountkey, strategy); });
    attempt(operation, [&] { cancelAllOrders(accountkey, strategy); });
    LINKAGE_LOG_INFO(operation, "callcel task and order accountkey {0}, strategy {1}", accountkey,
                     strategy);
    if (!m_pBalance->m_bAutoBalanceRunning) armBalanceWatchdog();
}

void CLinkageManager::armBalanceWatchdog() {
    const auto& timer = m_pEngine->m_autoBalanceTimer;
    m_pBalance->m_bAutoBalanceRunning = timer != nullptr;
    if (!timer) return;
    // The watchdog also runs when its wait is cancelled.
    armTimer(*timer, *m_pEngine->m_strand, WATCHDOG_MICROS, guarded(later({"watchdog", {}})));
}

void CLinkageManager::onAutoBalanceTimer() {
    constexpr auto operation = "TC::CLinkageManager::onAutoBalanceTimer";
    const CLock lock(m_mutex);
    bool again = false;
    m_pBalance->m_bAutoBalanceRunning = false;
    const int now = balanceSecond();
    for (auto& [accountkey, strategies] : m_pBalance->m_autoBalanceStarts) {
        BalanceAccount account;
        const bool asked = attempt(operation, [&, &key = accountkey] {
            account = findBalanceAccount(key, operation, "{0} accountdata is empty",
                                         "{0} accountinfoPtr is empty");
        });
        if (!asked && !strategies.empty()) again = true;
        if (!account.info) continue;
        for (auto at = strategies.begin(); at != strategies.end();) {
            if (waitsForCancellations(now, at->second)) {
                again = true;
                ++at;
                continue;
            }
            // After this time the balance is sent even if orders or tasks still run.
            if (isBalancedType(*account.info)) {
                LINKAGE_LOG_INFO(operation, "accountkey {0}, strategy {1}", accountkey, at->first);
                attempt(operation, [&, &account = accountkey] {
                    doStockBalanceBySignalTask(account, at->first);
                });
            }
            at = strategies.erase(at);
        }
    }
    if (again) armBalanceWatchdog();
}

}  // namespace TC
