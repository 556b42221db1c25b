#pragma once

#include <mutex>

/// The manager's lock, written so that clang's -Wthread-safety can check who holds it.
#if defined(__clang__)
#define LINKAGE_TS(x) __attribute__((x))
#else
#define LINKAGE_TS(x)
#endif
#define LINKAGE_GUARDED_BY(x) LINKAGE_TS(guarded_by(x))
#define LINKAGE_REQUIRES(...) LINKAGE_TS(requires_capability(__VA_ARGS__))

namespace TC {

class LINKAGE_TS(capability("mutex")) CRecursiveMutex {
public:
    void lock() LINKAGE_TS(acquire_capability()) { m_mutex.lock(); }
    void unlock() LINKAGE_TS(release_capability()) { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

/// Holds the lock for a scope; unlock() and relock() leave a gap in it.
class LINKAGE_TS(scoped_lockable) CLock {
public:
    explicit CLock(CRecursiveMutex& mutex) LINKAGE_TS(acquire_capability(mutex))
        : m_pMutex(&mutex) {
        m_pMutex->lock();
    }
    ~CLock() LINKAGE_TS(release_capability()) {
        if (m_bHeld) m_pMutex->unlock();
    }
    void unlock() LINKAGE_TS(release_capability()) {
        m_bHeld = false;
        m_pMutex->unlock();
    }
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
