#include "desk/engine.h"

#include "desk/faulttexts.h"
#include "desk/picturetaker.h"
#include "replay/recordingplayer.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>
#include <chrono>
#include <utility>

namespace desk {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto TICK = 10ms;
constexpr auto PICTURE_EVERY = 100ms;
/// A picture may cost a tenth of the engine's time, not more.
constexpr int PICTURE_SHARE = 10;
constexpr double FASTEST_AT_THE_END = 10.0;

double seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

}  // namespace

CEngine::CEngine(EngineOptions options)
    : m_options(std::move(options)),
      m_bRecording(replay::isRecording(m_options.scenario.toStdString())),
      m_dSpeed(m_options.speed),
      m_bPaused(m_options.paused) {}

CEngine::~CEngine() {
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

void CEngine::start() {
    m_thread = std::thread([this] { run(); });
}

void CEngine::post(Job job) {
    {
        const std::lock_guard lock(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    m_wake.notify_all();
}

void CEngine::answer(Job answer) {
    {
        const std::lock_guard lock(m_mutex);
        m_answers.push_back(std::move(answer));
    }
    ring();
}

void CEngine::select(const Selection& selection) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_selection == selection) return;
        m_selection = selection;
        m_bSelectionNew = true;
    }
    m_wake.notify_all();
}

void CEngine::setSpeed(double speed) { m_dSpeed = speed; }

void CEngine::setPaused(bool paused) { m_bPaused = paused; }

std::shared_ptr<const Picture> CEngine::collect() {
    std::vector<Job> answers;
    std::shared_ptr<const Picture> picture;
    {
        const std::lock_guard lock(m_mutex);
        m_bRung = false;
        answers.swap(m_answers);
        picture.swap(m_pPicture);
    }
    for (const Job& answer : answers) answer();
    return picture;
}

QString CEngine::stageFault() const {
    const std::lock_guard lock(m_mutex);
    return m_strStageFault;
}

void CEngine::ring() {
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_bRung, true)) return;
    }
    Q_EMIT sigNews();
}

void CEngine::runJobs() {
    std::vector<Job> jobs;
    {
        const std::lock_guard lock(m_mutex);
        jobs.swap(m_jobs);
    }
    for (const Job& job : jobs) job();
}

void CEngine::takePicture(CPictureTaker& taker, const IStage& stage) {
    auto picture = std::make_shared<Picture>();
    {
        const std::lock_guard lock(m_mutex);
        picture->selection = m_selection;
        m_bSelectionNew = false;
    }
    picture->time = clockText();
    picture->minute = clockMinute();
    picture->progress = stage.progress();
    picture->paced = m_dSpeed != UNPACED;
    picture->recorded = stage.isRecording();
    picture->ended = stage.ended();
    picture->breaksOff = stage.breaksOff();
    picture->halted = stage.halted();
    picture->fault = stage.fault();
    taker.take(*picture);
    {
        const std::lock_guard lock(m_mutex);
        m_pPicture = std::move(picture);
    }
    ring();
}

void CEngine::step(IStage& stage, double elapsed) {
    const double speed = m_dSpeed;
    if (stage.halted() && speed != UNPACED) {
        if (!std::exchange(m_bHaltSeen, true)) m_bPaused = true;
        if (!m_bPaused) stage.goOn();
    }
    // While paused, and after the end of an unpaced recording, no time passes: only the work
    // that jobs have queued is done.
    if (m_bPaused || (stage.ended() && speed == UNPACED)) return stage.step(0);
    if (speed == UNPACED) return stage.step(IStage::NEVER);
    const double pace = stage.ended() ? std::min(FASTEST_AT_THE_END, speed) : speed;
    stage.step(static_cast<std::int64_t>(elapsed * pace * 1e6));
}

std::unique_ptr<IStage> CEngine::makeStage(CPriceTape& tape) {
    if (m_options.scenario.isEmpty())
        return makeLiveStage(m_options.dataDir, tape, m_witness, m_recorder);
    if (m_bRecording)
        return makeRecordingStage(m_options.scenario, m_options.haltAt, tape, m_witness);
    return makeScenarioStage(m_options.scenario, m_options.dataDir, m_options.haltAt, tape,
                             m_witness, m_recorder);
}

void CEngine::fail(const QString& fault) {
    {
        const std::lock_guard lock(m_mutex);
        m_strStageFault = fault;
    }
    ring();
}

/// An exception on this thread ends the run, not the program: the window still shows the last
/// picture and the reason.
void CEngine::run() {
    try {
        play();
    } catch (const StageError& fault) {
        fail(QString::fromUtf8(fault.what()));
    } catch (const std::exception& fault) {
        fail(tr("The run was stopped by a fault: %1")
                 .arg(faultText(QString::fromUtf8(fault.what()))));
    } catch (...) {
        fail(tr("The run was stopped by a fault: %1").arg("?"));
    }
}

void CEngine::play() {
    // What is posted to this thread is delivered below; the library looks for a loop at its start.
    const QEventLoop loop;
    CPriceTape tape;
    m_recorder.setTerms(m_options.record);
    const std::unique_ptr<IStage> stage = makeStage(tape);
    stage->heed(m_bSelectionNew);
    CPictureTaker taker(tape, m_witness);
    Clock::time_point last = Clock::now();
    Clock::time_point nextPicture = last;
    while (!m_bStop) {
        runJobs();
        const Clock::time_point now = Clock::now();
        step(*stage, seconds(now - std::exchange(last, now)));
        QCoreApplication::sendPostedEvents();  // the manager's slots, called from other threads

        const Clock::time_point before = Clock::now();
        if (before >= nextPicture || m_bSelectionNew) {
            takePicture(taker, *stage);
            const auto cost = Clock::now() - before;
            nextPicture = before + std::max<Clock::duration>(PICTURE_EVERY, cost * PICTURE_SHARE);
        }
        std::unique_lock lock(m_mutex);
        m_wake.wait_until(lock, now + TICK,
                          [this] { return m_bStop || !m_jobs.empty() || m_bSelectionNew; });
    }
}

}  // namespace desk
