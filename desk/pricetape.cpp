#include "desk/pricetape.h"

#include "paper/paperclient.h"
#include "platform/utils/clock.h"
#include "platform/utils/text.h"

#include <QDateTime>

#include <algorithm>
#include <vector>

namespace desk {

namespace {

QDateTime timeOf(std::int64_t micros) { return QDateTime::fromMSecsSinceEpoch(micros / 1000); }

}  // namespace

std::string clockText(std::int64_t micros) {
    return timeOf(micros).toString("hh:mm:ss").toStdString();
}

std::string clockText() { return clockText(utils::currentClock().nowMicros()); }

int clockMinute() {
    const QTime time = timeOf(utils::currentClock().nowMicros()).time();
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

void CPriceTape::giveBars(paper::CPaperClient& client) {
    const int minute = clockMinute();
    if (minute == m_nGivenUntil) return;
    const int from = minute > m_nGivenUntil ? m_nGivenUntil : 0;
    m_nGivenUntil = minute;
    std::map<std::string, std::vector<TC::CMinuteBar>> bars;
    {
        const std::lock_guard lock(m_pNotes->mutex);
        for (const auto& [stock, prices] : m_pNotes->prices) {
            const auto own = m_ownBars.find(stock);
            const int first = own == m_ownBars.end() ? from : std::max(from, own->second);
            for (auto at = prices.lower_bound(first); at != prices.end() && at->first < minute;
                 ++at)
                bars[stock].push_back({at->first + 1, at->second});  // named by its end
        }
    }
    for (const auto& [stock, ended] : bars) client.setBars(stock, client.tradeDate(), ended);
}

void CPriceTape::forget() {
    const std::lock_guard lock(m_pNotes->mutex);
    m_pNotes->prices.clear();
    m_ownBars.clear();
}

}  // namespace desk
