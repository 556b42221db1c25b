#include "linkage/balance/balancestate.h"
#include "linkage/core/asyncstate.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/stats/periodcurves.h"
#include "linkage/stats/positionmerge.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"
#include "platform/log.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"

#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

using Records = std::vector<boost::shared_ptr<vexservice::IData>>;

vexservice::IDataCenter& dataCenter() {
    return *vexservice::TraderCenter::instance()->getDataCenter();
}

Records recordsOf(const vexservice::CAccountData& data, int type) {
    Records records;
    data.getVector(type, records);
    return records;
}

}  // namespace

void CLinkageManager::requestAccounts() {
    post([this] { doRequestAccounts(); });
}

void CLinkageManager::requestAccount(const std::string& accountKey) {
    if (!m_pAsync->hasStrand()) return;
    const auto accountData = dataCenter().getAccountData(utils::hash(accountKey));
    if (accountData) post([this, accountData] { doRequestAccount(accountData); });
}

void CLinkageManager::slotRefreshAccount(const vexservice::CAccountInfo& accountInfo) {
    const auto accountData = dataCenter().getAccountData(accountInfo.hash());
    if (!accountData) return;
    VEX_INFO("CLinkageManager::slotRefreshAccount", "CLinkageManager::slotRefreshAccount, acc:{0}",
             accountInfo.getKey());
    post([this, accountData] { doRequestAccount(accountData); });
}

void CLinkageManager::slotProxyLoginStatus(EProxyConnectionStatus status, QString) {
    if (isProxyLoginSuccess(status)) post([this] { doRequestAccounts(); });
}

void CLinkageManager::slotNewTradingDate(std::string date) {
    // The data center knows the day; what the exchange announces may be ahead of it.
    m_pTradeDate->set(dataCenter().getTradingDate());
    {
        const CLock lock(m_mutex);
        m_pCurves->newDay();
        m_pLedger->forgetPrices();
        m_pBalance->m_autoBalanceStarts.clear();
        m_pHistory->m_alreadyAddedKeys.clear();
        m_pHistory->m_writtenTradeKeys.clear();
        m_pSaver->remove({DETAIL_FILE});
    }
    post([this] { doRequestTask(); });
    post([this] { doRequestAccounts(); });
    post([this, date] { doNewTradingDay(date); });
}

void CLinkageManager::doNewTradingDay(const std::string& date) {
    raise("CLinkageManager::doNewTradingDay", m_sigNewTradingDay, date);
}

void CLinkageManager::doRequestAccounts() {
    VEX_INFO("CLinkageManager::doRequestAccounts", "CLinkageManager::doRequestAccounts");
    std::vector<boost::shared_ptr<vexservice::CAccountData>> accounts;
    dataCenter().getAllAccountData(accounts);
    for (const auto& account : accounts) {
        if (account && account->getAccountInfo()) doRequestAccount(account);
    }
}

void CLinkageManager::doRequestAccount(
    const boost::shared_ptr<vexservice::CAccountData>& accountData) {
    const auto info = accountData ? accountData->getAccountInfo() : nullptr;
    if (!info) return;
    const std::string key = info->getKey();
    VEX_INFO("CLinkageManager::doRequestAccount", "CLinkageManager::doRequestAccount, acc:{0}",
             key);
    {
        const CLock lock(m_mutex);
        m_pAsync->m_accounts.emplace(key, info);
    }
    removeAccountDatas(key);

    for (const auto& record : recordsOf(*accountData, vexservice::DATA_ORDER)) {
        doOrderDetail(key, boost::dynamic_pointer_cast<vexservice::COrderDetail>(record));
    }
    for (const auto& record : recordsOf(*accountData, vexservice::DATA_DEAL)) {
        doDealDetail(key, boost::dynamic_pointer_cast<vexservice::CDealDetail>(record));
    }
    for (const auto& record : recordsOf(*accountData, vexservice::DATA_POSITION)) {
        doPositionStat(key, boost::dynamic_pointer_cast<vexservice::CPositionStatics>(record));
    }
    subscribeAccount(key);
}

void CLinkageManager::subscribeAccount(const std::string& accountKey) {
    const CLock lock(m_mutex);
    auto& connections = m_pAsync->m_accountConnections[accountKey];
    for (const boost::signals2::connection& each : connections) each.disconnect();
    connections.clear();
    using Callback =
        void (CLinkageManager::*)(const std::string&, const boost::shared_ptr<vexservice::IData>&);
    const auto subscribe = [&](int type, Callback callback) {
        connections.push_back(dataCenter().subscribe(
            accountKey, type, std::string(),
            guarded([this, callback](const std::string& key,
                                     const boost::shared_ptr<vexservice::IData>& data) {
                (this->*callback)(key, data);
            })));
    };
    subscribe(vexservice::DATA_ORDER, &CLinkageManager::onOrderDetail);
    subscribe(vexservice::DATA_DEAL, &CLinkageManager::onDealDetail);
    subscribe(vexservice::DATA_POSITION, &CLinkageManager::onPositionStat);
}

void CLinkageManager::removeAccountDatas(const std::string& accountKey) {
    const CLock lock(m_mutex);
    m_pLedger->removeAccount(accountKey, dayKey(m_pTradeDate->get()));
    m_pHistory->m_historyOrders.dropAccount(accountKey);
    m_pPositionReports->drop(accountKey);
    m_pCurves->forgetAccount(accountKey);
}

}  // namespace TC
