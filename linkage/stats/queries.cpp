#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/published.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/volume.h"

namespace TC {

std::string CLinkageManager::getTradeDate() const { return m_pTradeDate->get(); }

std::set<std::string> CLinkageManager::getStocks() {
    const CLock lock(m_mutex);
    return m_pLedger->stocksOfDay(dayKey(m_pTradeDate->get()));
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
    const auto account = m_pLedger->m_runningTasks.find(accountKey);
    if (account == m_pLedger->m_runningTasks.end()) return 0;
    const auto tasks = account->second.find(strategy);
    return tasks == account->second.end() ? 0 : static_cast<int>(tasks->second.size());
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
    std::map<std::string, std::map<unsigned long long, TaskPtr>> result;
    const auto stock = m_pLedger->m_taskDetails.find(stockKey);
    if (stock == m_pLedger->m_taskDetails.end()) return result;
    for (const std::string& key : accountKeys) {
        const auto tasks = stock->second.find(key);
        if (tasks != stock->second.end()) result[key] = tasks->second;
    }
    return result;
}

std::pair<int, int> CLinkageManager::getBuySellVolumes(
    int day, const std::string& stockKey, const std::set<std::string>& accountKeys) const {
    const CLock lock(m_mutex);
    std::pair<int, int> sum{0, 0};
    for (const std::string& key : accountKeys) {
        if (const CLedger::Cell* const cell = m_pLedger->findCell(day, stockKey, key)) {
            sum.first = wrapAdd(sum.first, cell->boughtVolume);
            sum.second = wrapAdd(sum.second, cell->soldVolume);
        }
    }
    return sum;
}

std::pair<double, double> CLinkageManager::getBuySellAmounts(
    int day, const std::string& stockKey, const std::set<std::string>& accountKeys) const {
    const CLock lock(m_mutex);
    std::pair<double, double> sum{0.0, 0.0};
    for (const std::string& key : accountKeys) {
        if (const CLedger::Cell* const cell = m_pLedger->findCell(day, stockKey, key)) {
            sum.first += cell->boughtAmount;
            sum.second += cell->soldAmount;
        }
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
