#pragma once

#include "linkage/ledger/ledgerform.h"
#include "linkage/ledger/ledgerstate.h"
#include "linkage/ledger/nametable.h"
#include "linkage/ledger/profittable.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace TC {

/// Orders, deals, tasks and positions, and every figure that is kept of them.
///
/// The documented containers are nested maps of texts. Here each text (account,
/// strategy, stock, day) is resolved once to a small integer, and the newest report of
/// an order, its last figures and its places in all totals stand together in one entry
/// that is found by one look-up of its record key. ARCHITECTURE.md has the picture.
///
/// Guarded by the manager's lock. What getTradeStatDatas reads without that lock (the
/// texts and the lists of figures) changes under a second lock, held for moments.
class CLedger : public LedgerForm {
public:
    explicit CLedger(bool clientType3) : m_bClientType3(clientType3) { strategyId(std::string()); }

    // ------------------------------------------------------------ texts to integers
    // linkage/ledger/ledgernames.cpp

    std::uint32_t accountId(const std::string& key);
    std::uint32_t findAccount(const std::string& key) const;
    std::uint32_t strategyId(const std::string& name);
    std::uint32_t findStrategy(const std::string& name) const;
    std::uint32_t stockId(const std::string& key);
    std::uint32_t findStock(const std::string& key) const;

    /// The listing of market and code, with today's reference data.
    std::uint32_t listingId(const std::string& market, const std::string& code);
    const Listing& listing(std::uint32_t index) const { return m_listings[index]; }
    Stock& stock(std::uint32_t index) { return m_stocks[index]; }
    const std::string& stockKey(std::uint32_t listing) const {
        return m_stocks[m_listings[listing].stock].key;
    }
    Holding& holding(std::uint32_t account, std::uint32_t stock);

    /// dayKey() with the last answers remembered.
    int day(const std::string& date);

    const std::string& accountKey(std::uint32_t account) const { return m_accounts[account].key; }

    /// Puts a strategy into the list; true when it was not there. "" never is.
    bool listStrategy(std::uint32_t strategy);
    std::set<std::string> strategies() const;

    // -------------------------------------------------------------------- looking ahead
    // linkage/ledger/ledgerprefetch.cpp. A report touches a dozen places that are not in the
    // cache, each found through another. Asked for early and together they arrive while
    // the first steps are at work. Nothing is changed here.

    void prefetchOrder(const OrderStep& step, const vexservice::COrderDetail& order) const;
    void prefetchDeal(const DealStep& step, const vexservice::CDealDetail& deal) const;

    // ------------------------------------------------------------------ order intake
    // linkage/ledger/ledgerorders.cpp; the steps of one report, in this order

    void fileOrder(OrderStep& step, const OrderPtr& order);
    void placeOrder(OrderStep& step);
    void countLots(OrderStep& step);
    RunningChange updateRunning(OrderStep& step, bool wide);
    void countTraded(OrderStep& step);
    void widenOrderAmplitude(const OrderStep& step);

    // ------------------------------------------------------------------- deal intake
    // linkage/ledger/ledgerdeals.cpp

    void fileDeal(DealStep& step, const DealPtr& deal);
    void widenDealAmplitude(const DealStep& step);
    void countDay(const DealStep& step);
    void enterFigures(DealStep& step);
    void countMinute(const DealStep& step);
    void countDeal(const DealStep& step);

    // ---------------------------------------------------------- filing and queries
    // linkage/ledger/ledgerfiling.cpp

    /// Files a record under its day, stock, account and record key and changes no
    /// figure: history of the server and imports. True when the record is new there.
    bool fileOrder(int day, const std::string& stockKey, const std::string& accountKey,
                   const OrderPtr& order);
    bool fileDeal(int day, const std::string& stockKey, const std::string& accountKey,
                  const DealPtr& deal);

    ByRecord<OrderPtr> accountOrders(const std::string& accountKey, int day) const;
    ByRecord<DealPtr> accountDeals(const std::string& accountKey, int day) const;
    ByText<ByRecord<OrderPtr>> orders(int day, const std::string& stockKey,
                                      const std::set<std::string>& accountKeys) const;
    ByText<ByRecord<DealPtr>> deals(int day, const std::string& stockKey,
                                    const std::set<std::string>& accountKeys) const;
    const Cell* findCell(int day, const std::string& stockKey, const std::string& accountKey) const;

    /// Stock keys under a day, of orders and deals; makes the day's entries.
    std::set<std::string> stocksOfDay(int day);

    /// How many stocks have orders or deals under a day.
    std::size_t countStocks(int day) const;

    /// Running orders of a pair in record key order; nothing when there never was one.
    std::optional<std::vector<OrderPtr>> runningOrders(const std::string& accountKey,
                                                       const std::string& strategy) const;
    int runningOrderCount(const std::string& accountKey, const std::string& strategy) const;

    /// Running tasks of a pair in record key order; nothing when there never was one.
    std::optional<std::vector<TaskPtr>> runningTasks(const std::string& accountKey,
                                                     const std::string& strategy) const;

    /// Traded figures of a pair by stock key. May be called without the manager's lock.
    std::map<std::string, FiguresPtr> figuresOf(const std::string& accountKey,
                                                const std::string& strategy) const;

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

    /// A record of a selection.
    struct Selected {
        const Figures* figures;
        bool wide;      ///< of the account as a whole
        bool selected;  ///< its strategy is
    };
    using VisitStock =
        std::function<void(const std::string& stockKey, std::span<const Selected> records)>;

    /// Visits the records in the order of account, stock and strategy, the ones of one
    /// account's stock at a time. Where the strategy "" is selected those of all
    /// strategies come along, so that they can be taken off the account-wide ones.
    void selectFigures(const std::set<std::string>& accountKeys,
                       const std::set<std::string>& strategies,
                       const std::set<std::string>& stockKeys, const VisitStock& visit) const;

    /// Bought and sold amounts by day, from the deals filed under other days than
    /// `exceptDay` that do not balance history and are in no figures of the day; those
    /// without strategy count for "".
    ByDay<std::pair<double, double>> amountsOfDeals(const std::set<std::string>& accountKeys,
                                                    const std::set<std::string>& strategies,
                                                    const std::set<std::string>& stockKeys,
                                                    int exceptDay) const;

    double largestOrderAmplitude(const std::set<std::string>& accountKeys,
                                 const std::set<std::string>& stockKeys) const;
    double largestDealAmplitude(const std::set<std::string>& accountKeys,
                                const std::set<std::string>& stockKeys) const;

    /// Every account that was ever seen. May be called without the manager's lock.
    std::vector<std::string> accountKeys() const;

    int lotsAtLevel(const std::string& strategy, int level) const;

    /// Drops what was derived for an account on a day, and its figures.
    void removeAccount(const std::string& accountKey, int day);

    /// Takes away records that were only filed; one that stands in any figure stays.
    void removeFiledOrders(int day, const std::string& accountKey,
                           const std::set<std::uint64_t>& keys);
    void removeFiledDeals(int day, const std::string& accountKey,
                          const std::set<std::uint64_t>& keys);

    void describe(LedgerState& state) const;

    // -------------------------------------------------------------------- revaluation
    // linkage/ledger/ledgervalues.cpp

    bool hasFigures() const { return m_nFigures > 0; }

    /// The texts stay as long as the ledger.
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

    /// Revalues the records of the stocks with a new price; gives the profit sums of
    /// every strategy that has one, in account and strategy order.
    std::vector<ProfitSum> revalue(const LimitRates& rates);

    /// A price that the next pass will use.
    void setLatestPrice(std::uint32_t stock, double price);

    /// The newest price of the day; nothing before there is one.
    std::optional<double> lastPrice(const std::string& stockKey) const;

    /// The price of the day at which the records of a stock stand; nothing before a pass.
    std::optional<double> valuedPrice(const std::string& stockKey) const;

    /// A new day begins: what no pass has used yet still awaits one.
    void forgetPrices();

    // ---------------------------------------------------- kept in documented form
    // Few records, no storm: tasks and positions.

    ByText<ByText<ByRecord<TaskPtr>>> m_taskDetails;
    ByText<ByText<ByRecord<TaskPtr>>> m_runningTasks;
    ByText<ByText<ByRecord<PositionPtr>>> m_positions;

private:
    std::uint32_t cellOf(std::uint32_t account, std::uint32_t stock, int day);
    std::uint32_t pairOf(std::uint32_t account, std::uint32_t strategy);
    const Pair* findPair(std::uint32_t account, std::uint32_t strategy) const;
    void prefetchPlaces(std::uint32_t account, std::uint32_t stock, const Pair* pair) const;
    void prefetchFigures(std::uint32_t account, std::uint32_t strategy, std::uint32_t stock) const;
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
    /// What an order takes along from the entries of its key.
    struct Gathered {
        std::uint8_t facets = 0;
        std::int32_t lots = 0;
        std::uint32_t places[2] = {NONE, NONE};
        std::int32_t runTraded[2] = {};
        std::int16_t status[2] = {};
    };
    void prefetchEntry(const OrderStep& step) const;
    void settleFacets(OrderStep& step, OrderEntry& target, std::int32_t level);
    void gatherFacets(OrderStep& step, OrderEntry& entry, std::int32_t level, Gathered& held) const;
    std::uint32_t parkFacets(const OrderStep& step, OrderEntry& entry, std::uint8_t stays);
    std::uint32_t levelCellOf(std::uint32_t pair, std::int32_t level);
    void enterRunning(Pair& pair, std::uint32_t entry, bool wide);
    void leaveRunning(Pair& pair, std::uint32_t entry, bool wide);
    void removeFigures(Account& account);
    void removeRecords(Account& account, int day);
    void refresh(Listing& listing) const;
    template <class Visit>
    void forEachHolding(const std::set<std::string>& accountKeys,
                        const std::set<std::string>& stockKeys, Visit visit) const;
    void describeAccount(const Account& account, LedgerState& state) const;
    void describePair(const Pair& pair, LedgerState& state) const;

    void sortGrownPairs();
    static void refreshLimits(Stock& stock);
    void revalueBlock(FigureBlock& block, const ValuePrices& prices);
    void revalueBlocks(const std::vector<std::pair<FigureBlock*, ValuePrices>>& blocks);

    const bool m_bClientType3;

    mutable std::mutex m_namesMutex;  ///< see figuresOf
    CNameTable<Account> m_accounts;
    CNameTable<Strategy> m_strategies;
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
    std::vector<std::uint32_t> m_newPrices;  ///< stocks with a price that no pass has used
    std::vector<std::uint32_t> m_grownPairs;
    std::vector<std::uint32_t> m_pairsInOrder;  ///< by account key and strategy
    CProfitTable m_profits;
};

}  // namespace TC
