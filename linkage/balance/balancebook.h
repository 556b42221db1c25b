#pragma once

#include "linkage/core/balanceasker.h"
#include "linkage/export.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

/// @file
/// What became of each balance, as CLinkageManager::getBalances tells it. Kept only with
/// LinkageOptions::guard. Volumes are shares.
namespace TC {

/// How far a balance has come. Ended and Refused are final.
enum class EBalanceState {
    Asked,       ///< waits for its turn
    Cancelling,  ///< waits until what runs of the pair has ended, for 30 s at most
    Sent,        ///< its orders are under way
    Ended,       ///< nothing more is sent; the reason tells why, when there is one
    Refused,     ///< never began; the reason names the balance that prevented it
};

/// "asked", "cancelling", "sent", "ended", "refused".
LINKAGE_EXPORT const char* textOf(EBalanceState state);

/// One stock of a balance. The figures are those of its last decision.
struct BalanceStock {
    std::int64_t bought = 0;   ///< volume bought, shares
    std::int64_t sold = 0;     ///< volume sold, shares
    std::int64_t least = 0;    ///< bought less sold when every open sell fills
    std::int64_t most = 0;     ///< bought less sold when every open buy fills
    std::int64_t sent = 0;     ///< over all rounds; a sale is negative
    std::int64_t filled = 0;   ///< likewise; may still grow after the end
    std::int64_t remains = 0;  ///< bought less sold when the balance ended; 0 before
    std::string reason;        ///< why it sent nothing, or why something remains

    /// Every member, for comparisons.
    auto tied() const { return std::tie(bought, sold, least, most, sent, filled, remains, reason); }
    /// Whether all members are equal.
    bool operator==(const BalanceStock& other) const { return tied() == other.tied(); }
    /// Whether any member differs.
    bool operator!=(const BalanceStock& other) const { return !(*this == other); }
};

/// One balance and what became of it.
struct BalanceRecord {
    int number = 0;             ///< counted from 1; continues after a restart on the same date
    std::string date;           ///< trade date, "yyyyMMdd"
    std::vector<int> commands;  ///< numbers of its commands, as far as they are known
    std::string account;        ///< account key
    std::string strategy;       ///< strategy name
    bool history = false;  ///< balances what the history store holds, else the figures of the day
    std::string asked;     ///< "hh:mm:ss"
    std::string ended;     ///< "hh:mm:ss"; "" while it has not ended; when refused: when asked
    EBalanceState state = EBalanceState::Asked;  ///< how far it has come
    int cancelledOrders = 0;                     ///< orders that it asked to cancel
    int cancelledTasks = 0;                      ///< tasks that it asked to terminate
    int rounds = 0;                              ///< rounds that sent something
    std::string reason;  ///< why the whole balance ended or was refused; "" for none
    std::map<std::string, BalanceStock> stocks;  ///< by stock key
};

}  // namespace TC
