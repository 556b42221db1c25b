#include "linkage/balance/balancestate.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/balance/guardreasons.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/guarded.h"
#include "linkage/ledger/ledger.h"
#include "linkage/tape/services.h"
#include "platform/log.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/utils/keys.h"

#include <mongo/bson/bson.h>

#include <algorithm>
#include <utility>

namespace TC {

namespace {

constexpr std::int64_t RETRY = 1'000'000;
constexpr std::int64_t GIVE_UP = 60'000'000;

SentOrder sentOrderOf(const vexservice::CCodeOrderParam& order) {
    return {.stock = utils::zorStockKey(order.m_stock.m_strMarket, order.m_stock.m_strCode),
            .buys = order.m_eOperationType == vexservice::OPT_BUY,
            .priced = order.m_dPrice != 0.0 || vexservice::isRealMarketPrice(order.m_ePriceType),
            .volume = order.m_nVolume};
}

}  // namespace

// ------------------------------------------------------------------------ figures

std::vector<boost::shared_ptr<vexservice::CTaskDetail>> CGuardedBalances::runningTasks(
    const GuardPair& pair) const {
    if (pair.history) return m_manager.runningHistoryTasks(pair.account, pair.strategy);
    return m_manager.m_pLedger->runningTasks()
        .records(pair.account, pair.strategy)
        .value_or(std::vector<TaskPtr>());
}

void CGuardedBalances::addUnheard(const GuardPair& pair, const GuardPicture& seen,
                                  std::map<std::string, GuardInput>& inputs) const {
    for (const auto& [number, balance] : m_balances) {
        const GuardPair& sender = balance.pair;
        if (!isToday(balance) || sender.account != pair.account ||
            !pair.holds(sender.history, sender.strategy)) {
            continue;
        }
        for (const SentCommand& command : balance.commands) {
            if (command.refused) continue;
            for (const SentOrder& order : command.orders) {
                if (order.lost) continue;
                const auto* trace = seen.trace(command.number, order.stock, order.buys);
                const std::int64_t open = order.volume - (trace ? trace->ordered : 0);
                if (open > 0) inputs[order.stock].unheard.push_back({order.buys, open});
            }
        }
    }
}

std::map<std::string, GuardVolumes> CGuardedBalances::volumesOf(const GuardPair& pair,
                                                                const GuardPicture& seen) const {
    std::map<std::string, GuardInput> inputs = inputsOf(seen, pair);
    addUnheard(pair, seen, inputs);
    for (const auto& task : runningTasks(pair)) {
        if (!task) continue;
        for (const auto& item : task->m_items) {
            if (item)
                inputs[utils::zorStockKey(item->m_strMarket, item->m_strCode)].taskRuns = true;
        }
    }
    if (pair.history) {
        for (const auto& [stock, record] :
             m_manager.getHistoryOfPair(pair.account, pair.strategy)) {
            if (!record) continue;
            const auto figures = effectiveFigures(*record, m_manager.m_bClientType3);
            inputs[stock].bought = figures.buyVolume;
            inputs[stock].sold = figures.sellVolume;
        }
    }
    std::map<std::string, GuardVolumes> volumes;
    for (const auto& [stock, input] : inputs) volumes.emplace(stock, guardVolumes(input));
    return volumes;
}

// Whether nothing of the pair runs: no order, no task, and no order that was sent and has no
// report yet.
bool CGuardedBalances::isQuiet(const GuardPair& pair, const GuardPicture& seen) const {
    const bool running = std::any_of(seen.orders.begin(), seen.orders.end(), [&](const auto& each) {
        return each.figures.runs && pair.holds(each.history, each.figures.strategy);
    });
    if (running || !runningTasks(pair).empty()) return false;
    for (const auto& [number, balance] : m_balances) {
        const GuardPair& sender = balance.pair;
        if (!isToday(balance) || sender.account != pair.account ||
            !pair.holds(sender.history, sender.strategy)) {
            continue;
        }
        for (const SentCommand& command : balance.commands) {
            for (const SentOrder& order : command.orders) {
                const auto* trace = seen.trace(command.number, order.stock, order.buys);
                const bool heard = trace && trace->hasOrder;
                if (!command.refused && !order.lost && !heard) return false;
            }
        }
    }
    return true;
}

BalanceRequest CGuardedBalances::requestOf(const GuardPair& pair, EBalanceForm form, bool checkType,
                                           const GuardPicture& seen) const {
    const bool clientType3 = m_manager.m_bClientType3;
    BalanceRequest request =
        pair.history
            ? BalanceRequest::ofHistory(m_manager, pair.account, pair.strategy, form, clientType3)
            : BalanceRequest::today(m_manager, pair.account, pair.strategy, form, clientType3);
    request.checkType = request.checkType || checkType;
    request.guard = volumesOf(pair, seen);
    return request;
}

BalancePlan CGuardedBalances::preview(const GuardPair& pair, EBalanceForm form,
                                      bool checkType) const {
    return prepareBalance(requestOf(pair, form, checkType, freshPicture(pair.account))).plan;
}

// ----------------------------------------------------------------------- decision

void CGuardedBalances::decide(Balance& balance) {
    BalanceRequest request;
    PreparedBalance prepared;
    const bool answered = attempt(GUARDED_BALANCES, [&] {
        // A balance that is sent at once does not check the account's type here.
        request =
            requestOf(balance.pair, balance.form, !balance.atOnce, picture(balance.pair.account));
        prepared = prepareBalance(request);
    });
    const BalancePlan& plan = prepared.plan;
    const auto is = [](EBalanceOutcome outcome) {
        return [outcome](const StockBalance& stock) { return stock.outcome == outcome; };
    };
    // A stock without an answer does not delay the others: the decision is tried again only if
    // there is no order to send.
    const bool nothingElse =
        std::none_of(plan.stocks.begin(), plan.stocks.end(), is(EBalanceOutcome::Order)) &&
        std::any_of(plan.stocks.begin(), plan.stocks.end(), is(EBalanceOutcome::NoAnswer));
    const bool unanswered = plan.refusal == EBalanceRefusal::NoAnswer || nothingElse;
    if (!answered || (unanswered && !balance.atOnce && now() < balance.cancelAt + GIVE_UP)) {
        if (balance.atOnce || now() >= balance.cancelAt + GIVE_UP) {
            end(balance, REASON_NO_ANSWER);
        } else {
            balance.retryAt = now() + RETRY;
        }
        return;
    }
    balance.retryAt = 0;
    if (plan.refusal != EBalanceRefusal::None) {
        end(balance, reasonOf(plan.refusal));
    } else if (!isLoaded(balance.pair.account)) {
        end(balance, REASON_NOT_LOADED);
    } else {
        takeFigures(balance, prepared, *request.guard);
        send(balance, request, prepared);
    }
}

void CGuardedBalances::takeFigures(Balance& balance, const PreparedBalance& prepared,
                                   const std::map<std::string, GuardVolumes>& volumes) {
    for (const StockBalance& planned : prepared.plan.stocks) {
        const auto at = volumes.find(planned.stockKey);
        const GuardVolumes figures = at == volumes.end() ? GuardVolumes() : at->second;
        BalancedStock& stock = balance.stocks[planned.stockKey];
        stock.bought = figures.bought;
        stock.sold = figures.sold;
        stock.least = figures.least();
        stock.most = figures.most();
        stock.outcome = planned.outcome;
        stock.reason = reasonOf(planned.outcome);
        stock.planned = 0;
        if (planned.outcome != EBalanceOutcome::Order) continue;
        stock.planned = planned.side == vexservice::OPT_BUY ? planned.volume : -planned.volume;
    }
}

// The line with the orders is on disk before they are sent. So nothing is sent twice after a
// crash in between: the orders count as open until they are reported or lost.
void CGuardedBalances::send(Balance& balance, const BalanceRequest& request,
                            const PreparedBalance& prepared) {
    const auto commands = commandsOf(request, prepared);
    if (commands.empty()) {
        end(balance, "");
        return;
    }
    Balance sent = balance;
    sent.state = EBalanceState::Sent;
    sent.sentAt = now();
    ++sent.rounds;
    const std::size_t first = sent.commands.size();
    for (const auto& command : commands) {
        SentCommand record{.round = sent.rounds, .sentAt = sent.sentAt};
        for (const auto& order : command->m_orders) record.orders.push_back(sentOrderOf(*order));
        sent.commands.push_back(std::move(record));
    }
    for (auto& [key, stock] : sent.stocks) stock.sent += stock.planned;
    const bool written = decideOnTape(
        "book", [&] { return m_book.writeNow(balance.date, bookLine(sent, "sent", now())); });
    if (!written) {
        for (auto& [key, stock] : balance.stocks) stock.planned = 0;
        end(balance, REASON_NO_BOOK);
        return;
    }
    balance = std::move(sent);
    touch(balance);
    // A trading date that begins between two commands ends the balance.
    for (std::size_t at = 0; at < commands.size() && balance.isActive(); ++at) {
        const auto completion =
            m_manager.guarded([this, number = balance.number, index = first + at](
                                  const utils::VexError& error, int command) {
                // Reports are posted to the strand too, so no report overtakes the number of
                // its command.
                m_manager.post([this, number, index, error, command] {
                    completed(number, index, error, command);
                });
            });
        for (const auto& order : commands[at]->m_orders) {
            LINKAGE_LOG_INFO(
                GUARDED_BALANCES, "balance {0} account [{1}] strategy [{2}] stock [{3}{4}] {5} {6}",
                balance.number, balance.pair.account, balance.pair.strategy,
                order->m_stock.m_strMarket, order->m_stock.m_strCode,
                order->m_eOperationType == vexservice::OPT_BUY ? "buy" : "sell", order->m_nVolume);
        }
        attempt(GUARDED_BALANCES, [&] {
            service<CDovCommandCenter>().createCommand(commands[at], completion, true, 0);
        });
    }
}

}  // namespace TC
