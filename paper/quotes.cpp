#include "paper/quotes.h"

#include <boost/asio/post.hpp>
#include <boost/make_shared.hpp>
#include <boost/signals2/connection.hpp>

namespace paper {

namespace {

class CPaperQuoteRequest final : public TC::CQuoteRequest {
public:
    explicit CPaperQuoteRequest(const boost::signals2::connection& connection)
        : m_connection(connection) {}

private:
    boost::signals2::scoped_connection m_connection;
};

}  // namespace

CQuotes::CQuotes(boost::asio::io_service& service, std::shared_ptr<CFaults> faults)
    : m_service(service), m_pFaults(std::move(faults)), m_pState(std::make_shared<State>()) {}

boost::shared_ptr<vexservice::CPriceData> CQuotes::getStockPrice(const QString& stockKey) {
    if (m_pFaults->nothing(EService::Quote)) return {};
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->prices.value(stockKey);
}

boost::shared_ptr<TC::CQuoteRequest> CQuotes::request(const QString& stockKey,
                                                      const TC::CQuoteRequest::Callback& callback) {
    const EFault fault = m_pFaults->next(EService::Quote);
    if (fault == EFault::Null) return {};
    if (fault == EFault::Lost) {
        return boost::make_shared<CPaperQuoteRequest>(boost::signals2::connection());
    }
    const std::lock_guard lock(m_pState->mutex);
    std::shared_ptr<Signal>& signal = m_pState->signals[stockKey.toStdString()];
    if (!signal) signal = std::make_shared<Signal>();
    return boost::make_shared<CPaperQuoteRequest>(signal->connect(callback));
}

std::vector<TC::CMinuteBar> CQuotes::State::barsOf(const DayOfStock& day) {
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
    m_pFaults->answer(m_service, [state = m_pState, asked = DayOfStock{stockKey.toStdString(), day},
                                  answer] { answer(state->barsOf(asked)); });
}

boost::shared_ptr<vexservice::CPriceData> CQuotes::price(const std::string& stockKey) const {
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->prices.value(QString::fromStdString(stockKey));
}

void CQuotes::setPrice(const std::string& stockKey, boost::shared_ptr<vexservice::CPriceData> price,
                       bool push) {
    std::shared_ptr<Signal> signal;
    {
        const std::lock_guard lock(m_pState->mutex);
        m_pState->prices[QString::fromStdString(stockKey)] = price;
        const auto at = m_pState->signals.find(stockKey);
        if (push && at != m_pState->signals.end()) signal = at->second;
    }
    if (signal) (*signal)(price);
}

void CQuotes::setBars(const std::string& stockKey, const std::string& day,
                      const std::vector<TC::CMinuteBar>& bars) {
    const std::lock_guard lock(m_pState->mutex);
    std::map<int, double>& closes = m_pState->closes[{stockKey, day}];
    for (const TC::CMinuteBar& bar : bars) closes[bar.m_nMinute] = bar.m_dClose;
}

}  // namespace paper
