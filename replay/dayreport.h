#pragma once

#include "replay/replay.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TC {
struct BalancePlan;
}

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

/// One balance of a pair: how it went.
struct BalanceFigures {
    std::string asked;  ///< "hh:mm:ss"; empty when nobody asked
    std::size_t cancelledOrders = 0;
    std::size_t cancelledTasks = 0;
    std::size_t orders = 0;
    std::int64_t sent = 0;             ///< shares
    std::int64_t filled = 0;           ///< shares
    std::vector<std::string> remains;  ///< "SH600000 +300: reason"
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
    void finished(CSession& session) override;
    void progress(double share) override;
    paper::IClientObserver* requests() override { return this; }

    const std::vector<DayFigures>& days() const { return m_days; }

private:
    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override;
    void onCommand(const vexservice::COrderComandParam&) override {}

    void noteCall(const CallEvent& event, CSession& session);
    void closeDay(CSession& session);
    void addOrders(const TC::ManagerState& state, DayFigures& day);
    void addFigures(const TC::ManagerState& state, DayFigures& day);
    void addCancelled(const TC::ManagerState& state, DayFigures& day);
    void addScheduled(const TC::ManagerState& state, CSession& session, DayFigures& day);
    void addRemains(DayFigures& day);

    const bool m_bShowProgress;
    bool m_bScheduler = false;
    bool m_bClientType3 = false;
    std::vector<DayFigures> m_days;
    DayFigures m_day;
    std::set<std::uint64_t> m_cancelledTasks;
    std::map<PairKey, std::set<std::uint64_t>> m_cancelledOrders;
};

/// The report as text: per day a table of account and strategy, and one of balances.
std::string reportText(const std::vector<DayFigures>& days);

}  // namespace replay
