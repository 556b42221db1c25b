#include "replay/dayreport.h"

#include "platform/utils/numberformat.h"

#include <fmt/format.h>

#include <algorithm>

namespace replay {

namespace {

/// A table. The first two columns and the last are texts and left-aligned, the others are
/// right-aligned.
class CTable {
public:
    explicit CTable(std::vector<std::string> heads) { m_rows.push_back(std::move(heads)); }

    void add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
    bool empty() const { return m_rows.size() == 1; }

    std::string text() const {
        std::vector<std::size_t> widths(m_rows.front().size());
        for (const auto& row : m_rows) {
            for (std::size_t i = 0; i < row.size(); ++i) {
                widths[i] = std::max(widths[i], row[i].size());
            }
        }
        std::string result;
        for (const auto& row : m_rows) {
            std::string line;
            for (std::size_t i = 0; i < row.size(); ++i) {
                const bool names = i < NAMES || i + 1 == row.size();
                line += names ? fmt::format("{:<{}}  ", row[i], widths[i])
                              : fmt::format("{:>{}}  ", row[i], widths[i]);
            }
            line.erase(line.find_last_not_of(' ') + 1);
            result += line + "\n";
        }
        return result;
    }

private:
    static constexpr std::size_t NAMES = 2;
    std::vector<std::vector<std::string>> m_rows;
};

std::string money(double amount) {
    return utils::formatDoubleNumber(amount, utils::FORMAT_NUMBER_GROUPED);
}

std::string whole(long long number) {
    return utils::formatIntNumber(number, 0, utils::FORMAT_NUMBER_GROUPED);
}

std::string count(std::size_t number) { return whole(static_cast<long long>(number)); }

std::string strategyText(const std::string& strategy) {
    return strategy.empty() ? "(all)" : strategy;
}

std::string pairsTable(const DayFigures& day) {
    CTable table({"account", "strategy", "orders", "deals", "bought", "sold", "buy amount",
                  "sell amount", "commission", "profit", "position value", "running", ""});
    for (const auto& [pair, figures] : day.pairs) {
        table.add({pair.first, strategyText(pair.second), count(figures.orders),
                   count(figures.deals), whole(figures.bought), whole(figures.sold),
                   money(figures.buyAmount), money(figures.sellAmount), money(figures.commission),
                   money(figures.profit), money(figures.positionValue), count(figures.running),
                   ""});
    }
    return table.empty() ? "nothing was traded\n" : table.text();
}

std::string historyPairsTable(const DayFigures& day) {
    CTable table({"account", "strategy", "orders", "deals", "bought", "sold", "buy amount",
                  "sell amount", ""});
    for (const auto& [pair, figures] : day.historyPairs) {
        table.add({pair.first, strategyText(pair.second), count(figures.orders),
                   count(figures.deals), whole(figures.bought), whole(figures.sold),
                   money(figures.buyAmount), money(figures.sellAmount), ""});
    }
    return table.text();
}

std::string remainsText(const BalanceFigures& figures) {
    std::vector<std::string> remains;
    for (const Remainder& rest : figures.remains) {
        remains.push_back(rest.stockKey.empty() ? rest.reason
                                                : fmt::format("{} {:+}: {}", rest.stockKey,
                                                              rest.difference, rest.reason));
    }
    return fmt::format("{}", fmt::join(remains, "; "));
}

/// Number and state are shown only when there is a book of balances.
std::string balanceTable(const std::vector<const BalanceFigures*>& balances) {
    const bool book = balances.front()->number != 0;
    std::vector<std::string> heads = {"account", "strategy"};
    if (book) heads.insert(heads.end(), {"no.", "state"});
    heads.insert(heads.end(), {"asked", "cancelled", "orders", "sent", "filled", "remains"});
    CTable table(heads);
    for (const BalanceFigures* const each : balances) {
        const BalanceFigures& figures = *each;
        std::vector<std::string> row = {figures.pair.first, strategyText(figures.pair.second)};
        if (book) row.insert(row.end(), {std::to_string(figures.number), figures.state});
        row.insert(row.end(),
                   {figures.asked.empty() ? "-" : figures.asked,
                    count(figures.cancelledOrders + figures.cancelledTasks), count(figures.orders),
                    whole(figures.sent()), whole(figures.filled()), remainsText(figures)});
        table.add(row);
    }
    return table.text();
}

std::string balanceTables(const DayFigures& day) {
    std::string text;
    for (const bool history : {false, true}) {
        std::vector<const BalanceFigures*> balances;
        for (const BalanceFigures& balance : day.balances) {
            if (balance.history == history) balances.push_back(&balance);
        }
        if (balances.empty()) continue;
        text += history ? "Balances of earlier days\n\n"
                        : "Balances: shares sent and filled, and what is still unequal (bought "
                          "less sold)\n\n";
        text += balanceTable(balances) + "\n";
    }
    return text;
}

}  // namespace

std::string reportText(const std::vector<DayFigures>& days) {
    std::string text;
    for (const DayFigures& day : days) {
        text += "Trade date " + day.date + "\n\n";
        if (!day.pairs.empty() || day.historyPairs.empty()) text += pairsTable(day) + "\n";
        if (!day.historyPairs.empty()) {
            text += "Traded by balances of earlier days; it counts for those days\n\n" +
                    historyPairsTable(day) + "\n";
        }
        text += balanceTables(day);
    }
    return text;
}

}  // namespace replay
