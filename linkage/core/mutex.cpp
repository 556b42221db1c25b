#include "linkage/core/mutex.h"

namespace TC {

// Kept out of the header: clients compile that in C++17, which has no waiting on atomics.

void CRecursiveMutex::lockWaiting() {
    m_nWaiting.fetch_add(1);
    m_mutex.lock();
    m_nWaiting.fetch_sub(1);
    m_nPassed.fetch_add(1);
    m_nPassed.notify_all();
}

void CRecursiveMutex::giveWay() {
    const unsigned passed = m_nPassed.load();
    if (m_nWaiting.load() == 0) return;
    if (m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id()) return;
    m_nPassed.wait(passed);
}

}  // namespace TC
