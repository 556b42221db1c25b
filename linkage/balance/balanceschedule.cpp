#include "linkage/balance/balanceaccount.h"
#include "linkage/balance/balancestate.h"
#include "linkage/core/asyncstate.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/guarded.h"
#include "platform/log.h"

namespace TC {

// ------------------------------------------------------------- balance times

void CLinkageManager::addBalanceTime(const std::string& key, const std::string& time) {
    m_pBalance->m_balanceTimes.with([&](auto& times) { times[key] = time; });
    writeBlanaceTime();
}

bool CLinkageManager::deleteBalanceTime(const std::string& key) {
    const bool found =
        m_pBalance->m_balanceTimes.with([&](auto& times) { return times.erase(key) > 0; });
    if (found) writeBlanaceTime();
    return found;
}

std::map<std::string, std::string> CLinkageManager::getBalanceTime() const {
    return m_pBalance->m_balanceTimes.get();
}

// ---------------------------------------------------------- pending balances

void CLinkageManager::runAutoBalanceTimer(const std::string& accountkey,
                                          const std::string& strategy) {
    const CLock lock(m_mutex);
    m_pBalance->m_autoBalanceStarts[accountkey][strategy] = balanceSecond();
    if (getRunningTasks(accountkey, strategy) == 0 && getRunningOrders(accountkey, strategy) == 0) {
        tryAutoBalance(accountkey, strategy);
        return;
    }
    cancelAllTasks(accountkey, strategy);
    cancelAllOrders(accountkey, strategy);
    VEX_INFO("TC::CLinkageManager::runAutoBalanceTimer",
             "callcel task and order accountkey {0}, strategy {1}", accountkey, strategy);
    if (!m_pBalance->m_bAutoBalanceRunning) armBalanceWatchdog();
}

void CLinkageManager::armBalanceWatchdog() {
    const auto& timer = m_pAsync->m_autoBalanceTimer;
    m_pBalance->m_bAutoBalanceRunning = timer != nullptr;
    if (!timer) return;
    timer->expires_from_now(boost::posix_time::seconds(1));
    // The wait's error code is left out: a cancelled wait ticks as well.
    timer->async_wait(
        m_pAsync->m_strand->wrap(guarded([this](const auto&...) { onAutoBalanceTimer(); })));
}

void CLinkageManager::onAutoBalanceTimer() {
    constexpr auto operation = "TC::CLinkageManager::onAutoBalanceTimer";
    const CLock lock(m_mutex);
    bool again = false;
    m_pBalance->m_bAutoBalanceRunning = false;
    const int now = balanceSecond();
    for (auto& [accountkey, strategies] : m_pBalance->m_autoBalanceStarts) {
        const auto account = findBalanceAccount(accountkey, operation, "{0} accountdata is empty",
                                                "{0} accountinfoPtr is empty");
        if (!account.info) continue;
        for (auto at = strategies.begin(); at != strategies.end();) {
            if (waitsForCancellations(now, at->second)) {
                again = true;
                ++at;
                continue;
            }
            // Whatever still runs: after so long the balance is sent regardless.
            if (isBalancedType(*account.info)) {
                VEX_INFO(operation, "accountkey {0}, strategy {1}", accountkey, at->first);
                doStockBalanceBySignalTask(accountkey, at->first);
            }
            at = strategies.erase(at);
        }
    }
    if (again) armBalanceWatchdog();
}

}  // namespace TC
