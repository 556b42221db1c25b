#include "lab/trader.h"

#include "lab/trace.h"
#include "linkage/core/clinkagemanager.h"
#include "replay/manageraccess.h"

#include <exception>

namespace lab {

namespace {

constexpr std::int64_t START_DELAY = 5'000'000;

/// The operation of the manager that a step calls.
const char* operationOf(EStep kind) {
    switch (kind) {
        case EStep::Ask:
            return "runAutoBalance";
        case EStep::AskNow:
            return "runAutoBalanceTimer";
        case EStep::SendAtOnce:
            return "doStockBalanceBySignalTask";
        case EStep::SendGrouped:
            return "doStockBalance";
        case EStep::HistoryAtOnce:
            return "doHistoryBalanceBySignalTask";
        case EStep::HistoryGrouped:
            return "doHistoryBalance";
        default:
            return "tryAutoBalance";
    }
}

bool isAsk(EStep kind) { return kind >= EStep::Ask && kind <= EStep::Try; }
bool isAtOnce(EStep kind) { return kind >= EStep::SendAtOnce && kind <= EStep::HistoryGrouped; }
bool isHistory(EStep kind) { return kind == EStep::HistoryAtOnce || kind == EStep::HistoryGrouped; }

EForm formOf(EStep kind) {
    if (kind == EStep::SendGrouped) return EForm::Grouped;
    return kind == EStep::HistoryGrouped ? EForm::GroupedHistory : EForm::Single;
}

}  // namespace

void CTrader::carryOut(const Step& step) {
    const Plan& plan = m_day.m_plan;
    if (isAsk(step.kind)) {
        const auto strategy = static_cast<std::size_t>(step.strategy);
        ask(step.kind, {step.account, plan.strategies[strategy], isHistory(step.kind)});
    } else if (step.kind == EStep::Order) {
        order(step);
    } else if (step.kind == EStep::Cancel) {
        cancel(step);
    } else {
        disturb(step);
    }
}

void CTrader::order(const Step& step) {
    const auto strategy = static_cast<std::size_t>(step.strategy);
    Ticket ticket{.volume = step.amount, .fate = step.place};
    ticket.of = {.account = step.account,
                 .stock = step.stock,
                 .buys = step.flag,
                 .strategy = m_day.m_plan.strategies[strategy]};
    const std::uint64_t key = m_day.m_broker.place(ticket);
    if (step.amount % 100 != 0) m_day.happens(EFault::OddLots);
    m_day.trace("the trader sends order {}: {} \"{}\" {} {} {}", key, m_day.accountOf(step.account),
                ticket.of.strategy, step.flag ? "buy" : "sell", step.amount,
                m_day.m_plan.stocks[static_cast<std::size_t>(step.stock)].key());
}

// The newest of the trader's own orders of the account that is open.
void CTrader::cancel(const Step& step) {
    const auto& orders = m_day.m_broker.orders();
    for (auto at = orders.rbegin(); at != orders.rend(); ++at) {
        const MarketOrder& order = at->second;
        if (order.ticket.balance || !order.isOpen()) continue;
        if (order.ticket.of.account != step.account) continue;
        m_day.trace("the trader cancels order {}", order.key);
        m_day.m_broker.cancel(order.key);
        return;
    }
}

void CTrader::ask(EStep kind, const Pair& pair) {
    if (!m_day.lives()) return;
    const bool atOnce = isAtOnce(kind);
    m_day.trace("{}: {} \"{}\"", nameOf(kind), m_day.accountOf(pair.account), pair.strategy);
    if (atOnce) m_day.happens(isHistory(kind) ? EFault::History : EFault::AtOnce);
    const bool taken =
        m_day.m_invariants.asks(pair, formOf(kind), atOnce, kind == EStep::Ask ? START_DELAY : 0);
    if (!taken) m_day.happens(EFault::Twice);
    m_day.m_scenario.call(operationOf(kind), {m_day.accountOf(pair.account), pair.strategy});
    if (kind != EStep::Ask) {
        try {
            call(kind, pair);
        } catch (const std::exception&) {
            // The call in which the process died.
            if (m_day.lives()) throw;
        }
        return;
    }
    const bool answer =
        m_day.manager().runAutoBalance(m_day.accountOf(pair.account), pair.strategy);
    if (!m_day.m_options.guard || !m_day.lives() || answer == taken) return;
    // Without its book nobody knows what was sent: nothing is taken.
    if (taken && m_day.m_invariants.diskHasFailed()) return;
    m_day.fail(taken ? "a request was refused that is to be taken"
                     : "a request was taken that is to be refused");
}

void CTrader::call(EStep kind, const Pair& pair) {
    TC::CLinkageManager& manager = m_day.manager();
    const std::string& account = m_day.accountOf(pair.account);
    switch (kind) {
        case EStep::AskNow:
            manager.runAutoBalanceTimer(account, pair.strategy);
            break;
        case EStep::SendAtOnce:
            TC::ManagerAccess::doStockBalanceBySignalTask(manager, account, pair.strategy);
            break;
        case EStep::SendGrouped:
            TC::ManagerAccess::doStockBalance(manager, account, pair.strategy);
            break;
        case EStep::HistoryAtOnce:
            manager.doHistoryBalanceBySignalTask(account, pair.strategy);
            break;
        case EStep::HistoryGrouped:
            manager.doHistoryBalance(account, pair.strategy);
            break;
        default:
            manager.tryAutoBalance(account, pair.strategy);
            break;
    }
}

void CTrader::disturb(const Step& step) {
    m_day.trace("{}", nameOf(step.kind));
    switch (step.kind) {
        case EStep::Task:
            m_day.startTask(step);
            break;
        case EStep::CrashInSend:
            m_day.m_pCrashInSend = &step;
            break;
        case EStep::CrashInCancel:
            m_day.m_pCrashInCancel = &step;
            break;
        default:
            if (m_day.lives()) m_day.disturb(step);
            break;
    }
}

}  // namespace lab
