#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/core/reconciling.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/tape/step.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

namespace TC {

namespace {

/// The account's data; empty when there is none or the data center fails.
boost::shared_ptr<vexservice::CAccountData> findData(const char* operation, std::uint64_t hash) {
    try {
        return dataCenter().getAccountData(hash);
    } catch (...) {
        logThrown(operation);
        return {};
    }
}

}  // namespace

void CLinkageManager::requestAccounts() {
    const CStep step(tape(), [] { return callOf("requestAccounts"); });
    post(loadAccounts(ELoadCause::Request));
}

void CLinkageManager::requestAccount(const std::string& accountKey) {
    if (!m_pEngine->hasStrand()) return;
    const CStep step(tape(), [&] { return callOf("requestAccount", accountKey); });
    const auto accountData = findData("CLinkageManager::requestAccount", utils::hash(accountKey));
    if (!accountData) return;
    post("loadAccount",
         [this, accountData] { doRequestAccount(accountData, ELoadCause::Request); });
}

void CLinkageManager::slotRefreshAccount(const vexservice::CAccountInfo& accountInfo) {
    const CStep step(tape(), [&] { return callOf("accountReady", accountInfo.getKey()); });
    const auto accountData = findData("CLinkageManager::slotRefreshAccount", accountInfo.hash());
    if (!accountData) return;
    LINKAGE_LOG_INFO("CLinkageManager::slotRefreshAccount",
                     "CLinkageManager::slotRefreshAccount, acc:{0}", accountInfo.getKey());
    post("loadAccount",
         [this, accountData] { doRequestAccount(accountData, ELoadCause::AccountReady); });
}

void CLinkageManager::slotProxyLoginStatus(EProxyConnectionStatus status, QString) {
    const CStep step(tape(), [&] { return callOf("login", isProxyLoginSuccess(status)); });
    if (isProxyLoginSuccess(status)) post(loadAccounts(ELoadCause::Login));
}

void CLinkageManager::slotNewTradingDate(std::string date) {
    const CStep step(tape(), [&] { return callOf("newTradingDate", date); });
    // The data center knows the day; what the exchange announces may be ahead of it.
    std::string day = date;
    attempt("CLinkageManager::slotNewTradingDate", [&] { day = dataCenter().getTradingDate(); });
    {
        const CLock lock(m_mutex);
        m_pTradeDate->set(day);
        m_pQuotes->newDay();
        m_pLedger->forgetPrices();
        newStatsDay();
        newBalanceDay();
        newStoreDay();
    }
    post(LeftWork("loadTasks", {}));
    post(loadAccounts(ELoadCause::Rollover));
    if (m_options.guard) post(LeftWork("endLoading", {}));
    post(LeftWork("newDay", {date}));
}

void CLinkageManager::doNewTradingDay(const std::string& date) {
    raise("CLinkageManager::doNewTradingDay", m_sigNewTradingDay, date);
}

void CLinkageManager::doRequestAccounts(ELoadCause cause) {
    LINKAGE_LOG_INFO("CLinkageManager::doRequestAccounts", "CLinkageManager::doRequestAccounts");
    constexpr auto operation = "CLinkageManager::doRequestAccounts";
    std::vector<boost::shared_ptr<vexservice::CAccountData>> accounts;
    if (!attempt(operation, [&] { dataCenter().getAllAccountData(accounts); })) {
        return retryLater("all accounts", loadAccounts(cause));
    }
    for (const auto& account : accounts) {
        if (account && account->getAccountInfo()) doRequestAccount(account, cause);
    }
}

}  // namespace TC
