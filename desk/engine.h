#pragma once

#include "desk/daywitness.h"
#include "desk/picture.h"
#include "desk/recorder.h"
#include "desk/stage.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace desk {

/// At this speed a recording is played as fast as possible, and time stops at its end.
constexpr double UNPACED = 1e9;

struct EngineOptions {
    QString scenario;  ///< or a recording; empty: the built-in market, live
    QString dataDir;   ///< not of a recording, which brings its own files
    double speed = 1.0;
    bool paused = false;
    /// Time of day "hh:mm" at which a recording pauses; an unpaced recording goes no further.
    std::string haltAt;
    RecordTerms record{};
};

/// Runs the library and its client on a thread of its own and hands pictures of them to
/// the window.
///
/// The window never calls the library: it posts jobs, which run between two steps of the stage,
/// and finds their answers and the newest picture in a mailbox. So the window stays responsive
/// however busy the intake is.
///
/// Threads: public operations from the window's; jobs run on the engine's, answers on
/// the window's, inside collect().
class CEngine : public QObject {
    Q_OBJECT

public:
    using Job = std::function<void()>;

    explicit CEngine(EngineOptions options);
    /// Takes the manager and the client down; waits for the running job.
    ~CEngine() override;

    /// Starts the thread; sigNews must be connected (queued) by then.
    void start();

    void post(Job job);
    /// From inside a job: runs `answer` on the window's thread.
    void answer(Job answer);

    void select(const Selection& selection);
    /// For jobs: what the desk hears itself of the day.
    CDayWitness& witness() { return m_witness; }
    /// For jobs: records sessions.
    CRecorder& recorder() { return m_recorder; }
    /// How sessions are recorded at the start.
    const RecordTerms& recordTerms() const { return m_options.record; }

    void setSpeed(double speed);
    void setPaused(bool paused);
    /// Whether a recording is played, which shows what was.
    bool isRecording() const { return m_bRecording; }
    bool canBePaced() const { return !m_options.scenario.isEmpty(); }
    double speed() const { return m_dSpeed; }
    bool paused() const { return m_bPaused; }

    /// Runs the answers that have come and returns the newest picture, empty when there
    /// is no new one.
    std::shared_ptr<const Picture> collect();

    /// Why nothing plays any more, or never did; empty while all is well. The library
    /// and its client are gone then, and jobs are not run.
    QString stageFault() const;

Q_SIGNALS:
    /// Something is in the mailbox. Raised once, and not again before collect().
    void sigNews();

private:
    void run();
    void play();
    void fail(const QString& fault);
    std::unique_ptr<IStage> makeStage(class CPriceTape& tape);
    void runJobs();
    void takePicture(class CPictureTaker& taker, const IStage& stage);
    void ring();
    void step(IStage& stage, double elapsed);

    const EngineOptions m_options;
    const bool m_bRecording;
    CDayWitness m_witness;            ///< the engine's thread
    CRecorder m_recorder{m_witness};  ///< likewise
    std::atomic<double> m_dSpeed;
    std::atomic<bool> m_bPaused;
    std::atomic<bool> m_bStop{false};
    bool m_bHaltSeen = false;  ///< the engine's thread

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<Job> m_jobs;
    std::vector<Job> m_answers;
    std::shared_ptr<const Picture> m_pPicture;
    Selection m_selection;
    std::atomic<bool> m_bSelectionNew{false};  ///< the user waits for another picture
    bool m_bRung = false;
    QString m_strStageFault;

    std::thread m_thread;
};

}  // namespace desk
