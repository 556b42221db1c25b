#include "lab/times.h"
#include "lab/trace.h"
#include "lab/trader.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/store/diskfaults.h"

#include <fmt/format.h>

#include <cstdlib>
#include <utility>

// The end of a day: nothing goes wrong any more, everything is told, and what is then left
// must have a reason.

namespace lab {

namespace {

/// Long enough for every load that the library owes.
constexpr std::int64_t LONGEST_RETRY = 310 * SECOND;

}  // namespace

// Nothing goes wrong any more: what is under way ends, and everything is told.
void CDay::calmDown() {
    trace("from here on nothing goes wrong");
    m_bCalm = true;
    m_pCrashInSend = nullptr;
    m_pCrashInCancel = nullptr;
    m_pSaveFault = nullptr;
    if (std::exchange(m_nCommandThrows, 0) > 0) {
        m_scenario.fault(paper::EService::CommandCenter, paper::EFault::Lost, ALL_CALLS);
    }
    TC::disk::clearFaults();
    m_bCrashAtStep = false;
    for (const ServiceFault& each : SERVICE_FAULTS) {
        m_pClient->paper().setFault(each.service, paper::EFault::None, 0);
    }
    m_broker.calm();
    passAll();
    checkOwed();
    m_broker.tellAgain();
    passAll();
}

// Until the world has nothing left to do.
void CDay::passAll() {
    while (m_outcome.violations.empty() && (m_bDead || m_agenda.next())) {
        passTo(m_agenda.next().value_or(now()));
    }
}

// When it asks, every order that nobody has heard of is lost.
void CDay::askAll(bool wholeAccounts) {
    CTrader trader(*this);
    // Further rounds may send meanwhile.
    for (int rounds = m_plan.rounds; rounds > 0; --rounds) {
        if (m_model.lostFrom() > now()) passTo(m_model.lostFrom());
    }
    for (std::size_t account = 0; account < m_plan.accounts.size(); ++account) {
        m_scenario.accountReady(m_plan.accounts[account]);
        m_pClient->paper().accountReady(m_plan.accounts[account]);
        rest();
        for (const std::string& strategy : m_plan.strategies) {
            if (strategy.empty() == wholeAccounts) {
                trader.ask(EStep::Ask, {static_cast<int>(account), strategy});
                rest();
            }
        }
    }
    for (const Rest& rest : m_plan.rests) {
        trader.ask(EStep::HistoryAtOnce, pairOf(m_plan, rest));
        this->rest();
    }
    passTo(now() + 6 * SECOND);
    passAll();
    // Each round may wait for what is never confirmed, and the next balance after it.
    for (int waits = m_plan.rounds; waits >= 0 && !m_invariants.isOver(); --waits) {
        passTo(now() + LONGEST_CANCELLING);
        passAll();
    }
}

// What a service lost by throwing is asked for again, however long it takes; an account for
// which the library asks nothing has lost nothing, and is held to that before anything is told
// once more.
void CDay::checkOwed() {
    const auto waits = [this] { return m_services.owed() >= 0 || m_services.isAnyUncertain(); };
    if (!waits() || !m_outcome.violations.empty()) return;
    passTo(now() + LONGEST_RETRY);
    if (!m_outcome.violations.empty()) return;
    if (const int account = m_services.owed(); account >= 0) {
        return fail(fmt::format("a service threw, and account {} was not loaded again",
                                accountOf(account)));
    }
    m_services.trust();
    lookAtAllFigures();
}

void CDay::lookAtAllFigures() {
    for (std::size_t account = 0; account < m_plan.accounts.size(); ++account) {
        for (const std::string& strategy : m_plan.strategies) {
            m_invariants.lookAtFigures(manager(), {static_cast<int>(account), strategy});
        }
    }
    m_invariants.lookAtHistory(manager());
}

void CDay::checkIntegrity() {
    for (const std::string& fault : manager().checkIntegrity()) fail("the ledger: " + fault);
}

void CDay::checkEnd() {
    checkIntegrity();
    checkPast();
    if (m_services.isAnyUncertain()) fail("an account is uncertain in the end");
    lookAtAllFigures();
    if (m_options.guard) {
        m_invariants.look(manager(), true);
        m_invariants.lookAtBook(bookText());
    }
    for (std::size_t account = 0; account < m_plan.accounts.size(); ++account) {
        for (const std::string& strategy : m_plan.strategies) {
            for (std::size_t at = 0; at < m_plan.stocks.size(); ++at) {
                checkEnd({static_cast<int>(account), strategy}, static_cast<int>(at));
            }
        }
    }
    for (const Rest& rest : m_plan.rests) checkEnd(pairOf(m_plan, rest), rest.stock);
}

// The market's own account of a pair's stock: the model knows it, and nothing is left that
// could have been balanced.
void CDay::checkEnd(const Pair& pair, int stock) {
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    for (const auto& [key, order] : m_broker.orders()) {
        if (order.ticket.of.stock != stock || !pair.holds(order.ticket.of)) continue;
        (order.ticket.of.buys ? bought : sold) += order.filled;
    }
    const Stock& of = m_plan.stocks[static_cast<std::size_t>(stock)];
    if (of.excluded) return;
    if (!pair.history && m_model.figures(pair, stock) != std::pair(bought, sold)) {
        fail(fmt::format("at the end the figures of {} \"{}\" {} are not the market's",
                         accountOf(pair.account), pair.strategy, of.key()));
    }
    // Without the guard nobody says what is left, or why.
    if (!m_options.guard || (!pair.strategy.empty() && !pair.history)) return;
    if (m_services.isUncertain(pair.account)) return;
    const std::int64_t left = bought - sold + (pair.history ? m_model.restOf(pair, stock) : 0);
    if (!of.detail || !of.priced || std::abs(left) < of.unit) return;
    // Without numbers what was sent last stays open until it is lost.
    const Range range = m_model.range(pair, stock);
    if (!m_plan.numbered && range.least() != range.most()) return;
    for (const auto& [part, stuck] : m_halfVanished) {
        if (stuck == stock && pair.holds(part)) return;
    }
    std::string balances;
    for (const auto& [ending, count] : m_invariants.endings()) {
        balances += fmt::format(", {} {}", count, ending);
    }
    fail(fmt::format("at the end {} of {} \"{}\" {} are left for no reason{}", left,
                     accountOf(pair.account), pair.strategy, of.key(), balances));
}

}  // namespace lab
