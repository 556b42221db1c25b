#pragma once

#include "replay/balancefigures.h"
#include "replay/recordingplayer.h"
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

struct DayFigures {
    std::string date;
    std::map<PairKey, PairFigures> pairs;
    /// What was traded to balance earlier days: only orders, deals, volumes and amounts. It
    /// belongs to those days and is not in `pairs`.
    std::map<PairKey, PairFigures> historyPairs;
    std::vector<BalanceFigures> balances;
};

/// Adds up what happened on each trade date of a scenario or of a recording: from the manager's own
/// figures at the end of the date, and from its book of balances, or without a book from the
/// requests that the manager made during the date.
class CDayReport final : public IReplayWatcher,
                         public IRecordingWatcher,
                         private paper::IClientObserver {
public:
    explicit CDayReport(bool showProgress) : m_bShowProgress(showProgress) {}

    void before(const Event& event, CSession& session) override;
    void after(const Event& event, CSession& session) override;
    void finished(CSession& session) override;
    void progress(double share) override;

    void clientIsThere(paper::CPaperClient& client, int clientType) override;
    void before(const RecordedStep& step) override;
    void takes(const RecordedStep& step, const std::function<void()>& work) override;
    /// The recording was played as far as it goes, and its manager is still there.
    void finished();

    paper::IClientObserver* requests() override { return this; }

    const std::vector<DayFigures>& days() const { return m_days; }

private:
    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override;
    void onCommand(const vexservice::COrderComandParam& command, int number) override;
    void onCommandOrder(const vexservice::COrderComandParam& command, const std::string& accountKey,
                        std::uint64_t orderKey) override;
    void onBalanceTime(const std::string& accountKey, const std::string& strategy) override;

    void noteBalanceCall(const std::string& op, const PairKey& pair);
    void noteCommand(const vexservice::COrderComandParam& command);
    void clearProgress();
    void closeDay();
    void addOrders(const TC::ManagerState& state);
    void addFill(const std::string& account, const std::string& stock,
                 const vexservice::COrderDetail& order);
    void addFigures(const TC::ManagerState& state);
    void addCancelled(const TC::ManagerState& state);
    void addRemains();
    BalanceFigures& seen(const PairKey& pair, bool history);

    /// Which balance an order belongs to: whether it balances history, and which strategy.
    struct Sent {
        bool history = false;
        std::string strategy;
    };

    const bool m_bShowProgress;
    bool m_bClientType3 = false;
    std::vector<DayFigures> m_days;
    DayFigures m_day;
    std::map<std::pair<bool, PairKey>, BalanceFigures> m_seen;  ///< by history and pair
    std::map<int, std::size_t> m_ordersOf;                      ///< by number of the command
    /// How many orders each command of a guarded balance had, by the balance's number: commands of
    /// a recording have their own numbers later.
    std::map<int, std::vector<std::size_t>> m_commandsOf;
    std::map<std::pair<std::string, std::uint64_t>, Sent> m_sent;  ///< by account and record key
    std::set<std::uint64_t> m_cancelledTasks;
    std::map<PairKey, std::set<std::uint64_t>> m_cancelledOrders;
};

/// The report as text: per day a table of account and strategy, and one of balances.
std::string reportText(const std::vector<DayFigures>& days);

}  // namespace replay
