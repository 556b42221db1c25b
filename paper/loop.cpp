#include "paper/loop.h"

#include "platform/log.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <exception>
#include <optional>

namespace paper {

namespace {

/// Counts the events that Qt delivers while it lives. Qt does not say whether anything
/// was queued, and a call that queues another needs a further round.
class DeliveryCounter final : public QObject {
public:
    DeliveryCounter() { QCoreApplication::instance()->installEventFilter(this); }

    int delivered() const { return m_delivered; }

private:
    bool eventFilter(QObject*, QEvent*) override {
        ++m_delivered;
        return false;
    }

    int m_delivered = 0;
};

bool deliverQtCalls() {
    const QCoreApplication* application = QCoreApplication::instance();
    if (!application || application->thread() != QThread::currentThread()) return false;
    DeliveryCounter counter;
    QCoreApplication::sendPostedEvents();
    return counter.delivered() > 0;
}

}  // namespace

CVirtualLoop::CVirtualLoop(std::int64_t startMicros)
    : m_now(startMicros), m_work(boost::asio::make_work_guard(m_service)) {
    utils::setClock(this);
}

CVirtualLoop::~CVirtualLoop() {
    if (&utils::currentClock() == this) utils::setClock(nullptr);
}

void CVirtualLoop::noteDue(std::int64_t dueMicros) {
    const std::lock_guard lock(m_dueMutex);
    m_due.insert(dueMicros);
}

bool CVirtualLoop::runOnce() {
    // A poll comes back when no handler and no due timer is left; only what happens
    // beside it can make another one necessary.
    m_service.restart();
    m_service.poll();
    const bool delivered = deliverQtCalls();
    const bool settled = m_settle && m_settle();
    return delivered || settled;
}

void CVirtualLoop::runToRest() {
    while (runOnce()) {
    }
}

void CVirtualLoop::wakeTimers() {
    m_waker.expires_at(utils::TimePoint());
    m_waker.async_wait([](const boost::system::error_code&) {});
}

void CVirtualLoop::advanceTo(std::int64_t micros) {
    runToRest();
    while (nowMicros() < micros) {
        std::optional<std::int64_t> due;
        {
            const std::lock_guard lock(m_dueMutex);
            m_due.erase(m_due.begin(), m_due.upper_bound(nowMicros()));
            if (!m_due.empty() && *m_due.begin() <= micros) due = *m_due.begin();
        }
        m_now.store(due.value_or(micros), std::memory_order_release);
        if (!due) return;
        wakeTimers();
        runToRest();
    }
}

void CVirtualLoop::advanceSeconds(double seconds) {
    advanceTo(nowMicros() + std::llround(seconds * 1e6));
}

CRealLoop::CRealLoop(int threads) : m_work(boost::asio::make_work_guard(m_service)) {
    for (int i = 0; i < threads; ++i) {
        m_threads.emplace_back([this] {
            // A handler that throws costs that handler, not the thread.
            while (!m_service.stopped()) {
                try {
                    m_service.run();
                } catch (const std::exception& fault) {
                    g_VexStdLogger.error("paper::CRealLoop", fault.what());
                }
            }
        });
    }
}

CRealLoop::~CRealLoop() { stop(); }

void CRealLoop::stop() {
    m_service.stop();
    for (std::thread& thread : m_threads) thread.join();
    m_threads.clear();
}

}  // namespace paper
