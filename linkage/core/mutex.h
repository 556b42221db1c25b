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

/// Hears of a thread that takes a lock which it does not have.
class IHoldWatch {
public:
    virtual ~IHoldWatch() = default;
    virtual void wants() = 0;  ///< before the thread waits for the lock
    virtual void has() = 0;    ///< the thread has it
};

/// A recursive mutex that lets a thread in long work give way to those that wait. One thread may
/// go before the others (CPrecedence).
class LINKAGE_TS(capability("mutex")) CRecursiveMutex {
public:
    /// Waits until the lock can be had. The owner may take it again.
    void lock() LINKAGE_TS(acquire_capability()) {
        if (isMine()) {
            ++m_nDepth;
            return;
        }
        IHoldWatch* const watch = m_pWatch.load(std::memory_order_acquire);
        if (watch) watch->wants();
        if (mustQueue() || !m_mutex.try_lock()) lockWaiting();
        beginHold();
        if (watch) watch->has();
    }
    /// Takes the lock if no other thread has it; false when one has.
    bool try_lock() LINKAGE_TS(try_acquire_capability(true)) {
        if (isMine()) {
            ++m_nDepth;
            return true;
        }
        if (!m_mutex.try_lock()) return false;
        beginHold();
        return true;
    }
    /// Gives one hold back.
    void unlock() LINKAGE_TS(release_capability()) {
        if (--m_nDepth > 0) return;
        m_owner.store({}, std::memory_order_relaxed);
        m_mutex.unlock();
    }

    /// Whether the calling thread has the lock.
    bool isMine() const {
        return m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }

    /// Sets who hears of holds that begin from now on; null: nobody. It must live as long as the
    /// mutex does.
    void setWatch(IHoldWatch* watch) { m_pWatch.store(watch, std::memory_order_release); }

    /// Lets a thread that waits for the lock have it. Call it between two holds of long work:
    /// a lock that is taken again at once leaves who waits no time to wake up. Does nothing
    /// while the calling thread holds the lock further out.
    void giveWay();

    /// How many threads wait for the lock. For tests.
    int waiting() const { return m_nWaiting.load(); }

    /// While it lives, its thread goes before all others: they may have the lock only while it
    /// pauses or gives way. So its thread waits for nothing but a hold that is under way. One
    /// thread at a time has it. It must not wait for another thread but in a pause, and must give
    /// way now and then, or the others starve.
    class CPrecedence {
    public:
        /// The lock must outlive this object.
        explicit CPrecedence(CRecursiveMutex& mutex);
        ~CPrecedence();
        /// Lets others have the lock until resume(). In the pause its thread goes first only where
        /// it waits.
        void pause() { m_mutex.setAhead(false); }
        /// Goes before all others again.
        void resume() { m_mutex.setAhead(true); }
        /// As CRecursiveMutex::giveWay().
        void giveWay();
        CPrecedence(const CPrecedence&) = delete;
        CPrecedence& operator=(const CPrecedence&) = delete;

    private:
        CRecursiveMutex& m_mutex;
    };

private:
    void lockWaiting();
    void queue();
    void setAhead(bool ahead);
    bool isFirst() const {
        return m_first.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }
    /// Whether another thread goes first.
    bool mustQueue() const { return m_bAhead.load(std::memory_order_relaxed) && !isFirst(); }
    void beginHold() {
        m_nDepth = 1;
        m_owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }

    std::mutex m_mutex;
    int m_nDepth = 0;  ///< of the owner
    std::atomic<std::thread::id> m_owner{};
    std::atomic<IHoldWatch*> m_pWatch{nullptr};
    std::atomic<std::thread::id> m_first{};  ///< who has precedence
    std::atomic<bool> m_bAhead{false};       ///< who has precedence wants or uses the lock
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
