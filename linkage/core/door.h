#pragma once

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace TC {

/// What stands between the manager and everything asynchronous. Handlers, timers and
/// callbacks hold the door, not the manager: they pass it while the manager lives and
/// find it closed afterwards.
///
/// Threads: any.
class CDoor {
public:
    /// One pass through the door; converts to false when it is closed.
    class Visit {
    public:
        explicit Visit(boost::shared_ptr<CDoor> door) {
            if (door && door->enter()) m_pDoor = std::move(door);
        }
        ~Visit() {
            if (m_pDoor) m_pDoor->leave();
        }
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        explicit operator bool() const { return m_pDoor != nullptr; }

    private:
        boost::shared_ptr<CDoor> m_pDoor;
    };

    /// Lets nobody in any more and waits until all inside have left. When the caller itself is
    /// inside, it does not wait: `keep` then lives until the last one has left.
    void close(boost::shared_ptr<void> keep);

    /// Handlers that work through a list ask this before each item, and stop when it is true.
    bool isClosed() const { return m_bClosed.load(std::memory_order_relaxed); }

private:
    bool enter();
    void leave();

    struct Guest {
        std::thread::id thread;
        int depth;
    };

    std::mutex m_mutex;
    std::condition_variable m_empty;
    std::vector<Guest> m_guests;
    std::atomic<bool> m_bClosed{false};
    boost::shared_ptr<void> m_pKeep;
};

}  // namespace TC
