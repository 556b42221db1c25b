#pragma once

#include "linkage/record/recordingoptions.h"
#include "linkage/stats/periodpoint.h"
#include "linkage/store/importreport.h"
#include "replay/balancefigures.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What the screen shows, as plain values: taken on the engine's thread, shown on the
/// window's. Volumes are shares, money is yuan, minutes are minutes of the day.
namespace desk {

/// What the user has chosen to look at.
struct Selection {
    std::string account;
    std::string strategy;
    std::string stock;  ///< stock key

    bool operator==(const Selection&) const = default;
};

/// One strategy of an account; an empty strategy stands for the whole account.
struct PairRow {
    std::string account;
    std::string accountName;
    std::string strategy;
    double profit = 0.0;
    double positionValue = 0.0;
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    int runningOrders = 0;
    int runningTasks = 0;
    std::string balanceTime;    ///< "hhmmss", empty: none
    double unequalValue = 0.0;  ///< of what is bought and not sold, or sold and not bought
};

struct StockRow {
    std::string stock;
    std::string name;
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    double boughtAmount = 0.0;
    double soldAmount = 0.0;
    double commission = 0.0;
    double profit = 0.0;
    double positionValue = 0.0;
    double lastPrice = 0.0;  ///< 0: not known, as with the next three
    double referencePrice = 0.0;
    double bid = 0.0;
    double ask = 0.0;
    int limit = 0;  ///< 1: the last price is at limit-up, -1: at limit-down
};

struct OrderRow {
    std::uint64_t key = 0;
    bool buys = true;
    bool running = false;
    double price = 0.0;  ///< 0: a market order
    int volume = 0;
    int traded = 0;
    int status = 0;
    std::string seen{};  ///< "hh:mm:ss", when its first report came: orders carry no time
};

/// A running order of any account.
struct RunningRow {
    std::string account;
    std::string strategy;
    std::string stock;
    std::string name;
    OrderRow order;
};

/// Who asked for a balance.
enum class EAskedBy {
    Program,       ///< somebody else than the rest: the client by itself
    Trader,        ///< at this screen, or on this day before the desk was started anew
    StrategyTime,  ///< the balance time of a strategy
    AccountTime,   ///< the balance time of an account as a whole
    Recording,     ///< a line of the recording
};

/// A balance of the day: by the book where there is one, else as the desk saw it.
struct BalanceRow : replay::BalanceFigures {
    EAskedBy by = EAskedBy::Program;
};

enum class EEvent {
    Balance,
    Rejected,
    Reconciled,
    Connection,
    ServiceFault,
    DiskFault,
    RecordingEnd,
    RecordingDiffers,
    RecorderFault,
};

/// Something that happened on the day. What the figures mean depends on the kind.
struct EventRow {
    int id = 0;        ///< counted from 1
    std::string time;  ///< client time "hh:mm:ss"
    EEvent kind = EEvent::Balance;
    std::string account;
    std::string strategy;
    std::string stock;
    std::string detail;  ///< a balance's state in the book's words; a broker's remark; a fault
    /// Of the balance; missed orders; the connection's status; times; 1: the recording breaks off;
    /// the line at which it differs.
    int number = 0;
    int second = 0;  ///< missed deals
    int third = 0;   ///< positions that differ
    EAskedBy by = EAskedBy::Program;
    std::string since{};  ///< of a fault that came several times: when it came first
};

struct DealRow {
    std::uint64_t key = 0;
    std::string time;  ///< "hhmmss"
    bool buys = true;
    double price = 0.0;
    int volume = 0;
    double amount = 0.0;
    bool ofHistory = false;  ///< of a balance of earlier days; no figure of today has it
};

struct TaskRow {
    std::uint64_t key = 0;
    int status = 0;
    bool server = true;
    int volume = 0;
    int traded = 0;
};

/// Open lots of the chosen account, strategy and stock at one price level.
struct LevelRow {
    double price = 0.0;
    int lots = 0;
    bool buys = false;  ///< of buy orders, or also of them
    bool sells = false;
};

struct HistoryRow {
    std::string key;  ///< history key
    std::string account;
    std::string strategy;
    std::string stock;  ///< empty: the pair has no stock left
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    double boughtAmount = 0.0;
    double soldAmount = 0.0;
};

/// What an account has, as far as the client's records and the day's figures tell. They tell no
/// cash.
struct FundsRow {
    std::string account;
    std::string name;
    double marketValue = 0.0;     ///< of the positions whose price is known
    double positionProfit = 0.0;  ///< of these, against their cost
    double bound = 0.0;           ///< what running buy orders with a price may still take
    double dayProfit = 0.0;       ///< of what was traded today
    double commission = 0.0;
    double boughtAmount = 0.0;
    double soldAmount = 0.0;
};

/// A position as the client reports it.
struct PositionRow {
    std::string stock;
    std::string name;
    int volume = 0;
    int sellable = 0;
    double cost = 0.0;           ///< yuan for each share
    double lastPrice = 0.0;      ///< 0: not known
    std::int64_t netBought = 0;  ///< today, by the library's figures
};

/// Deals of one minute and side, for the chart.
struct DealDot {
    int minute = 0;
    bool buys = true;
    double price = 0.0;  ///< mean price
    std::int64_t volume = 0;
};

struct Picture {
    std::string date;  ///< trade date "yyyyMMdd"
    std::string time;  ///< client time "hh:mm:ss"
    int minute = 0;
    double progress = -1.0;  ///< of a recording, 0 to 1; negative: none
    bool paced = true;       ///< otherwise the machine's speed decides what is seen when
    bool alive = false;      ///< the library runs; otherwise the picture has nothing of it
    bool recorded = false;   ///< it shows what was; nothing can be sent
    bool ended = false;      ///< the recording was played to its end
    bool breaksOff = false;  ///< and it has no proper end
    bool halted = false;     ///< the moment was reached at which it was to stop
    std::string fault;       ///< why the recording stopped early
    std::string userName;
    std::optional<TC::RecordingState> recording;  ///< of this session; empty: none was begun

    std::vector<PairRow> pairs;
    std::map<std::string, std::string> balanceTimes;
    std::vector<HistoryRow> history;
    std::vector<TC::ImportSummary> imports;  ///< that stand, by number
    std::vector<BalanceRow> balances;        ///< of the day, the oldest first

    std::vector<RunningRow> running;  ///< of all accounts, the newest first
    std::vector<FundsRow> funds;      ///< of all accounts
    std::vector<EventRow> events;     ///< the newest first

    // of the selection
    Selection selection;
    std::vector<StockRow> stocks;
    std::vector<PositionRow> positions;  ///< of the account
    std::map<int, TC::PeriodPoint> curve;
    std::map<int, double> prices;
    double referencePrice = 0.0;
    double tick = 0.01;
    std::vector<OrderRow> orders;  ///< running first, then the newest
    std::vector<DealRow> deals;    ///< the newest first
    std::vector<DealDot> dots;
    std::vector<TaskRow> tasks;
    std::vector<LevelRow> levels;  ///< highest price first
};

}  // namespace desk
