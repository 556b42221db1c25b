#include "adapters/quoteboard.h"

#include "adapters/delivery.h"

#include <QHash>

#include <boost/make_shared.hpp>
#include <boost/signals2/connection.hpp>
#include <boost/signals2/signal.hpp>

#include <map>
#include <mutex>
#include <utility>

namespace adapters {

namespace {

class CBoardRequest final : public TC::CQuoteRequest {
public:
    explicit CBoardRequest(const boost::signals2::connection& connection)
        : m_connection(connection) {}

private:
    boost::signals2::scoped_connection m_connection;
};

}  // namespace

struct CQuoteBoard::State {
    using Signal = boost::signals2::signal<void(const boost::shared_ptr<vexservice::CPriceData>&),
                                           DeliverToAll>;

    std::mutex mutex;
    QHash<QString, boost::shared_ptr<vexservice::CPriceData>> prices;
    std::map<std::string, std::shared_ptr<Signal>> signals;
};

CQuoteBoard::CQuoteBoard() : m_pState(std::make_unique<State>()) {}
CQuoteBoard::~CQuoteBoard() = default;

void CQuoteBoard::onFirstRequest(const std::string&) {}

boost::shared_ptr<vexservice::CPriceData> CQuoteBoard::getStockPrice(const QString& stockKey) {
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->prices.value(stockKey);
}

boost::shared_ptr<TC::CQuoteRequest> CQuoteBoard::request(
    const QString& stockKey, const TC::CQuoteRequest::Callback& callback) {
    const std::string key = stockKey.toStdString();
    boost::shared_ptr<TC::CQuoteRequest> made;
    bool first = false;
    {
        const std::lock_guard lock(m_pState->mutex);
        std::shared_ptr<State::Signal>& signal = m_pState->signals[key];
        first = !signal;
        if (first) signal = std::make_shared<State::Signal>();
        made = boost::make_shared<CBoardRequest>(signal->connect(callback));
    }
    if (first) onFirstRequest(key);
    return made;
}

boost::shared_ptr<vexservice::CPriceData> CQuoteBoard::price(const std::string& stockKey) const {
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->prices.value(QString::fromStdString(stockKey));
}

void CQuoteBoard::setPrice(const std::string& stockKey,
                           boost::shared_ptr<vexservice::CPriceData> price, bool push) {
    std::shared_ptr<State::Signal> signal;
    {
        const std::lock_guard lock(m_pState->mutex);
        m_pState->prices[QString::fromStdString(stockKey)] = price;
        const auto at = m_pState->signals.find(stockKey);
        if (push && at != m_pState->signals.end()) signal = at->second;
    }
    if (signal) (*signal)(price);
}

}  // namespace adapters
