#include "replay/balancefigures.h"

// How the figures of a balance follow from the book of balances.

namespace replay {

namespace {

BalancedStock sharesOf(const TC::BalanceStock& stock) {
    return {stock.sent < 0 ? -stock.sent : stock.sent,
            stock.filled < 0 ? -stock.filled : stock.filled};
}

/// What is left of a stock. When the balance has ended, the book has it. Until then it is what
/// the last decision found, less what the first round has filled: the book does not tell the
/// fills of later rounds apart.
Remainder remainderOf(const std::string& key, const TC::BalanceStock& stock,
                      const TC::BalanceRecord& record) {
    if (record.state == TC::EBalanceState::Ended) return {key, stock.remains, stock.reason};
    const std::int64_t filled = record.rounds <= 1 ? stock.filled : 0;
    Remainder rest{key, stock.bought - stock.sold + filled, stock.reason};
    if (rest.reason.empty() && record.state == TC::EBalanceState::Sent) rest.reason = "resting";
    return rest;
}

BalanceFigures figuresOf(const TC::BalanceRecord& record) {
    BalanceFigures figures;
    figures.number = record.number;
    figures.pair = {record.account, record.strategy};
    figures.history = record.history;
    figures.state = TC::textOf(record.state);
    figures.asked = record.asked;
    figures.cancelledOrders = static_cast<std::size_t>(record.cancelledOrders);
    figures.cancelledTasks = static_cast<std::size_t>(record.cancelledTasks);
    if (!record.reason.empty()) figures.remains.push_back({"", 0, record.reason});
    for (const auto& [key, stock] : record.stocks) {
        figures.stocks[key] = sharesOf(stock);
        const Remainder rest = remainderOf(key, stock, record);
        if (rest.difference != 0) figures.remains.push_back(rest);
    }
    return figures;
}

template <std::int64_t BalancedStock::*MEMBER>
std::int64_t sumOf(const std::map<std::string, BalancedStock>& stocks) {
    std::int64_t sum = 0;
    for (const auto& [key, stock] : stocks) sum += stock.*MEMBER;
    return sum;
}

}  // namespace

std::int64_t BalanceFigures::sent() const { return sumOf<&BalancedStock::sent>(stocks); }
std::int64_t BalanceFigures::filled() const { return sumOf<&BalancedStock::filled>(stocks); }

std::vector<BalanceFigures> balancesOf(const std::vector<TC::BalanceRecord>& book,
                                       const std::string& date,
                                       const std::map<int, std::size_t>& ordersOf) {
    std::vector<BalanceFigures> balances;
    for (const TC::BalanceRecord& record : book) {
        if (record.date != date) continue;
        BalanceFigures figures = figuresOf(record);
        for (const int command : record.commands) {
            const auto at = ordersOf.find(command);
            if (at != ordersOf.end()) figures.orders += at->second;
        }
        balances.push_back(std::move(figures));
    }
    return balances;
}

}  // namespace replay
