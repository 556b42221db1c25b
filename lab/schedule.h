#pragma once

#include "lab/dials.h"

#include <cstdint>
#include <string>
#include <vector>

/// A day in the laboratory before it is played: all that is decided by the seed alone.
namespace lab {

/// Everything costs as much.
inline constexpr double PRICE = 10.0;
/// More calls than a day has.
inline constexpr int ALL_CALLS = 1'000'000;

struct Stock {
    std::string market;
    std::string code;
    int unit = 100;
    bool anyVolume = false;  ///< one lot is the least, but not the step
    bool detail = true;
    bool priced = true;
    bool excluded = false;  ///< of a type that is never followed

    std::string key() const { return market + code; }
    /// The stock types that it belongs to.
    std::vector<int> types() const;
};

/// What earlier days left of a stock of a pair.
struct Rest {
    int account = 0;
    int strategy = 1;  ///< never the whole account
    int stock = 0;
    int bought = 0;
    int sold = 0;
};

enum class EStep {
    Order,           ///< the trader, or a strategy, sends an order
    Cancel,          ///< the trader cancels an order of his own
    Ask,             ///< runAutoBalance
    AskNow,          ///< runAutoBalanceTimer
    SendAtOnce,      ///< doStockBalanceBySignalTask
    SendGrouped,     ///< doStockBalance
    HistoryAtOnce,   ///< doHistoryBalanceBySignalTask
    HistoryGrouped,  ///< doHistoryBalance
    Try,             ///< tryAutoBalance
    Task,            ///< a task begins; `amount` is how many seconds it runs
    Request,         ///< requestAccount
    Ready,           ///< the account's data was initialised
    Login,
    Disconnect,  ///< `amount`: seconds until the next login
    Rollover,
    SameDate,
    AskPast,  ///< the trading server is asked for a past day
    Import,   ///< a statement of the account's deals so far
    Times,    ///< a balance time is set, or with `flag` taken away
    Service,  ///< `amount`: which of SERVICE_FAULTS; `times`: so many calls
    Restart,  ///< `amount`: seconds until it is there again
    Crash,
    CrashInSend,    ///< in the next command; `flag`: the command center has it by then
    CrashInCancel,  ///< in the next cancellation; likewise
    CrashAtStep,    ///< at the `amount`-th further step of the disk
    CrashInSave,    ///< at the `amount`-th step of the next save
    Disk,           ///< `amount`: which step fails, and how often
    DiskInSave,     ///< as CrashInSave; `times`: so many steps fail
};

const char* nameOf(EStep step);

struct Step {
    std::int64_t at = 0;  ///< microseconds after the opening
    EStep kind = EStep::Order;
    int account = 0;
    int strategy = 0;
    int stock = 0;
    int amount = 0;
    int times = 1;
    int keeps = 0;            ///< of a crash: see TC::disk::Fault
    bool flag = false;        ///< of an order: it buys
    std::uint64_t place = 0;  ///< in the plan as it was drawn, from 1
};

struct Plan {
    std::uint64_t seed = 0;
    Dials dials;
    int clientType = 1;
    int rounds = 1;
    int roundSeconds = 20;
    bool keepTimes = false;  ///< the option keepBalanceTimes
    bool night = false;      ///< the clock passes midnight after the first minute
    bool named = true;       ///< deals name their orders
    bool numbered = true;    ///< the command center gives numbers
    std::vector<std::string> accounts;
    std::vector<std::string> strategies;  ///< the first is "", the whole account
    std::vector<Stock> stocks;
    std::vector<Rest> rests;
    std::vector<Step> steps;  ///< in the order of time
};

/// The day of a seed.
Plan planOf(std::uint64_t seed, const Dials& dials);

}  // namespace lab
