#include "replay/stepthreads.h"

#include <algorithm>

namespace replay {

namespace {

thread_local CStepThreads::CRun* t_run = nullptr;

}  // namespace

class CStepThreads::CRun {
public:
    explicit CRun(std::function<void()> work) : m_work(std::move(work)) {}

    // on its thread
    void run() {
        t_run = this;
        await(ETurn::Own);
        m_work();
        m_work = nullptr;
        t_run = nullptr;
        hand(ETurn::Done);
    }
    void pause() {
        hand(ETurn::Owner);
        await(ETurn::Own);
    }

    // on the owner's
    void letRun() {
        hand(ETurn::Own);
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_turn != ETurn::Own; });
    }
    bool isDone() const {
        const std::lock_guard lock(m_mutex);
        return m_turn == ETurn::Done;
    }

private:
    enum class ETurn { Owner, Own, Done };

    void hand(ETurn turn) {
        {
            const std::lock_guard lock(m_mutex);
            m_turn = turn;
        }
        m_changed.notify_all();
    }
    void await(ETurn turn) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_turn == turn; });
    }

    std::function<void()> m_work;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    ETurn m_turn = ETurn::Owner;
};

/// A thread, and what it runs now. It waits for the next work when that is done.
struct CStepThreads::Worker {
    Worker() : thread([this] { serve(); }) {}
    ~Worker() {
        {
            const std::lock_guard lock(mutex);
            stop = true;
        }
        changed.notify_all();
        thread.join();
    }

    void give(std::shared_ptr<CRun> work) {
        {
            const std::lock_guard lock(mutex);
            run = std::move(work);
        }
        changed.notify_all();
    }

    bool isFree() {
        const std::lock_guard lock(mutex);
        return run == nullptr;
    }

    void serve() {
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [&] { return stop || run; });
            if (!run) return;
            const std::shared_ptr<CRun> work = run;
            lock.unlock();
            work->run();
            lock.lock();
            run = nullptr;
        }
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::shared_ptr<CRun> run;
    bool stop = false;
    std::thread thread;
};

CStepThreads::CStepThreads() = default;
CStepThreads::~CStepThreads() = default;

std::shared_ptr<CStepThreads::CRun> CStepThreads::start(std::function<void()> work) {
    auto run = std::make_shared<CRun>(std::move(work));
    auto free = std::find_if(m_workers.begin(), m_workers.end(),
                             [](const auto& worker) { return worker->isFree(); });
    if (free == m_workers.end()) {
        m_workers.push_back(std::make_unique<Worker>());
        free = m_workers.end() - 1;
    }
    (*free)->give(run);
    run->letRun();
    return run;
}

void CStepThreads::letRun(CRun& run) { run.letRun(); }
bool CStepThreads::isDone(const CRun& run) { return run.isDone(); }
void CStepThreads::pause() {
    if (t_run) t_run->pause();
}

}  // namespace replay
