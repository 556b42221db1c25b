#pragma once

#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "tests/support/fixture.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

/// A client on which balances are asked for, and what they sent as lines of text.
namespace tests {

using Lines = Texts;

inline const std::string SH = "SH600000";
inline const std::string SZ = "SZ000001";

/// A started client at 09:00:00 with two stocks, and an account of the given type.
struct Started : Fixture {
    explicit Started(int type = 2, Settings settings = {}) : Fixture(std::move(settings)) {
        instrument({.stock = SH});
        instrument({.stock = SZ});
        account({.key = "A", .id = "id-A", .type = type});
        init();
    }

    void trade(const std::string& stock, int bought, int sold, const std::string& strategy = "S") {
        for (const auto& [side, volume] :
             {std::pair(Side::Buy, bought), std::pair(Side::Sell, sold)}) {
            if (volume == 0) continue;
            deal({.key = ++m_nKey,
                  .stock = stock,
                  .side = side,
                  .volume = volume,
                  .strategy = strategy});
        }
    }

    void runningOrder(std::uint64_t key, int status = vexservice::STATUS_REPORTED,
                      const std::string& strategy = "S") {
        order({.key = key, .status = status, .strategy = strategy});
    }

    void runningTask(std::uint64_t key, bool server = true, int status = vexservice::TASK_RUNNING) {
        task({.key = key, .status = status, .strategy = "S", .server = server});
    }

    bool ask(const std::string& strategy = "S", const std::string& account = "A") {
        return manager().runAutoBalance(account, strategy);
    }

    bool pending(const std::string& strategy = "S", const std::string& account = "A") {
        const auto starts = state().autoBalanceStarts;
        const auto at = starts.find(account);
        return at != starts.end() && at->second.count(strategy) > 0;
    }

    /// "09:00:05.000 type 1: S sell 200 SH600000" for each command.
    Lines sent() const {
        Lines lines;
        for (const auto& [at, command] : commands()) {
            std::string line = fmt::format("{} type {}: {}", at, command.m_nCommandType,
                                           command.m_strStrategyName);
            for (const auto& order : command.m_orders) {
                line += fmt::format(
                    " {} {} {}{}", order->m_eOperationType == vexservice::OPT_BUY ? "buy" : "sell",
                    order->m_nVolume, order->m_stock.m_strMarket, order->m_stock.m_strCode);
            }
            lines.push_back(line);
        }
        return lines;
    }

    /// "09:00:05.000 1" for each cancellation.
    Lines cancelled() const {
        Lines lines;
        for (const auto& [at, key] : cancels()) lines.push_back(fmt::format("{} {}", at, key));
        return lines;
    }

    bool logged(const std::string& text) const { return timesLogged(text) > 0; }
    long timesLogged(const std::string& text) const {
        const auto texts = logTexts();
        return std::count(texts.begin(), texts.end(), text);
    }

private:
    std::uint64_t m_nKey = 1000;
};

/// Log lines of one operation.
inline Lines linesOf(const Fixture& f, const std::string& operation) {
    Lines lines;
    for (const auto& line : f.log()) {
        if (line.operation == "TC::CLinkageManager::" + operation) lines.push_back(line.text);
    }
    return lines;
}

}  // namespace tests
