#pragma once

#include "desk/ownbalances.h"
#include "desk/picture.h"
#include "paper/clientobserver.h"

#include <boost/signals2/connection.hpp>

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace TC {
class CLinkageManager;
}

namespace desk {

/// Who asked for each balance, and without the guard, which alone keeps a book, what became of it:
/// from the requests that reach the client, and from the orders' reports.
///
/// Threads: requests and signals come on any, under the manager's lock; everything else is called
/// on one, the engine's.
class CBalanceWatch final : public paper::IClientObserver {
public:
    /// To be called with each new manager.
    void follow(TC::CLinkageManager& manager);
    /// The manager is gone, and with it what it had not ended.
    void managerGone();

    /// While this lives, whoever made it asks for a balance of the pair on this thread. `delay`:
    /// seconds after which such a balance starts.
    class CAsking {
    public:
        CAsking(CBalanceWatch& watch, const replay::PairKey& pair, bool history, EAskedBy by,
                int delay = BALANCE_DELAY);
        ~CAsking();
        CAsking(const CAsking&) = delete;
        CAsking& operator=(const CAsking&) = delete;

    private:
        CBalanceWatch& m_watch;
    };
    /// While this lives, what is cancelled on this thread no balance cancels.
    class CCancelling {
    public:
        explicit CCancelling(CBalanceWatch& watch);
        ~CCancelling();
        CCancelling(const CCancelling&) = delete;
        CCancelling& operator=(const CCancelling&) = delete;

    private:
        CBalanceWatch& m_watch;
    };

    /// Looks how far the balances have come; to be called again and again while time passes.
    void settle(const TC::CLinkageManager& manager);
    /// The balances of a date, the oldest first.
    std::vector<BalanceRow> rows(const TC::CLinkageManager& manager, const std::string& date);
    /// The steps that balances have made since the last call.
    std::vector<EventRow> takeSteps();

    // what reaches the client
    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override;
    void onCommand(const vexservice::COrderComandParam& command, int number) override;
    void onCommandOrder(const vexservice::COrderComandParam& command, const std::string& account,
                        std::uint64_t order) override;
    void onBalanceTime(const std::string& account, const std::string& strategy) override;

private:
    struct Asked {
        replay::PairKey pair;
        bool history = false;
        EAskedBy by = EAskedBy::Program;
        std::thread::id thread;
    };
    using Number = std::pair<std::string, int>;  ///< trade date, number in the book

    void bookChanged(const TC::CLinkageManager& manager, int number);
    EAskedBy askerOf(const replay::PairKey& pair, bool history);
    void readBook(const std::string& date);
    bool isOwnCancel() const;

    mutable std::mutex m_mutex;
    bool m_bGuard = false;
    std::string m_date;
    std::optional<Asked> m_asking;
    std::optional<std::thread::id> m_cancelling;
    std::set<replay::PairKey> m_timeCame;  ///< and the manager is being asked
    COwnBalances m_own;
    std::map<Number, EAskedBy> m_by;
    std::map<Number, std::string> m_states;
    std::set<std::string> m_booksRead;  ///< dates
    std::vector<EventRow> m_steps;
    boost::signals2::scoped_connection m_changed;
};

}  // namespace desk
