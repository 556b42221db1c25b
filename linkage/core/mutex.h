#pragma once

#include <atomic>
#include <mutex>
#include <thread>

/// @file
/// The manager's lock, written so that clang's -Wthread-safety can check who holds it.

/// An attribute of clang's -Wthread-safety; nothing with another compiler.
#if defined(__clang__)
#define LINKAGE_TS(x) __attribute__((x))
#else
#define LINKAGE_TS(x)
#endif
/// May be touched only by a thread that holds x.
#define LINKAGE_GUARDED_BY(x) LINKAGE_TS(guarded_by(x))
/// May be called only by a thread that holds all of these.
#define LINKAGE_REQUIRES(...) LINKAGE_TS(requires_capability(__VA_ARGS__))

namespace TC {

/// A recursive mutex that lets a thread in long work give way to those that wait. One thread may
/// go before the others (CPrecedence).
class LINKAGE_TS(capability("mutex")) CRecursiveMutex {
public:
    /// Waits until the lock can be had. The owner may take it again.
    void lock() LINKAGE_TS(acquire_capability()) {
        if (mustQueue() || !m_mutex.try_lock()) lockWaiting();
        noteHold();
    }
    /// Takes the lock if no other thread has it; false when one has.
    bool try_lock() LINKAGE_TS(try_acquire_capability(true)) {
        if (!m_mutex.try_lock()) return false;
        noteHold();
        return true;
    }
    /// Gives one hold back.
    void unlock() LINKAGE_TS(release_capability()) {
        if (--m_nDepth == 0) m_owner.store({}, std::memory_order_relaxed);
        m_mutex.unlock();
    }

    /// Lets a thread that waits for the lock have it. Call it between two holds of long work:
    /// a lock that is taken again at once leaves who waits no time to wake up. Does nothing
    /// while the calling thread holds the lock further out.
    void giveWay();

    /// How many threads wait for the lock. For tests.
    int waiting() const { return m_nWaiting.load(); }

    /// While it lives, its thread waits only for a hold that is under way: whoever asks later
    /// waits behind it, also who has just given the lock back. One thread at a time has it, and
    /// calls giveWay() now and then, because the others may starve.
    class CPrecedence {
    public:
        /// The lock must outlive this object.
        explicit CPrecedence(CRecursiveMutex& mutex) : m_mutex(mutex) {
            m_mutex.m_first.store(std::this_thread::get_id(), std::memory_order_relaxed);
        }
        ~CPrecedence() { m_mutex.m_first.store({}, std::memory_order_relaxed); }
        CPrecedence(const CPrecedence&) = delete;
        CPrecedence& operator=(const CPrecedence&) = delete;

    private:
        CRecursiveMutex& m_mutex;
    };

private:
    void lockWaiting();
    bool isOwner() const {
        return m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }
    /// Whether the thread that goes first waits. The owner may always take the lock again.
    bool mustQueue() const { return m_bFirstWaits.load(std::memory_order_relaxed) && !isOwner(); }
    void noteHold() {
        if (m_nDepth++ == 0) m_owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }

    std::recursive_mutex m_mutex;
    int m_nDepth = 0;  ///< of the owner
    std::atomic<std::thread::id> m_owner{};
    std::atomic<std::thread::id> m_first{};  ///< who has precedence
    std::atomic<bool> m_bFirstWaits{false};
    std::atomic<unsigned> m_nTurns{0};  ///< of those who had precedence and had to wait
    std::atomic<int> m_nWaiting{0};
    std::atomic<unsigned> m_nPassed{0};  ///< who had to wait and has the lock
};

/// Holds the lock for a scope; unlock() and relock() leave a gap in it.
class LINKAGE_TS(scoped_lockable) CLock {
public:
    /// Takes the lock, which must outlive this object.
    explicit CLock(CRecursiveMutex& mutex) LINKAGE_TS(acquire_capability(mutex))
        : m_pMutex(&mutex) {
        m_pMutex->lock();
    }
    ~CLock() LINKAGE_TS(release_capability()) {
        if (m_bHeld) m_pMutex->unlock();
    }
    /// Gives the lock back before the scope ends. Only while it is held.
    void unlock() LINKAGE_TS(release_capability()) {
        m_bHeld = false;
        m_pMutex->unlock();
    }
    /// Takes it again after unlock().
    void relock() LINKAGE_TS(acquire_capability()) {
        m_pMutex->lock();
        m_bHeld = true;
    }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

private:
    CRecursiveMutex* m_pMutex;
    bool m_bHeld = true;
};

}  // namespace TC
