#pragma once

/// @file
/// What a client that loads the library at run time calls.

#include "linkage/balance/balancebook.h"
#include "linkage/balance/balanceplan.h"
#include "linkage/core/balanceasker.h"
#include "linkage/core/linkageoptions.h"
#include "linkage/core/startup.h"
#include "linkage/ledger/types.h"
#include "linkage/stats/periodpoint.h"
#include "platform/records/accountinfo.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <QtPlugin>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

class QObject;

namespace TC {

class CEnhanceDrawManager;
class CLinkageManager;

/// The library for a client that does not link it but loads it at run time:
///
///     QPluginLoader loader("liblinkage.so");
///     auto* const linkage = qobject_cast<TC::ILinkagePlugin*>(loader.instance());
///
/// The client links linkage::platform alone, installs its services there, and reaches everything
/// through this interface; none of its calls needs a symbol of the library. Do not unload the
/// library.
///
/// The interface is the library's own object and lives as long as the library. Every operation has
/// the contract of the manager's operation of its name (linkage/core/clinkagemanager.h) and, but
/// for those under "life", makes the manager when there is none; where that is not possible it
/// throws utils::ServiceMissing.
class ILinkagePlugin {
public:
    virtual ~ILinkagePlugin() = default;

    // ------------------------------------------------------------------ life

    /// The version of the library, as TC::loadedVersion(); the loader's metadata has it too,
    /// before anything of the library has run.
    virtual const char* version() const = 0;

    /// What the library needs and does not find; see linkage/core/startup.h. Ask it on the thread
    /// that will call init().
    virtual std::vector<MissingService> missingServices() const = 0;

    /// Makes the manager where there is none, on the calling thread, and begins its work. False,
    /// with a line in the log, when something is missing; then it can be called again.
    virtual bool init(const LinkageOptions& options) = 0;
    /// Whether init() has begun the work. It makes no manager.
    virtual bool isInited() const = 0;
    /// Takes the manager down; returns when none of its handlers runs and every save is on disk.
    virtual void release() = 0;

    /// The manager itself, made when there is none; throws utils::ServiceMissing when it cannot be
    /// made. For clients that link the library, and as the sender of its Qt signals: object() can
    /// be connected with the SIGNAL() macro.
    virtual CLinkageManager& linkage() = 0;
    /// The manager as a QObject.
    virtual QObject* object() = 0;
    /// The chart graphics; see linkage/draw/cenhancedrawmanager.h. Makes no CLinkageManager.
    virtual CEnhanceDrawManager& draw() = 0;

    // -------------------------------------------------------------- accounts

    /// Requests every account that the data center knows.
    virtual void requestAccounts() = 0;
    /// Requests one account; nothing happens when the data center does not know it.
    virtual void requestAccount(const std::string& accountKey) = 0;
    /// The followed accounts in key order.
    virtual std::vector<boost::shared_ptr<vexservice::CAccountInfo>> getAccounts() const = 0;

    // --------------------------------------------------------------- queries

    /// The current trade date, "yyyyMMdd".
    virtual std::string getTradeDate() const = 0;
    /// Stock keys with orders or deals today.
    virtual std::set<std::string> getStocks() const = 0;
    /// Every strategy seen so far.
    virtual std::set<std::string> getStrategys() const = 0;
    /// How many orders of a strategy are running; "" counts those of the whole account.
    virtual int getRunningOrders(const std::string& accountKey,
                                 const std::string& strategy) const = 0;
    /// As getRunningOrders, for tasks.
    virtual int getRunningTasks(const std::string& accountKey,
                                const std::string& strategy) const = 0;
    /// Traded figures by stock key; the manager goes on updating the records.
    virtual std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> getTradeStatDatas(
        const std::string& accountKey, const std::string& strategy) const = 0;
    /// Orders of one stock on a day (local midnight in seconds since the epoch), by account key and
    /// record key.
    virtual std::map<std::string,
                     std::map<unsigned long long, boost::shared_ptr<vexservice::COrderDetail>>>
    getOrderDetails(int day, const std::string& stockKey,
                    const std::set<std::string>& accountKeys) const = 0;
    /// As getOrderDetails, for deals.
    virtual std::map<std::string,
                     std::map<unsigned long long, boost::shared_ptr<vexservice::CDealDetail>>>
    getDealDetails(int day, const std::string& stockKey,
                   const std::set<std::string>& accountKeys) const = 0;
    /// Profit in yuan over the selected accounts, strategies and stocks: today's entry alone.
    virtual std::map<int, double> getTotalProfits(const std::set<std::string>& accountKeys,
                                                  const std::set<std::string>& strategies,
                                                  const std::set<std::string>& stockKeys,
                                                  bool todayOnly) const = 0;
    /// Bought and sold amount in yuan over the selected accounts, strategies and stocks, by day.
    virtual std::map<int, std::pair<double, double>> getTotalBuySellAmounts(
        const std::set<std::string>& accountKeys, const std::set<std::string>& strategies,
        const std::set<std::string>& stockKeys, bool todayOnly) const = 0;
    /// Both calculators together, which getPeriodCurve needs.
    virtual void startCalculators() = 0;
    /// Both calculators off; it takes effect at their next run.
    virtual void stopCalculators() = 0;
    /// The curve of one strategy over the day, by minute of the day.
    virtual std::map<int, PeriodPoint> getPeriodCurve(const std::string& accountKey,
                                                      const std::string& strategy) const = 0;
    /// The statistics of the history store, by history key.
    virtual std::map<std::string, TradeStatData> getHistoryStatData() const = 0;

    // -------------------------------------------------------------- balances

    /// Asks for a balance of a pair, which starts in 5 s; false when it is refused.
    virtual bool runAutoBalance(const std::string& accountKey, const std::string& strategy,
                                EBalanceAsker asker) = 0;
    /// What balancing would send now.
    virtual BalancePlan previewBalance(const std::string& accountKey, const std::string& strategy,
                                       bool grouped) const = 0;
    /// What became of the balances, oldest first. Empty without LinkageOptions::guard.
    virtual std::vector<BalanceRecord> getBalances(
        const std::optional<std::string>& account,
        const std::optional<std::string>& strategy) const = 0;
    /// Cancels the orders that run of a pair; false when the pair was never seen.
    virtual bool cancelAllOrders(const std::string& accountKey, const std::string& strategy) = 0;
    /// Terminates the tasks that run of a pair; false when the pair was never seen.
    virtual bool cancelAllTasks(const std::string& accountKey, const std::string& strategy) = 0;
    /// Sets the balance time ("hhmmss") of a key: account, ":", strategy.
    virtual void addBalanceTime(const std::string& key, const std::string& time) = 0;
    /// Takes the time of a key out of the table; false when it has none.
    virtual bool deleteBalanceTime(const std::string& key) = 0;
    /// The table of balance times.
    virtual std::map<std::string, std::string> getBalanceTime() const = 0;
    /// Merges today's unequal stocks of a pair into the history store.
    virtual void addHistoryLinkdata(const std::string& accountKey, const std::string& strategy) = 0;
    /// Balances what the history store holds of a pair, with one command for all stocks.
    virtual void doHistoryBalance(const std::string& accountKey, const std::string& strategy) = 0;
    /// Waits until every save asked for is on disk, or has failed.
    virtual void finishSaves() = 0;

    // --------------------------------------------------------------- signals
    // Each connects a slot to the manager's signal until the connection is cut or the manager is
    // released. Threads and locks are those of the signal.

    /// Connects to CLinkageManager::m_sigNewTradingDay: the new trade date.
    virtual boost::signals2::connection onNewTradingDay(
        const boost::function<void(const std::string&)>& slot) = 0;
    /// Connects to CLinkageManager::sigProfitChanged: account key, strategy, yuan.
    virtual boost::signals2::connection onProfitChanged(
        const boost::function<void(const std::string&, const std::string&, double)>& slot) = 0;
    /// Connects to CLinkageManager::sigStocksChanged.
    virtual boost::signals2::connection onStocksChanged(const boost::function<void()>& slot) = 0;
    /// Connects to CLinkageManager::sigStrategysChanged.
    virtual boost::signals2::connection onStrategysChanged(const boost::function<void()>& slot) = 0;
    /// Connects to CLinkageManager::sigStatDataChanged.
    virtual boost::signals2::connection onStatDataChanged(const boost::function<void()>& slot) = 0;
    /// Connects to CLinkageManager::sigBalanceChanged: the balance's number.
    virtual boost::signals2::connection onBalanceChanged(
        const boost::function<void(int)>& slot) = 0;
};

}  // namespace TC

/// The number changes when a client must be compiled anew.
#define LINKAGE_PLUGIN_IID "linkage.plugin/1"
Q_DECLARE_INTERFACE(TC::ILinkagePlugin, LINKAGE_PLUGIN_IID)
