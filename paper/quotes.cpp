#include "paper/quotes.h"

#include <boost/make_shared.hpp>

namespace paper {

CQuotes::CQuotes(boost::asio::io_service& service, std::shared_ptr<CFaults> faults)
    : m_service(service), m_pFaults(std::move(faults)), m_pBars(std::make_shared<Bars>()) {}

boost::shared_ptr<vexservice::CPriceData> CQuotes::getStockPrice(const QString& stockKey) {
    if (m_pFaults->nothing(EService::Quote)) return {};
    return CQuoteBoard::getStockPrice(stockKey);
}

boost::shared_ptr<TC::CQuoteRequest> CQuotes::request(const QString& stockKey,
                                                      const TC::CQuoteRequest::Callback& callback) {
    const EFault fault = m_pFaults->next(EService::Quote);
    if (fault == EFault::Null) return {};
    if (fault == EFault::Lost) return boost::make_shared<TC::CQuoteRequest>();
    return CQuoteBoard::request(stockKey, callback);
}

std::vector<TC::CMinuteBar> CQuotes::Bars::of(const DayOfStock& day) {
    const std::lock_guard lock(mutex);
    std::vector<TC::CMinuteBar> bars;
    const auto at = closes.find(day);
    if (at == closes.end()) return bars;
    for (const auto& [minute, close] : at->second) bars.push_back({minute, close});
    return bars;
}

void CQuotes::queryMinuteBars(const QString& stockKey, const std::string& day,
                              const BarsAnswer& answer) {
    const EFault fault = m_pFaults->next(EService::History);
    if (!answer || fault == EFault::Lost) return;
    if (fault == EFault::Null) {
        m_pFaults->answer(m_service, [answer] { answer({}); });
        return;
    }
    m_pFaults->answer(m_service, [bars = m_pBars, asked = DayOfStock{stockKey.toStdString(), day},
                                  answer] { answer(bars->of(asked)); });
}

void CQuotes::setBars(const std::string& stockKey, const std::string& day,
                      const std::vector<TC::CMinuteBar>& bars) {
    const std::lock_guard lock(m_pBars->mutex);
    std::map<int, double>& closes = m_pBars->closes[{stockKey, day}];
    for (const TC::CMinuteBar& bar : bars) closes[bar.m_nMinute] = bar.m_dClose;
}

}  // namespace paper
