#include "paper/tradeclient.h"

#include "paper/exchange.h"

#include <boost/asio/post.hpp>

namespace paper {

namespace {
constexpr int QUERY_REFUSED = 1;
}

CPaperTradeClient::CPaperTradeClient(boost::asio::io_service& service,
                                     std::shared_ptr<CExchange> exchange, IClientObserver* observer,
                                     std::shared_ptr<CFaults> faults)
    : m_service(service),
      m_pExchange(std::move(exchange)),
      m_pObserver(observer),
      m_pFaults(std::move(faults)),
      m_pHistory(std::make_shared<History>()) {}

bool CPaperTradeClient::cancelOrder(const boost::shared_ptr<vexservice::COrderDetail>& order,
                                    QString& error, int, QString,
                                    const boost::shared_ptr<TC::COrderAuxInfo>&) {
    if (!order) {
        error = QStringLiteral("no order");
        return false;
    }
    const EFault fault = m_pFaults->next(EService::TradeClient);
    if (m_pObserver) m_pObserver->onCancelOrder(*order);
    if (fault == EFault::Null) {
        error = QStringLiteral("no connection");
        return false;
    }
    if (m_pExchange && fault == EFault::None) {
        const auto& info = order->m_pAccountInfo;
        m_pExchange->cancel(info ? info->getKey() : std::string(), order->recordKey());
    }
    return true;
}

template <class Records, class Answer>
void CPaperTradeClient::answerLater(const std::string& accountKey, const std::string& day,
                                    Records ServerDay::*records, const Answer& answer) {
    const EFault fault = m_pFaults->next(EService::History);
    if (!answer || fault == EFault::Lost) return;
    if (fault == EFault::Null) {
        m_pFaults->answer(m_service, [answer] { answer(utils::VexError{}, Records{}); });
        return;
    }
    m_pFaults->answer(m_service,
                      [history = m_pHistory, asked = std::pair(accountKey, day), records, answer] {
                          ServerDay known;
                          {
                              const std::lock_guard lock(history->mutex);
                              const auto at = history->days.find(asked);
                              if (at != history->days.end()) known = at->second;
                          }
                          if (known.lost) return;
                          if (known.error.empty()) {
                              answer(utils::VexError{}, known.*records);
                          } else {
                              answer(utils::VexError{QUERY_REFUSED, known.error}, Records{});
                          }
                      });
}

void CPaperTradeClient::queryHistoryOrders(const std::string& accountKey, const std::string& day,
                                           const OrdersAnswer& answer) {
    answerLater(accountKey, day, &ServerDay::orders, answer);
}

void CPaperTradeClient::queryHistoryDeals(const std::string& accountKey, const std::string& day,
                                          const DealsAnswer& answer) {
    answerLater(accountKey, day, &ServerDay::deals, answer);
}

void CPaperTradeClient::setHistory(const std::string& accountKey, const std::string& day,
                                   const ServerDay& history) {
    const std::lock_guard lock(m_pHistory->mutex);
    m_pHistory->days[{accountKey, day}] = history;
}

}  // namespace paper
