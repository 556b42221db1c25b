#pragma once

#include "linkage/balance/balancebook.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace replay {

/// Shares of a stock that balances ordered, and how many of them were filled.
struct BalancedStock {
    std::int64_t sent = 0;
    std::int64_t filled = 0;
};

/// A stock whose bought and sold shares differ when a balance is over, or at the end of the day.
struct Remainder {
    std::string stockKey;         ///< empty: the reason is that of the whole balance
    std::int64_t difference = 0;  ///< bought less sold, shares
    std::string reason;
};

using PairKey = std::pair<std::string, std::string>;  ///< account, strategy

/// A balance as the book of balances tells it. Without the guard there is no book, and nothing
/// tells the balances of a pair on one day apart: one entry then stands for all of them and holds
/// what can be seen from outside. For a balance without a strategy it then has only the fills of
/// orders that the paper exchange made.
struct BalanceFigures {
    int number = 0;  ///< in the book; 0 without one
    PairKey pair;
    bool history = false;
    std::string state;  ///< in the words of the book; empty without one
    std::string asked;  ///< "hh:mm:ss", the last time; empty when nobody asked
    std::size_t cancelledOrders = 0;
    std::size_t cancelledTasks = 0;
    std::size_t orders = 0;
    std::map<std::string, BalancedStock> stocks;  ///< by stock key
    std::vector<Remainder> remains;

    std::int64_t sent() const;
    std::int64_t filled() const;
};

/// The balances of `date` by the book of balances. `ordersOf` has how many orders each
/// command made, by its number.
std::vector<BalanceFigures> balancesOf(const std::vector<TC::BalanceRecord>& book,
                                       const std::string& date,
                                       const std::map<int, std::size_t>& ordersOf);

}  // namespace replay
