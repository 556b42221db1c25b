#pragma once

#include "desk/arrivals.h"
#include "desk/picture.h"

#include <boost/signals2/connection.hpp>

#include <QObject>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {
class CLinkageManager;
}

namespace desk {

/// Orders and deals of the day, as the library has them, by account, stock and strategy.
///
/// It asks the library for all of them only at its start. After that it takes in what the client
/// reports, so that a picture costs what changed and not what the day holds. An account is
/// asked for again after a load, when the library's count of its running orders is another one, and
/// once whenever nothing more is reported. That is done between two pictures, one account at a
/// time, because it would keep whoever clicks waiting.
///
/// Threads: the engine's.
class CDayRecords {
public:
    using OrderPtr = boost::shared_ptr<vexservice::COrderDetail>;
    using DealPtr = boost::shared_ptr<vexservice::CDealDetail>;

    struct Running {
        OrderPtr order;
        std::string seen;  ///< for who shows it: when it was seen first; empty until he asks
    };
    /// By account and record key.
    using RunningOrders = std::map<std::pair<std::string, std::uint64_t>, Running>;

    explicit CDayRecords(CArrivals& arrivals) : m_arrivals(arrivals) {}

    /// To be called with each new manager; its client is there by then.
    void follow(TC::CLinkageManager& manager);

    /// Takes in what is new. `rejected` gets each order that is new among the rejected ones, with
    /// its account and record key.
    template <class Rejected>
    void update(TC::CLinkageManager& manager, const Picture& picture, Rejected rejected) {
        takeNews(manager, picture);
        for (const auto& [id, order] : m_rejected) rejected(id.first, id.second, *order);
        m_rejected.clear();
    }

    /// Asks for an account again, if one is due. Not to be called while somebody waits for a
    /// picture.
    void catchUp(TC::CLinkageManager& manager);

    RunningOrders& running() { return m_running; }

    /// Whether the pair has an order or a deal in the stock; the empty strategy stands for the
    /// whole account.
    bool hasAny(const Selection& chosen, const std::string& stock) const;
    /// The same in any stock.
    bool hasAny(const std::string& account, const std::string& strategy) const;

    /// Calls `work` with key and record of each order, or deal, of the chosen pair and stock.
    template <class Work>
    void eachOrder(const Selection& chosen, Work work) const {
        each(chosen, [&work](const Records& records) {
            for (const auto& [key, order] : records.orders) work(key, *order);
        });
    }
    template <class Work>
    void eachDeal(const Selection& chosen, Work work) const {
        each(chosen, [&work](const Records& records) {
            for (const auto& [key, deal] : records.deals) work(key, *deal);
        });
    }

private:
    using Clock = std::chrono::steady_clock;
    using Place = std::tuple<std::string, std::string, std::string>;  // account, stock, strategy
    struct Records {
        std::map<std::uint64_t, OrderPtr> orders;
        std::map<std::uint64_t, DealPtr> deals;
    };
    struct Known {
        std::unordered_map<std::uint64_t, OrderPtr> orders;
        std::unordered_map<std::uint64_t, DealPtr> deals;
    };
    using News = std::vector<CArrivals::News>;

    /// The records of an account and a stock stand in a row, by strategy.
    template <class Work>
    void each(const Selection& chosen, Work work) const {
        auto at = m_records.lower_bound({chosen.account, chosen.stock, chosen.strategy});
        for (; at != m_records.end(); ++at) {
            const auto& [account, stock, strategy] = at->first;
            if (account != chosen.account || stock != chosen.stock) return;
            if (!chosen.strategy.empty() && strategy != chosen.strategy) return;
            work(at->second);
        }
    }

    void takeNews(TC::CLinkageManager& manager, const Picture& picture);
    void takeAll(const News& news, bool isRepeat);
    void forget(const std::string& account);
    bool agrees(TC::CLinkageManager& manager, const std::string& account) const;
    void read(TC::CLinkageManager& manager, const std::string& account);
    void noteDue(const std::vector<std::string>& accounts, const TC::CLinkageManager& manager,
                 bool isLast);
    void take(const std::string& account, const OrderPtr& order);
    void take(const std::string& account, const DealPtr& deal);
    void setRunning(const std::string& account, const OrderPtr& order);

    CArrivals& m_arrivals;
    /// Records of an account came without being reported. Shared with slots that are under way.
    std::shared_ptr<std::atomic<bool>> m_pLoaded = std::make_shared<std::atomic<bool>>(false);
    std::unique_ptr<QObject> m_pContext;  ///< ends the connection of Qt
    boost::signals2::scoped_connection m_reconciled;
    std::map<Place, Records> m_records;
    std::unordered_map<std::string, Known> m_known;  ///< by account
    RunningOrders m_running;
    std::map<std::string, int> m_runningOf;  ///< how many, by account
    std::vector<std::pair<std::pair<std::string, std::uint64_t>, OrderPtr>> m_rejected;
    std::string m_date;
    std::set<std::string> m_due;  ///< accounts that are to be asked for again
    bool m_bUnchecked = true;     ///< reports came since all was asked for
    Clock::time_point m_lastNews;
    Clock::time_point m_nextReading;
};

}  // namespace desk
