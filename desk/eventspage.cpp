#include "desk/eventspage.h"

#include "desk/balancespage.h"
#include "desk/faulttexts.h"
#include "desk/picture.h"
#include "platform/services/connections.h"

#include <QVBoxLayout>

#include <utility>

namespace desk {

namespace {

QString connectionText(int status) {
    switch (status) {
        case TC::PROXY_CONNECTED:
            return CEventsPage::tr("Connected, not logged in yet");
        case TC::PROXY_LOGIN_FAILED:
            return CEventsPage::tr("The login failed");
        case TC::PROXY_LOGIN_SUCCESS:
            return CEventsPage::tr("Logged in");
        default:
            return CEventsPage::tr("The connection is lost");
    }
}

/// Of a fault that came more than once.
QString timesText(const EventRow& event) {
    if (event.number < 2) return {};
    return QStringLiteral(" ") + CEventsPage::tr("(%1 times since %2)")
                                     .arg(event.number)
                                     .arg(QString::fromStdString(event.since));
}

}  // namespace

QString eventText(const EventRow& event) {
    const QString account = QString::fromStdString(event.account);
    const QString detail = QString::fromStdString(event.detail);
    switch (event.kind) {
        case EEvent::Balance:
            return CEventsPage::tr("Balance %1 of %2 / %3 (%4): %5")
                .arg(event.number)
                .arg(account,
                     event.strategy.empty() ? CBalancesPage::tr("whole account")
                                            : QString::fromStdString(event.strategy),
                     askedByText(event.by), bookText(event.detail));
        case EEvent::Rejected:
            return CEventsPage::tr("Rejected: an order of %1 in %2 %3")
                .arg(account, QString::fromStdString(event.stock), detail)
                .trimmed();
        case EEvent::Reconciled:
            return CEventsPage::tr("%1 was loaded again: missed orders %2, deals %3, positions %4")
                .arg(account)
                .arg(event.number)
                .arg(event.second)
                .arg(event.third);
        case EEvent::Connection:
            return connectionText(event.number);
        case EEvent::ServiceFault:
            return CEventsPage::tr("Service fault: %1").arg(detail) + timesText(event);
        case EEvent::DiskFault:
            return CEventsPage::tr("Disk fault: %1").arg(detail) + timesText(event);
        case EEvent::RecordingEnd:
            if (event.number)
                return CEventsPage::tr(
                    "The recording breaks off here: its writer was ended, or still writes");
            return detail.isEmpty() ? CEventsPage::tr("The recording was played to its end")
                                    : CEventsPage::tr("The recording stopped: %1").arg(detail);
        case EEvent::RecordingDiffers:
            return CEventsPage::tr(
                       "This library does something else than the recording says: "
                       "first at %1, line %2")
                .arg(detail)
                .arg(event.number);
        case EEvent::RecorderFault:
            return CEventsPage::tr("Not recorded any more: %1").arg(faultText(detail));
    }
    return {};
}

CEventsPage::CEventsPage(QWidget* parent) : QWidget(parent) {
    m_pTable = new CRowsView({{tr("Time")}, {tr("Event")}}, CRowsView::ESorting::Off, this);
    m_pTable->setObjectName("events");
    m_pTable->setPlaceholder(tr("Nothing has happened yet"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pTable);
}

void CEventsPage::show(const std::vector<EventRow>& events) {
    std::vector<Row> rows;
    rows.reserve(events.size());
    for (const EventRow& event : events)
        rows.push_back({QString::number(event.id),
                        {QString::fromStdString(event.time), eventText(event)},
                        false});
    m_pTable->rows().setRows(std::move(rows));
}

}  // namespace desk
