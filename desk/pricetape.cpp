#include "desk/pricetape.h"

#include "platform/utils/clock.h"
#include "platform/utils/text.h"

#include <QDateTime>

namespace desk {

namespace {

QDateTime clockNow() {
    return QDateTime::fromMSecsSinceEpoch(utils::currentClock().nowMicros() / 1000);
}

}  // namespace

std::string clockText() { return clockNow().toString("hh:mm:ss").toStdString(); }

int clockMinute() {
    const QTime time = clockNow().time();
    return time.hour() * 60 + time.minute();
}

void CPriceTape::follow(const std::string& stockKey) {
    auto& request = m_requests[stockKey];
    if (request) return;
    const auto note = [notes = m_pNotes,
                       stockKey](const boost::shared_ptr<vexservice::CPriceData>& price) {
        if (!price || !price->hasLastPrice()) return;
        const int minute = clockMinute();
        const std::lock_guard lock(notes->mutex);
        notes->prices[stockKey][minute] = price->m_dLastPrice;
    };
    const QString key = Pim::sToQs(stockKey);
    request = TC::CQuoteRequest::makeRequest(key, note);
    note(utils::CManualSingletonT<TC::CQuoteClient>::instance()->getStockPrice(key));
}

std::map<int, double> CPriceTape::of(const std::string& stockKey) const {
    const std::lock_guard lock(m_pNotes->mutex);
    const auto found = m_pNotes->prices.find(stockKey);
    return found == m_pNotes->prices.end() ? std::map<int, double>() : found->second;
}

void CPriceTape::forget() {
    const std::lock_guard lock(m_pNotes->mutex);
    m_pNotes->prices.clear();
}

}  // namespace desk
