#include "paper/loop.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <optional>

namespace paper {

/// Counts the events that Qt delivers. Qt does not say whether anything was queued, and a
/// call that queues another needs a further round.
class CVirtualLoop::CQtCalls final : public QObject {
public:
    explicit CQtCalls(QCoreApplication& application) : m_pApplication(&application) {
        application.installEventFilter(this);
    }

    bool belongTo(const QCoreApplication* application) const {
        return m_pApplication == application;
    }

    bool deliver() {
        const int before = m_nDelivered;
        QCoreApplication::sendPostedEvents();
        return m_nDelivered != before;
    }

private:
    bool eventFilter(QObject*, QEvent*) override {
        ++m_nDelivered;
        return false;
    }

    const QPointer<QCoreApplication> m_pApplication;
    int m_nDelivered = 0;
};

CVirtualLoop::CVirtualLoop(std::int64_t startMicros)
    : m_now(startMicros), m_work(boost::asio::make_work_guard(m_service)) {
    utils::setClock(this);
}

CVirtualLoop::~CVirtualLoop() {
    m_pWaits->clear();
    if (&utils::currentClock() == this) utils::setClock(nullptr);
}

bool CVirtualLoop::deliverQtCalls() {
    QCoreApplication* const application = QCoreApplication::instance();
    if (!application || application->thread() != QThread::currentThread()) return false;
    if (!m_pQtCalls || !m_pQtCalls->belongTo(application)) {
        m_pQtCalls = std::make_unique<CQtCalls>(*application);
    }
    return m_pQtCalls->deliver();
}

bool CVirtualLoop::runOnce() {
    m_service.restart();
    do {
        m_service.poll();
    } while (endWaits());
    const bool delivered = deliverQtCalls();
    const bool settled = m_settle && m_settle();
    // Settling may have queued further work.
    return m_service.poll() > 0 || delivered || settled;
}

void CVirtualLoop::runToRest() {
    while (runOnce()) {
    }
}

bool CVirtualLoop::endWaits() {
    const std::vector<utils::CWaits::End> due = m_pWaits->takeDue(nowMicros());
    for (const utils::CWaits::End& end : due) end(true);
    return !due.empty();
}

void CVirtualLoop::advanceTo(std::int64_t micros) {
    runToRest();
    while (nowMicros() < micros) {
        const std::optional<std::int64_t> next = m_pWaits->next();
        const bool due = next && *next <= micros;
        m_now.store(due ? std::max(*next, nowMicros()) : micros, std::memory_order_release);
        if (due) runToRest();
    }
}

void CVirtualLoop::advanceSeconds(double seconds) {
    advanceTo(nowMicros() + std::llround(seconds * 1e6));
}

}  // namespace paper
