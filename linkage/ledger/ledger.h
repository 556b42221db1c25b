#pragma once

#include "common/hugepages.h"
#include "linkage/ledger/changes.h"
#include "linkage/ledger/ledgerrecords.h"
#include "linkage/ledger/nametable.h"
#include "linkage/ledger/profittable.h"
#include "linkage/ledger/runningrecords.h"
#include "linkage/ledger/slicedcopy.h"

#include <array>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace TC {

/// Orders, deals, tasks and positions, and every figure that is derived from them.
///
/// The documented containers are nested maps of texts. Here each text (account,
/// strategy, stock, day) is resolved once to a small integer. The newest report of an
/// order, its last figures and its places in all totals stand together in one entry,
/// found by one look-up of its record key. ARCHITECTURE.md has the picture.
///
/// Guarded by the manager's lock. figuresOf() and accountKeys() read without that lock;
/// the texts and lists of figures that they read change under a second lock, held for
/// moments.
class CLedger {
    template <class P>
    friend class CLedgerPicture;

public:
    explicit CLedger(bool clientType3) : m_bClientType3(clientType3) { strategyId(WHOLE_ACCOUNT); }

    // ------------------------------------------------------------------ reports
    // linkage/ledger/ledgerorders.cpp, ledgerdeals.cpp, ledgerprefetch.cpp

    /// Takes in one report of an order: files it, counts its open lots, its place in the
    /// running sets and its traded figures. `watch` is called in the middle; when it throws,
    /// the rest of the report is left out.
    OrderChange apply(const std::string& accountKey, const OrderPtr& order, IOrderWatch& watch);

    /// The report of a deal with its places. Nothing is filed yet. Both arguments must
    /// outlive the answer.
    DealReport resolve(const std::string& accountKey, const DealPtr& deal);

    /// Whether the account's fee for the stock was asked for after the last change of the
    /// client's reference data.
    bool knowsFee(const DealReport& report);
    /// Remembers the answer, which may be empty, for a revision of the reference data.
    void setFee(const DealReport& report, const FeePtr& fee, std::uint64_t revision);

    /// Takes in one report of a deal that is followed: files it and counts it, at its
    /// first report, in the totals of the day, the minutes and the traded figures. The
    /// commission comes from the fee that is known.
    DealChange apply(const DealReport& report);

    DealtStock dealtStock(const DealReport& report);

    /// Fetches into the processor's cache what reports that come soon will touch first. Whoever
    /// has several reports at hand waits for memory once, not once for each. Changes nothing.
    void prefetch(const ComingReports& reports) const;

    // ------------------------------------------------------------------ texts
    // linkage/ledger/ledgernames.cpp

    /// Repurchases and subscriptions are not followed.
    bool follows(const std::string& market, const std::string& code);

    /// dayKey() with the last answers remembered.
    int day(const std::string& date);

    /// Lists a strategy for the client. True when it was not listed; WHOLE_ACCOUNT never is.
    bool listStrategy(const std::string& name) { return listStrategy(strategyId(name)); }
    std::set<std::string> strategies() const;

    // ------------------------------------------------------- tasks and positions
    // linkage/ledger/ledgertasks.cpp

    /// Files a task under each of its stocks.
    void fileTask(const std::string& accountKey, const TaskPtr& task);
    ByText<ByRecord<TaskPtr>> tasks(const std::string& stockKey,
                                    const std::set<std::string>& accountKeys) const;
    void clearTasks();

    CRunningRecords<vexservice::CTaskDetail>& runningTasks() { return m_runningTasks; }
    const CRunningRecords<vexservice::CTaskDetail>& runningTasks() const { return m_runningTasks; }

    void filePosition(const std::string& stockKey, const std::string& accountKey,
                      const PositionPtr& position);
    /// The positions of a stock by account; null when it never had one.
    const ByText<ByRecord<PositionPtr>>* positions(const std::string& stockKey) const;

    // ---------------------------------------------------------- filing and queries
    // linkage/ledger/ledgerfiling.cpp, ledgernames.cpp

    /// Files a record of the server's history or of an import under its day, stock, account
    /// and record key. No figure changes. True when the record is new there.
    bool fileOrder(int day, const std::string& stockKey, const std::string& accountKey,
                   const OrderPtr& order);
    bool fileDeal(int day, const std::string& stockKey, const std::string& accountKey,
                  const DealPtr& deal);

    ByRecord<OrderPtr> accountOrders(const std::string& accountKey, int day) const;
    ByRecord<DealPtr> accountDeals(const std::string& accountKey, int day) const;
    /// The days under which an account has an order or a deal.
    std::set<int> filedDays(const std::string& accountKey) const;
    ByText<ByRecord<OrderPtr>> orders(int day, const std::string& stockKey,
                                      const std::set<std::string>& accountKeys) const;
    ByText<ByRecord<DealPtr>> deals(int day, const std::string& stockKey,
                                    const std::set<std::string>& accountKeys) const;
    /// What an account's deals of a stock under a day add up to: of those that were reported,
    /// each as it was first reported.
    DayTotals dayTotals(int day, const std::string& stockKey, const std::string& accountKey) const;
    /// The same of all that are filed under the day, as they stand, in the order of their keys.
    DayTotals filedTotals(int day, const std::string& stockKey,
                          const std::string& accountKey) const;

    /// The stocks that have orders or deals under a day. Also makes the day's entries in both
    /// containers. The texts live as long as the ledger.
    std::vector<const std::string*> stocksOfDay(int day);

    /// How many stocks have orders or deals under a day.
    std::size_t countStocks(int day) const;

    /// The running orders of a pair in record key order; nothing when no order ever ran.
    std::optional<std::vector<OrderPtr>> runningOrders(const std::string& accountKey,
                                                       const std::string& strategy) const;
    int runningOrderCount(const std::string& accountKey, const std::string& strategy) const;

    /// The open lots of all accounts of a strategy at a price level.
    int lotsAtLevel(const std::string& strategy, int level) const;

    /// Traded figures of a pair by stock key. May be called without the manager's lock.
    std::map<std::string, FiguresPtr> figuresOf(const std::string& accountKey,
                                                const std::string& strategy) const;

    /// While it lives, figuresOf() gives threads other than its own what the account had when
    /// it was made. So nobody sees an account that is half loaded. One at a time, under the
    /// manager's lock.
    class CSteadyFigures {
    public:
        CSteadyFigures(CLedger& ledger, const std::string& accountKey);
        ~CSteadyFigures();
        CSteadyFigures(const CSteadyFigures&) = delete;
        CSteadyFigures& operator=(const CSteadyFigures&) = delete;

    private:
        CLedger& m_ledger;
    };

    /// Every alive record with its account, strategy and stock.
    template <class Visit>
    void forEachFigures(Visit visit) const {
        for (std::uint32_t at = 0; at < m_pairs.size(); ++at) {
            const Pair& pair = m_pairs[at];
            for (const Figures* figures : pair.figures) {
                visit(m_accounts[pair.account].key, m_strategies[pair.strategy].key,
                      m_stocks[figures->stock].key, *figures);
            }
        }
    }

    /// Every alive record of a pair, with its stock's key, which lives as long as the ledger, and
    /// the stock's newest price.
    template <class Visit>
    void forEachOfPair(const std::string& account, const std::string& strategy, Visit visit) const {
        const Pair* const pair = findPair(account, strategy);
        if (!pair) return;
        for (const Figures* figures : pair->figures) {
            const Stock& stock = m_stocks[figures->stock];
            visit(stock.key, stock.lastPrice, figures->record);
        }
    }

    /// The minutes of a record, newest first.
    template <class Visit>
    void forEachMinute(const Figures& figures, Visit visit) const {
        for (std::uint32_t at = figures.minutes; at != NONE; at = m_minutes[at].older) {
            visit(m_minutes[at].minute, m_minutes[at].deals);
        }
    }

    // linkage/ledger/ledgeropen.cpp

    /// The newest report of every order of an account that stands in the day's figures, and
    /// of every order of the day `today` that balances history.
    void forEachOrder(
        const std::string& accountKey, int today,
        const std::function<void(const std::string& stockKey, const OrderPtr& order)>& visit) const;

    /// The same for deals.
    void forEachDeal(
        const std::string& accountKey, int today,
        const std::function<void(const std::string& stockKey, const DealPtr& deal)>& visit) const;

    // Copies in slices, so that reports need not wait for all: figurescopy.h, recordscopy.h
    class CFiguresCopy;
    template <class Ptr>
    class CRecordsCopy;
    /// Somebody else has changed figures of the ledger, which are shared.
    void figuresChangedElsewhere() { m_figureCopies.restart(); }

    // linkage/ledger/ledgerqueries.cpp; in selections an empty set selects all

    /// The records of one stock of an account by strategy.
    std::map<std::string, const Figures*> figuresOfStock(const std::string& accountKey,
                                                         const std::string& stockKey) const;

    /// Every alive record of a stock.
    template <class Visit>
    void forEachOfStock(const std::string& stockKey, Visit visit) {
        const std::uint32_t at = findStock(stockKey);
        if (at == NONE) return;
        for (const auto& block : m_stocks[at].figures.blocks()) {
            for (std::uint32_t index = 0; index < block->used; ++index) {
                if (block->at(index).pair != NONE) visit(block->at(index));
            }
        }
    }

    double largestOrderAmplitude(const std::set<std::string>& accountKeys,
                                 const std::set<std::string>& stockKeys) const;
    double largestDealAmplitude(const std::set<std::string>& accountKeys,
                                const std::set<std::string>& stockKeys) const;

    /// Every account that was ever seen. May be called without the manager's lock.
    std::vector<std::string> accountKeys() const;

    // ------------------------------------------------------------------------ changes
    // linkage/ledger/ledgerchanges.cpp

    /// Tells what changed since the cursor was here last, and moves it on. At most about `most`
    /// records: a pair's figures are told together. A cursor that is fresh, of another ledger, or
    /// of too long ago is told everything: in so many answers pairs, stocks, orders, deals and
    /// tasks, and then what changed meanwhile.
    void changesSince(ChangeCursor& cursor, std::size_t most, LedgerChanges& out);

    // ------------------------------------------------------------------------ removal
    // linkage/ledger/ledgerremoval.cpp

    /// Drops an account's records of a trade day and all its figures. True when the account had
    /// figures of another day.
    bool removeAccount(const std::string& accountKey, int day);

    /// Drops what was reported of an account, or answered by the server, under past days, but for
    /// the newest `keep` of them, with the totals of these days; gives back the days. Deals of
    /// these and earlier dates do not count any more, also when they are reported again. Call it
    /// behind removeAccount().
    std::vector<int> dropOldDays(const std::string& accountKey, std::size_t keep);

    static constexpr std::size_t ALL = std::numeric_limits<std::size_t>::max();
    /// Takes away filed records with these keys, and what is done out of the keys; looks at about
    /// `most` records. An order that stands in any figure stays.
    void removeFiledOrders(int day, const std::string& accountKey, std::set<std::uint64_t>& keys,
                           std::size_t most = ALL);
    void removeFiledDeals(int day, const std::string& accountKey, std::set<std::uint64_t>& keys,
                          std::size_t most = ALL);

    // linkage/ledger/ledgerstate.cpp
    void describe(LedgerState& state) const;

    // -------------------------------------------------------------------- revaluation
    // linkage/ledger/ledgervalues.cpp

    bool hasFigures() const { return m_nFigures > 0; }

    /// The texts live as long as the ledger.
    struct ProfitSum {
        const std::string& account;
        const std::string& strategy;
        double profit = 0.0;
    };

    /// The daily price limit as a fraction.
    struct LimitRates {
        double ordinary = 0.0;
        double special = 0.0;  ///< of stocks under special treatment
    };

    /// Puts about so many of the records that are new in the order of their stocks, in which
    /// profits are added up. False when none is left; a revaluation sorts what is.
    bool sortGrown(std::size_t most);

    /// Revalues the records of the stocks that have a new price. The answer has the profit
    /// sum of every pair with such a record, in account and strategy order.
    std::vector<ProfitSum> revalue(const LimitRates& rates);

    /// Stores a price that the next revaluation will use. A stock that is new gets an entry.
    void setLatestPrice(std::uint32_t stock, double price);
    void setLatestPrice(const std::string& stockKey, double price) {
        setLatestPrice(stockId(stockKey), price);
    }

    /// The newest price of the day; nothing before there is one.
    std::optional<double> lastPrice(const std::string& stockKey) const;

    /// The price at which the last revaluation of the day valued a stock; nothing before the
    /// first.
    std::optional<double> valuedPrice(const std::string& stockKey) const;

    /// Begins a new day. A price that no revaluation has used yet is kept for the next one.
    void forgetPrices();

    // linkage/ledger/ledgerintegrity.cpp

    /// Compares all figures that the ledger holds in two forms, and describes each difference
    /// in words; empty when they agree. It walks everything: for tests.
    std::vector<std::string> checkIntegrity() const;

private:
    class CIntegrity;
    class CChangeReader;
    using CChangeJournal = ledger::CChangeJournal;
    using Account = ledger::Account;
    using Cell = ledger::Cell;
    using Day = ledger::Day;
    using DealEntry = ledger::DealEntry;
    using DealStep = ledger::DealStep;
    using Holding = ledger::Holding;
    using Level = ledger::Level;
    using Listing = ledger::Listing;
    using Minute = ledger::Minute;
    using OrderEntry = ledger::OrderEntry;
    using OrderStep = ledger::OrderStep;
    using Pair = ledger::Pair;
    using Stock = ledger::Stock;
    using Strategy = ledger::Strategy;
    using TaskEntry = ledger::TaskEntry;

    // what somebody may ask for as changed
    void noteOrder(std::uint32_t at) {
        m_journal.note(CChangeJournal::EKind::Order, at, m_orders[at].changedAt);
    }
    void noteDeal(std::uint32_t at) {
        m_journal.note(CChangeJournal::EKind::Deal, at, m_deals[at].changedAt);
    }
    void noteStock(std::uint32_t at) {
        m_journal.note(CChangeJournal::EKind::Stock, at, m_stocks[at].changedAt);
    }
    void noteTask(const std::string& accountKey, const TaskPtr& task);
    void noteGone(ChangedOrder order, ChangedDeal deal);
    bool isThere(const ledger::GoneRecord& gone) const;
    void noteLeft(std::uint32_t pair);
    void noteMovedDeal(std::uint32_t account, const DealPtr& before, const DealPtr& now);

    // texts to integers
    std::uint32_t accountId(const std::string& key);
    std::uint32_t findAccount(const std::string& key) const;
    std::uint32_t strategyId(const std::string& name);
    std::uint32_t findStrategy(const std::string& name) const;
    std::uint32_t stockId(const std::string& key);
    std::uint32_t findStock(const std::string& key) const;
    /// The listing of market and code, with today's reference data.
    const Listing& listing(const std::string& market, const std::string& code);
    bool listStrategy(std::uint32_t strategy);
    Holding& holding(std::uint32_t account, std::uint32_t stock);
    const Cell* findCell(int day, const std::string& stockKey, const std::string& accountKey) const;

    // the steps of an order report, in the order of apply()
    bool resolve(const std::string& accountKey, const vexservice::COrderDetail& order,
                 OrderStep& step);
    void fileOrder(OrderStep& step, const OrderPtr& order, OrderChange& change);
    void placeOrder(OrderStep& step, bool recordIsNew);
    void countLots(OrderStep& step);
    /// True when this report has taken the last order out of the set.
    bool updateRunning(OrderStep& step, bool wide, IOrderWatch& watch);
    void countTraded(OrderStep& step);
    void widenOrderAmplitude(const OrderStep& step);

    // the steps of a deal report; fileDeal() returns whether the deal's figures had been
    // dropped
    bool fileDeal(DealStep& step, const DealPtr& deal, DealChange& change);
    void widenDealAmplitude(const DealStep& step);
    void enterFigures(DealStep& step);
    void countDay(const DealStep& step);
    void countMinute(const DealStep& step);
    void countDeal(const DealStep& step);

    // linkage/ledger/ledgerprefetch.cpp. A report touches a dozen places that are not in the
    // cache, each found through another. These functions prefetch them early and together, so
    // they arrive during the first steps. They change nothing but the step, which keeps what they
    // found: the entry that the order most likely has, or the figures of a deal.
    void prefetchOrder(OrderStep& step, const vexservice::COrderDetail& order) const;
    void prefetchDeal(const DealReport& report) const;

    std::uint32_t cellOf(Holding& held, std::uint32_t account, std::uint32_t stock, int day);
    std::uint32_t pairOf(std::uint32_t account, std::uint32_t strategy);
    const Pair* findPair(std::uint32_t account, std::uint32_t strategy) const;
    /// Of a strategy, and of its account as a whole; null where there is none yet.
    using PairsOf = std::array<const Pair*, 2>;
    PairsOf pairsOf(std::uint32_t account, std::uint32_t strategy) const;
    Figures* findFigures(const DealStep& step) const;
    Figures* figuresIn(std::uint32_t pair, std::uint32_t stock);
    std::uint32_t findOrder(const Account& account, std::uint64_t key) const;
    const Pair* findPair(const std::string& accountKey, const std::string& strategy) const;
    /// The deal's entry, and whether it is new.
    std::pair<std::uint32_t, bool> putDeal(std::uint32_t account, std::uint32_t cell,
                                           const DealPtr& deal);
    void chainOrder(Account& account, std::uint32_t entry);
    void chainDeal(Account& account, std::uint32_t entry);
    std::uint32_t addOrder(Account& account, std::uint64_t key, std::uint32_t cell);
    void headOfKey(Account& account, std::uint64_t key, std::uint32_t entry);
    /// The figures that a report continues, gathered from all entries of its key.
    struct Gathered {
        std::uint8_t facets = 0;
        std::int32_t lots = 0;
        std::uint32_t places[2] = {NONE, NONE};
    };
    void settleFacets(OrderStep& step, OrderEntry& target);
    void gatherFacets(OrderStep& step, OrderEntry& entry, Gathered& held) const;
    std::uint32_t parkFacets(const OrderStep& step, OrderEntry& entry, std::uint8_t stays);
    std::uint32_t levelCellOf(std::uint32_t pair, std::int32_t level);
    void enterRunning(Pair& pair, std::uint32_t entry, bool wide);
    void leaveRunning(Pair& pair, std::uint32_t entry, bool wide);
    void removeFigures(Account& account);
    template <class Entry, class Drop>
    void removeFiled(const CArena<Entry>& entries, const utils::CKeyIndex& index, int day,
                     std::set<std::uint64_t>& keys, std::size_t most, Drop drop);
    void removeRecords(Account& account, int day);
    void dropCell(std::uint32_t cell);
    bool hasCells(int day) const;
    void refresh(Listing& listing) const;
    template <class Visit>
    void forEachHolding(const std::set<std::string>& accountKeys,
                        const std::set<std::string>& stockKeys, Visit visit) const;
    void describeAccount(const Account& account, LedgerState& state) const;
    void describePair(const Pair& pair, LedgerState& state) const;

    void orderPairs();
    static void refreshLimits(Stock& stock);
    void revalueBlock(FigureBlock& block, const ValuePrices& prices);
    void revalueBlocks(const std::vector<std::pair<FigureBlock*, ValuePrices>>& blocks);

    const bool m_bClientType3;

    /// The figures of an account that is being loaded, for all threads but the owner.
    struct SteadyFigures {
        std::string account;
        std::thread::id owner;
        std::map<std::string, std::map<std::string, FiguresPtr>> byStrategy;
    };

    mutable std::mutex m_namesMutex;  ///< see figuresOf
    std::shared_ptr<const SteadyFigures> m_pSteady;
    CNameTable<Account> m_accounts;
    CNameTable<Strategy> m_strategies;
    FigureMemory m_figureMemory;
    CNameTable<Stock> m_stocks;
    CArena<Listing, 5> m_listings;
    utils::CKeyIndex m_listingIndex;
    CArena<Pair, 6> m_pairs;

    CArena<Holding> m_holdings;
    CArena<Cell> m_cells;
    CArena<OrderEntry> m_orders;
    CArena<DealEntry> m_deals;
    CArena<Level> m_levels;
    CArena<Minute> m_minutes;
    std::map<int, Day> m_days;

    std::optional<int> m_tradeDay;  ///< of the last request of any account
    std::string m_strLastDate;
    int m_nLastDay = 0;
    std::unordered_map<std::string, int> m_dayOfDate;

    std::uint64_t m_nFigures = 0;
    std::vector<std::uint32_t> m_newPrices;  ///< stocks with a price that no revaluation has used
    std::vector<std::uint32_t> m_grownPairs;
    std::vector<std::uint32_t> m_pairsInOrder;  ///< by account key and strategy
    CProfitTable m_profits;

    ledger::CSlicedCopies<const Figures*> m_figureCopies;
    ledger::CSlicedCopies<std::uint32_t> m_orderCopies;  ///< of entries
    ledger::CSlicedCopies<std::uint32_t> m_dealCopies;   ///< likewise

    CChangeJournal m_journal;
    CChangeJournal::Place m_nTasksDroppedAt = 0;
    std::map<CChangeJournal::Place, ledger::GoneRecord> m_gone;  ///< those that the journal reaches
    std::vector<TaskEntry> m_taskEntries;  ///< tasks in the order in which they came
    std::map<std::pair<std::string, std::uint64_t>, std::uint32_t> m_taskIndex;  ///< account, key

    // These records are few and change seldom, so they have their documented form.
    ByText<ByText<ByRecord<TaskPtr>>> m_taskDetails;  ///< stock, account
    CRunningRecords<vexservice::CTaskDetail> m_runningTasks;
    ByText<ByText<ByRecord<PositionPtr>>> m_positions;  ///< stock, account
};

}  // namespace TC
