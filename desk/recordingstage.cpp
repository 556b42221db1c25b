#include "desk/daywitness.h"
#include "desk/faulttexts.h"
#include "desk/pricetape.h"
#include "desk/scriptedasking.h"
#include "desk/stage.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/services/connections.h"
#include "replay/linereader.h"
#include "replay/recordingplayer.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace desk {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// How long the stage may keep the engine from its jobs and pictures.
constexpr auto LONGEST_PLAY = std::chrono::milliseconds(10);
/// Client time between two looks at how far balances have come.
constexpr std::int64_t LOOK_MICROS = 2'000'000;

class CRecordingStage final : public IStage, private replay::IRecordingWatcher {
public:
    CRecordingStage(const QString& recording, std::string haltAt, CPriceTape& tape,
                    CDayWitness& witness)
        : m_tape(tape),
          m_witness(witness),
          m_strPath(recording.toStdString()),
          m_haltAt(std::move(haltAt)),
          m_player(m_strPath, {.passesDifferences = true, .watcher = this}) {
        setHalt();
        look();
    }

    ~CRecordingStage() override {
        m_tape.letGo();
        m_witness.arrivals.letGo();
    }

    bool isRecording() const override { return true; }
    bool canBePaced() const override { return true; }
    double progress() const override { return ended() ? 1.0 : m_player.progress(); }
    bool ended() const override { return m_player.isOver(); }
    bool breaksOff() const override { return ended() && m_player.verdict().breaksOff; }
    bool halted() const override { return m_bHalted; }
    void goOn() override {
        m_haltMicros.reset();
        m_bHalted = false;
    }
    std::string fault() const override {
        const std::string& fault = m_player.verdict().fault;  // "FILE:LINE: what is wrong"
        const std::size_t what = fault.find(": ", std::min(m_strPath.size(), fault.size()));
        if (what == std::string::npos) return fault;
        return fault.substr(0, what + 2) + faultText(fault.substr(what + 2).c_str());
    }

    void step(std::int64_t micros) override {
        if (micros == 0 || ended()) return;
        const std::int64_t now = m_player.nowMicros();
        std::int64_t until = micros > NEVER - now ? NEVER : now + micros;
        if (m_haltMicros) until = std::min(until, *m_haltMicros);
        playUntil(until);
        m_bHalted = m_haltMicros && m_player.nextMicros() > *m_haltMicros &&
                    m_player.nowMicros() >= *m_haltMicros;
        look();
    }

private:
    void playUntil(std::int64_t until) {
        const auto deadline = SteadyClock::now() + LONGEST_PLAY;
        while (m_player.nextMicros() <= until && !ended()) {
            if (SteadyClock::now() >= deadline || isHurried()) return;
            m_player.playNext();
            if (m_player.nowMicros() >= m_nLookedAt + LOOK_MICROS) look();
        }
        // At the end of the recording time stands still.
        if (!ended()) m_player.playUntil(until);
    }

    /// What nobody tells by itself.
    void look() {
        m_nLookedAt = m_player.nowMicros();
        if (m_player.manager()) m_witness.balances.settle(*m_player.manager());
        const replay::RecordingVerdict& verdict = m_player.verdict();
        if (!verdict.difference || std::exchange(m_bDiffers, true)) return;
        m_witness.notes.add({.time = clockText(),
                             .kind = EEvent::RecordingDiffers,
                             .detail = verdict.difference->at,
                             .number = static_cast<int>(verdict.difference->line)});
    }

    void setHalt() {
        if (m_haltAt.empty()) return;
        const std::string day = replay::todayText(m_player.nowMicros());
        m_haltMicros = replay::parseMoment(fmt::format(
            "{}-{}-{} {}:00", day.substr(0, 4), day.substr(4, 2), day.substr(6, 2), m_haltAt));
    }

    // ----------------------------------------------------------- what the player tells

    void clientIsThere(paper::CPaperClient& /*client*/, int /*clientType*/) override {
        m_witness.clientIsThere();
    }
    void stockIsThere(const std::string& stock) override { m_tape.follow(stock); }
    void managerIsThere(TC::CLinkageManager& manager) override {
        m_witness.balances.follow(manager);
    }
    void before(const replay::RecordedStep& step) override {
        if (balanceDelay(step.op)) m_witness.balances.settle(*m_player.manager());
        if (step.kind != "login") return;
        m_witness.notes.add({.time = clockText(),
                             .kind = EEvent::Connection,
                             .number = step.ok ? TC::PROXY_LOGIN_SUCCESS : TC::PROXY_LOGIN_FAILED});
    }
    void takes(const replay::RecordedStep& step, const std::function<void()>& work) override {
        const bool byTime = step.asker == static_cast<int>(TC::EBalanceAsker::Schedule);
        const EAskedBy timed =
            step.strategy.empty() ? EAskedBy::AccountTime : EAskedBy::StrategyTime;
        const CScriptedAsking asking(m_witness.balances, step.op, {step.account, step.strategy},
                                     byTime ? timed : EAskedBy::Recording);
        work();
    }
    paper::IClientObserver* requests() override { return &m_witness.balances; }

    CPriceTape& m_tape;
    CDayWitness& m_witness;
    const std::string m_strPath;
    const std::string m_haltAt;
    std::optional<std::int64_t> m_haltMicros;
    std::int64_t m_nLookedAt = 0;
    bool m_bHalted = false;
    bool m_bDiffers = false;            ///< and it was told
    replay::CRecordingPlayer m_player;  ///< the last: it tells of the client while it is made
};

}  // namespace

std::unique_ptr<IStage> makeRecordingStage(const QString& recording, const std::string& haltAt,
                                           CPriceTape& tape, CDayWitness& witness) {
    try {
        return std::make_unique<CRecordingStage>(recording, haltAt, tape, witness);
    } catch (const replay::InputError& fault) {
        throw StageError(fmt::format("{}: {}", recording.toStdString(), faultText(fault.what())));
    }
}

}  // namespace desk
