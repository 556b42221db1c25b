#pragma once

#include "linkage/balance/guardedbalance.h"

#include <string>

/// Why a stock got no order, or why something remains, in words that a trader knows.
namespace TC {

inline constexpr char REASON_BALANCED[] = "balanced";
inline constexpr char REASON_BELOW_LOT[] = "less than a lot";
inline constexpr char REASON_NO_INSTRUMENT[] = "no instrument";
inline constexpr char REASON_NO_PRICE[] = "no price";
inline constexpr char REASON_WAITING[] = "waiting for open orders";
inline constexpr char REASON_TASK[] = "task running";
inline constexpr char REASON_REFUSED[] = "refused by the command center";
inline constexpr char REASON_REJECTED[] = "rejected";
inline constexpr char REASON_LOST[] = "lost: nothing was heard of the order";
inline constexpr char REASON_RESTING[] = "resting";
inline constexpr char REASON_CANCELLED[] = "cancelled";
inline constexpr char REASON_TRADED_SINCE[] = "traded since";

inline constexpr char REASON_RESTART[] = "restart";
inline constexpr char REASON_NEW_DATE[] = "new trading date";
inline constexpr char REASON_NO_BOOK[] = "nothing was sent: the book of balances cannot be written";
inline constexpr char REASON_NO_ANSWER[] = "a service of the client did not answer";
inline constexpr char REASON_NOT_LOADED[] = "the account is not loaded";

std::string replacedBy(int number);
std::string underWay(int number);
std::string wholeAccountBy(int number);

const char* reasonOf(EBalanceRefusal refusal);

/// Why a decision sends nothing for a stock; "" when it does.
const char* reasonOf(EBalanceOutcome outcome);

/// Why `remains` is left of a stock when its balance ends.
std::string reasonAtEnd(const GuardedBalance& balance, const std::string& stockKey);

}  // namespace TC
