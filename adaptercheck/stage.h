#pragma once

#include "adaptercheck/adaptercheck.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace adaptercheck {

/// How long an answer may take that does not depend on the adapter's own clock.
using Seconds = std::chrono::duration<double>;

/// Ends a case. Thrown on the case's own thread only, never inside a callback.
struct Failed {
    std::string why;
};
struct Skipped {
    std::string why;
};

/// Where a callback was called from.
struct Heard {
    bool inside = false;   ///< inside the call that is under way, on its thread
    bool waited = false;   ///< the call under way did not return while the callback ran
    bool another = false;  ///< on another thread than the case's
};

/// One adapter, and what a case needs to try it.
///
/// Threads: a case runs on one thread. heard(), blame(), changed() and answersElsewhere() may be
/// called from any.
class CStage {
public:
    /// `beat` is called whenever the case goes on.
    CStage(const Factory& factory, Seconds patience, std::function<void()> beat);
    ~CStage();
    CStage(const CStage&) = delete;
    CStage& operator=(const CStage&) = delete;

    IAdapter& adapter() { return *m_pAdapter; }
    const Facts& facts() const { return m_facts; }
    std::string stockKey() const { return m_facts.market + m_facts.code; }

    /// Waits until something holds: at most as long as patience allows, and not at all when the
    /// adapter says that nothing more comes.
    bool await(const std::function<bool()>& holds);
    /// Lets come what an adapter that moves by itself brings in a moment.
    void settle();

    /// A call of a service as the library makes it: with a lock held that its callbacks take too.
    void call(const std::function<void()>& work);
    /// Every callback begins with it.
    Heard heard();
    /// Runs `work` on another thread; false when it does not come back while the caller waits.
    bool answersElsewhere(std::function<void()> work);

    /// Something wrong that a callback saw; the first one fails the case.
    void blame(const std::string& why);
    /// Something that await() may wait for has changed.
    void changed();

    /// Takes the services away, once; before that waits for what runs on other threads.
    void remove();
    /// Throws Failed when a callback saw something wrong.
    void judge();

private:
    void endThreads();

    const Seconds m_patience;
    const std::function<void()> m_beat;
    std::unique_ptr<IAdapter> m_pAdapter;
    Facts m_facts;
    bool m_bInstalled = false;

    std::timed_mutex m_callersLock;
    const std::thread::id m_caller = std::this_thread::get_id();
    std::atomic<bool> m_bInCall{false};

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_strBlame;
    std::vector<std::thread> m_threads;
};

/// Fails the case unless it holds.
inline void expect(bool holds, const std::string& why) {
    if (!holds) throw Failed{why};
}
/// Skips the case unless the adapter offers what it needs.
inline void need(bool offered, const std::string& what) {
    if (!offered) throw Skipped{"not offered: " + what};
}

}  // namespace adaptercheck
