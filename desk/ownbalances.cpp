#include "desk/ownbalances.h"

#include "desk/pricetape.h"
#include "linkage/ledger/attribution.h"
#include "platform/utils/keys.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace desk {

namespace {

constexpr std::int64_t SECOND = 1'000'000;
/// The library acts within its own time; only after so long nothing more is to be expected.
constexpr std::int64_t PATIENCE = 2 * SECOND;
constexpr std::int64_t LONGEST_UNHEARD = 60 * SECOND;

bool isHistory(const vexservice::COrderComandParam& command) {
    return command.m_strStrategyName2 == TC::HISTORY_BALANCE_TAG;
}

/// The whole account's balance also cancels what runs of its strategies.
bool holds(const OwnBalance& balance, const replay::PairKey& pair) {
    return balance.pair.first == pair.first &&
           (balance.pair.second.empty() || balance.pair.second == pair.second);
}

}  // namespace

OwnBalance& COwnBalances::add(const replay::PairKey& pair, bool history, EAskedBy by,
                              std::int64_t now) {
    OwnBalance balance;
    balance.number = static_cast<int>(m_balances.size()) + 1;
    balance.pair = pair;
    balance.history = history;
    balance.by = by;
    balance.date = m_date;
    balance.asked = clockText(now);
    balance.dueAt = now;
    return m_balances.emplace_back(std::move(balance));
}

void COwnBalances::enter(OwnBalance& balance, const std::string& state, std::int64_t now) {
    balance.state = state;
    m_steps.push_back({balance.number, state, clockText(now)});
}

void COwnBalances::ask(const replay::PairKey& pair, bool history, EAskedBy by, std::int64_t now,
                       int delay) {
    const auto other =
        std::find_if(m_balances.begin(), m_balances.end(), [&](const OwnBalance& each) {
            return each.pair == pair && !history && !each.history && each.state == "cancelling";
        });
    if (other != m_balances.end()) {
        const int number = other->number;
        OwnBalance& refused = add(pair, history, by, now);
        refused.remains = {{"", 0, fmt::format("balance {} is under way", number)}};
        return enter(refused, "refused", now);
    }
    if (delay > 0) {
        for (OwnBalance& each : m_balances) {
            if (each.state == "asked") each.dueAt = std::min(each.dueAt, now);
        }
    }
    OwnBalance& balance = add(pair, history, by, now);
    balance.dueAt = now + delay * SECOND;
    enter(balance, "asked", now);
}

OwnBalance* COwnBalances::waiting(const replay::PairKey& pair, bool history) {
    const auto found =
        std::find_if(m_balances.begin(), m_balances.end(), [&](const OwnBalance& each) {
            return each.isToSend() && each.history == history && each.pair == pair;
        });
    return found == m_balances.end() ? nullptr : &*found;
}

void COwnBalances::begin(OwnBalance& balance, std::int64_t now) {
    if (balance.state != "asked") return;
    balance.cancelAt = now;
    enter(balance, "cancelling", now);
}

void COwnBalances::cancels(const replay::PairKey& pair, const vexservice::COrderDetail& order,
                           std::int64_t now) {
    const auto canCancel = [](const OwnBalance& each) { return each.isToSend() && !each.history; };
    OwnBalance* balance = waiting(pair, false);
    if (!balance) {
        const auto found = std::find_if(
            m_balances.begin(), m_balances.end(),
            [&](const OwnBalance& each) { return canCancel(each) && holds(each, pair); });
        if (found == m_balances.end()) return;
        balance = &*found;
    }
    begin(*balance, now);
    balance->ordersCancelled.insert(order.recordKey());
    balance->cancelledOrders = balance->ordersCancelled.size();
}

/// A task's operation does not name its pair. Tasks are terminated at the moment of the start,
/// before the orders, and one balance starts at a time.
void COwnBalances::terminates(std::uint64_t task, std::int64_t now) {
    const auto starts = [now](const OwnBalance& each) {
        return !each.history && ((each.state == "asked" && each.dueAt <= now) ||
                                 (each.state == "cancelling" && each.cancelAt == now));
    };
    const auto found = std::find_if(m_balances.begin(), m_balances.end(), starts);
    if (found == m_balances.end()) return;
    begin(*found, now);
    found->tasksCancelled.insert(task);
    found->cancelledTasks = found->tasksCancelled.size();
}

OwnBalance* COwnBalances::sentNow(const replay::PairKey& pair, bool history, std::int64_t now) {
    const auto found =
        std::find_if(m_balances.rbegin(), m_balances.rend(), [&](const OwnBalance& each) {
            return each.pair == pair && each.history == history && each.sentAt == now;
        });
    return found == m_balances.rend() ? nullptr : &*found;
}

void COwnBalances::sends(const std::string& account, const vexservice::COrderComandParam& command,
                         int number, EAskedBy by, std::int64_t now) {
    const replay::PairKey pair(account, command.m_strStrategyName);
    const bool history = isHistory(command);
    OwnBalance* balance = waiting(pair, history);
    if (!balance) balance = sentNow(pair, history, now);  // another command of the decision
    if (!balance) balance = &add(pair, history, by, now);
    if (balance->state != "sent") enter(*balance, "sent", now);
    balance->sentAt = now;
    balance->commands.insert(number);
    balance->remains.clear();
    for (const auto& order : command.m_orders) {
        if (!order->m_pAccountInfo || order->m_pAccountInfo->getKey() != account) continue;
        ++balance->orders;
        balance->stocks[utils::zorStockKey(order->m_stock.m_strMarket, order->m_stock.m_strCode)]
            .sent += order->m_nVolume;
    }
}

void COwnBalances::makes(const std::string& account, const vexservice::COrderComandParam& command,
                         std::uint64_t order, std::int64_t now) {
    OwnBalance* balance = sentNow({account, command.m_strStrategyName}, isHistory(command), now);
    if (balance) balance->ordersSent.insert(order);
}

bool COwnBalances::look(OwnBalance& balance, int running, const SentSeen& sent, std::int64_t now) {
    if (balance.state == "asked") return now >= balance.dueAt + PATIENCE;
    if (balance.state == "cancelling") {
        if (running > 0) balance.quietSince = 0;
        if (running == 0 && balance.quietSince == 0) balance.quietSince = now;
        return (balance.quietSince > 0 && now >= balance.quietSince + PATIENCE) ||
               now >= balance.cancelAt + LONGEST_CANCELLING * SECOND + PATIENCE;
    }
    for (auto& [stock, shares] : balance.stocks) {
        const auto filled = sent.filled.find(stock);
        shares.filled = filled == sent.filled.end() ? 0 : filled->second;
    }
    if (sent.orders == 0) return now >= balance.sentAt + LONGEST_UNHEARD;
    return sent.running == 0 && sent.orders >= balance.orders;
}

void COwnBalances::end(OwnBalance& balance, std::vector<replay::Remainder> remains,
                       std::int64_t now) {
    balance.remains = std::move(remains);
    enter(balance, "ended", now);
}

void COwnBalances::endAll(const std::string& reason, std::int64_t now) {
    for (OwnBalance& balance : m_balances) {
        if (balance.isActive()) end(balance, {{"", 0, reason}}, now);
    }
}

std::vector<COwnBalances::Step> COwnBalances::takeSteps() { return std::exchange(m_steps, {}); }

std::string unequalReason(const OwnBalance& balance, const SentSeen& sent,
                          const std::string& stock) {
    if (const auto words = sent.rejected.find(stock); words != sent.rejected.end())
        return words->second.empty() ? "rejected" : "rejected: " + words->second;
    const auto shares = balance.stocks.find(stock);
    if (shares == balance.stocks.end()) return {};
    if (sent.orders == 0) return "lost: nothing was heard of the order";
    return shares->second.filled < shares->second.sent ? "cancelled" : "traded since";
}

}  // namespace desk
