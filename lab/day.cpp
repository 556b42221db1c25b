#include "lab/day.h"

#include "lab/times.h"
#include "lab/trace.h"
#include "lab/trader.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/store/diskfaults.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace lab {

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

constexpr std::uint64_t DAYS_WITH_STRATEGIES = 4;
constexpr char DATE[] = "20240102";

std::int64_t opening() {
    static const std::int64_t micros = replay::parseMoment("2024-01-02 09:30:00");
    return micros;
}

}  // namespace

CDay::CDay(const Plan& plan, const DayOptions& options)
    : m_plan(plan),
      m_options(options),
      m_loop(opening()),
      m_model(m_plan),
      m_broker({.seed = plan.seed, .dials = plan.dials, .named = plan.named}, m_agenda,
               m_outcome.faults,
               {.order = [this](const OrderReport& report) { hear(report); },
                .deal = [this](const DealReport& report) { hear(report); },
                .filled =
                    [this](const MarketOrder& order, std::int64_t volume) {
                        const std::string fault = m_truth.filled(order, volume);
                        if (fault.empty()) return;
                        m_outcome.tooMuch = true;
                        trace("{}", fault);
                        if (m_options.guard) fail(fault);
                    }}),
      m_truth(m_plan, m_model, m_broker),
      m_invariants(m_plan, m_model, [this](const std::string& what) { fail(what); }) {
    m_outcome.seed = plan.seed;
    m_loop.setSettle([this] { return settle(); });
    clearFiles();
    TC::disk::begin();
    m_pClient = std::make_unique<CClient>(m_plan, m_loop, options.directory, DATE, *this);
}

CDay::~CDay() {
    m_bDead = true;
    Manager::release();
    TC::disk::end();
    m_pClient.reset();
}

void CDay::addTrace(const std::string& text) {
    m_outcome.trace.push_back(replay::momentText(now()) + " " + text);
}

void CDay::fail(const std::string& what) {
    if (m_bDead) return;
    trace("VIOLATION {}", what);
    m_outcome.violations.push_back(replay::momentText(now()) + " " + what);
}

bool CDay::rolls(CRandom& random, EFault fault) {
    const bool happened = random.chance(m_plan.dials[fault]) && !m_bCalm;
    if (happened) happens(fault);
    return happened;
}

// ------------------------------------------------------------------------- reports

void CDay::hear(const OrderReport& report) {
    trace("told: order {} of {} \"{}\" {} {} {}, status {}, traded {}{}", report.key,
          accountOf(report.of.account), report.of.strategy, report.of.buys ? "buy" : "sell",
          report.volume, m_plan.stocks[static_cast<std::size_t>(report.of.stock)].key(),
          static_cast<int>(report.status), report.traded,
          report.announced ? "" : ", to the data center alone");
    m_model.order(report, report.announced && lives());
    m_pClient->tell(report);
    rest();
    const auto tooLate = m_tooLate.find(report.of.command);
    if (tooLate == m_tooLate.end() || !lives() || !report.announced) return;
    answer(tooLate->second.second, tooLate->second.first, now() + SECOND, "too late");
    m_tooLate.erase(tooLate);
}

void CDay::hear(const DealReport& report) {
    trace("told: deal {} of order {} of {} \"{}\" {} {} {}{}", report.key, report.order,
          accountOf(report.of.account), report.of.strategy, report.of.buys ? "buy" : "sell",
          report.volume, m_plan.stocks[static_cast<std::size_t>(report.of.stock)].key(),
          report.announced ? "" : ", to the data center alone");
    m_model.deal(report, report.announced && lives());
    m_pClient->tell(report);
    rest();
    if (!lives()) return;
    m_invariants.lookAtFigures(manager(), {report.of.account, report.of.strategy});
}

// ---------------------------------------------------------------------------- time

void CDay::rest() {
    m_bDirty = true;
    m_loop.runToRest();
}

// Called whenever the library has nothing left to do at a moment.
bool CDay::settle() {
    if (!Manager::exists()) return false;
    Manager::instance()->finishSaves();
    if (!m_options.guard || !lives() || !m_bDirty) return false;
    m_bDirty = false;
    m_invariants.look(manager());
    return false;
}

// Stops at each moment at which the library or the world has something to do: what the one does
// may give the other an earlier moment.
void CDay::passTo(std::int64_t micros) {
    while (m_outcome.violations.empty()) {
        if (m_bDead) bury();
        const auto next = m_agenda.next();
        const auto timer = m_loop.waits()->next();
        const std::int64_t moment =
            std::min({micros, next.value_or(micros), timer.value_or(micros)});
        m_loop.advanceTo(std::max(moment, now()));
        if (m_bDead) continue;
        if (next && *next <= now()) {
            m_agenda.take()();
            rest();
        } else if (now() >= micros) {
            break;
        }
    }
    if (m_bDead) bury();
}

// ----------------------------------------------------------------------------- day

Outcome CDay::play() {
    CTrader trader(*this);
    up();
    rest();
    for (const Step& step : m_plan.steps) {
        m_agenda.at(opening() + step.at, [&trader, &step] { trader.carryOut(step); });
    }
    passTo(opening() + m_plan.steps.back().at + 30 * SECOND);
    calmDown();
    if (m_options.guard && m_outcome.violations.empty()) {
        // The accounts as a whole are held to the end; most days leave it at that, for speed.
        if (m_plan.seed % DAYS_WITH_STRATEGIES == 0) askAll(false);
        askAll(true);
        if (m_outcome.violations.empty()) checkEnd();
    }
    m_outcome.endings = m_invariants.endings();
    return std::move(m_outcome);
}

// Nothing goes wrong any more: what is under way ends, and everything is told.
void CDay::calmDown() {
    trace("from here on nothing goes wrong");
    m_bCalm = true;
    m_pCrashInSend = nullptr;
    m_pCrashInCancel = nullptr;
    TC::disk::clearFaults();
    m_broker.calm();
    passAll();
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
        load(static_cast<int>(account));
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
        const auto strategy = static_cast<std::size_t>(rest.strategy);
        trader.ask(EStep::HistoryAtOnce, {rest.account, m_plan.strategies[strategy], true});
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

void CDay::checkEnd() {
    m_invariants.look(manager(), true);
    m_invariants.lookAtBook(bookText());
    for (std::size_t account = 0; account < m_plan.accounts.size(); ++account) {
        for (const std::string& strategy : m_plan.strategies) {
            const Pair pair{static_cast<int>(account), strategy};
            m_invariants.lookAtFigures(manager(), pair);
            for (std::size_t at = 0; at < m_plan.stocks.size(); ++at) {
                checkEnd(pair, static_cast<int>(at));
            }
        }
    }
    for (const Rest& rest : m_plan.rests) {
        const auto strategy = static_cast<std::size_t>(rest.strategy);
        checkEnd({rest.account, m_plan.strategies[strategy], true}, rest.stock);
    }
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
    if (!pair.history && m_model.figures(pair, stock) != std::pair(bought, sold)) {
        fail(fmt::format("at the end the figures of {} \"{}\" {} are not the market's",
                         accountOf(pair.account), pair.strategy, of.key()));
    }
    if (!pair.strategy.empty() && !pair.history) return;
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
