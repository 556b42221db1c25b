#pragma once

#include "paper/clientdata.h"
#include "paper/clientobserver.h"
#include "paper/faults.h"
#include "platform/services/tradeclient.h"

#include <boost/asio/io_service.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace paper {

class CExchange;

/// The connection to a trading server that knows the days it was told about. Answers
/// come on the loop; a day it knows nothing of is answered without records.
class CPaperTradeClient final : public TC::CTradeClient {
public:
    CPaperTradeClient(boost::asio::io_service& service, std::shared_ptr<CExchange> exchange,
                      IClientObserver* observer,
                      std::shared_ptr<CFaults> faults = std::make_shared<CFaults>());

    bool cancelOrder(const boost::shared_ptr<vexservice::COrderDetail>& order, QString& error,
                     int batch, QString remark,
                     const boost::shared_ptr<TC::COrderAuxInfo>& aux) override;
    void queryHistoryOrders(const std::string& accountKey, const std::string& day,
                            const OrdersAnswer& answer) override;
    void queryHistoryDeals(const std::string& accountKey, const std::string& day,
                           const DealsAnswer& answer) override;

    void setHistory(const std::string& accountKey, const std::string& day,
                    const ServerDay& history);

private:
    template <class Records, class Answer>
    void answerLater(const std::string& accountKey, const std::string& day,
                     Records ServerDay::*records, const Answer& answer);

    /// Shared with answers under way, which may outlive the client.
    struct History {
        std::mutex mutex;
        std::map<std::pair<std::string, std::string>, ServerDay> days;
    };

    boost::asio::io_service& m_service;
    const std::shared_ptr<CExchange> m_pExchange;  ///< empty: cancels are recorded only
    IClientObserver* const m_pObserver;
    const std::shared_ptr<CFaults> m_pFaults;
    const std::shared_ptr<History> m_pHistory;
};

}  // namespace paper
