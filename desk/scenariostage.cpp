#include "desk/daywitness.h"
#include "desk/faulttexts.h"
#include "desk/picturetaker.h"
#include "desk/pricetape.h"
#include "desk/recorder.h"
#include "desk/scriptedasking.h"
#include "desk/stage.h"
#include "linkage/core/clinkagemanager.h"
#include "replay/eventparser.h"
#include "replay/linereader.h"
#include "replay/output.h"
#include "replay/session.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <optional>

namespace desk {

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

using Clock = std::chrono::steady_clock;

/// How long a step may keep the engine from its jobs and pictures.
constexpr auto LONGEST_STEP = std::chrono::milliseconds(10);
/// Moves of the clock between two looks at how long the step has taken.
constexpr std::int64_t STRIDE_MICROS = 2'000'000;

class CScenarioStage final : public IStage {
public:
    CScenarioStage(const QString& scenario, const QString& dataDir, std::string haltAt,
                   CPriceTape& tape, CDayWitness& witness, CRecorder& recorder)
        : m_tape(tape),
          m_witness(witness),
          m_scenario(scenario.toStdString()),
          m_haltAt(std::move(haltAt)),
          m_reader(m_scenario),
          m_output([](std::string_view) {}),
          m_session({.dataDir = dataDir,
                     .log = false,
                     .requests = &witness.balances,
                     .managerMade =
                         [&recorder](TC::CLinkageManager& made) { recorder.sessionBegins(made); }},
                    m_output) {}

    ~CScenarioStage() override {
        m_tape.letGo();
        m_witness.arrivals.letGo();
    }

    bool canBePaced() const override { return true; }
    double progress() const override { return m_bEnded ? 1.0 : m_reader.progress(); }
    bool ended() const override { return m_bEnded; }
    bool halted() const override { return m_bHalted; }
    void goOn() override {
        m_haltMicros.reset();
        m_bHalted = false;
    }
    std::string fault() const override { return m_fault; }

    void step(std::int64_t micros) override {
        const auto deadline = Clock::now() + LONGEST_STEP;
        // The first lines set up the client; they take no time of their own.
        while (!m_session.started() && !m_bEnded) playLine();
        if (!m_session.started()) return;
        if (micros == 0) return m_session.loop().runToRest();  // what jobs have queued
        const std::int64_t now = m_session.loop().nowMicros();
        std::int64_t until = micros > NEVER - now ? NEVER : now + micros;
        if (m_haltMicros) until = std::min(until, *m_haltMicros);
        playUntil(until, deadline);
        m_session.loop().runToRest();  // what was reported is taken in before it is shown
        // Events at the moment of the halt are still played before it.
        m_bHalted =
            m_haltMicros && m_session.loop().nowMicros() >= *m_haltMicros && (m_target || m_bEnded);
    }

private:
    void playUntil(std::int64_t until, Clock::time_point deadline) {
        const bool wasEnded = m_bEnded;
        m_session.loop().runToRest();
        while (Clock::now() < deadline && !isHurried()) {
            const std::int64_t now = m_session.loop().nowMicros();
            if (m_target && now >= *m_target) m_target.reset();
            if (!m_target && !m_bEnded) {
                if (m_bHalted) return;
                playLine();
                continue;
            }
            // At the end of the recording the step ends too; the rest of its time is not
            // played.
            if (now >= until || m_bEnded != wasEnded) return;
            std::int64_t next = std::min(until, now + STRIDE_MICROS);
            if (m_target) next = std::min(next, *m_target);
            m_session.advanceTo(next);
            if (Manager::exists()) m_witness.balances.settle(*Manager::instance());
            m_tape.giveBars(m_session.client());
        }
    }

    void playLine() {
        try {
            std::string_view line;
            if (!m_reader.next(line)) {
                m_bEnded = true;
                return;
            }
            const replay::Event event = m_parser.parse(line);
            if (const auto* advance = std::get_if<replay::AdvanceEvent>(&event);
                advance && m_session.started()) {
                m_target = m_session.player().target(*advance);
                return;
            }
            const bool first = !m_session.started();
            if (const auto* price = std::get_if<replay::PriceEvent>(&event); price && !first)
                m_tape.follow(price->stockKey);
            if (const auto* bars = std::get_if<replay::BarsEvent>(&event);
                bars && !bars->bars.empty())
                m_tape.leaveBars(bars->stockKey, bars->bars.back().m_nMinute);
            play(event);
            if (const auto* held = std::get_if<replay::PositionEvent>(&event); held && !held->push)
                m_witness.arrivals.notePosition(held->account, held->position);
            if (first) {
                setHalt();
                m_witness.clientIsThere();
            }
            followManager();
        } catch (const replay::LineError& fault) {
            fail(fault);
        } catch (const replay::InputError& fault) {
            fail(fault);
        }
    }

    /// Balances that a line asks for, and cancellations, are the scenario's.
    void play(const replay::Event& event) {
        const auto* call = std::get_if<replay::CallEvent>(&event);
        std::string_view account;
        std::string_view strategy;
        const bool isPair = call && call->args && !call->args->at(0).get(account) &&
                            !call->args->at(1).get(strategy);
        if (isPair && Manager::exists() && balanceDelay(call->op))
            m_witness.balances.settle(*Manager::instance());
        std::optional<CScriptedAsking> asking;
        const bool asks = call && (isPair || !balanceDelay(call->op));
        if (asks && Manager::exists())
            asking.emplace(m_witness.balances, call->op,
                           replay::PairKey(std::string(account), std::string(strategy)),
                           EAskedBy::Recording);
        m_session.play(event);
    }

    /// The curves begin with the manager and not with the first picture, because the time of
    /// that picture depends on the machine's speed.
    void followManager() {
        const bool exists = Manager::exists();
        if (exists && !m_bFollowed) startCurves(*Manager::instance());
        if (exists)
            m_witness.balances.follow(*Manager::instance());
        else if (m_bFollowed)
            m_witness.balances.managerGone();
        m_bFollowed = exists;
    }

    void fail(const std::exception& fault) {
        m_bEnded = true;
        m_fault = fmt::format("{}:{}: {}", m_scenario, m_reader.number(), faultText(fault.what()));
    }

    void setHalt() {
        if (m_haltAt.empty()) return;
        const std::string day = replay::todayText(m_session.loop().nowMicros());
        const std::string moment = day.substr(0, 4) + "-" + day.substr(4, 2) + "-" +
                                   day.substr(6, 2) + " " + m_haltAt + ":00";
        m_haltMicros = replay::parseMoment(moment);
    }

    CPriceTape& m_tape;
    CDayWitness& m_witness;
    const std::string m_scenario;
    const std::string m_haltAt;
    replay::CLineReader m_reader;
    replay::CEventParser m_parser;
    replay::COutput m_output;
    replay::CSession m_session;
    std::optional<std::int64_t> m_target;  ///< where the advance that is being played ends
    std::optional<std::int64_t> m_haltMicros;
    bool m_bHalted = false;
    bool m_bFollowed = false;
    bool m_bEnded = false;
    std::string m_fault;
};

}  // namespace

std::unique_ptr<IStage> makeScenarioStage(const QString& scenario, const QString& dataDir,
                                          const std::string& haltAt, CPriceTape& tape,
                                          CDayWitness& witness, CRecorder& recorder) {
    try {
        return std::make_unique<CScenarioStage>(scenario, dataDir, haltAt, tape, witness, recorder);
    } catch (const replay::InputError& fault) {
        throw StageError(fmt::format("{}: {}", scenario.toStdString(), faultText(fault.what())));
    }
}

}  // namespace desk
