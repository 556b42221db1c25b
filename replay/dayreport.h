#pragma once

#include "replay/replay.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace replay {

/// What one strategy of one account did in a day; the strategy "" is the whole account.
struct PairFigures {
    std::size_t orders = 0;
    std::size_t deals = 0;
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    double buyAmount = 0.0;
    double sellAmount = 0.0;
    double commission = 0.0;
    double profit = 0.0;
    double positionValue = 0.0;
    std::size_t running = 0;  ///< orders and tasks
};

/// Shares of a stock that balances ordered, and got.
struct BalancedStock {
    std::int64_t sent = 0;
    std::int64_t filled = 0;
};

/// A stock of a pair that is not equal at the end of the day.
struct Remainder {
    std::string stockKey;         ///< empty: the reason stands for the whole pair
    std::int64_t difference = 0;  ///< bought less sold, shares
    std::string reason;
};

/// The balances of a pair in a day: how they went. What was filled of a balance without a
/// strategy is known only of orders that the paper exchange made.
struct BalanceFigures {
    std::string asked;  ///< "hh:mm:ss", the last time; empty when nobody asked
    std::size_t cancelledOrders = 0;
    std::size_t cancelledTasks = 0;
    std::size_t orders = 0;
    std::map<std::string, BalancedStock> stocks;  ///< by stock key
    std::vector<Remainder> remains;

    std::int64_t sent() const;
    std::int64_t filled() const;
};

using PairKey = std::pair<std::string, std::string>;  ///< account, strategy

struct DayFigures {
    std::string date;
    std::map<PairKey, PairFigures> pairs;
    std::map<PairKey, BalanceFigures> balances;
    std::map<PairKey, BalanceFigures> historyBalances;
};

/// Adds up what happened in each trade date of a scenario, from the manager's own
/// figures at the end of the date and from the requests that it made meanwhile.
class CDayReport final : public IReplayWatcher, private paper::IClientObserver {
public:
    explicit CDayReport(bool showProgress) : m_bShowProgress(showProgress) {}

    void before(const Event& event, CSession& session) override;
    void after(const Event& event, CSession& session) override;
    void finished(CSession& session) override;
    void progress(double share) override;
    paper::IClientObserver* requests() override { return this; }

    const std::vector<DayFigures>& days() const { return m_days; }

private:
    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override;
    void onCommand(const vexservice::COrderComandParam& command, int) override;
    void onCommandOrder(const vexservice::COrderComandParam& command, const std::string& accountKey,
                        std::uint64_t orderKey) override;
    void onBalanceTime(const std::string& accountKey, const std::string& strategy) override;

    void noteCall(const CallEvent& event, CSession& session);
    void closeDay(CSession& session);
    void addOrders(const TC::ManagerState& state, DayFigures& day);
    void addFill(const std::string& account, const std::string& stock,
                 const vexservice::COrderDetail& order, DayFigures& day) const;
    void addFigures(const TC::ManagerState& state, DayFigures& day);
    void addCancelled(const TC::ManagerState& state, DayFigures& day);
    void addRemains(DayFigures& day);

    /// The order of a balance: of today's or of earlier days' figures, and of which strategy.
    struct Sent {
        bool history = false;
        std::string strategy;
    };

    const bool m_bShowProgress;
    bool m_bClientType3 = false;
    bool m_bOwnCancels = false;  ///< the scenario itself is cancelling
    std::vector<DayFigures> m_days;
    DayFigures m_day;
    std::map<std::pair<std::string, std::uint64_t>, Sent> m_sent;  ///< by account and record
    std::set<std::uint64_t> m_cancelledTasks;
    std::map<PairKey, std::set<std::uint64_t>> m_cancelledOrders;
};

/// The report as text: per day a table of account and strategy, and one of balances.
std::string reportText(const std::vector<DayFigures>& days);

}  // namespace replay
