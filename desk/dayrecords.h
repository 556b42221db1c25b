#pragma once

#include "desk/picture.h"
#include "linkage/ledger/changes.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {
class CLinkageManager;
}

namespace desk {

/// Orders and deals of the day, as the library has them, by account, stock and strategy. It asks
/// the library what changed, so a picture costs that, and not what the day holds.
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

    /// Takes in what changed. `rejected` gets each order that is new among the rejected ones, with
    /// its account and record key.
    template <class Rejected>
    void update(TC::CLinkageManager& manager, const Picture& picture, Rejected rejected) {
        takeChanges(manager, picture);
        for (const auto& [id, order] : m_rejected) rejected(id.first, id.second, *order);
        m_rejected.clear();
    }

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
    using Place = std::tuple<std::string, std::string, std::string>;  // account, stock, strategy
    struct Records {
        std::map<std::uint64_t, OrderPtr> orders;
        std::map<std::uint64_t, DealPtr> deals;
    };
    struct Known {
        std::unordered_map<std::uint64_t, OrderPtr> orders;
        std::unordered_map<std::uint64_t, DealPtr> deals;
    };

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

    void takeChanges(TC::CLinkageManager& manager, const Picture& picture);
    void take(const TC::LedgerChanges& changes);
    void forgetAll();
    void forget(const std::string& account);
    void take(const std::string& account, const OrderPtr& order);
    void take(const std::string& account, const DealPtr& deal);
    void drop(const std::string& account, const OrderPtr& order);
    void drop(const std::string& account, const DealPtr& deal);
    void setRunning(const std::string& account, const OrderPtr& order);

    TC::ChangeCursor m_cursor;
    std::string m_date;
    std::map<Place, Records> m_records;
    std::unordered_map<std::string, Known> m_known;  ///< by account
    RunningOrders m_running;
    std::vector<std::pair<std::pair<std::string, std::uint64_t>, OrderPtr>> m_rejected;
};

}  // namespace desk
