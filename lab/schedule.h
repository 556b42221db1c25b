#pragma once

#include "lab/dials.h"

#include <cstdint>
#include <string>
#include <vector>

/// A day in the laboratory before it is played: all that is decided by the seed alone.
namespace lab {

struct Stock {
    std::string market;
    std::string code;
    int unit = 100;
    bool anyVolume = false;  ///< one lot is the least, but not the step
    bool detail = true;
    bool priced = true;

    std::string key() const { return market + code; }
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
    Rollover,
    SameDate,
    Restart,  ///< `amount`: seconds until it is there again
    Crash,
    CrashInSend,    ///< in the next command; `flag`: the command center has it by then
    CrashInCancel,  ///< in the next cancellation; likewise
    Disk,           ///< `amount`: which step fails, and how often
};

const char* nameOf(EStep step);

struct Step {
    std::int64_t at = 0;  ///< microseconds after the opening
    EStep kind = EStep::Order;
    int account = 0;
    int strategy = 0;
    int stock = 0;
    int amount = 0;
    bool flag = false;  ///< of an order: it buys
};

struct Plan {
    std::uint64_t seed = 0;
    Dials dials;
    int clientType = 1;
    int rounds = 1;
    int roundSeconds = 20;
    bool named = true;     ///< deals name their orders
    bool numbered = true;  ///< the command center gives numbers
    std::vector<std::string> accounts;
    std::vector<std::string> strategies;  ///< the first is "", the whole account
    std::vector<Stock> stocks;
    std::vector<Rest> rests;
    std::vector<Step> steps;  ///< in the order of time
};

/// The day of a seed.
Plan planOf(std::uint64_t seed, const Dials& dials);

}  // namespace lab
