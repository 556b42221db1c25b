#pragma once

#include "common/keyindex.h"
#include "linkage/ledger/arena.h"
#include "linkage/ledger/figures.h"
#include "linkage/ledger/profitrule.h"
#include "linkage/ledger/types.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/ratelimit.h"
#include "platform/records/taskdetail.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vexservice {
class CAccountData;
}

namespace TC {

using OrderPtr = boost::shared_ptr<vexservice::COrderDetail>;
using DealPtr = boost::shared_ptr<vexservice::CDealDetail>;
using TaskPtr = boost::shared_ptr<vexservice::CTaskDetail>;
using FiguresPtr = boost::shared_ptr<LinkagePeriodExtData>;
using FeePtr = boost::shared_ptr<vexservice::CStkExchangeRateLimit>;

/// One stock of one account, whatever the day.
struct alignas(64) Holding {
    double orderAmplitude = 0.0;
    double dealAmplitude = 0.0;
    bool hasOrderAmplitude = false;
    bool hasDealAmplitude = false;
    std::int32_t newestDay = 0;  ///< of newestCell
    std::uint32_t newestCell = NONE;
    std::uint64_t feeRevision = 0;
    std::uint64_t markerEpoch = 0;
    FeePtr fee;
};

/// A report on its way through intake: what its names and its record were resolved to.
struct ReportStep {
    std::uint32_t account = NONE;
    std::uint32_t listing = NONE;
    std::uint32_t stock = NONE;
    std::uint32_t cell = NONE;
    std::uint32_t entry = NONE;
    std::uint32_t strategy = 0;
    bool stockIsNew = false;
    bool strategyIsNew = false;
    bool buys = false;
};

struct DealStep : ReportStep {
    const vexservice::CDealDetail* deal = nullptr;
    boost::shared_ptr<vexservice::CAccountData> accountData;  ///< of deals that balance history
    Figures* figures = nullptr;
    bool dealIsNew = false;
    bool countsAgain = false;  ///< the record is there, its figures were dropped
    double commission = 0.0;
};

/// What stands where in the ledger, and what a report carries on its way through intake.
struct LedgerForm {
    /// What a stock is, as market and code name it, and what the client says of it.
    struct Listing {
        std::string market;
        std::string code;
        std::uint32_t stock = NONE;
        std::uint64_t revision = 0;  ///< of the reference data below
        bool excluded = false;
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
        std::optional<double> valuedPrice;  ///< that the last pass with a new one has used
        bool hasNewPrice = false;           ///< in m_latestPrices
        std::uint64_t requestEpoch = 0;
        bool hasOrderAmplitudes = false;
        bool hasDealAmplitudes = false;
        bool hasPeriods = false;
    };

    /// One day of one stock of one account.
    struct alignas(64) Cell {
        int day = 0;
        std::uint32_t stock = NONE;
        std::uint32_t account = NONE;
        std::uint32_t olderCell = NONE;  ///< another day of the same holding
        std::uint32_t firstOrder = NONE;
        std::uint32_t firstDeal = NONE;
        bool hasOrders = false;
        bool hasDeals = false;
        bool hasTotals = false;
        std::int32_t boughtVolume = 0;
        std::int32_t soldVolume = 0;
        double boughtAmount = 0.0;
        double soldAmount = 0.0;
    };

    /// What an order entry stands in.
    enum Facet : std::uint8_t {
        FILED = 1,      ///< m_orderDetails of its cell
        TRADED = 2,     ///< sums of its strategy
        WIDE = 4,       ///< sums of the whole account
        LOTS = 8,       ///< open lots of its level
        RUNS = 16,      ///< running orders of its strategy
        RUNS_WIDE = 32  ///< running orders of the whole account
    };

    /// The newest report of an order and where its figures stand. An order that comes
    /// back with another stock, day, strategy, side or price leaves its old figures
    /// where they are: they stay behind in a further entry of the same key.
    struct OrderEntry {
        std::uint64_t key = 0;
        OrderPtr report;
        Figures* figures = nullptr;
        double amount = 0.0;
        std::int32_t traded = 0;
        std::int32_t lots = 0;
        std::int32_t level = 0;
        std::uint32_t levelCell = NONE;
        std::uint32_t cell = NONE;
        std::uint32_t pair = NONE;
        std::uint32_t nextInCell = NONE;
        std::uint32_t nextOfKey = NONE;
        std::uint32_t placeRunning[2] = {NONE, NONE};  ///< in the strategy's set, the account's
        std::int32_t runTraded[2] = {};                ///< of the report that each set holds
        std::int16_t status[2] = {};                   ///< likewise
        std::uint8_t facets = 0;
        bool buys = false;
    };

    struct DealEntry {
        std::uint64_t key = 0;
        DealPtr report;
        std::uint32_t cell = NONE;
        std::uint32_t nextInCell = NONE;
        std::uint32_t nextOfKey = NONE;
        bool counted = false;  ///< in the traded figures
        bool dropped = false;  ///< was, until the account's figures of the day were dropped
    };

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

    /// One strategy of one account; the strategy "" is the account as a whole.
    struct Pair {
        std::uint32_t account = NONE;
        std::uint32_t strategy = NONE;
        bool hasRunning = false;
        std::vector<std::uint32_t> running;
        CFigureIndex index;
        std::vector<Figures*> figures;
        std::uint32_t sorted = 0;  ///< so many of `figures` are in stock-key order
        utils::CKeyIndex levelIndex;
        std::uint32_t firstLevel = NONE;
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
    };

    struct Strategy {
        std::string key;      ///< its name
        bool listed = false;  ///< in m_strategys
        bool hasLevels = false;
    };

    /// The stocks that have an entry under a day, in each of the by-day containers.
    struct Day {
        bool hasOrders = false;  ///< the day has an entry of its own
        bool hasDeals = false;
        std::set<std::uint32_t> orders;
        std::set<std::uint32_t> deals;
        std::set<std::uint32_t> totals;
    };

    /// Figures that one report replaces.
    struct Before {
        std::int32_t traded = 0;
        std::int32_t wideTraded = 0;
        double amount = 0.0;
        double wideAmount = 0.0;
    };

    struct OrderStep : ReportStep {
        const vexservice::COrderDetail* order = nullptr;
        OrderPtr previous;  ///< the report before this one
        std::uint32_t pair = NONE;
        std::int32_t level = 0;
        bool recordIsNew = false;
        bool runs = false;
        Before before;
    };

    struct RunningChange {
        bool logs = false;     ///< the order line is due
        bool emptied = false;  ///< the last running order has gone
    };
};

}  // namespace TC
