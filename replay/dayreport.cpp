#include "replay/dayreport.h"

#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "platform/services/clientconfig.h"
#include "platform/utils/clock.h"
#include "platform/utils/keys.h"
#include "replay/records.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <cstdio>

namespace replay {

namespace {

using Singleton = utils::CSingletonT<TC::CLinkageManager>;

bool isHistory(const vexservice::COrderComandParam& command) {
    return command.m_strStrategyName2 == TC::HISTORY_BALANCE_TAG;
}

/// Whoever called the manager on this thread is cancelling, and no balance.
thread_local bool t_ownCancels = false;

bool isCancelling(std::string_view op) { return op == "cancelAllOrders" || op == "cancelAllTasks"; }

std::string clockText(const std::string& hhmmss) {
    if (hhmmss.size() != 6) return hhmmss;
    return hhmmss.substr(0, 2) + ":" + hhmmss.substr(2, 2) + ":" + hhmmss.substr(4, 2);
}

std::string now() { return clockText(timeText(utils::currentClock().nowMicros())); }

/// Why a stock is not balanced. `odd`: the difference is less than a lot.
const char* reasonOf(TC::EBalanceOutcome outcome, bool odd, const BalancedStock* balanced) {
    if (outcome == TC::EBalanceOutcome::BelowLot) return "less than a lot";
    if (outcome == TC::EBalanceOutcome::NoInstrument) return "no instrument detail";
    if (outcome == TC::EBalanceOutcome::NoAnswer) return "a service did not answer";
    if (!balanced) return "not balanced";
    if (balanced->filled < balanced->sent) return "not filled";
    return odd ? "rounded to whole lots" : "not balanced";
}

/// Why no stock of a pair can be balanced; "" when there is no such reason.
const char* refusalText(TC::EBalanceRefusal refusal) {
    switch (refusal) {
        case TC::EBalanceRefusal::NoAccountData:
            return "no account data";
        case TC::EBalanceRefusal::NoAccountInfo:
            return "no account info";
        case TC::EBalanceRefusal::WrongAccountType:
            return "accounts of this type are not balanced";
        default:
            return "";
    }
}

/// `grouped` is the plan of the same pair in the form that sends whole lots only.
std::vector<Remainder> remainsOf(const TC::BalancePlan& plan, const TC::BalancePlan& grouped,
                                 const std::map<std::string, BalancedStock>& balanced) {
    const std::string refusal = refusalText(plan.refusal);
    if (!refusal.empty()) return {{"", 0, refusal}};
    std::set<std::string> odd;
    for (const TC::StockBalance& stock : grouped.stocks) {
        if (stock.outcome == TC::EBalanceOutcome::BelowLot) odd.insert(stock.stockKey);
    }
    std::vector<Remainder> remains;
    for (const TC::StockBalance& stock : plan.stocks) {
        if (stock.outcome == TC::EBalanceOutcome::Balanced) continue;
        const auto at = balanced.find(stock.stockKey);
        const BalancedStock* known = at == balanced.end() ? nullptr : &at->second;
        remains.push_back({stock.stockKey, stock.difference,
                           reasonOf(stock.outcome, odd.contains(stock.stockKey), known)});
    }
    return remains;
}

}  // namespace

// ---------------------------------------------------------------------- a scenario

void CDayReport::before(const Event& event, CSession& session) {
    if (const auto* config = std::get_if<ConfigEvent>(&event)) {
        m_bClientType3 = config->client.clientType == TC::CLIENT_TYPE_3;
    } else if (const auto* call = std::get_if<CallEvent>(&event)) {
        t_ownCancels = isCancelling(call->op);
        if (t_ownCancels)
            session.rest();  // what earlier lines queued is not cancelled by this call
        std::string_view account;
        std::string_view strategy;
        const bool isPair =
            call->args && !call->args->at(0).get(account) && !call->args->at(1).get(strategy);
        if (isPair) noteBalanceCall(call->op, {std::string(account), std::string(strategy)});
    } else if (std::holds_alternative<NewTradingDateEvent>(event) ||
               std::holds_alternative<ReleaseEvent>(event)) {
        session.rest();
        closeDay();
    }
}

void CDayReport::after(const Event&, CSession&) { t_ownCancels = false; }

void CDayReport::finished(CSession& session) {
    if (session.started()) {
        session.rest();
        closeDay();
    }
    clearProgress();
}

// --------------------------------------------------------------------- a recording

void CDayReport::clientIsThere(paper::CPaperClient& /*client*/, int clientType) {
    m_bClientType3 = clientType == TC::CLIENT_TYPE_3;
}

void CDayReport::before(const RecordedStep& step) {
    if (step.kind == "newTradingDate") closeDay();
    if (step.kind == "call") noteBalanceCall(step.op, {step.account, step.strategy});
    if (step.kind != "commandAnswer" || step.command == 0) return;
    const std::vector<std::size_t>& commands = m_commandsOf[step.balance];
    if (step.index < commands.size()) m_ordersOf[step.command] = commands[step.index];
}

void CDayReport::takes(const RecordedStep& step, const std::function<void()>& work) {
    t_ownCancels = isCancelling(step.op);
    work();
    t_ownCancels = false;
}

void CDayReport::finished() {
    closeDay();
    clearProgress();
}

// ------------------------------------------------------------------------- progress

void CDayReport::clearProgress() {
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

// ----------------------------------------------------------------------- requests

void CDayReport::onCancelOrder(const vexservice::COrderDetail& order) {
    if (t_ownCancels) return;
    const std::string account = order.m_pAccountInfo ? order.m_pAccountInfo->getKey() : "";
    m_cancelledOrders[{account, strategyOf(order.m_pCommand)}].insert(order.recordKey());
}

void CDayReport::onOperateTask(std::uint64_t taskKey, bool, const vexservice::CTaskOpRecord&) {
    if (!t_ownCancels) m_cancelledTasks.insert(taskKey);
}

BalanceFigures& CDayReport::seen(const PairKey& pair, bool history) {
    BalanceFigures& balance = m_seen[{history, pair}];
    balance.pair = pair;
    balance.history = history;
    return balance;
}

void CDayReport::onCommand(const vexservice::COrderComandParam& command, int number) {
    if (number > 0)
        m_ordersOf[number] = command.m_orders.size();
    else
        noteCommand(command);
    for (const auto& order : command.m_orders) {
        BalanceFigures& balance =
            seen({order->m_pAccountInfo->getKey(), command.m_strStrategyName}, isHistory(command));
        ++balance.orders;
        const std::string stock =
            utils::zorStockKey(order->m_stock.m_strMarket, order->m_stock.m_strCode);
        balance.stocks[stock].sent += order->m_nVolume;
    }
}

void CDayReport::onCommandOrder(const vexservice::COrderComandParam& command,
                                const std::string& accountKey, std::uint64_t orderKey) {
    m_sent[{accountKey, orderKey}] = {isHistory(command), command.m_strStrategyName};
}

void CDayReport::onBalanceTime(const std::string& accountKey, const std::string& strategy) {
    seen({accountKey, strategy}, false).asked = now();
}

void CDayReport::noteBalanceCall(const std::string& op, const PairKey& pair) {
    const bool history = op == "doHistoryBalance" || op == "doHistoryBalanceBySignalTask";
    const bool today = op == "runAutoBalance" || op == "runAutoBalanceTimer" ||
                       op == "doStockBalance" || op == "doStockBalanceBySignalTask";
    if (history || today) seen(pair, history).asked = now();
}

/// A command of a guarded balance. Of the balances of one pair only the first that is not over
/// sends; the others wait for it.
void CDayReport::noteCommand(const vexservice::COrderComandParam& command) {
    if (command.m_orders.empty()) return;
    const PairKey pair(command.m_orders.front()->m_pAccountInfo->getKey(),
                       command.m_strStrategyName);
    const TC::CLinkageManager& manager = *Singleton::instance();
    const std::string date = manager.getTradeDate();
    for (const TC::BalanceRecord& balance : manager.getBalances()) {
        const bool isOver = balance.state == TC::EBalanceState::Ended ||
                            balance.state == TC::EBalanceState::Refused;
        if (isOver || balance.date != date || balance.history != isHistory(command) ||
            PairKey(balance.account, balance.strategy) != pair)
            continue;
        m_commandsOf[balance.number].push_back(command.m_orders.size());
        return;
    }
}

// --------------------------------------------------------------------- end of a day

void CDayReport::closeDay() {
    if (!Singleton::exists()) return;
    const TC::CLinkageManager& manager = *Singleton::instance();
    const TC::ManagerState state = manager.state();
    m_day.date = state.tradeDate;
    addFigures(state);
    addOrders(state);
    if (manager.options().guard) {
        m_day.balances = balancesOf(manager.getBalances(), m_day.date, m_ordersOf);
    } else {
        addCancelled(state);
        addRemains();
        for (auto& [key, balance] : m_seen) m_day.balances.push_back(std::move(balance));
    }
    m_days.push_back(std::move(m_day));
    m_day = {};
    m_seen.clear();
    m_sent.clear();
    m_commandsOf.clear();
    m_cancelledOrders.clear();
    m_cancelledTasks.clear();
}

void CDayReport::addFigures(const TC::ManagerState& state) {
    for (const auto& [account, strategies] : state.tradeStatDatas) {
        for (const auto& [strategy, stocks] : strategies) {
            PairFigures& pair = m_day.pairs[{account, strategy}];
            for (const auto& [stock, record] : stocks) {
                const TC::EffectiveFigures figures = TC::effectiveFigures(*record, m_bClientType3);
                pair.bought += figures.buyVolume;
                pair.sold += figures.sellVolume;
                pair.buyAmount += figures.buyAmount;
                pair.sellAmount += figures.sellAmount;
                pair.commission += record->deals().m_dCommission;
                pair.profit += record->worth().m_dProfit;
                pair.positionValue += record->worth().m_dPositionValue;
            }
        }
    }
    for (const auto* running : {&state.runningOrders, &state.runningTasks}) {
        for (const auto& [account, strategies] : *running) {
            for (const auto& [strategy, keys] : strategies) {
                m_day.pairs[{account, strategy}].running += keys.size();
            }
        }
    }
}

void CDayReport::addOrders(const TC::ManagerState& state) {
    const int today = dayNumber(state.tradeDate);
    const auto each = [&](const auto& days, const auto& work) {
        const auto found = days.find(today);
        if (found == days.end()) return;
        for (const auto& [stock, accounts] : found->second) {
            for (const auto& [account, records] : accounts) {
                for (const auto& [key, record] : records) work(stock, account, *record);
            }
        }
    };
    const auto count = [&](const std::string& account, const auto& record,
                           std::size_t PairFigures::*counter) {
        const std::string strategy = strategyOf(record.m_pCommand);
        const bool history = TC::isHistoryBalance(record.m_pCommand.get());
        auto& pairs = history ? m_day.historyPairs : m_day.pairs;
        ++(pairs[{account, ""}].*counter);
        if (!strategy.empty()) ++(pairs[{account, strategy}].*counter);
        return history;
    };
    each(state.orderDetails, [&](const std::string& stock, const std::string& account,
                                 const vexservice::COrderDetail& order) {
        count(account, order, &PairFigures::orders);
        addFill(account, stock, order);
    });
    each(state.dealDetails, [&](const std::string&, const std::string& account,
                                const vexservice::CDealDetail& deal) {
        if (!count(account, deal, &PairFigures::deals)) return;
        const bool buys = vexservice::isBuyByDirection(deal.m_eDirection, deal.m_eOffsetFlag);
        for (const std::string& strategy : std::set{std::string(), strategyOf(deal.m_pCommand)}) {
            PairFigures& pair = m_day.historyPairs[{account, strategy}];
            (buys ? pair.bought : pair.sold) += deal.m_nVolume;
            (buys ? pair.buyAmount : pair.sellAmount) += deal.m_dAmount;
        }
    });
}

/// Orders that the paper exchange made for a command are known by their record key. Any other order
/// belongs to a balance when its carrier has the strategy in both names, and as its tag either the
/// strategy or the mark of history.
void CDayReport::addFill(const std::string& account, const std::string& stock,
                         const vexservice::COrderDetail& order) {
    Sent sent;
    if (const auto made = m_sent.find({account, order.recordKey()}); made != m_sent.end()) {
        sent = made->second;
    } else {
        if (!order.m_pCommand || order.m_pCommand->m_strStrategyName.empty()) return;
        const vexservice::CCommandRecord& carrier = *order.m_pCommand;
        sent = {carrier.m_strTag == TC::HISTORY_BALANCE_TAG, carrier.m_strStrategyName};
        const std::string& tag = sent.history ? carrier.m_strTag : carrier.m_strStrategyName;
        if (carrier.m_strStrategyName2 != sent.strategy || carrier.m_strTag != tag) return;
    }
    seen({account, sent.strategy}, sent.history).stocks[stock].filled += order.m_nTradedVolume;
}

void CDayReport::addCancelled(const TC::ManagerState& state) {
    // A balance of the whole account also cancels the orders and tasks of every strategy.
    const auto balanceOf = [&](const PairKey& pair) -> BalanceFigures& {
        const PairKey whole{pair.first, ""};
        const bool covered = !m_seen.contains({false, pair}) && m_seen.contains({false, whole});
        return seen(covered ? whole : pair, false);
    };
    for (const auto& [pair, keys] : m_cancelledOrders) {
        balanceOf(pair).cancelledOrders += keys.size();
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
    for (const auto& [pair, keys] : tasks) balanceOf(pair).cancelledTasks += keys.size();
}

void CDayReport::addRemains() {
    const TC::CLinkageManager& manager = *Singleton::instance();
    for (auto& each : m_seen) {
        BalanceFigures& balance = each.second;
        const auto preview = [&manager, &balance](bool grouped) {
            const auto& [account, strategy] = balance.pair;
            return balance.history ? manager.previewHistoryBalance(account, strategy, grouped)
                                   : manager.previewBalance(account, strategy, grouped);
        };
        balance.remains = remainsOf(preview(false), preview(true), balance.stocks);
    }
}

}  // namespace replay
