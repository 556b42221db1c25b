#include "replay/dayreport.h"

#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "paper/scheduler.h"
#include "replay/records.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>

namespace replay {

namespace {

using Singleton = utils::CSingletonT<TC::CLinkageManager>;

constexpr const char* HISTORY_TAG = "历史配平";

/// Orders that a balance sends name their strategy twice.
bool isBalance(const vexservice::CCommandRecord& command) {
    return !command.m_strStrategyName.empty() &&
           command.m_strStrategyName2 == command.m_strStrategyName &&
           command.m_strTag == command.m_strStrategyName;
}

std::string clockText(const std::string& hhmmss) {
    if (hhmmss.size() != 6) return hhmmss;
    return hhmmss.substr(0, 2) + ":" + hhmmss.substr(2, 2) + ":" + hhmmss.substr(4, 2);
}

const char* outcomeText(TC::EBalanceOutcome outcome) {
    switch (outcome) {
        case TC::EBalanceOutcome::BelowLot:
            return "less than a lot";
        case TC::EBalanceOutcome::NoInstrument:
            return "no instrument detail";
        case TC::EBalanceOutcome::Order:
            return "not filled";
        default:
            return "";
    }
}

std::vector<std::string> remainsOf(const TC::BalancePlan& plan) {
    std::vector<std::string> remains;
    for (const TC::StockBalance& stock : plan.stocks) {
        if (stock.outcome == TC::EBalanceOutcome::Balanced) continue;
        remains.push_back(fmt::format("{} {:+}: {}", stock.stockKey, stock.difference,
                                      outcomeText(stock.outcome)));
    }
    return remains;
}

}  // namespace

void CDayReport::before(const Event& event, CSession& session) {
    if (const auto* config = std::get_if<ConfigEvent>(&event)) {
        m_bScheduler = config->client.scheduler;
        m_bClientType3 = config->client.clientType == 3;
    } else if (const auto* call = std::get_if<CallEvent>(&event)) {
        noteCall(*call, session);
    } else if (std::holds_alternative<NewTradingDateEvent>(event) ||
               std::holds_alternative<ReleaseEvent>(event)) {
        closeDay(session);
    }
}

void CDayReport::finished(CSession& session) {
    if (session.started()) closeDay(session);
    if (m_bShowProgress) std::fputs("\r\x1b[K", stderr);
}

void CDayReport::progress(double share) {
    if (!m_bShowProgress) return;
    constexpr int WIDTH = 40;
    if (share < 0) return;
    const int full = static_cast<int>(share * WIDTH);
    const std::string bar = std::string(full, '#') + std::string(WIDTH - full, '.');
    std::fprintf(stderr, "\r[%s] %3d %%", bar.c_str(), static_cast<int>(share * 100));
    std::fflush(stderr);
}

void CDayReport::onCancelOrder(const vexservice::COrderDetail& order) {
    const std::string account = order.m_pAccountInfo ? order.m_pAccountInfo->getKey() : "";
    m_cancelledOrders[{account, strategyOf(order.m_pCommand)}].insert(order.recordKey());
}

void CDayReport::onOperateTask(std::uint64_t taskKey, bool, const vexservice::CTaskOpRecord&) {
    m_cancelledTasks.insert(taskKey);
}

void CDayReport::noteCall(const CallEvent& event, CSession& session) {
    const bool history =
        event.op == "doHistoryBalance" || event.op == "doHistoryBalanceBySignalTask";
    const bool today = event.op == "runAutoBalance" || event.op == "runAutoBalanceTimer" ||
                       event.op == "doStockBalance" || event.op == "doStockBalanceBySignalTask";
    if (!history && !today) return;
    std::string_view account;
    std::string_view strategy;
    if (!event.args || event.args->at(0).get(account) || event.args->at(1).get(strategy)) return;
    auto& balances = history ? m_day.historyBalances : m_day.balances;
    balances[{std::string(account), std::string(strategy)}].asked =
        clockText(timeText(session.loop().nowMicros()));
}

void CDayReport::closeDay(CSession& session) {
    if (!Singleton::exists()) return;
    session.rest();
    const TC::ManagerState state = Singleton::instance()->state();
    m_day.date = state.tradeDate;
    addFigures(state, m_day);
    addOrders(state, m_day);
    addCancelled(state, m_day);
    if (m_bScheduler) addScheduled(state, session, m_day);
    addRemains(m_day);
    m_days.push_back(std::move(m_day));
    m_day = {};
    m_cancelledOrders.clear();
    m_cancelledTasks.clear();
}

void CDayReport::addFigures(const TC::ManagerState& state, DayFigures& day) {
    for (const auto& [account, strategies] : state.tradeStatDatas) {
        for (const auto& [strategy, stocks] : strategies) {
            PairFigures& pair = day.pairs[{account, strategy}];
            for (const auto& [stock, record] : stocks) {
                const TC::EffectiveFigures figures = TC::effectiveFigures(*record, m_bClientType3);
                pair.bought += figures.buyVolume;
                pair.sold += figures.sellVolume;
                pair.buyAmount += figures.buyAmount;
                pair.sellAmount += figures.sellAmount;
                pair.commission += record->deals().m_dCommission;
                pair.profit += record->deals().m_dProfit;
                pair.positionValue += record->deals().m_dPositionValue;
            }
        }
    }
    for (const auto* running : {&state.runningOrders, &state.runningTasks}) {
        for (const auto& [account, strategies] : *running) {
            for (const auto& [strategy, keys] : strategies) {
                day.pairs[{account, strategy}].running += keys.size();
            }
        }
    }
}

void CDayReport::addOrders(const TC::ManagerState& state, DayFigures& day) {
    const int today = dayNumber(state.tradeDate);
    const auto each = [&](const auto& days, const auto& work) {
        const auto found = days.find(today);
        if (found == days.end()) return;
        for (const auto& [stock, accounts] : found->second) {
            for (const auto& [account, records] : accounts) {
                for (const auto& [key, record] : records) work(account, *record);
            }
        }
    };
    each(state.orderDetails,
         [&](const std::string& account, const vexservice::COrderDetail& order) {
             const std::string strategy = strategyOf(order.m_pCommand);
             ++day.pairs[{account, ""}].orders;
             if (!strategy.empty()) ++day.pairs[{account, strategy}].orders;
             if (!order.m_pCommand) return;
             const bool history = order.m_pCommand->m_strTag == HISTORY_TAG;
             if (!history && !isBalance(*order.m_pCommand)) return;
             BalanceFigures& balance =
                 (history ? day.historyBalances : day.balances)[{account, strategy}];
             ++balance.orders;
             balance.sent += order.m_nVolume;
             balance.filled += order.m_nTradedVolume;
         });
    each(state.dealDetails, [&](const std::string& account, const vexservice::CDealDetail& deal) {
        const std::string strategy = strategyOf(deal.m_pCommand);
        ++day.pairs[{account, ""}].deals;
        if (!strategy.empty()) ++day.pairs[{account, strategy}].deals;
    });
}

void CDayReport::addCancelled(const TC::ManagerState& state, DayFigures& day) {
    for (const auto& [pair, keys] : m_cancelledOrders) {
        const auto asked = day.balances.find(pair);
        if (asked != day.balances.end() || m_bScheduler) {
            day.balances[pair].cancelledOrders += keys.size();
        }
    }
    std::map<PairKey, std::set<std::uint64_t>> tasks;
    for (const auto& [stock, accounts] : state.taskDetails) {
        for (const auto& [account, records] : accounts) {
            for (const auto& [key, task] : records) {
                if (m_cancelledTasks.contains(key)) {
                    tasks[{account, strategyOf(task->m_pCommand)}].insert(key);
                }
            }
        }
    }
    for (const auto& [pair, keys] : tasks) day.balances[pair].cancelledTasks += keys.size();
}

/// The client's scheduler asks for a balance at each time of the table that has come.
void CDayReport::addScheduled(const TC::ManagerState& state, CSession& session, DayFigures& day) {
    if (todayText(session.loop().nowMicros()) < state.tradeDate) return;
    const bool over = todayText(session.loop().nowMicros()) > state.tradeDate;
    const std::string now = timeText(session.loop().nowMicros());
    std::vector<std::string> accounts;
    for (const auto& account : state.accounts) accounts.push_back(account.first);
    for (const auto& [key, time] : state.balanceTimes) {
        PairKey pair;
        if (!over && time > now) continue;
        if (!paper::splitBalanceKey(key, accounts, pair.first, pair.second)) continue;
        std::string& asked = day.balances[pair].asked;
        if (asked.empty()) asked = clockText(time);
    }
}

void CDayReport::addRemains(DayFigures& day) {
    const TC::CLinkageManager& manager = *Singleton::instance();
    for (auto& [pair, balance] : day.balances) {
        balance.remains = remainsOf(manager.previewBalance(pair.first, pair.second));
    }
    for (auto& [pair, balance] : day.historyBalances) {
        balance.remains = remainsOf(manager.previewHistoryBalance(pair.first, pair.second));
    }
}

}  // namespace replay
