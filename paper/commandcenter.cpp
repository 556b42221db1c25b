#include "paper/commandcenter.h"

#include "paper/exchange.h"
#include "paper/taskcenter.h"

#include <mongo/bson/bson.h>
#include <boost/asio/post.hpp>

namespace paper {

using namespace vexservice;

namespace {

constexpr int UNKNOWN_TASK = 1;

OrderRequest requestOf(const CCodeOrderParam& order, const std::string& tag) {
    OrderRequest request;
    request.account = order.m_pAccountInfo->getKey();
    request.market = order.m_stock.m_strMarket;
    request.code = order.m_stock.m_strCode;
    request.buys = order.m_eOperationType == OPT_BUY;
    request.volume = order.m_nVolume;
    request.priceType = order.m_ePriceType;
    request.price = order.m_dPrice;
    request.strategy = order.m_strStrategyName;
    request.strategy2 = order.m_strStrategyName2;
    request.tag = tag;
    return request;
}

}  // namespace

CCommandCenter::CCommandCenter(boost::asio::io_service& service,
                               std::shared_ptr<CExchange> exchange,
                               std::shared_ptr<CTaskCenter> tasks, IClientObserver* observer)
    : m_service(service),
      m_pExchange(std::move(exchange)),
      m_pTasks(std::move(tasks)),
      m_pObserver(observer) {}

void CCommandCenter::createCommand(const boost::shared_ptr<COrderComandParam>& command,
                                   const boost::function<void(utils::VexError, int)>& completion,
                                   bool, int) {
    if (!command) return;
    if (m_pObserver) m_pObserver->onCommand(*command);
    if (m_pExchange) {
        for (const auto& order : command->m_orders) {
            if (!order || !order->m_pAccountInfo) continue;
            const OrderRequest request = requestOf(*order, command->m_strStrategyName2);
            const std::uint64_t key = m_pExchange->submit(request);
            if (m_pObserver) m_pObserver->onCommandOrder(*command, request.account, key);
        }
    }
    const int number = ++m_nCommands;
    if (!completion) return;
    boost::asio::post(m_service, [completion, number] { completion(utils::VexError{}, number); });
}

void CCommandCenter::operateServerTask(
    const std::string& serverTaskKey, const boost::shared_ptr<CTaskOpRecord>& record,
    const boost::shared_ptr<CAccountInfo>&,
    const boost::function<void(const utils::VexError&, bson::BSONObj)>& completion) {
    utils::VexError outcome;
    if (!record || !m_pTasks->operateServerTask(serverTaskKey, *record)) {
        outcome = {UNKNOWN_TASK, "unknown task " + serverTaskKey};
    }
    if (!completion) return;
    boost::asio::post(m_service, [completion, outcome] { completion(outcome, bson::BSONObj()); });
}

}  // namespace paper
