#include "lab/day.h"

#include "lab/times.h"
#include "lab/trace.h"
#include "lab/trader.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/store/diskfaults.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <exception>

namespace lab {

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

constexpr std::uint64_t DAYS_WITH_STRATEGIES = 4;

std::int64_t openingOf(const Plan& plan) {
    static const std::int64_t day = replay::parseMoment("2024-01-02 09:30:00");
    static const std::int64_t night = replay::parseMoment("2024-01-02 23:59:00");
    return plan.night ? night : day;
}

}  // namespace

CDay::CDay(const Plan& plan, const DayOptions& options)
    : m_plan(plan),
      m_options(options),
      m_loop(openingOf(plan)),
      m_model(m_plan),
      m_services(m_plan, m_model, m_outcome.faults, [this] { return lives(); }),
      m_scenario(m_plan, options.scenario),
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
      m_invariants(m_plan, m_model, m_services, [this](const std::string& what) { fail(what); }) {
    m_outcome.seed = plan.seed;
    m_loop.setSettle([this] { return settle(); });
    m_scenario.begin(now(), DATES[0], optionsOf());
    clearFiles();
    TC::disk::begin();
    m_pClient = std::make_unique<CClient>(m_plan, m_loop, options.directory, DATES[0], *this);
    m_pClient->paper().answerThrough(
        [this](const paper::CFaults::Answer& answer) { onPastAnswer(answer); });
    m_pClient->paper().watchServices(
        [this](paper::EService service, paper::EFault fault, std::string_view what) {
            using paper::EFault;
            asksAfterRelease();
            const bool refused = fault == EFault::Null || fault == EFault::Lost;
            if (service == paper::EService::TradeClient) m_bCancelFails = refused;
            m_services.called(service, fault, what);
        });
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

// What a process does after its end is not held against it.
void CDay::fail(const std::string& what) {
    if (!m_bDead) violate(what);
}

void CDay::violate(const std::string& what) {
    trace("VIOLATION {}", what);
    m_scenario.note("here: " + what);
    m_outcome.violations.push_back(replay::momentText(now()) + " " + what);
}

bool CDay::rolls(CRandom& random, EFault fault) {
    const bool happened = random.chance(m_plan.dials[fault]) && !m_bCalm;
    if (happened) happens(fault);
    return happened;
}

// ------------------------------------------------------------------------- reports

void CDay::hear(const OrderReport& report) {
    const bool announced = report.announced && m_nOffline == 0;
    const bool heard = announced && lives() && m_services.hears(report.of.account);
    trace("told: order {} of {} \"{}\" {} {} {}, status {}, traded {}{}", report.key,
          accountOf(report.of.account), report.of.strategy, report.of.buys ? "buy" : "sell",
          report.volume, m_plan.stocks[static_cast<std::size_t>(report.of.stock)].key(),
          static_cast<int>(report.status), report.traded,
          announced ? "" : ", to the data center alone");
    m_model.order(report, heard);
    m_scenario.order(report, announced);
    if (heard) m_services.tells(report.of, false);
    m_pClient->tell(report, announced);
    rest();
    m_services.told();
    const auto tooLate = m_tooLate.find(report.of.command);
    if (tooLate == m_tooLate.end() || !lives() || !heard) return;
    answer(tooLate->second.second, tooLate->second.first, now() + SECOND, "too late");
    m_tooLate.erase(tooLate);
}

void CDay::hear(const DealReport& report) {
    const bool announced = report.announced && m_nOffline == 0;
    const bool heard = announced && lives() && m_services.hears(report.of.account);
    trace("told: deal {} of order {} of {} \"{}\" {} {} {}{}", report.key, report.order,
          accountOf(report.of.account), report.of.strategy, report.of.buys ? "buy" : "sell",
          report.volume, m_plan.stocks[static_cast<std::size_t>(report.of.stock)].key(),
          announced ? "" : ", to the data center alone");
    const Step* const save = heard && report.of.history ? m_pSaveFault : nullptr;
    // The save of this deal fails; what is then saved once more is the fault's.
    if (save) {
        TC::disk::Fault fault{.step = TC::disk::EStep::Rename, .times = ALL_CALLS, .error = EIO};
        TC::disk::fail(fault);
        m_invariants.diskFails();
        fault.times = 2;  // so many does this one meet, and a scenario cannot take faults away
        m_scenario.disk(fault);
    }
    m_model.deal(report, heard);
    m_scenario.deal(report, announced);
    if (heard) m_services.tells(report.of, true);
    m_pClient->tell(report, announced);
    rest();
    m_services.told();
    if (save && lives()) failInSave(*save);
    if (!lives()) return;
    m_invariants.lookAtFigures(manager(), {report.of.account, report.of.strategy});
    m_invariants.lookAtHistory(manager());
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
    noteHistory(true);  // an account may have been loaded by a timer of the library
    if (!m_options.guard || !lives() || !m_bDirty) return false;
    m_bDirty = false;
    m_invariants.look(manager());
    return false;
}

// Stops at each moment at which the library or the world has something to do: what the one does
// may give the other an earlier moment.
void CDay::passTo(std::int64_t micros) {
    while (m_outcome.violations.empty()) {
        seeCrash();
        if (m_bDead) bury();
        const auto next = m_agenda.next();
        const auto timer = m_loop.waits()->next();
        const std::int64_t moment =
            std::min({micros, next.value_or(micros), timer.value_or(micros)});
        m_loop.advanceTo(std::max(moment, now()));
        seeCrash();
        if (m_bDead) continue;
        if (next && *next <= now()) {
            m_agenda.take()();
            rest();
        } else if (now() >= micros) {
            break;
        }
    }
    seeCrash();
    if (m_bDead) bury();
}

// ----------------------------------------------------------------------------- day

// What nobody catches ends the day, not the run.
Outcome CDay::play() {
    try {
        playAll();
    } catch (const std::exception& fault) {
        violate(fmt::format("an exception ends the day: {}", fault.what()));
    } catch (...) {
        violate("an exception ends the day");
    }
    m_outcome.endings = m_invariants.endings();
    m_outcome.uncertain = m_services.wasUncertain();
    m_scenario.finish();
    m_outcome.scenario = m_scenario.text();
    return std::move(m_outcome);
}

void CDay::playAll() {
    CTrader trader(*this);
    const std::int64_t start = now();
    up();
    rest();
    for (const Step& step : m_plan.steps) {
        m_agenda.at(start + step.at, [&trader, &step] { trader.carryOut(step); });
    }
    passTo(start + (m_plan.steps.empty() ? 0 : m_plan.steps.back().at) + 30 * SECOND);
    calmDown();
    if (m_options.guard && m_outcome.violations.empty()) {
        // The accounts as a whole are held to the end; most days leave it at that, for speed.
        if (m_plan.seed % DAYS_WITH_STRATEGIES == 0) askAll(false);
        askAll(true);
    }
    if (m_outcome.violations.empty()) checkEnd();
}

}  // namespace lab
