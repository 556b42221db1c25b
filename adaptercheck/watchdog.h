#pragma once

#include "adaptercheck/stage.h"

namespace adaptercheck {

/// Sees when a case does not go on any more. Threads: any.
class CWatchdog {
public:
    /// Calls `blocked` on a thread of its own when nothing has beaten for so long.
    CWatchdog(Seconds limit, std::function<void()> blocked)
        : m_limit(limit), m_blocked(std::move(blocked)), m_thread([this] { watch(); }) {}
    ~CWatchdog() { stop(); }
    CWatchdog(const CWatchdog&) = delete;
    CWatchdog& operator=(const CWatchdog&) = delete;

    void beat() {
        const std::lock_guard lock(m_mutex);
        ++m_nBeats;
        m_changed.notify_all();
    }

    /// After it returns `blocked` is not called any more.
    void stop() {
        {
            const std::lock_guard lock(m_mutex);
            m_bStopped = true;
            m_changed.notify_all();
        }
        if (m_thread.joinable()) m_thread.join();
    }

private:
    void watch() {
        std::unique_lock lock(m_mutex);
        while (!m_bStopped) {
            const auto seen = m_nBeats;
            const auto goesOn = [&] { return m_bStopped || m_nBeats != seen; };
            if (m_changed.wait_for(lock, m_limit, goesOn)) continue;
            m_blocked();
            return;
        }
    }

    const Seconds m_limit;
    const std::function<void()> m_blocked;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned long m_nBeats = 0;
    bool m_bStopped = false;
    std::thread m_thread;
};

}  // namespace adaptercheck
