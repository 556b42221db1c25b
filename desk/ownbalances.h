#pragma once

#include "desk/picture.h"
#include "platform/records/orderdetail.h"
#include "platform/records/orderparam.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace desk {

/// A balance that was asked for starts so many seconds later, and waits for cancellations so long.
constexpr int BALANCE_DELAY = 5;
constexpr int LONGEST_CANCELLING = 30;

/// A balance of which there is no book. Moments are microseconds since the epoch, 0: none.
struct OwnBalance : BalanceRow {
    std::string date;
    std::int64_t dueAt = 0;
    std::int64_t cancelAt = 0;
    std::int64_t sentAt = 0;
    std::int64_t quietSince = 0;         ///< nothing of the pair has run since then
    std::set<std::uint64_t> ordersSent;  ///< record keys, as far as they are known
    std::set<std::uint64_t> ordersCancelled;
    std::set<std::uint64_t> tasksCancelled;
    std::set<int> commands;

    bool isToSend() const { return state == "asked" || state == "cancelling"; }
    bool isActive() const { return isToSend() || state == "sent"; }
};

/// What the reports say of the orders that a balance has sent.
struct SentSeen {
    std::size_t orders = 0;
    std::size_t running = 0;
    std::map<std::string, std::int64_t> filled;   ///< by stock key
    std::map<std::string, std::string> rejected;  ///< the broker's words, by stock key
};

/// The balances of a manager without the guard, as they look from outside. Their words are those
/// of the book.
///
/// One timer of the manager serves all pairs: who waits for his start, starts when another asks.
/// So the requests that reach the client belong to the oldest balance of their pair that has not
/// sent yet. Plain values; no thread, no lock.
class COwnBalances {
public:
    /// Somebody asks for a balance at `now`. It is refused while one of the pair cancels.
    void ask(const replay::PairKey& pair, bool history, EAskedBy by, std::int64_t now, int delay);
    void cancels(const replay::PairKey& pair, const vexservice::COrderDetail& order,
                 std::int64_t now);
    void terminates(std::uint64_t task, std::int64_t now);
    /// The orders of a command of one account; `by` counts when nobody was seen to ask.
    void sends(const std::string& account, const vexservice::COrderComandParam& command, int number,
               EAskedBy by, std::int64_t now);
    /// The exchange has made this order for the command that was sent last at `now`.
    void makes(const std::string& account, const vexservice::COrderComandParam& command,
               std::uint64_t order, std::int64_t now);
    /// Ends what has not ended.
    void endAll(const std::string& reason, std::int64_t now);

    void setDate(const std::string& date) { m_date = date; }
    const std::vector<OwnBalance>& all() const { return m_balances; }
    /// The balance of this number; it must be one of all().
    OwnBalance& of(int number) { return m_balances[static_cast<std::size_t>(number - 1)]; }

    /// What the manager shows of an active balance at `now`; true when it is over by that: the
    /// caller then knows what is left and calls end(). `running`: orders and tasks of the pair.
    static bool look(OwnBalance& balance, int running, const SentSeen& sent, std::int64_t now);
    void end(OwnBalance& balance, std::vector<replay::Remainder> remains, std::int64_t now);

    /// A balance of this number came into this state.
    struct Step {
        int number = 0;
        std::string state;
        std::string time;  ///< "hh:mm:ss"
    };
    /// The steps that were made since the last call.
    std::vector<Step> takeSteps();

private:
    OwnBalance& add(const replay::PairKey& pair, bool history, EAskedBy by, std::int64_t now);
    OwnBalance* waiting(const replay::PairKey& pair, bool history);
    OwnBalance* sentNow(const replay::PairKey& pair, bool history, std::int64_t now);
    void enter(OwnBalance& balance, const std::string& state, std::int64_t now);
    void begin(OwnBalance& balance, std::int64_t now);

    std::string m_date;
    std::vector<OwnBalance> m_balances;  ///< of all dates; a number is a place, from 1
    std::vector<Step> m_steps;
};

/// Why a stock is still unequal after a balance that could send. Empty: nobody knows.
std::string unequalReason(const OwnBalance& balance, const SentSeen& sent,
                          const std::string& stock);

}  // namespace desk
