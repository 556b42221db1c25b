#include "linkage/core/mutex.h"

namespace TC {

// Kept out of the header: clients compile that in C++17, which has no waiting on atomics.

void CRecursiveMutex::lockWaiting() {
    const bool first = m_first.load(std::memory_order_relaxed) == std::this_thread::get_id();
    m_nWaiting.fetch_add(1);
    const unsigned turns = m_nTurns.load();
    if (first) {
        m_bFirstWaits.store(true);
    } else if (m_bFirstWaits.load()) {
        m_nTurns.wait(turns);
    }
    m_mutex.lock();
    if (first) {
        m_bFirstWaits.store(false);
        m_nTurns.fetch_add(1);
        m_nTurns.notify_all();
    }
    m_nWaiting.fetch_sub(1);
    m_nPassed.fetch_add(1);
    m_nPassed.notify_all();
}

void CRecursiveMutex::giveWay() {
    const unsigned passed = m_nPassed.load();
    if (m_nWaiting.load() == 0 || isOwner()) return;
    m_nPassed.wait(passed);
}

}  // namespace TC
