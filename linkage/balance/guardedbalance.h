#pragma once

#include "linkage/balance/balancebook.h"
#include "linkage/balance/balanceplan.h"
#include "linkage/balance/guardpicture.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace TC {

/// One order of a guarded balance and what is known of it.
struct SentOrder {
    std::string stock;
    bool buys = false;
    bool priced = true;  ///< it had a price, or is a market order
    std::int64_t volume = 0;

    // as the newest reports of its command say
    std::int64_t filled = 0;
    bool heard = false;
    bool ended = false;  ///< every report of it is final
    bool rejected = false;
    std::string remark;  ///< why it was rejected, in the broker's words

    bool lost = false;

    bool operator==(const SentOrder&) const = default;
};

struct SentCommand {
    int number = 0;  ///< 0 until the command center has told it
    int round = 1;
    std::int64_t sentAt = 0;
    bool refused = false;
    std::string text;  ///< why it was refused
    std::vector<SentOrder> orders;

    /// Whether an order can trade no more.
    bool isOver(const SentOrder& order) const { return refused || order.lost || order.ended; }
};

struct CancelledOrder {
    std::int64_t asked = 0;
    std::int64_t confirmed = 0;  ///< 0 while it runs
};

/// A stock at the last decision.
struct BalancedStock : BalanceStock {
    EBalanceOutcome outcome = EBalanceOutcome::Balanced;
    std::int64_t planned = 0;  ///< what the last decision sent; a sale is negative
};

/// A guarded balance from its request on. Moments are microseconds since the epoch, 0 for
/// none. The book's lines hold all of it, but for two members that a picture has (PictureMembers).
struct GuardedBalance {
    int number = 0;
    std::string date;  ///< trade date, "yyyyMMdd"
    GuardPair pair;
    EBalanceForm form = EBalanceForm::SignalTask;
    EBalanceAsker asker = EBalanceAsker::Demand;
    bool atOnce = false;  ///< decided when asked; cancels and replaces nothing

    EBalanceState state = EBalanceState::Asked;
    std::int64_t askedAt = 0;
    std::int64_t dueAt = 0;  ///< its turn does not come earlier
    std::int64_t cancelAt = 0;
    std::int64_t sentAt = 0;  ///< when the last round was sent
    std::int64_t endedAt = 0;
    std::uint64_t changedAt = 0;  ///< counted in changes; not in the book
    /// When the decision is tried again after a service did not answer; not in the book.
    std::int64_t retryAt = 0;

    int rounds = 0;
    std::string reason;
    bool remainsOpen = false;  ///< it ended before the account was loaded;
                               ///< `remains` is filled in after the load
    std::map<std::uint64_t, CancelledOrder> cancelledOrders;
    int cancelledTasks = 0;
    std::vector<SentCommand> commands;
    std::map<std::string, BalancedStock> stocks;

    bool isActive() const {
        return state == EBalanceState::Asked || state == EBalanceState::Cancelling ||
               state == EBalanceState::Sent;
    }
    bool isToDecide() const {
        return state == EBalanceState::Asked || state == EBalanceState::Cancelling;
    }
    bool sent(int command) const {
        for (const SentCommand& each : commands) {
            if (command != 0 && each.number == command) return true;
        }
        return false;
    }
};

/// The record that clients see.
BalanceRecord recordOf(const GuardedBalance& balance);

// linkage/balance/bookline.cpp

/// A line of the book: the step that was made and all of the balance after it, JSON, with
/// its line end.
std::string bookLine(const GuardedBalance& balance, const std::string& step, std::int64_t now);

/// The local time of day, "hh:mm:ss"; "" for 0.
std::string bookTime(std::int64_t micros);

// linkage/balance/booktext.cpp

/// The balances of a book, by number, each as its last whole line has it. Lines that cannot be
/// read are skipped and counted in `damaged`.
std::map<int, GuardedBalance> readBook(const std::string& text, int& damaged);

}  // namespace TC
