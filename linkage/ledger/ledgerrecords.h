#pragma once

#include "common/keyindex.h"
#include "linkage/ledger/arena.h"
#include "linkage/ledger/changejournal.h"
#include "linkage/ledger/changes.h"
#include "linkage/ledger/figures.h"
#include "linkage/ledger/ledgerstate.h"
#include "linkage/ledger/profitrule.h"
#include "linkage/ledger/reports.h"
#include "linkage/ledger/types.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// The records that the ledger is made of. Only the ledger knows them.
namespace TC::ledger {

/// A day key as a number by which days can be ordered, also after 2038. A text that is no date
/// comes behind all days.
using DayOrder = std::uint32_t;
inline DayOrder orderOf(int day) { return static_cast<DayOrder>(day); }

/// The integer of the strategy "", the account as a whole. Every ledger adds it first.
inline constexpr std::uint32_t WHOLE_ACCOUNT_ID = 0;

/// One stock of one account, whatever the day.
struct alignas(64) Holding {
    double orderAmplitude = 0.0;
    double dealAmplitude = 0.0;
    bool hasOrderAmplitude = false;
    bool hasDealAmplitude = false;
    std::int32_t newestDay = 0;  ///< of newestCell
    std::uint32_t newestCell = NONE;
    std::uint64_t feeRevision = 0;  ///< of the reference data when `fee` was asked for
    std::uint64_t markerEpoch = 0;  ///< see DealtStock
    FeePtr fee;
};

/// What a stock is, as market and code name it, and what the client says of it.
struct Listing {
    std::string market;
    std::string code;
    std::uint32_t stock = NONE;
    std::uint64_t revision = 0;  ///< of the reference data below
    bool excluded = false;       ///< never followed
    bool hasDetail = false;
    double tick = 0.001;
    double reference = 0.0;
    int unit = 100;
};

struct Stock {
    std::string key;
    QString quoteKey;  ///< the key, as the quote client wants it
    CFigureBlocks figures;
    std::optional<DayLimits> limits;  ///< none without instrument detail
    std::uint64_t limitsRevision = 0;
    bool special = false;               ///< under special treatment
    std::optional<double> lastPrice;    ///< newest of the day
    std::optional<double> valuedPrice;  ///< the price that the last revaluation used
    bool hasNewPrice = false;           ///< no revaluation has used lastPrice yet
    std::uint64_t requestEpoch = 0;     ///< see DealtStock
    bool hasOrderAmplitudes = false;    ///< some account had one, even if a request has dropped it
    bool hasDealAmplitudes = false;
    bool hasPeriods = false;
    CChangeJournal::Place changedAt = 0;
};

/// One day of one stock of one account.
struct alignas(64) Cell {
    int day = 0;
    std::uint32_t stock = NONE;
    std::uint32_t account = NONE;
    std::uint32_t olderCell = NONE;  ///< another day of the same holding
    std::uint32_t firstOrder = NONE;
    std::uint32_t firstDeal = NONE;
    bool hasOrders = false;  ///< some were filed, even if imported ones were removed again
    bool hasDeals = false;
    bool hasTotals = false;
    DayTotals totals;
};

/// The sets and sums in which an order entry counts, as bits.
enum Facet : std::uint8_t {
    FILED = 1,      ///< orders of its cell
    TRADED = 2,     ///< sums of its strategy
    WIDE = 4,       ///< sums of the whole account
    LOTS = 8,       ///< open lots of its level
    RUNS = 16,      ///< running orders of its strategy
    RUNS_WIDE = 32  ///< running orders of the whole account
};

/// How far an order had come.
struct Progress {
    std::int32_t traded = 0;
    std::int16_t status = 0;

    bool operator==(const Progress&) const = default;
};

/// The newest report of an order and the figures that it stands in. An order may come
/// back with another stock, day, strategy, side or price. Its old figures then stay
/// where they are, in a further entry of the same key.
struct OrderEntry {
    std::uint64_t key = 0;
    OrderPtr report;
    Figures* figures = nullptr;
    double amount = 0.0;
    Progress progress;
    bool buys = false;
    std::uint8_t facets = 0;
    bool ended = false;  ///< `report` is final; known here so that nobody has to look at it
    /// CLedger::changesSince tells of it: it was reported since the account was loaded, or filed
    /// under the running day.
    bool told = false;
    std::int32_t lots = 0;
    std::int32_t level = 0;
    std::uint32_t levelCell = NONE;
    std::uint32_t cell = NONE;
    std::uint32_t pair = NONE;
    std::uint32_t nextInCell = NONE;
    std::uint32_t nextOfKey = NONE;
    std::uint32_t placeRunning[2] = {NONE, NONE};  ///< in the strategy's set, the account's
    CChangeJournal::Place changedAt = 0;

    /// Takes the newest report, and gives back the one before it.
    OrderPtr file(const OrderPtr& newest, bool runs) {
        ended = !runs;
        return std::exchange(report, newest);
    }
};

struct DealEntry {
    std::uint64_t key = 0;
    DealPtr report;
    std::uint32_t cell = NONE;
    std::uint32_t nextInCell = NONE;
    std::uint32_t nextOfKey = NONE;
    bool counted = false;  ///< in the traded figures
    bool dropped = false;  ///< was counted, until the account's figures of the day were dropped
    bool told = false;     ///< as in OrderEntry
    CChangeJournal::Place changedAt = 0;
};

/// A record that was told and then taken away alone: one of the two.
struct GoneRecord {
    ChangedOrder order;
    ChangedDeal deal;
};

struct TaskEntry {
    std::string account;
    TaskPtr report;
    CChangeJournal::Place changedAt = 0;
};

/// Open lots of one price level of a pair.
struct Level {
    std::int32_t level = 0;
    std::int32_t lots = 0;
    std::uint32_t nextOfPair = NONE;
};

struct Minute {
    std::int32_t minute = 0;
    std::uint32_t older = NONE;
    LinkagePeriodTradeData deals;
};

/// One strategy of one account; WHOLE_ACCOUNT_ID is the account as a whole.
struct Pair {
    std::uint32_t account = NONE;
    std::uint32_t strategy = NONE;
    bool hasRunning = false;             ///< some order has run, even if none runs now
    std::vector<std::uint32_t> running;  ///< entries, each knows its place: see placeRunning
    CFigureIndex index;
    std::vector<Figures*> figures;
    std::uint32_t sorted = 0;  ///< how many of `figures`, from the first, are in stock-key order
    utils::CKeyIndex levelIndex;
    std::uint32_t firstLevel = NONE;
    double profit = 0.0;  ///< of all its figures, at the last revaluation
    CChangeJournal::Place changedAt = 0;
    CChangeJournal::Place leftAt = 0;  ///< a record has gone to another pair
};

struct Account {
    std::string key;
    std::optional<int> day;               ///< the trade day that its figures are of
    std::vector<std::uint32_t> pairs;     ///< by strategy
    std::vector<std::uint32_t> holdings;  ///< by stock
    std::vector<std::uint32_t> cells;
    std::vector<std::uint32_t> parked;  ///< order entries that are filed nowhere
    utils::CKeyIndex orders;
    utils::CKeyIndex deals;
    CChangeJournal::Place droppedAt = 0;
    DayOrder droppedThrough = 0;  ///< newest day whose records are not kept any more
};

struct Strategy {
    std::string key;      ///< its name
    bool listed = false;  ///< among the strategies that the client is told of
    bool hasLevels = false;
};

/// The stocks that have an entry under a day, in each of the by-day containers.
struct Day {
    bool asked = false;  ///< somebody asked for the day, so it has an entry even without any stock
    std::set<std::uint32_t> orders;
    std::set<std::uint32_t> deals;
    std::set<std::uint32_t> totals;
};

/// The figures of an order that its newest report replaces.
struct Before {
    std::int32_t traded = 0;
    std::int32_t wideTraded = 0;
    double amount = 0.0;
    double wideAmount = 0.0;
    Progress running[2];  ///< of the reports in the strategy's running set, the account's
};

/// A report on its way through intake: what its texts and its record were resolved to.
struct ReportStep {
    std::uint32_t account = NONE;
    std::uint32_t stock = NONE;
    std::uint32_t strategy = WHOLE_ACCOUNT_ID;
    std::uint32_t cell = NONE;
    std::uint32_t entry = NONE;
    const Listing* listing = nullptr;
    Holding* holding = nullptr;
    bool buys = false;
};

struct OrderStep : ReportStep {
    const vexservice::COrderDetail* order = nullptr;
    OrderEntry* filed = nullptr;  ///< `entry` itself
    OrderPtr previous;            ///< the report before this one
    std::uint32_t pair = NONE;
    std::int32_t level = 0;
    bool runs = false;
    bool takesBack = false;  ///< `previous` was final, and this report runs again
    Before before;
};

struct DealStep : ReportStep {
    const vexservice::CDealDetail* deal = nullptr;
    Figures* figures = nullptr;
    double commission = 0.0;
};

}  // namespace TC::ledger
