#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/published.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/volume.h"
#include "linkage/tape/step.h"

namespace TC {

std::string CLinkageManager::getTradeDate() const { return m_pTradeDate->get(); }

std::set<std::string> CLinkageManager::getStocks() {
    const CStep step(tape(), [] { return callOf("getStocks"); });
    CLock lock(m_mutex);
    const auto keys = m_pLedger->stocksOfDay(dayKey(m_pTradeDate->get()));
    lock.unlock();
    std::set<std::string> stocks;
    for (const std::string* const key : keys) stocks.insert(*key);
    return stocks;
}

std::set<std::string> CLinkageManager::getStrategys() const {
    const CLock lock(m_mutex);
    return m_pLedger->strategies();
}

int CLinkageManager::getRunningOrders(const std::string& accountKey,
                                      const std::string& strategy) const {
    const CLock lock(m_mutex);
    return m_pLedger->runningOrderCount(accountKey, strategy);
}

int CLinkageManager::getRunningTasks(const std::string& accountKey,
                                     const std::string& strategy) const {
    const CLock lock(m_mutex);
    return m_pLedger->runningTasks().count(accountKey, strategy);
}

std::map<std::string, FiguresPtr> CLinkageManager::getTradeStatDatas(
    const std::string& accountKey, const std::string& strategy) const {
    return m_pLedger->figuresOf(accountKey, strategy);
}

std::map<std::string, std::map<unsigned long long, OrderPtr>> CLinkageManager::getOrderDetails(
    int day, const std::string& stockKey, const std::set<std::string>& accountKeys) const {
    const CLock lock(m_mutex);
    return m_pLedger->orders(day, stockKey, accountKeys);
}

std::map<std::string, std::map<unsigned long long, DealPtr>> CLinkageManager::getDealDetails(
    int day, const std::string& stockKey, const std::set<std::string>& accountKeys) const {
    const CLock lock(m_mutex);
    return m_pLedger->deals(day, stockKey, accountKeys);
}

std::map<std::string, std::map<unsigned long long, TaskPtr>> CLinkageManager::getTaskDetails(
    const std::string& stockKey, const std::set<std::string>& accountKeys) const {
    const CLock lock(m_mutex);
    return m_pLedger->tasks(stockKey, accountKeys);
}

DayTotals CLinkageManager::dayTotals(int day, const std::string& stockKey,
                                     const std::string& accountKey) const {
    const bool filed = m_options.filedTotals && day != dayKey(m_pTradeDate->get());
    return filed ? m_pLedger->filedTotals(day, stockKey, accountKey)
                 : m_pLedger->dayTotals(day, stockKey, accountKey);
}

std::pair<int, int> CLinkageManager::getBuySellVolumes(
    int day, const std::string& stockKey, const std::set<std::string>& accountKeys) const {
    const CLock lock(m_mutex);
    std::pair<int, int> sum{0, 0};
    for (const std::string& key : accountKeys) {
        const DayTotals totals = dayTotals(day, stockKey, key);
        sum.first = wrapAdd(sum.first, totals.boughtVolume);
        sum.second = wrapAdd(sum.second, totals.soldVolume);
    }
    return sum;
}

std::pair<double, double> CLinkageManager::getBuySellAmounts(
    int day, const std::string& stockKey, const std::set<std::string>& accountKeys) const {
    const CLock lock(m_mutex);
    std::pair<double, double> sum{0.0, 0.0};
    for (const std::string& key : accountKeys) {
        const DayTotals totals = dayTotals(day, stockKey, key);
        sum.first += totals.boughtAmount;
        sum.second += totals.soldAmount;
    }
    return sum;
}

std::vector<boost::shared_ptr<vexservice::CAccountInfo>> CLinkageManager::getAccounts() const {
    const CLock lock(m_mutex);
    std::vector<boost::shared_ptr<vexservice::CAccountInfo>> accounts;
    for (const auto& [key, account] : m_pAccounts->m_infos) accounts.push_back(account);
    return accounts;
}

std::list<std::string> CLinkageManager::getAccountIds(int kind) const {
    const CLock lock(m_mutex);
    std::list<std::string> ids;
    for (const auto& [key, account] : m_pAccounts->m_infos) {
        if ((account->m_nType == 1) == (kind == 1)) ids.push_back(account->m_strID);
    }
    return ids;
}

}  // namespace TC
