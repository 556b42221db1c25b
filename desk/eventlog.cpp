#include "desk/eventlog.h"

#include "desk/pricetape.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/reconciliation.h"
#include "platform/services/connections.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace desk {

void CEventLog::follow(TC::CLinkageManager& manager) {
    m_pContext = std::make_unique<QObject>();
    QObject::connect(
        TC::getProxyClient(), &TC::CProxyClient::sig_loginStatus, m_pContext.get(),
        [inbox = m_pInbox](TC::EProxyConnectionStatus status, const QString& text) {
            const std::lock_guard lock(inbox->mutex);
            inbox->events.push_back({.time = clockText(),
                                     .kind = EEvent::Connection,
                                     .detail = text.toStdString(),
                                     .number = status});
        },
        Qt::DirectConnection);
    m_reconciled =
        manager.sigReconciled.connect([inbox = m_pInbox](const TC::Reconciliation& found) {
            const std::lock_guard lock(inbox->mutex);
            inbox->events.push_back(
                {.time = clockText(),
                 .kind = EEvent::Reconciled,
                 .account = found.account,
                 .number = found.orders.added + found.orders.changed + found.orders.gone,
                 .second = found.deals.added + found.deals.gone,
                 .third = static_cast<int>(found.positions.size())});
        });
}

void CEventLog::beginDay(const Picture& picture) {
    if (!picture.alive || picture.date == std::exchange(m_date, picture.date)) return;
    m_states.clear();
    m_rejected.clear();
}

void CEventLog::noteRejected(const CArrivals::Id& order, const std::string& stock,
                             const std::string& remark, const Picture& picture) {
    beginDay(picture);
    if (!m_rejected.insert(order).second) return;
    const std::string heard = m_witness.arrivals.rejectedAt(order);
    const std::lock_guard lock(m_pInbox->mutex);
    m_pInbox->events.push_back({.time = heard.empty() ? picture.time : heard,
                                .kind = EEvent::Rejected,
                                .account = order.first,
                                .stock = stock,
                                .detail = remark});
}

void CEventLog::add(EventRow event) {
    event.id = m_nNext++;
    m_events.push_front(std::move(event));
    if (m_events.size() > KEPT) m_events.pop_back();
}

/// A fault that comes again and again stands in the list once, with its newest time.
void CEventLog::addFault(EventRow event) {
    const auto known =
        std::find_if(m_events.begin(), m_events.end(), [&event](const EventRow& each) {
            return each.kind == event.kind && each.detail == event.detail;
        });
    if (known != m_events.end()) {
        event.number += known->number;
        event.since = known->since;
        m_events.erase(known);
    }
    add(std::move(event));
}

/// Steps that no signal told, because they were made before the desk heard signals.
void CEventLog::takeBalances(const Picture& picture) {
    for (const BalanceRow& balance : picture.balances) {
        std::string& known = m_states[balance.number];
        if (known == balance.state) continue;
        known = balance.state;
        add({.time = picture.time,
             .kind = EEvent::Balance,
             .account = balance.pair.first,
             .strategy = balance.pair.second,
             .detail = balance.state,
             .number = balance.number,
             .by = balance.by});
    }
}

/// That the library does not record this session any more.
void CEventLog::takeRecording(const Picture& picture) {
    if (!picture.recording || picture.recording->fault.empty()) return;
    if (std::exchange(m_unrecorded, picture.recording->file) == picture.recording->file) return;
    add({.time = picture.time, .kind = EEvent::RecorderFault, .detail = picture.recording->fault});
}

std::vector<EventRow> CEventLog::take(const Picture& picture) {
    beginDay(picture);
    std::vector<EventRow> news = m_witness.balances.takeSteps();
    for (const EventRow& step : news) m_states[step.number] = step.detail;
    {
        const std::lock_guard lock(m_pInbox->mutex);
        std::move(m_pInbox->events.begin(), m_pInbox->events.end(), std::back_inserter(news));
        m_pInbox->events.clear();
    }
    for (EventRow& note : m_witness.notes.take()) news.push_back(std::move(note));
    for (LoggedFault& fault : m_witness.faults.take())
        news.push_back({.time = fault.last,
                        .kind = fault.disk ? EEvent::DiskFault : EEvent::ServiceFault,
                        .detail = std::move(fault.text),
                        .number = fault.times,
                        .since = fault.first});
    std::stable_sort(news.begin(), news.end(), [](const EventRow& left, const EventRow& right) {
        return left.time < right.time;
    });
    for (EventRow& event : news) {
        const bool isFault = event.kind == EEvent::ServiceFault || event.kind == EEvent::DiskFault;
        isFault ? addFault(std::move(event)) : add(std::move(event));
    }
    takeBalances(picture);
    takeRecording(picture);
    if (picture.ended && !std::exchange(m_bEnded, true))
        add({.time = picture.time,
             .kind = EEvent::RecordingEnd,
             .detail = picture.fault,
             .number = picture.breaksOff});
    return {m_events.begin(), m_events.end()};
}

}  // namespace desk
