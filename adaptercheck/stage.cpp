#include "adaptercheck/stage.h"

#include <future>
#include <utility>

namespace adaptercheck {

namespace {
/// How often an adapter that moves by itself is asked whether it has.
constexpr std::chrono::milliseconds LOOK{20};
}  // namespace

CStage::CStage(const Factory& factory, Seconds patience, std::function<void()> beat)
    : m_patience(patience), m_beat(std::move(beat)), m_pAdapter(factory()) {
    m_beat();
    m_pAdapter->install();
    m_bInstalled = true;
    m_facts = m_pAdapter->facts();
}

CStage::~CStage() {
    try {
        remove();
        m_pAdapter.reset();
    } catch (...) {
        // The case has its result already; runCase() looks at what remove() throws.
    }
    endThreads();
}

void CStage::remove() {
    if (!std::exchange(m_bInstalled, false)) return;
    m_beat();
    endThreads();
    m_pAdapter->remove();
}

// Without the lock: what they run may blame.
void CStage::endThreads() {
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(m_mutex);
        threads.swap(m_threads);
    }
    for (std::thread& thread : threads) thread.join();
}

bool CStage::await(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + m_patience;
    for (;;) {
        m_beat();
        const bool rest = m_pAdapter->settle();
        if (holds()) return true;
        if (rest || std::chrono::steady_clock::now() >= end) return false;
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, LOOK);
    }
}

void CStage::settle() {
    await([looks = 0]() mutable { return ++looks > 10; });
}

void CStage::call(const std::function<void()>& work) {
    m_beat();
    const std::lock_guard lock(m_callersLock);
    struct InCall {
        explicit InCall(std::atomic<bool>& flag) : m_flag(flag) { m_flag = true; }
        ~InCall() { m_flag = false; }
        std::atomic<bool>& m_flag;
    } const inCall(m_bInCall);
    work();
}

Heard CStage::heard() {
    Heard heard;
    heard.another = std::this_thread::get_id() != m_caller;
    if (!heard.another) {
        heard.inside = m_bInCall;
        return heard;
    }
    std::unique_lock lock(m_callersLock, std::defer_lock);
    heard.waited = !lock.try_lock_for(m_patience);
    return heard;
}

bool CStage::answersElsewhere(std::function<void()> work) {
    const auto done = std::make_shared<std::promise<void>>();
    std::future<void> answer = done->get_future();
    std::thread thread([this, work = std::move(work), done] {
        try {
            work();
        } catch (...) {
            blame("a service threw while a callback ran");
        }
        done->set_value();
    });
    {
        const std::lock_guard lock(m_mutex);
        m_threads.push_back(std::move(thread));
    }
    return answer.wait_for(m_patience) == std::future_status::ready;
}

void CStage::blame(const std::string& why) {
    const std::lock_guard lock(m_mutex);
    if (m_strBlame.empty()) m_strBlame = why;
    m_changed.notify_all();
}

void CStage::changed() {
    const std::lock_guard lock(m_mutex);
    m_changed.notify_all();
}

void CStage::judge() {
    const std::lock_guard lock(m_mutex);
    if (!m_strBlame.empty()) throw Failed{m_strBlame};
}

}  // namespace adaptercheck
