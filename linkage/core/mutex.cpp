#include "linkage/core/mutex.h"

namespace TC {

// Kept out of the header: clients compile that in C++17, which has no waiting on atomics.

void CRecursiveMutex::lockWaiting() {
    m_nWaiting.fetch_add(1);
    if (isFirst()) {
        const bool wasAhead = m_bAhead.load(std::memory_order_relaxed);
        setAhead(true);
        m_mutex.lock();
        setAhead(wasAhead);
    } else {
        queue();
    }
    m_nWaiting.fetch_sub(1);
    m_nPassed.fetch_add(1);
    m_nPassed.notify_all();
}

// Who goes first may come while this thread waits for an earlier hold to end.
void CRecursiveMutex::queue() {
    while (true) {
        m_bAhead.wait(true);
        m_mutex.lock();
        if (!m_bAhead.load()) return;
        m_mutex.unlock();
    }
}

// Who queues counts itself as waiting before it looks, so nobody is left asleep.
void CRecursiveMutex::setAhead(bool ahead) {
    m_bAhead.store(ahead);
    if (!ahead && m_nWaiting.load() > 0) m_bAhead.notify_all();
}

void CRecursiveMutex::giveWay() {
    const unsigned passed = m_nPassed.load();
    if (m_nWaiting.load() == 0 || isMine()) return;
    m_nPassed.wait(passed);
}

CRecursiveMutex::CPrecedence::CPrecedence(CRecursiveMutex& mutex) : m_mutex(mutex) {
    m_mutex.m_first.store(std::this_thread::get_id(), std::memory_order_relaxed);
    resume();
}

CRecursiveMutex::CPrecedence::~CPrecedence() {
    pause();
    m_mutex.m_first.store({}, std::memory_order_relaxed);
}

void CRecursiveMutex::CPrecedence::giveWay() {
    pause();
    m_mutex.giveWay();
    resume();
}

}  // namespace TC
