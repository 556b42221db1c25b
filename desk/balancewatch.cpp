#include "desk/balancewatch.h"

#include "desk/pricetape.h"
#include "linkage/balance/balancebook.h"
#include "linkage/balance/balanceplan.h"
#include "linkage/balance/booknames.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "platform/services/clientconfig.h"
#include "platform/utils/clock.h"
#include "replay/times.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <exception>
#include <utility>

namespace desk {

namespace {

std::int64_t nowMicros() { return utils::currentClock().nowMicros(); }

EAskedBy timeOf(const replay::PairKey& pair) {
    return pair.second.empty() ? EAskedBy::AccountTime : EAskedBy::StrategyTime;
}

using OrderId = std::pair<std::string, std::uint64_t>;

/// Whether a balance has sent an order: by its key, by its command, or, where the client tells
/// neither, because no other balance has and the carrier names the strategy as balances do.
bool isOf(const OwnBalance& balance, const vexservice::COrderDetail& order,
          const std::set<OrderId>& known) {
    if (balance.ordersSent.count(order.recordKey())) return true;
    if (!order.m_pCommand || known.count({balance.pair.first, order.recordKey()})) return false;
    const vexservice::CCommandRecord& carrier = *order.m_pCommand;
    if (carrier.m_nCommand != 0) return balance.commands.count(carrier.m_nCommand) > 0;
    const std::string& second = carrier.m_strStrategyName2;
    const bool marked = balance.history ? carrier.m_strTag == TC::HISTORY_BALANCE_TAG
                                        : second == carrier.m_strStrategyName;
    return marked && balance.ordersSent.size() < balance.orders && !second.empty() &&
           carrier.m_strStrategyName == balance.pair.second;
}

/// Looks for the orders of a balance; those that it finds are noted in it.
SentSeen seenOf(const TC::CLinkageManager& manager, OwnBalance& balance,
                const std::set<OrderId>& known) {
    SentSeen seen;
    const std::set<std::string> account{balance.pair.first};
    for (const auto& [stock, shares] : balance.stocks) {
        for (const auto& [key, orders] :
             manager.getOrderDetails(replay::dayNumber(balance.date), stock, account)) {
            for (const auto& [record, order] : orders) {
                if (!isOf(balance, *order, known)) continue;
                balance.ordersSent.insert(record);
                ++seen.orders;
                seen.running += vexservice::isRunningStatus(order->m_eStatus) ? 1 : 0;
                seen.filled[stock] += order->m_nTradedVolume;
                if (order->m_eStatus == vexservice::STATUS_JUNK)
                    seen.rejected[stock] = order->m_strRemark;
            }
        }
    }
    return seen;
}

/// Why the rule leaves a stock as it is; empty when it would send an order.
std::string reasonOf(TC::EBalanceOutcome outcome) {
    switch (outcome) {
        case TC::EBalanceOutcome::BelowLot:
            return "less than a lot";
        case TC::EBalanceOutcome::NoInstrument:
            return "no instrument";
        case TC::EBalanceOutcome::NoAnswer:
            return "a service of the client did not answer";
        default:
            return {};
    }
}

std::string reasonOf(TC::EBalanceRefusal refusal) {
    switch (refusal) {
        case TC::EBalanceRefusal::None:
            return {};
        case TC::EBalanceRefusal::NoAccountData:
            return "no account data";
        case TC::EBalanceRefusal::NoAccountInfo:
            return "no account info";
        case TC::EBalanceRefusal::WrongAccountType:
            return "neither a stock nor a credit account";
        case TC::EBalanceRefusal::NoFigures:
            return "nothing was traded";
        case TC::EBalanceRefusal::NoAnswer:
            return "a service of the client did not answer";
    }
    return {};
}

TC::BalancePlan planOf(const TC::CLinkageManager& manager, const OwnBalance& balance,
                       bool grouped) {
    const auto& [account, strategy] = balance.pair;
    try {
        return balance.history ? manager.previewHistoryBalance(account, strategy, grouped)
                               : manager.previewBalance(account, strategy, grouped);
    } catch (const std::exception&) {  // a service of the client
        TC::BalancePlan plan;
        plan.refusal = TC::EBalanceRefusal::NoAnswer;
        return plan;
    }
}

/// What a balance that is over has left, by the rule that decided it. Less than a lot is left where
/// the form that sends whole lots only would leave it.
std::vector<replay::Remainder> remainsOf(const TC::CLinkageManager& manager,
                                         const OwnBalance& balance, const SentSeen& seen) {
    const TC::BalancePlan plan = planOf(manager, balance, false);
    std::set<std::string> odd;
    for (const TC::StockBalance& stock : planOf(manager, balance, true).stocks) {
        if (stock.outcome == TC::EBalanceOutcome::BelowLot) odd.insert(stock.stockKey);
    }
    std::vector<replay::Remainder> remains;
    if (const std::string reason = reasonOf(plan.refusal); !reason.empty())
        remains.push_back({"", 0, reason});
    for (const TC::StockBalance& stock : plan.stocks) {
        if (stock.difference == 0) continue;
        std::string reason = reasonOf(stock.outcome);
        if (reason.empty()) reason = unequalReason(balance, seen, stock.stockKey);
        if (reason == "traded since" && odd.count(stock.stockKey)) reason = "rounded to whole lots";
        remains.push_back({stock.stockKey, stock.difference, std::move(reason)});
    }
    if (remains.empty() && balance.stocks.empty()) remains.push_back({"", 0, "balanced"});
    return remains;
}

/// What is not filled yet of a balance that has sent.
std::vector<replay::Remainder> restingOf(const TC::CLinkageManager& manager,
                                         const OwnBalance& balance) {
    std::vector<replay::Remainder> remains;
    if (balance.history) return remains;
    const bool type3 =
        utils::CSingletonT<TC::CAppConfig>::instance()->isClientType(TC::CLIENT_TYPE_3);
    const auto records = manager.getTradeStatDatas(balance.pair.first, balance.pair.second);
    for (const auto& [stock, shares] : balance.stocks) {
        const auto record = records.find(stock);
        if (record == records.end() || shares.filled >= shares.sent) continue;
        const TC::EffectiveFigures figures = TC::effectiveFigures(*record->second, type3);
        const std::int64_t rest = std::int64_t(figures.buyVolume) - figures.sellVolume;
        if (rest != 0) remains.push_back({stock, rest, "resting"});
    }
    return remains;
}

}  // namespace

// ----------------------------------------------------------------------- who asks

CBalanceWatch::CAsking::CAsking(CBalanceWatch& watch, const replay::PairKey& pair, bool history,
                                EAskedBy by, int delay)
    : m_watch(watch) {
    const std::lock_guard lock(m_watch.m_mutex);
    m_watch.m_asking = Asked{pair, history, by, std::this_thread::get_id()};
    if (!m_watch.m_bGuard) m_watch.m_own.ask(pair, history, by, nowMicros(), delay);
}

CBalanceWatch::CAsking::~CAsking() {
    const std::lock_guard lock(m_watch.m_mutex);
    m_watch.m_asking.reset();
}

CBalanceWatch::CCancelling::CCancelling(CBalanceWatch& watch) : m_watch(watch) {
    const std::lock_guard lock(m_watch.m_mutex);
    m_watch.m_cancelling = std::this_thread::get_id();
}

CBalanceWatch::CCancelling::~CCancelling() {
    const std::lock_guard lock(m_watch.m_mutex);
    m_watch.m_cancelling.reset();
}

void CBalanceWatch::onBalanceTime(const std::string& account, const std::string& strategy) {
    const replay::PairKey pair(account, strategy);
    const std::lock_guard lock(m_mutex);
    if (m_bGuard)
        m_timeCame.insert(pair);
    else
        m_own.ask(pair, false, timeOf(pair), nowMicros(), BALANCE_DELAY);
}

/// Of a balance that has just appeared. Called with the lock.
EAskedBy CBalanceWatch::askerOf(const replay::PairKey& pair, bool history) {
    if (m_asking && m_asking->thread == std::this_thread::get_id() && m_asking->pair == pair &&
        m_asking->history == history)
        return m_asking->by;
    if (!history && m_timeCame.erase(pair) > 0) return timeOf(pair);
    return EAskedBy::Program;
}

// ------------------------------------------------------------- what reaches the client

bool CBalanceWatch::isOwnCancel() const { return m_cancelling == std::this_thread::get_id(); }

void CBalanceWatch::onCancelOrder(const vexservice::COrderDetail& order) {
    const std::lock_guard lock(m_mutex);
    if (m_bGuard || isOwnCancel() || !order.m_pAccountInfo) return;
    m_own.cancels({order.m_pAccountInfo->getKey(), TC::strategyOf(order.m_pCommand.get())}, order,
                  nowMicros());
}

void CBalanceWatch::onOperateTask(std::uint64_t taskKey, bool, const vexservice::CTaskOpRecord&) {
    const std::lock_guard lock(m_mutex);
    if (!m_bGuard && !isOwnCancel()) m_own.terminates(taskKey, nowMicros());
}

void CBalanceWatch::onCommand(const vexservice::COrderComandParam& command, int number) {
    std::set<std::string> accounts;
    for (const auto& order : command.m_orders) {
        if (order->m_pAccountInfo) accounts.insert(order->m_pAccountInfo->getKey());
    }
    const std::lock_guard lock(m_mutex);
    if (m_bGuard) return;
    const bool asked = m_asking && m_asking->thread == std::this_thread::get_id();
    for (const std::string& account : accounts)
        m_own.sends(account, command, number, asked ? m_asking->by : EAskedBy::Program,
                    nowMicros());
}

void CBalanceWatch::onCommandOrder(const vexservice::COrderComandParam& command,
                                   const std::string& account, std::uint64_t order) {
    const std::lock_guard lock(m_mutex);
    if (!m_bGuard) m_own.makes(account, command, order, nowMicros());
}

// ---------------------------------------------------------------------- the book

void CBalanceWatch::follow(TC::CLinkageManager& manager) {
    if (m_changed.connected()) return;
    const bool guard = manager.options().guard;
    {
        const std::lock_guard lock(m_mutex);
        m_bGuard = guard;
        m_date = manager.getTradeDate();
        m_own.setDate(m_date);
    }
    m_changed = manager.sigBalanceChanged.connect(
        [this, &manager](int number) { bookChanged(manager, number); });
}

/// In the slot of the signal, where the manager is whole and locked.
void CBalanceWatch::bookChanged(const TC::CLinkageManager& manager, int number) {
    const std::string date = manager.getTradeDate();
    const auto records = manager.getBalances();
    const auto record = std::find_if(
        records.rbegin(), records.rend(),
        [&](const TC::BalanceRecord& each) { return each.number == number && each.date == date; });
    if (record == records.rend()) return;
    const Number id(date, number);
    const std::string state = TC::textOf(record->state);
    const std::lock_guard lock(m_mutex);
    if (!m_by.count(id)) m_by[id] = askerOf({record->account, record->strategy}, record->history);
    if (std::exchange(m_states[id], state) == state) return;
    m_steps.push_back({.time = clockText(),
                       .kind = EEvent::Balance,
                       .account = record->account,
                       .strategy = record->strategy,
                       .detail = state,
                       .number = number,
                       .by = m_by[id]});
}

/// Balances of before the desk was started stand in the book's file, with who asked.
void CBalanceWatch::readBook(const std::string& date) {
    if (!m_booksRead.insert(date).second) return;
    QFile file(QString("%1/Balance/balances-%2.jsonl")
                   .arg(TC::getDataDir(), QString::fromStdString(date)));
    if (!file.open(QIODevice::ReadOnly)) return;
    while (!file.atEnd()) {
        const QJsonObject line = QJsonDocument::fromJson(file.readLine()).object();
        const Number id(date, line["number"].toInt());
        const replay::PairKey pair("", line["strategy"].toString().toStdString());
        const bool byTime = line["by"].toString() ==
                            TC::book::ASKERS[static_cast<int>(TC::EBalanceAsker::Schedule)];
        m_by.emplace(id, byTime ? timeOf(pair) : EAskedBy::Trader);
    }
}

// ------------------------------------------------------------------- how far they are

void CBalanceWatch::managerGone() {
    m_changed.disconnect();
    const std::lock_guard lock(m_mutex);
    m_own.endAll("restart", nowMicros());
    m_timeCame.clear();
    m_bGuard = false;
}

/// The manager is asked without the lock here, because requests come under the manager's.
void CBalanceWatch::settle(const TC::CLinkageManager& manager) {
    std::vector<OwnBalance> active;
    std::set<OrderId> known;
    const std::string date = manager.getTradeDate();
    {
        const std::lock_guard lock(m_mutex);
        if (m_bGuard) return;
        if (std::exchange(m_date, date) != date) m_own.endAll("new trading date", nowMicros());
        m_own.setDate(date);
        for (const OwnBalance& balance : m_own.all()) {
            if (balance.isActive()) active.push_back(balance);
            for (const std::uint64_t order : balance.ordersSent)
                known.emplace(balance.pair.first, order);
        }
    }
    for (const OwnBalance& before : active) {
        const auto& [account, strategy] = before.pair;
        const int running = manager.getRunningOrders(account, strategy) +
                            manager.getRunningTasks(account, strategy);
        OwnBalance after = before;
        const SentSeen seen = seenOf(manager, after, known);
        const bool isOver = COwnBalances::look(after, running, seen, nowMicros());
        after.remains = isOver ? remainsOf(manager, after, seen) : restingOf(manager, after);

        const std::lock_guard lock(m_mutex);
        OwnBalance& kept = m_own.of(before.number);
        if (kept.state != before.state || kept.orders != before.orders) continue;  // it went on
        kept.stocks = after.stocks;
        kept.ordersSent = after.ordersSent;
        for (const std::uint64_t order : after.ordersSent) known.emplace(account, order);
        kept.quietSince = after.quietSince;
        kept.remains = after.remains;
        if (isOver) m_own.end(kept, std::move(after.remains), nowMicros());
    }
}

std::vector<BalanceRow> CBalanceWatch::rows(const TC::CLinkageManager& manager,
                                            const std::string& date) {
    const auto book = replay::balancesOf(manager.getBalances(), date, {});
    std::vector<BalanceRow> rows;
    const std::lock_guard lock(m_mutex);
    for (const replay::BalanceFigures& balance : book) {
        if (!m_by.count({date, balance.number})) readBook(date);
        const auto by = m_by.find({date, balance.number});
        rows.push_back({balance, by == m_by.end() ? EAskedBy::Program : by->second});
    }
    for (const OwnBalance& balance : m_own.all()) {
        if (balance.date == date) rows.push_back(balance);
    }
    return rows;
}

std::vector<EventRow> CBalanceWatch::takeSteps() {
    const std::lock_guard lock(m_mutex);
    for (const COwnBalances::Step& made : m_own.takeSteps()) {
        const OwnBalance& balance = m_own.of(made.number);
        m_steps.push_back({.time = made.time,
                           .kind = EEvent::Balance,
                           .account = balance.pair.first,
                           .strategy = balance.pair.second,
                           .detail = made.state,
                           .number = made.number,
                           .by = balance.by});
    }
    return std::exchange(m_steps, {});
}

}  // namespace desk
