#pragma once

#include "linkage/balance/balancebook.h"
#include "linkage/balance/balanceplan.h"
#include "linkage/balance/linkagechanges.h"
#include "linkage/core/balanceasker.h"
#include "linkage/core/linkageoptions.h"
#include "linkage/core/mutex.h"
#include "linkage/core/reconciliation.h"
#include "linkage/core/room.h"
#include "linkage/export.h"
#include "linkage/ledger/types.h"
#include "linkage/record/recordingoptions.h"
#include "linkage/stats/periodpoint.h"
#include "linkage/store/filedrecords.h"
#include "linkage/store/historyrequest.h"
#include "linkage/store/importreport.h"
#include "platform/records/accountinfo.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/positionstatics.h"
#include "platform/records/taskdetail.h"
#include "platform/services/connections.h"
#include "platform/services/tradeclient.h"
#include "platform/utils/bsonalias.h"
#include "platform/utils/singleton.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>

#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/signal.hpp>

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vexservice {
class CAccountData;
struct CPriceData;
struct IData;
}  // namespace vexservice

namespace TC {

namespace statement {
class CAccountChoice;
class CWorkbook;
struct Statement;
template <class Record>
struct Parsed;
}  // namespace statement

class CBookWriter;
class CDoor;
class CRecording;
class CTapeSwitch;
class ITape;
class CFileSaver;
class CGuardedBalances;
class CLedger;
class CCurveData;
class CQuotes;
class CReconciliations;
class CServerHistory;
struct AccountLoad;
struct DayTotals;
struct DealChange;
struct DealReport;
struct EngineState;
struct FollowedAccounts;
struct InboxItem;
struct BalanceState;
struct GuardPair;
struct HistoryQuery;
struct CMinuteBar;
struct HistoryState;
struct ImportState;
struct LeftWork;
struct ManagerState;
struct PositionReports;
struct RecordingPicture;
template <class T>
class CPublished;

/// Follows, per account and strategy, every order, deal, algorithmic task and
/// position that the trade data center reports; derives statistics from them; and
/// balances strategies.
///
/// Life: `utils::CSingletonT<CLinkageManager>::instance()` makes it (its files are read then;
/// without TC::CAppConfig or TC::IDataDirectory it throws utils::ServiceMissing, which names all
/// that is missing, and a later call makes it),
/// `init()` connects it to the client, `release()` takes it down and returns when none of its
/// handlers runs and every save asked for is on disk. A call of instance() during release(), or
/// in a handler that has called release(), makes a second manager: stop such calls first.
///
/// Threads: every public operation may be called from any thread. Unless it says
/// otherwise it takes the manager's one recursive lock for its whole run and returns
/// copies. What arrives from the client's services is posted to the strand "linkage"
/// and handled there, one report at a time, in the order of arrival.
///
/// Failure: what cannot be done is logged and left undone. When a service that is not installed,
/// or one that throws, is asked on the thread of a call, the call may throw what the service threw;
/// the manager stays whole. When a slot of the client throws, the exception is logged and that one
/// raise ends: slots connected after it are not called, and the manager's work goes on.
///
/// Every public operation is virtual, and every signal but the Qt ones a member, so that a client
/// that loads the library at run time can use them without a symbol of it (linkage/plugin.h).
class LINKAGE_EXPORT CLinkageManager : public QObject,
                                       public boost::enable_shared_from_this<CLinkageManager> {
    Q_OBJECT

public:
    // ------------------------------------------------------------------ life
    // linkage/core/lifecycle.cpp

    /// Sets the options. Call it before init(); the last call counts. After init(), or when a
    /// value is out of range, it changes nothing and logs a line.
    virtual void setOptions(const LinkageOptions& options);

    /// The options as they stand. Takes the lock; after init() they do not change any more.
    virtual LinkageOptions options() const;

    /// Connects the manager to the client's services, requests tasks and accounts and
    /// starts the calculators. Once it has done so, a further call does nothing.
    ///
    /// Where something is missing (missingServices() in linkage/core/startup.h), one log line
    /// names all of it. When init() needs it, or when a service throws while it is asked for the
    /// trade date or the user's name, nothing is begun, and a later call begins.
    virtual void init();

    /// Whether init() has begun the work.
    virtual bool isInited() const;

    /// Called by release(): shuts the door to late callbacks, waits for handlers on other
    /// threads and finishes saves. Inside a handler, or a slot that the manager called, it does
    /// not wait; the manager is then destroyed when that handler ends, and reports that still
    /// wait are dropped. Not from a thread that holds a lock which a handler may want.
    virtual void retire();

    /// Everything the manager holds, in documented form: linkage/core/managerstate.h. For
    /// diagnosis and tests.
    LINKAGE_LOCAL ManagerState state() const;

    /// Where the figures of the day disagree with one another, in words; empty when they
    /// are sound. It walks everything. For diagnosis and tests.
    virtual std::vector<std::string> checkIntegrity() const;

    // ------------------------------------------------------ account registry
    // linkage/core/accountregistry.cpp, accountload.cpp; before init() requests do nothing

    /// Requests every account that the data center knows. Takes no lock.
    virtual void requestAccounts();

    /// Requests one account; nothing happens when the data center does not know it.
    /// Takes no lock.
    virtual void requestAccount(const std::string& accountKey);

    /// What the manager had missed, found by loading accounts again (login, account ready,
    /// request, rollover). One entry for each such load, oldest first, the newest 1,000. A load
    /// that found anything raises sigReconciled; with LinkageOptions::guard it is logged as
    /// well. See linkage/core/reconciliation.h.
    virtual std::vector<Reconciliation> getReconciliations() const;

    // ----------------------------------------------------------- calculators
    // linkage/stats/calculators.cpp, linkage/stats/extcalculator.cpp

    /// The two switches of the period calculation, which runs every 10 s while at
    /// least one of them is on. Stopping takes effect at its next run.
    virtual void startProfitCalculator();
    /// Turns the switch of the profit calculation off; see startProfitCalculator().
    virtual void stopProfitCalculator();
    /// Turns the switch of the balance calculation on; see startProfitCalculator().
    virtual void startBalanceCalculator();
    /// Turns the switch of the balance calculation off; see startProfitCalculator().
    virtual void stopBalanceCalculator();

    /// The profit and balance curve of one strategy of one account over the day: minute
    /// of the day to the figures at the end of that minute, summed over its stocks; the
    /// strategy "" is the account as a whole. From the first deal to the running minute;
    /// none in the midday pause.
    ///
    /// Closed minutes are valued at the close of their bar. While there is none, a minute of an
    /// auction is valued at the price of the auction's deals, another one at the last live price
    /// of the minute, or at the newest of these of a minute before; when no price was seen by
    /// then, at the mean price of the newest minute with own deals. A bar that comes later, also
    /// hours after the close, takes the place of such a price. Live prices are not kept over a
    /// restart; the bars are asked for again.
    ///
    /// The minutes come from the deals' times as of the last run of the period
    /// calculation (10 s), also for client type 3. The last point is the present: the
    /// effective figures at the newest price. It equals the strategy's live profit at
    /// that price to the bit, and has the deals whose time cannot be read. When the account is
    /// loaded again, and when the trade date is announced once more, the minutes stay as they were
    /// until the next run. Empty before the period calculation has run on the day.
    virtual std::map<int, PeriodPoint> getPeriodCurve(const std::string& accountKey,
                                                      const std::string& strategy) const;

    // --------------------------------------------------------------- queries
    // linkage/stats/queries.cpp, linkage/stats/totals.cpp
    // A day is the local midnight of a trade date in seconds since the epoch.

    /// The current trade date, "yyyyMMdd". Never waits for the manager's lock.
    virtual std::string getTradeDate() const;

    /// Stock keys with orders or deals today. Makes today's entries when missing.
    virtual std::set<std::string> getStocks();

    /// Every strategy seen so far.
    virtual std::set<std::string> getStrategys() const;

    /// How many orders or tasks of a strategy are running; the strategy "" counts
    /// those of the whole account. Unknown ones count 0.
    virtual int getRunningOrders(const std::string& accountKey, const std::string& strategy) const;
    /// As getRunningOrders, for tasks.
    virtual int getRunningTasks(const std::string& accountKey, const std::string& strategy) const;

    /// Traded figures by stock key. The records are those that intake goes on
    /// updating. Never waits for the manager's lock: while the account is loaded again, other
    /// threads get the records of before.
    virtual std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> getTradeStatDatas(
        const std::string& accountKey, const std::string& strategy) const;

    /// The same for several accounts and one strategy at once: by account key, for those
    /// of the given accounts (none: of all) that have any. What `out` held before goes.
    /// Never waits for the manager's lock.
    virtual void getTradeStatDatas(
        const std::list<std::string>& accountKeys, const std::string& strategy,
        std::map<std::string, std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>>>& out)
        const;

    /// Orders, deals or tasks of one stock, by account key and record key, for those
    /// of the given accounts that have any.
    virtual std::map<std::string,
                     std::map<unsigned long long, boost::shared_ptr<vexservice::COrderDetail>>>
    getOrderDetails(int day, const std::string& stockKey,
                    const std::set<std::string>& accountKeys) const;
    /// As getOrderDetails, for deals.
    virtual std::map<std::string,
                     std::map<unsigned long long, boost::shared_ptr<vexservice::CDealDetail>>>
    getDealDetails(int day, const std::string& stockKey,
                   const std::set<std::string>& accountKeys) const;
    /// As getOrderDetails, for tasks, which belong to the running day.
    virtual std::map<std::string,
                     std::map<unsigned long long, boost::shared_ptr<vexservice::CTaskDetail>>>
    getTaskDetails(const std::string& stockKey, const std::set<std::string>& accountKeys) const;

    /// Bought and sold volume (shares) or amount (yuan) of the given accounts in one
    /// stock on one day: of the deals that the data center reported to this manager, each as
    /// it was first reported, those that balance history included. Not of deals of a past day
    /// that the trading server answered or a statement brought, and not of days before the
    /// manager was made.
    ///
    /// With LinkageOptions::filedTotals those of a past day are of all deals that getDealDetails
    /// has of it, as they stand now.
    virtual std::pair<int, int> getBuySellVolumes(int day, const std::string& stockKey,
                                                  const std::set<std::string>& accountKeys) const;
    /// As getBuySellVolumes, for amounts: bought and sold, yuan.
    virtual std::pair<double, double> getBuySellAmounts(
        int day, const std::string& stockKey, const std::set<std::string>& accountKeys) const;

    /// The followed accounts in key order.
    virtual std::vector<boost::shared_ptr<vexservice::CAccountInfo>> getAccounts() const;

    /// Finds followed accounts by account ID: adds the account keys of every account
    /// that has one of the IDs to `accountKeys`. True when every ID was found. No IDs add
    /// no key, which selects all accounts wherever a set of keys is asked for.
    virtual bool getAccounts(const QList<QString>& accountIds,
                             std::set<std::string>& accountKeys) const;

    /// Account IDs of futures accounts (kind 1) or of all others, in key order.
    virtual std::list<std::string> getAccountIds(int kind) const;

    // Totals over the selected accounts, strategies and stock keys, by day.
    //
    // An empty set selects all. The strategy "" selects what belongs to no strategy:
    // what the account-wide figures of a stock have beyond those of its strategies. So
    // nothing counts twice, and the parts of any partition of accounts, of stocks, or of
    // getStrategys() and "" add up to the whole. Today always has an entry. Records are
    // added in the order of account, stock and strategy.

    /// Profit in yuan: the records' present profit, as the statistics calculator left
    /// it. What belongs to no strategy is valued at the price of the last pass where the
    /// stock has records of strategies too. Of earlier days no profit is kept: with or without
    /// `todayOnly` there is today's entry alone.
    virtual std::map<int, double> getTotalProfits(const std::set<std::string>& accountKeys,
                                                  const std::set<std::string>& strategies,
                                                  const std::set<std::string>& stockKeys,
                                                  bool todayOnly) const;

    /// Position value in yuan, from the same records and by the same rules. The values
    /// of strategies with opposite positions are added, not netted.
    virtual std::map<int, double> getTotalBalances(const std::set<std::string>& accountKeys,
                                                   const std::set<std::string>& strategies,
                                                   const std::set<std::string>& stockKeys,
                                                   bool todayOnly) const;

    /// Bought and sold amount in yuan. Today: the effective amounts of the traded
    /// figures. Other days, unless `todayOnly`: the amounts of the deals that are filed
    /// under them (reported then, answered by the trading server, imported), less those
    /// that balance history, which no strategy's figures hold.
    virtual std::map<int, std::pair<double, double>> getTotalBuySellAmounts(
        const std::set<std::string>& accountKeys, const std::set<std::string>& strategies,
        const std::set<std::string>& stockKeys, bool todayOnly) const;

    /// The largest relative distance of a deal price, or of an order price, from the
    /// reference price (a fraction: 0.01 is one percent), over what is kept of the
    /// selected accounts and stock keys; an empty set selects all. 0 when there is none.
    virtual double getDealAmplitude(const std::set<std::string>& accountKeys,
                                    const std::set<std::string>& stockKeys) const;
    /// As getDealAmplitude, for order prices.
    virtual double getOrderAmplitude(const std::set<std::string>& accountKeys,
                                     const std::set<std::string>& stockKeys) const;

    /// Open lots of all accounts of a strategy at one price level: `price` (yuan) in
    /// steps of `tick` (yuan), rounded as order intake does. Of the open lots per order.
    virtual int getOrderNumberByPrice(const QString& strategy, double price, double tick) const;

    /// Positions in one stock, of the given accounts (none: of all followed) that have
    /// one: account IDs, volumes held and volumes that may be sold (shares), side by
    /// side, in account key order. What the three lists held before goes. From the
    /// merged positions and the followed accounts.
    virtual void getPositionNumber(const QString& stockKey, QList<QString>& accountIds,
                                   QList<int>& volumes, QList<int>& availables,
                                   const QList<QString>& accountKeys) const;

    /// Shares that a task has traded of one stock so far: the sum over its items of that
    /// stock, for all accounts; 0 for no task. Takes no lock.
    virtual int getTaskItemFinishNumber(const boost::shared_ptr<vexservice::CTaskDetail>& task,
                                        const std::string& stockKey) const;

    // ------------------------------------------------------------- balancing
    // linkage/balance/balanceschedule.cpp, linkage/balance/autobalance.cpp

    /// The table of balance times: key (account, ":", strategy) to "hhmmss". Each
    /// change is saved. These never wait for the manager's lock.
    ///
    /// The table is for the client: it is the client who looks at the clock and asks for the
    /// balance (runAutoBalance) at its time; the manager starts none by itself. A time is kept
    /// over a restart only with the pair's history record, and only until the history is saved
    /// by another change: a pair without a record has lost its time when the manager is made
    /// anew. With LinkageOptions::keepBalanceTimes the whole table is kept in a file of its own
    /// and read by setOptions(); a time of the history files holds before one of that file.
    ///
    /// Any text is taken as a time; with keepBalanceTimes or the guard only a time of day,
    /// "000000" to "235959", and any other is refused with a log line.
    virtual void addBalanceTime(const std::string& key, const std::string& time);
    /// Takes a time out of the table; false, and no save, when the key has none.
    virtual bool deleteBalanceTime(const std::string& key);
    /// The table of balance times as it is now: key (account, ":", strategy) to "hhmmss".
    virtual std::map<std::string, std::string> getBalanceTime() const;

    /// Asks for a balance of a pair, which starts in 5 s. False when one is pending,
    /// and before init(). One timer serves all pairs: a pair that still waits for its
    /// start is started at once when another one (or the same) asks.
    ///
    /// With LinkageOptions::guard each balance has 5 s of its own, and one that overlaps
    /// another waits for its turn. False when it is refused; getBalances tells why. `asker`
    /// goes to the book.
    virtual bool runAutoBalance(const std::string& accountkey, const std::string& strategy,
                                EBalanceAsker asker = EBalanceAsker::Demand);

    /// Starts a balance now: records it as pending, cancels what runs of the pair and
    /// arms the watchdog; or balances at once when nothing runs.
    virtual void runAutoBalanceTimer(const std::string& accountkey, const std::string& strategy);

    /// Sends a pending balance if nothing of the pair runs any more, or 30 s after its
    /// start.
    virtual void tryAutoBalance(const std::string& accountkey, const std::string& strategy);

    /// What became of the balances since init() on this trade date and the one before, and
    /// of those of this date before a restart: oldest first, of one account and strategy or
    /// of all. Empty without LinkageOptions::guard.
    virtual std::vector<BalanceRecord> getBalances(
        const std::optional<std::string>& account = {},
        const std::optional<std::string>& strategy = {}) const;

    /// Cancel what runs of a pair; false when the pair was never seen.
    virtual bool cancelAllOrders(const std::string& accountkey, const std::string& strategy);
    /// Terminates the tasks that run of a pair; false when the pair was never seen.
    virtual bool cancelAllTasks(const std::string& accountkey, const std::string& strategy);

    /// Emits sigCancelTask. Takes no lock.
    virtual void cancelTask(int number, const QString& text);

    // linkage/balance/balancepreview.cpp

    /// What balancing would send now: per stock the order, or the reason why there is
    /// none. `grouped` previews the form that sends one command for all stocks.
    virtual BalancePlan previewBalance(const std::string& accountkey, const std::string& strategy,
                                       bool grouped = false) const;
    /// As previewBalance, for what the history store holds of the pair.
    virtual BalancePlan previewHistoryBalance(const std::string& accountkey,
                                              const std::string& strategy,
                                              bool grouped = false) const;

    // linkage/balance/historybalance.cpp

    /// Balances what the history store holds of a pair: one command per stock, or one
    /// command for all stocks.
    virtual void doHistoryBalanceBySignalTask(const std::string& accountkey,
                                              const std::string& strategy);
    /// As doHistoryBalanceBySignalTask, with one command for all stocks.
    virtual void doHistoryBalance(const std::string& accountkey, const std::string& strategy);

    // linkage/balance/ordergeneration.cpp

    /// An order's main values as the JSON text of a trade parameter. Takes no lock.
    virtual std::string genTradeParam(const QString& stockcode, int pricetype, double price,
                                      int vol) const;

    // --------------------------------------------------------- history store
    // linkage/store/historystore.cpp, linkage/store/historyvalues.cpp

    /// The statistics of the history store as copies, by history key.
    virtual std::map<std::string, TradeStatData> getHistoryStatData() const;
    /// The records of one history key, by stock key: not copies, but those that the manager goes on
    /// updating. Empty for a key that the store does not have.
    virtual std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> getHistoryLinkageData(
        const std::string& historyKey) const;
    /// The same for a pair: empty when its history key is another pair's ("881" with "5" and
    /// "88" with "15" have the same one).
    virtual std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> getHistoryOfPair(
        const std::string& accountKey, const std::string& strategy) const;

    /// How many orders or tasks that balance history are running; the strategy "" counts those
    /// of the whole account. Unknown ones count 0.
    virtual int getHistoryRunningOrders(const std::string& accountKey,
                                        const std::string& strategy) const;
    /// As getHistoryRunningOrders, for tasks.
    virtual int getHistoryRunningTasks(const std::string& accountKey,
                                       const std::string& strategy) const;

    /// Copies the statistics record of a history key; false, and `out` unchanged, when
    /// there is none. Never waits for the manager's lock.
    virtual bool historyBalance(const std::string& key, TradeStatData& out) const;

    /// Revalues the history store at the newest prices and writes the totals of each
    /// history key into its statistics record. Subscribes to the prices of its stocks. The lock is
    /// held for slices; each key is of one moment.
    virtual void historyStatCalculator();

    /// Merges a pair's statistics, or today's unequal stocks of a pair, into the history store.
    /// Writes no file. Refused with a log line: a pair whose history key is another pair's,
    /// volumes that do not fit into their total or wrapped in the day's figures, amounts that
    /// are not finite.
    virtual void addHistoryStat(const std::string& key, TradeStatData stat);
    /// Merges today's unequal stocks of a pair into the history store. A stock without instrument
    /// detail is left out. A stock that the store did not have shares its record with the day until
    /// the next trade date.
    virtual void addHistoryLinkdata(const std::string& accountKey, const std::string& strategy);

    /// Gives a statistics record an ID of the client's. Nothing happens when the key has no record.
    /// Writes no file.
    virtual void setHistoryStatDataId(const std::string& key, int id);

    /// Whether a history key was already taken into the day's history.
    virtual bool isAlreadyAdd(const std::string& key) const;

    /// Removes pairs with equal totals. The files follow.
    virtual void deleteHistoryAlreadyBalancedata();
    /// Removes one stock of a history key. The files follow.
    virtual void deleteHistoryLinkageData(const std::string& key, const std::string& stock);
    /// Removes everything, its files too, and raises sigHistoryCleared.
    virtual void deleteAllHisTorydata();

    // linkage/store/savefiles.cpp

    /// Waits until every save asked for so far is on disk, or has failed; one that failed
    /// before is tried once more.
    virtual void finishSaves();

    /// Asks for the files to be rewritten, without balance times, on a thread of their own. Their
    /// rows are stamped with the moment, or without `withTime` with the day alone. A save that
    /// fails is logged and tried again.
    virtual void writedata(bool withTime);
    /// As writedata(false), for the statistics file alone, with the balance times; with
    /// LinkageOptions::keepBalanceTimes also for the file of the balance times.
    virtual void writeBlanaceTime();

    // -------------------------------------------- server history and import
    // linkage/store/serverhistory.cpp, importrecords.cpp, importundo.cpp, filedrecords.cpp

    /// Ask the trading server for an account's deals, or orders, of some past days
    /// ("yyyyMMdd", first and last), one after another; give the number of the request, 0
    /// before init(). sigHistoryDealsDone or sigHistoryOrdersDone ends each day, whether it was
    /// answered, refused or lost; getHistoryDay then tells which. A day that is refused, or not
    /// answered within 10 s, is a line in the log, and the next day is asked for. A day that the
    /// client's calendar knows as a day without trading (marlo::IMarketCalendar) is ended without
    /// asking. A range that cannot be asked for is ended with the signal of its first day. Of two
    /// questions for one day the newer one counts.
    virtual std::uint64_t requestAccountDeals(const std::string& accountKey,
                                              const std::string& firstDay,
                                              const std::string& lastDay);
    /// As requestAccountDeals, for orders.
    virtual std::uint64_t requestAccountOrders(const std::string& accountKey,
                                               const std::string& firstDay,
                                               const std::string& lastDay);

    /// What became of a day (local midnight in seconds since the epoch) of an account when it was
    /// asked for last; nothing when it never was. It stands before the day's signal is raised,
    /// and stays over a rollover, not over a restart. See linkage/store/historyrequest.h.
    virtual std::optional<HistoryDay> getHistoryDay(EHistoryRecords records,
                                                    const std::string& accountKey, int day) const;

    /// The requests since init() and how far they have come, oldest first; of those that are over
    /// the newest 1,000.
    virtual std::vector<HistoryRequest> getHistoryRequests() const;

    /// What is filed of an account under a day, by record key.
    virtual std::map<unsigned long long, boost::shared_ptr<vexservice::CDealDetail>>
    getAccountDeals(const std::string& accountKey, int day) const;
    /// As getAccountDeals, for orders.
    virtual std::map<unsigned long long, boost::shared_ptr<vexservice::COrderDetail>>
    getAccountOrders(const std::string& accountKey, int day) const;

    /// The days (local midnight in seconds since the epoch) under which anything is filed of an
    /// account, the running day included.
    virtual std::set<int> getFiledDays(const std::string& accountKey) const;

    /// Where each deal, or order, that is filed of an account under a day comes from, by record
    /// key: every record of getAccountDeals, or getAccountOrders, has an entry. See
    /// linkage/store/filedrecords.h.
    virtual std::map<unsigned long long, RecordSource> getRecordSources(
        EHistoryRecords records, const std::string& accountKey, int day) const;

    /// Imports a statement file (workbook, CSV or text); asks for one with a file dialog
    /// when the path is empty (then on the GUI thread only). What is taken is filed under
    /// its day and changes no figure of the day; importing the same file again changes
    /// nothing. A deal that the trading system reports as well, before or after, is there
    /// once, as reported; one of several statements is there once. The import is kept in a
    /// file of its own in the directory "Balance/imports"; what it filed is there again after
    /// the account's next request, also after a restart. The lock is held for slices of the
    /// file. See linkage/store/importreport.h.
    virtual ImportReport importData(const QString& path = QString());

    /// The report that importData would give, without its number; changes nothing.
    virtual ImportReport importPreview(const QString& path = QString());

    /// The same with what the user has decided: the account of a file that names none, and for
    /// importData the preview that the import must agree with. Of a file that changed, another
    /// import, a new trading date or a report in between nothing stays filed that the preview
    /// does not show; a difference that arises while rows are filed takes them back.
    virtual ImportReport importData(const QString& path, const ImportTerms& terms);
    /// The report that importData would give with these terms; changes nothing.
    virtual ImportReport importPreview(const QString& path, const ImportTerms& terms);

    /// Takes an import back: what no other import and no report holds is gone from its
    /// day. A stock of the running day stays in getStocks until its account is requested.
    /// False when there is no such import. A file that cannot be removed is tried again
    /// later. The lock is held for slices.
    virtual bool undoImport(int number);

    /// The imports that stand, by number.
    virtual std::vector<ImportSummary> getImports() const;

    // --------------------------------------------------------------- changes
    // linkage/balance/changes.cpp

    /// What changed since the cursor was here last: pairs, figures, stocks, orders, deals, tasks
    /// and balances, each once, as it is now; and moves the cursor on. For a screen, which asks ten
    /// times a second: the answer costs what changed, not what exists.
    ///
    /// A fresh cursor is told everything, and so is one of another manager or of so long ago that
    /// more has changed since than is remembered. An answer has about `most` records; when there is
    /// `more`, ask again. Every reader has a cursor of its own. See linkage/ledger/changes.h.
    virtual LinkageChanges getChanges(ChangeCursor& cursor, std::size_t most = CHANGES_AT_ONCE);

    // ------------------------------------------------------------- recording
    // linkage/record/startrecording.cpp

    /// Begins to record everything that decides what the manager does, so that the day can be
    /// played and proved later (linkage-replay --verify). After init() the recording begins with a
    /// picture of all that the manager has, as soon as no operation is in its middle and no account
    /// waits to be loaded (RecordingState::waits); the lock is held while the picture is taken.
    /// False, and a log line, while another recording goes on, or when the file cannot be made. A
    /// recording never disturbs trading: when it cannot go on, it ends with a log line. The options
    /// say whether another file follows one that is full, and which old recordings are removed
    /// (linkage/record/recordingoptions.h).
    virtual bool startRecording(const QString& file, const RecordingOptions& options = {});
    /// Ends the recording and waits until it is on disk. Does nothing when none runs. Releasing the
    /// manager ends it, too.
    virtual void stopRecording();
    /// The recording as it stands; empty when none was begun.
    virtual std::optional<RecordingState> getRecording() const;

    // --------------------------------------------------------------- signals

    /// A new trade date was loaded.
    boost::signals2::signal<void(const std::string&)> m_sigNewTradingDay;
    /// The profit of a strategy (account key, strategy, yuan) after a pass that
    /// revalued it. Raised without the manager's lock.
    boost::signals2::signal<void(const std::string&, const std::string&, double)> sigProfitChanged;
    /// A stock, a strategy, or any figure is new. Raised under the manager's lock. Only after
    /// the revaluation, every 3 s, sigStatDataChanged is raised without it.
    boost::signals2::signal<void()> sigStocksChanged;
    /// A strategy is new; otherwise as sigStocksChanged.
    boost::signals2::signal<void()> sigStrategysChanged;
    /// Any figure is new; otherwise as sigStocksChanged, but for the revaluation.
    boost::signals2::signal<void()> sigStatDataChanged;
    /// Loading an account again showed that something had been missed. Raised under the
    /// manager's lock, on the strand.
    boost::signals2::signal<void(const Reconciliation&)> sigReconciled;
    /// The whole history store was deleted. Raised under the manager's lock, on the thread
    /// that deletes; a slot may release the manager all the same.
    boost::signals2::signal<void()> sigHistoryCleared;
    /// A balance (its number) has a new state, or news of its orders; getBalances has it. Only
    /// with LinkageOptions::guard. Raised under the manager's lock, on any thread, when the
    /// report that made the news is wholly in; a slot may release the manager.
    boost::signals2::signal<void(int)> sigBalanceChanged;

Q_SIGNALS:
    /// Somebody called cancelTask(), with these values. Emitted on the thread of that call.
    void sigCancelTask(int number, const QString& text);
    /// A past day of an account is over for deals: answered, refused or lost (getHistoryDay tells).
    /// `day` is its local midnight, invalid when the range cannot be asked for and names no day.
    /// Emitted without the manager's lock.
    void sigHistoryDealsDone(const QDateTime& day, std::string accountKey);
    /// As sigHistoryDealsDone, for orders.
    void sigHistoryOrdersDone(const QDateTime& day, std::string accountKey);

    // What follows is not for clients, and not on their pages.
    /// @cond
protected Q_SLOTS:
    // linkage/core/accountregistry.cpp
    LINKAGE_LOCAL void slotNewTradingDate(std::string date);
    LINKAGE_LOCAL void slotProxyLoginStatus(TC::EProxyConnectionStatus status, QString text);
    LINKAGE_LOCAL void slotRefreshAccount(const vexservice::CAccountInfo& accountInfo);

protected:
    friend class utils::CSingletonT<CLinkageManager>;
    /// The replay command calls the protected operations that its format names.
    friend struct ManagerAccess;
    friend struct PictureMembers;
    friend class CGuardedBalances;

    // life: linkage/core/lifecycle.cpp, guarded.h
    LINKAGE_LOCAL CLinkageManager();
    LINKAGE_LOCAL ~CLinkageManager() override;
    LINKAGE_LOCAL void askTradeDate() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void connectClient() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void startEngine() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void makeTimers() LINKAGE_REQUIRES(m_mutex);
    /// Begins in the middle of a day, whose picture is read next.
    LINKAGE_LOCAL void resume() LINKAGE_REQUIRES(m_mutex);
    /// The one way onto the strand: runs `work` there if the manager still lives.
    LINKAGE_LOCAL void post(boost::function<void()> work);
    using Work = boost::function<void()>;
    /// The same with a step of its own on the tape. `what` names the work there.
    LINKAGE_LOCAL void post(const LeftWork& what, Work work);
    LINKAGE_LOCAL void post(const LeftWork& what) { post(what, workOf(what)); }
    /// Wraps a callback of a client's service or a timer: it runs only while the
    /// manager lives, and release() waits for it.
    template <class F>
    LINKAGE_LOCAL auto guarded(F work) const;
    LINKAGE_LOCAL void drainLater();
    LINKAGE_LOCAL void drainInbox();
    /// Takes reports of the batch in one hold of the lock, up to the first that cannot be taken so;
    /// gives how many.
    LINKAGE_LOCAL std::size_t takeReports(std::size_t from);
    /// False for other work, and for a deal whose fee must be asked for: handle() takes them,
    /// without the lock.
    LINKAGE_LOCAL bool takeHeld(const InboxItem& item);
    LINKAGE_LOCAL void handle(InboxItem& item);
    LINKAGE_LOCAL void finish(const InboxItem& item, bool whole);

    // steps and recording: linkage/record/leftwork.cpp, linkage/record/startrecording.cpp
    /// Makes work that runs later, on the strand or at a timer, a step of its own. Empty when the
    /// tape keeps it.
    LINKAGE_LOCAL Work later(const LeftWork& what, Work work);
    LINKAGE_LOCAL Work later(const LeftWork& what) { return later(what, workOf(what)); }
    /// The work of a name that says all of it; empty for another one.
    LINKAGE_LOCAL Work workOf(const LeftWork& what);
    /// The same work as a step, under the number that it waits under.
    LINKAGE_LOCAL Work leftWork(std::uint64_t number, const LeftWork& what, Work work);
    /// Sets what follows the manager's steps from now on; before init(). False while a step is on
    /// an earlier tape.
    LINKAGE_LOCAL bool setTape(ITape* tape);
    LINKAGE_LOCAL void makeRecording(const QString& file, const RecordingOptions& options)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void beginRecording() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void tryRecording(CRecording& recording) const;
    LINKAGE_LOCAL RecordingPicture takePicture();
    /// The first lines of a recording that begins now.
    LINKAGE_LOCAL std::string recordingHead() const;
    /// The picture of a manager that takes no step; nothing before init(), and while work waits
    /// that a picture cannot tell. That work is then known as left before.
    LINKAGE_LOCAL std::optional<RecordingPicture> pictureAtRest();
    LINKAGE_LOCAL std::string exactState();
    /// Notes a check sum of the state on the tape. `sums`: false for a copy without names, whose
    /// state is another one; the sum is 0 then.
    LINKAGE_LOCAL void noteState(bool sums = true);
    LINKAGE_LOCAL void flushRecordingLater() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL bool recordingIsFull() const LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL bool recordInNextFile() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void armRecordTimer(std::int64_t micros, Work work) LINKAGE_REQUIRES(m_mutex);
    /// What follows the manager's steps.
    LINKAGE_LOCAL const std::shared_ptr<CTapeSwitch>& tape() const { return m_pTape; }

    // retries after a service failed: linkage/core/retries.cpp
    /// Runs `work` on the strand after a delay, and again as long as it throws. A later call
    /// with the same name replaces the work.
    LINKAGE_LOCAL void retryLater(const std::string& name, const LeftWork& what);
    LINKAGE_LOCAL void retryNow();
    /// Loads an account again after a delay, because some of its records were missed.
    LINKAGE_LOCAL void loadLater(const std::string& accountKey);
    LINKAGE_LOCAL void loadAgain(const std::string& accountKey);

    // account registry: linkage/core/accountregistry.cpp, accountload.cpp
    class LINKAGE_LOCAL CLoad;
    LINKAGE_LOCAL void doRequestAccounts(ELoadCause cause);
    LINKAGE_LOCAL void doRequestAccount(
        const boost::shared_ptr<vexservice::CAccountData>& accountData, ELoadCause cause);
    using Records = std::vector<boost::shared_ptr<vexservice::IData>>;
    /// Plays records in one hold of the lock; fees are asked for before. False when a record is
    /// not wholly in the figures because a service threw.
    LINKAGE_LOCAL bool replay(const std::string& accountKey, const Records& orders,
                              const Records& deals, const Records& positions);
    /// Drops what the manager has of the account and plays its records, in one hold of the lock.
    LINKAGE_LOCAL bool playLoad(const AccountLoad& load);
    LINKAGE_LOCAL void reconcile(const AccountLoad& load);
    LINKAGE_LOCAL void noteReconciliation(const Reconciliation& found) LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void subscribeAccount(const std::string& accountKey);
    LINKAGE_LOCAL void removeAccountDatas(const std::string& accountKey);
    LINKAGE_LOCAL void doNewTradingDay(const std::string& date);

    // intake: linkage/core/orderintake.cpp, dealintake.cpp, taskintake.cpp, priceintake.cpp
    class LINKAGE_LOCAL COrderWatch;
    LINKAGE_LOCAL void onOrderDetail(const std::string& accountKey,
                                     const boost::shared_ptr<vexservice::IData>& data);
    LINKAGE_LOCAL void doOrderDetail(const std::string& accountKey,
                                     const boost::shared_ptr<vexservice::COrderDetail>& order);
    LINKAGE_LOCAL void onDealDetail(const std::string& accountKey,
                                    const boost::shared_ptr<vexservice::IData>& data);
    LINKAGE_LOCAL void doDealDetail(const std::string& accountKey,
                                    const boost::shared_ptr<vexservice::CDealDetail>& deal);
    /// Asks for the fee of a dealt stock; false when the service threw. Not under the lock.
    LINKAGE_LOCAL bool askFee(const DealReport& report);
    /// The same for all dealt stocks whose fee is not known.
    LINKAGE_LOCAL void askFees(const std::string& accountKey, const Records& deals);
    /// A deal of a load, which asks for no fee.
    LINKAGE_LOCAL bool replayDeal(const std::string& accountKey,
                                  const boost::shared_ptr<vexservice::CDealDetail>& deal);
    /// False, and nothing is done, when the fee of the deal is not known.
    LINKAGE_LOCAL bool takeIfFeeKnown(const std::string& accountKey,
                                      const boost::shared_ptr<vexservice::CDealDetail>& deal);
    /// False when the deal has to wait for its commission.
    LINKAGE_LOCAL bool takeDeal(const DealReport& report, bool feeKnown) LINKAGE_REQUIRES(m_mutex);
    /// Takes the newest price of a dealt stock and subscribes to further ones.
    LINKAGE_LOCAL void followPrice(const DealReport& report) LINKAGE_REQUIRES(m_mutex);
    /// Opens the price subscription of a stock unless there is one. False when the quote
    /// client gave none, so that the next deal asks again.
    LINKAGE_LOCAL bool requestPrice(const std::string& stockKey) LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void onTaskDetail(const boost::shared_ptr<vexservice::IData>& data);
    LINKAGE_LOCAL void doTaskDetail(const boost::shared_ptr<vexservice::CTaskDetail>& task);
    LINKAGE_LOCAL void doRequestTask();
    LINKAGE_LOCAL void loadTasks();
    LINKAGE_LOCAL void onPositionStat(const std::string& accountKey,
                                      const boost::shared_ptr<vexservice::IData>& data);
    LINKAGE_LOCAL void takePosition(
        const std::string& accountKey,
        const boost::shared_ptr<vexservice::CPositionStatics>& position);
    LINKAGE_LOCAL void doPositionStat(
        const std::string& accountKey,
        const boost::shared_ptr<vexservice::CPositionStatics>& position);
    LINKAGE_LOCAL void onPriceData(const std::string& stockKey,
                                   const boost::shared_ptr<vexservice::CPriceData>& price);

    // queries: linkage/stats/queries.cpp
    LINKAGE_LOCAL DayTotals dayTotals(int day, const std::string& stockKey,
                                      const std::string& accountKey) const
        LINKAGE_REQUIRES(m_mutex);

    // position merging: linkage/stats/positionmerge.cpp
    /// The position that this report is part of, merged from all its reports; empty for
    /// stocks that are not held. A report without account info is returned as it is.
    LINKAGE_LOCAL boost::shared_ptr<vexservice::CPositionStatics> tryMergePosition(
        const boost::shared_ptr<vexservice::CPositionStatics>& position);

    // totals: linkage/stats/totals.cpp
    /// Visits every selected record's share in the totals, without the lock; see getTotalProfits.
    /// Gives the day.
    template <class Visit>
    LINKAGE_LOCAL int sumTotals(const std::set<std::string>& accountKeys,
                                const std::set<std::string>& strategies,
                                const std::set<std::string>& stockKeys, Visit visit) const;

    // calculators: linkage/stats/calculators.cpp, linkage/stats/extcalculator.cpp
    LINKAGE_LOCAL void switchCalculator(const char* operation, bool CCurveData::*own);
    LINKAGE_LOCAL void runStatCalculator();
    LINKAGE_LOCAL void runExtCalculator();
    /// Begins a run over what curves are made of, or joins the one under way, and arms the timer of
    /// the next one; gives its number, 0 when nobody wants curves.
    LINKAGE_LOCAL std::uint64_t beginCurves();
    /// On the strand: a slice to each turn.
    LINKAGE_LOCAL void onCurvesTimer(std::uint64_t run);
    LINKAGE_LOCAL void renewCurvesInTurns(std::uint64_t run);
    /// One slice in one hold of the lock; true when the run is over. Who ends it asks for bars.
    LINKAGE_LOCAL bool renewCurves(std::uint64_t run);
    /// These give how much they renewed.
    LINKAGE_LOCAL std::size_t renewNext() LINKAGE_REQUIRES(m_mutex);
    /// Asks the history service, without the lock, for the bars of the day that are due.
    LINKAGE_LOCAL void requestQuote();
    /// Takes the answer to a question put when the minute `finished` had ended.
    LINKAGE_LOCAL void onRequestQuote(const std::string& stockKey, const std::string& day,
                                      int finished, const std::vector<CMinuteBar>& bars);
    LINKAGE_LOCAL std::size_t renewPeriodTotals(const std::string& accountKey,
                                                const std::string& stockKey)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL std::size_t renewCloseValues(const std::string& stockKey)
        LINKAGE_REQUIRES(m_mutex);

    // balancing: linkage/balance/
    LINKAGE_LOCAL void onAutoBalanceTimer();
    LINKAGE_LOCAL void armBalanceWatchdog() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void balanceWaiting(const std::string& accountkey, const std::string& strategy);
    /// After each report: the guarded balances of accounts with news take the steps that are due.
    LINKAGE_LOCAL void settleBalances();
    LINKAGE_LOCAL void settleBalances(const std::string& accountkey);
    LINKAGE_LOCAL bool sendGuarded(const GuardPair& pair, EBalanceForm form)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void cancelOrders(
        const std::vector<boost::shared_ptr<vexservice::COrderDetail>>& orders);
    LINKAGE_LOCAL void terminateTasks(
        const std::vector<boost::shared_ptr<vexservice::CTaskDetail>>& tasks);
    LINKAGE_LOCAL void onCancelServerTask(const utils::VexError& error, mongo::BSONObj result,
                                          const boost::shared_ptr<vexservice::CTaskDetail>& task);
    LINKAGE_LOCAL void doStockBalanceBySignalTask(const std::string& accountkey,
                                                  const std::string& strategy);
    LINKAGE_LOCAL void doStockBalance(const std::string& accountkey, const std::string& strategy);

    // the history store: linkage/store/historyvalues.cpp
    LINKAGE_LOCAL void runHistoryStatCalculator();

    // What the rooms above the core keep for the manager, and what it calls in them:
    // linkage/stats/statsroom.cpp, linkage/balance/balanceroom.cpp, linkage/store/storeroom.cpp
    LINKAGE_LOCAL static RoomPtr<CCurveData> makeCurveData();
    LINKAGE_LOCAL static RoomPtr<PositionReports> makePositionReports();
    LINKAGE_LOCAL static RoomPtr<BalanceState> makeBalanceState();
    LINKAGE_LOCAL static RoomPtr<HistoryState> makeHistoryState();
    LINKAGE_LOCAL static RoomPtr<CServerHistory> makeServerHistory();
    LINKAGE_LOCAL RoomPtr<ImportState> makeImportState();
    /// At a new trade date: drops what was kept of the old one.
    LINKAGE_LOCAL void newStatsDay() LINKAGE_REQUIRES(m_mutex);
    /// A live price, as it comes: the curves keep it for its minute.
    LINKAGE_LOCAL void notePriceNow(const std::string& stockKey, double price)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void newBalanceDay() LINKAGE_REQUIRES(m_mutex);
    /// startGuard() makes the guarded balances, the others pass news to them. Call noteOrder()
    /// and noteDeal() only with the guard.
    LINKAGE_LOCAL void startGuard() LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void noteLoadBegins(const std::string& accountKey);
    LINKAGE_LOCAL void noteLoadEnds(const std::string& accountKey, bool whole);
    LINKAGE_LOCAL void noteOrder(const std::string& accountKey,
                                 const vexservice::COrderDetail& order,
                                 const boost::shared_ptr<vexservice::COrderDetail>& takenBack)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void noteDeal(const std::string& accountKey, const vexservice::CDealDetail& deal)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void newStoreDay() LINKAGE_REQUIRES(m_mutex);
    /// Before an account, or the tasks, are loaded again: drops what was derived from their
    /// records.
    LINKAGE_LOCAL void dropStatsOf(const std::string& accountKey) LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void dropHistoryOrders(const std::string& accountKey) LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void dropHistoryTasks() LINKAGE_REQUIRES(m_mutex);
    /// Running tasks that balance the history of a pair.
    LINKAGE_LOCAL std::vector<boost::shared_ptr<vexservice::CTaskDetail>> runningHistoryTasks(
        const std::string& accountKey, const std::string& strategy) const;
    /// Whether the history record of a pair holds the deal already.
    LINKAGE_LOCAL bool isCountedInHistory(const std::string& historyKey,
                                          const vexservice::CDealDetail& deal) const;
    /// Called after the requested loads of accounts: guarded balances may decide from now on.
    LINKAGE_LOCAL void doEndLoading();
    LINKAGE_LOCAL void describeBalances(ManagerState& state) const LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void describeHistory(ManagerState& state) const LINKAGE_REQUIRES(m_mutex);

    // files: linkage/store/savefiles.cpp, linkage/store/loadfiles.cpp
    LINKAGE_LOCAL RoomPtr<CFileSaver> makeSaver();
    LINKAGE_LOCAL RoomPtr<CBookWriter> makeBook() const;
    LINKAGE_LOCAL void readFromFile();
    LINKAGE_LOCAL void readKeptBalanceTimes();
    /// One slice of what the next save is made of; false when nothing is left.
    LINKAGE_LOCAL bool followHistory();
    /// Makes the texts of files by name; called without the lock.
    using TextMaker = boost::function<std::map<std::string, std::string>()>;
    /// What makes the files as they stand now; also sets the write stamp.
    LINKAGE_LOCAL TextMaker writeToFile(bool withTime);
    LINKAGE_LOCAL TextMaker writeBlanaceTimeToFile();
    /// On the strand: tries a save that failed once more in half a minute.
    LINKAGE_LOCAL void retrySaveLater();
    LINKAGE_LOCAL bool isCanWriteToFile(const std::string& historyKey,
                                        const std::string& tradeKey) const;
    /// Whether a deal was not yet counted into history under this key.
    LINKAGE_LOCAL bool isNewToHistory(const std::string& historyKey,
                                      const vexservice::CDealDetail& deal) const;

    // history of the server: linkage/store/serverhistory.cpp, linkage/store/historyintake.cpp
    LINKAGE_LOCAL void doHistoryOrder(const boost::shared_ptr<vexservice::COrderDetail>& order,
                                      const std::string& accountKey, bool stockIsNew,
                                      bool recordIsNew, bool running) LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void doHistoryTask(const boost::shared_ptr<vexservice::CTaskDetail>& task,
                                     const std::string& accountKey, std::uint64_t recordKey,
                                     bool running) LINKAGE_REQUIRES(m_mutex);
    /// Takes a new deal that balances history into the history store, unless it was counted
    /// there before.
    LINKAGE_LOCAL void doHistoryDeal(const DealReport& report, const DealChange& change)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL std::uint64_t requestHistory(const HistoryRequest& request);
    LINKAGE_LOCAL void startHistoryQuery(HistoryQuery query);
    LINKAGE_LOCAL void askHistoryDay(HistoryQuery query);
    LINKAGE_LOCAL void sendHistoryQuestion(const HistoryQuery& query);
    LINKAGE_LOCAL void onQueryHistoryDeal(
        std::uint64_t question, const utils::VexError& error,
        const std::vector<boost::shared_ptr<vexservice::CDealDetail>>& deals);
    LINKAGE_LOCAL void onQueryHistoryOrder(
        std::uint64_t question, const utils::VexError& error,
        const std::vector<boost::shared_ptr<vexservice::COrderDetail>>& orders);
    template <class Record>
    LINKAGE_LOCAL void takeHistoryAnswer(std::uint64_t question, const utils::VexError& error,
                                         const std::vector<boost::shared_ptr<Record>>& records);
    LINKAGE_LOCAL void giveHistoryDayUp(std::uint64_t question, const char* fault);
    LINKAGE_LOCAL void endHistoryDay(HistoryQuery query, const HistoryDay& result);

    // import: linkage/store/importrecords.cpp, importundo.cpp
    /// Files one imported record; no figure changes. True when it was not there before.
    LINKAGE_LOCAL bool importDeal(const std::string& accountKey,
                                  const boost::shared_ptr<vexservice::CDealDetail>& deal)
        LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL bool importOrder(const std::string& accountKey,
                                   const boost::shared_ptr<vexservice::COrderDetail>& order)
        LINKAGE_REQUIRES(m_mutex);
    /// Takes away what else is filed of a record that the trading system now reports: an
    /// imported copy, and of a deal one of its server. The server is asked for orders of past
    /// days only, which nobody reports any more.
    LINKAGE_LOCAL void dropImported(const std::string& accountKey,
                                    const vexservice::CDealDetail& deal) LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void dropImported(const std::string& accountKey,
                                    const vexservice::COrderDetail& order)
        LINKAGE_REQUIRES(m_mutex);
    template <class Record>
    class LINKAGE_LOCAL CStatementImport;
    LINKAGE_LOCAL ImportReport readImport(const QString& path, const ImportTerms& terms,
                                          bool files);
    LINKAGE_LOCAL void importFile(const ImportTerms& terms, bool files, ImportReport& report);
    LINKAGE_LOCAL void importStatement(const statement::Statement& rows,
                                       const statement::CWorkbook& book, const std::string& account,
                                       bool files, ImportReport& report);
    template <class Record>
    LINKAGE_LOCAL void importRows(const std::vector<statement::Parsed<Record>>& parsed,
                                  const std::string& account, bool files, ImportReport& report);
    /// Drops the rows and the file of an import, whether or not it was kept.
    LINKAGE_LOCAL void takeImportBack(int number);
    template <class Record>
    LINKAGE_LOCAL void dropImport(int number);
    /// Forgets a day (account key and day key) that no import has records of.
    template <class Record>
    LINKAGE_LOCAL void forgetDay(const std::pair<std::string, int>& place);

    // what is imported beside what is reported: linkage/store/importsettling.cpp
    LINKAGE_LOCAL void readImports();
    LINKAGE_LOCAL void finishImports();
    /// On the strand: tries to save imports once more in half a minute.
    LINKAGE_LOCAL void retryImportsLater();
    /// Works through about so many records of a day that may have changed, and brings the
    /// changes into the ledger; false when none is left.
    template <class Record>
    LINKAGE_LOCAL bool settleImported(const std::string& accountKey, int day, std::size_t most)
        LINKAGE_REQUIRES(m_mutex);
    /// Tells an imported day what was reported of it, in slices.
    template <class Record>
    LINKAGE_LOCAL void linkDay(const std::string& accountKey, int day);
    /// The whole day, a slice to each hold of the lock.
    template <class Record>
    LINKAGE_LOCAL void settleDay(const std::string& accountKey, int day);
    template <class Record>
    LINKAGE_LOCAL void noteReported(const std::string& accountKey, const Record& record)
        LINKAGE_REQUIRES(m_mutex);
    /// A deal that was filed for the server is gone.
    LINKAGE_LOCAL void unreportImported(const std::string& accountKey, int day, std::uint64_t key)
        LINKAGE_REQUIRES(m_mutex);
    /// The records that are reported under a day have changed.
    template <class Record>
    LINKAGE_LOCAL void relinkImported(const std::string& accountKey, int day)
        LINKAGE_REQUIRES(m_mutex);
    /// What was reported under these days is gone; what was imported of them comes back.
    LINKAGE_LOCAL void forgetReported(const std::string& accountKey, const std::vector<int>& days)
        LINKAGE_REQUIRES(m_mutex);
    /// The records of an account's running day are gone; what was imported comes back.
    LINKAGE_LOCAL void restartImported(const std::string& accountKey) LINKAGE_REQUIRES(m_mutex);
    /// Brings what is not settled of an account into the ledger, a slice to each turn of the
    /// strand.
    LINKAGE_LOCAL void refileLater(const std::string& accountKey) LINKAGE_REQUIRES(m_mutex);
    LINKAGE_LOCAL void refileImported(const std::string& accountKey);

    mutable CRecursiveMutex m_mutex;
    const std::shared_ptr<CTapeSwitch> m_pTape;
    std::shared_ptr<CRecording> m_pRecording;
    std::vector<std::shared_ptr<CRecording>> m_earlier;  ///< steps may still be on them
    bool m_bInited LINKAGE_GUARDED_BY(m_mutex) = false;
    bool m_bClientType3 = false;  ///< constant from construction on
    /// Written only before init(), under the lock; handlers read it without the lock.
    LinkageOptions m_options;

    boost::shared_ptr<CDoor> m_pDoor;
    std::unique_ptr<CPublished<std::string>> m_pTradeDate;  ///< lock of its own
    std::string m_strUserData LINKAGE_GUARDED_BY(m_mutex);

    std::unique_ptr<EngineState> m_pEngine;         ///< strand, timers, inbox
    std::unique_ptr<FollowedAccounts> m_pAccounts;  ///< whose records are followed
    std::unique_ptr<CQuotes> m_pQuotes;             ///< price subscriptions
    std::unique_ptr<CLedger> m_pLedger;             ///< orders, deals and all figures of them
    std::unique_ptr<CReconciliations> m_pReconciliations;  ///< what loads had missed
    RoomPtr<CCurveData> m_pCurveData;                      ///< what curves are made of
    RoomPtr<PositionReports> m_pPositionReports;           ///< what positions are merged from
    RoomPtr<BalanceState> m_pBalance;                      ///< pending balances, balance times
    RoomPtr<HistoryState> m_pHistory;  ///< the history store and its files' state
    RoomPtr<CServerHistory> m_pServerHistory;
    RoomPtr<CFileSaver> m_pSaver;
    RoomPtr<ImportState> m_pImports;
    RoomPtr<CBookWriter> m_pBook;
    RoomPtr<CGuardedBalances> m_pGuarded;  ///< from init() on, only with the guard
    /// @endcond
};

// linkage/stats/statustexts.cpp

/// Display texts of order status, task status and price type; "未知" for any other code.
LINKAGE_EXPORT QString getOrderStatusQString(int status);
/// Display text of a task status.
LINKAGE_EXPORT QString getTaskStatusQString(int status);
/// Display text of a price type.
LINKAGE_EXPORT QString getPriceTypeQString(int priceType);

}  // namespace TC

extern template class LINKAGE_EXPORT utils::CSingletonT<TC::CLinkageManager>;
