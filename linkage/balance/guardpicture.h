#pragma once

#include "linkage/balance/guardrule.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace TC {

class CLedger;

/// An account and a strategy, of today or of history. The strategy "" is the whole account.
struct GuardPair {
    std::string account;
    std::string strategy;
    bool history = false;

    bool operator==(const GuardPair&) const = default;

    /// Whether what one strategy trades belongs to this pair.
    bool holds(bool ofHistory, const std::string& ofStrategy) const {
        return history == ofHistory && (strategy.empty() || strategy == ofStrategy);
    }
    /// Whether balances of both would trade against the same difference.
    bool overlaps(const GuardPair& other) const {
        return account == other.account && history == other.history &&
               (strategy == other.strategy || strategy.empty() || other.strategy.empty());
    }
};

/// What one account's orders and deals say at one moment, gathered from the ledger once for
/// all its balances.
struct GuardPicture {
    struct Order {
        std::string stock;
        boost::shared_ptr<vexservice::COrderDetail> report;  ///< empty: known by deals alone
        bool history = false;
        int command = 0;
        GuardOrder figures;
    };
    struct Deal {
        std::string stock;
        bool history = false;
        GuardDeal figures;
    };
    /// What was reported of one stock and side of a command.
    struct Trace {
        bool hasOrder = false;
        bool runs = false;
        bool rejected = false;
        std::string remark;  ///< why it was rejected, where the broker says so
        std::int64_t ordered = 0;
        std::int64_t traded = 0;  ///< by the orders
        std::int64_t dealt = 0;   ///< by the deals
    };

    std::vector<Order> orders;                                   ///< in record key order
    std::vector<Deal> deals;                                     ///< those that name no order
    std::map<std::tuple<int, std::string, bool>, Trace> traces;  ///< command, stock, buys
    std::set<int> commands;                                      ///< of any order or deal

    const Trace* trace(int command, const std::string& stock, bool buys) const;
};

/// Where the picture comes from.
struct GuardSources {
    using OrderPtr = boost::shared_ptr<vexservice::COrderDetail>;

    const CLedger& ledger;
    std::string account;
    int today = 0;  ///< day key
    /// Final reports of orders by record key. A later report that runs changes nothing.
    const std::map<std::uint64_t, OrderPtr>* finals = nullptr;
    /// The pair of the balance that sent a command; null when no balance did. The number
    /// decides before the carrier's texts do.
    std::function<const GuardPair*(int command)> senderOf;
    /// Whether the history record of the deal's strategy holds the deal already.
    std::function<bool(const std::string& strategy, const vexservice::CDealDetail& deal)> counted;
};

GuardPicture takePicture(const GuardSources& sources);

/// The pair's orders and deals in the picture, by stock key. The other members stay at their
/// defaults.
std::map<std::string, GuardInput> inputsOf(const GuardPicture& picture, const GuardPair& pair);

}  // namespace TC
