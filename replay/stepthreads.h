#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace replay {

/// Threads that run one at a time: whoever is let run goes on until it pauses or is done, and only
/// then does the caller.
///
/// Threads: letRun() on the owner's thread, pause() on the thread that was let run.
class CStepThreads {
public:
    /// Something that runs on a thread of its own.
    class CRun;

    CStepThreads();
    /// Waits for all threads; none may be paused any more.
    ~CStepThreads();
    CStepThreads(const CStepThreads&) = delete;
    CStepThreads& operator=(const CStepThreads&) = delete;

    /// Runs `work` until it pauses or is done.
    std::shared_ptr<CRun> start(std::function<void()> work);
    /// Lets it go on until it pauses again or is done.
    void letRun(CRun& run);
    static bool isDone(const CRun& run);
    /// Called by the work: gives the run back to the owner, until it is let run again.
    static void pause();

private:
    struct Worker;

    std::vector<std::unique_ptr<Worker>> m_workers;
};

}  // namespace replay
