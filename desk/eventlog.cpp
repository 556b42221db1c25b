#include "desk/eventlog.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/reconciliation.h"
#include "platform/services/connections.h"

#include <utility>

namespace desk {

void CEventLog::follow(TC::CLinkageManager& manager) {
    m_pContext = std::make_unique<QObject>();
    QObject::connect(
        TC::getProxyClient(), &TC::CProxyClient::sig_loginStatus, m_pContext.get(),
        [inbox = m_pInbox](TC::EProxyConnectionStatus status, const QString& text) {
            const std::lock_guard lock(inbox->mutex);
            inbox->events.push_back(
                {.kind = EEvent::Connection, .detail = text.toStdString(), .number = status});
        },
        Qt::DirectConnection);
    m_reconciled =
        manager.sigReconciled.connect([inbox = m_pInbox](const TC::Reconciliation& found) {
            const std::lock_guard lock(inbox->mutex);
            inbox->events.push_back(
                {.kind = EEvent::Reconciled,
                 .account = found.account,
                 .number = found.orders.added + found.orders.changed + found.orders.gone,
                 .second = found.deals.added + found.deals.gone,
                 .third = static_cast<int>(found.positions.size())});
        });
}

void CEventLog::noteRejected(const std::string& account, std::uint64_t key,
                             const std::string& stock, const std::string& remark) {
    if (!m_rejected.emplace(account, key).second) return;
    const std::lock_guard lock(m_pInbox->mutex);
    m_pInbox->events.push_back(
        {.kind = EEvent::Rejected, .account = account, .stock = stock, .detail = remark});
}

void CEventLog::add(EventRow event, const std::string& time) {
    event.id = m_nNext++;
    event.time = time;
    m_events.push_front(std::move(event));
    if (m_events.size() > KEPT) m_events.pop_back();
}

void CEventLog::takeBalances(const Picture& picture) {
    for (const replay::BalanceFigures& balance : picture.balances) {
        std::string& known = m_states[balance.number];
        if (known == balance.state) continue;
        known = balance.state;
        add({.kind = EEvent::Balance,
             .account = balance.pair.first,
             .strategy = balance.pair.second,
             .detail = balance.state,
             .number = balance.number},
            picture.time);
    }
}

std::vector<EventRow> CEventLog::take(const Picture& picture) {
    if (picture.date != std::exchange(m_date, picture.date)) {
        m_states.clear();
        m_rejected.clear();
    }
    std::vector<EventRow> news;
    {
        const std::lock_guard lock(m_pInbox->mutex);
        news.swap(m_pInbox->events);
    }
    for (EventRow& event : news) add(std::move(event), picture.time);
    takeBalances(picture);
    return {m_events.begin(), m_events.end()};
}

}  // namespace desk
