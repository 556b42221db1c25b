#include "paper/commandcenter.h"

#include "paper/exchange.h"
#include "paper/taskcenter.h"

#include <mongo/bson/bson.h>
#include <boost/asio/post.hpp>

namespace paper {

using namespace vexservice;

namespace {

constexpr int UNKNOWN_TASK = 1;
constexpr int COMMAND_REFUSED = 2;
constexpr std::size_t KEPT_COMPLETIONS = 10'000;

OrderRequest requestOf(const CCodeOrderParam& order, const std::string& tag, int command) {
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
    request.command = command;
    return request;
}

}  // namespace

CCommandCenter::CCommandCenter(boost::asio::io_service& service,
                               std::shared_ptr<CExchange> exchange,
                               std::shared_ptr<CTaskCenter> tasks, IClientObserver* observer,
                               std::shared_ptr<CFaults> faults)
    : m_service(service),
      m_pExchange(std::move(exchange)),
      m_pTasks(std::move(tasks)),
      m_pFaults(std::move(faults)),
      m_pObserver(observer) {}

void CCommandCenter::createCommand(const boost::shared_ptr<COrderComandParam>& command,
                                   const boost::function<void(utils::VexError, int)>& completion,
                                   bool, int) {
    if (!command) return;
    const EFault fault = m_pFaults->next(EService::CommandCenter);
    const int number = this->number(completion);
    if (m_pObserver) m_pObserver->onCommand(*command, number);
    if (fault == EFault::Lost) return;
    const int told = fault == EFault::Null ? 0 : number;
    if (refuses()) return complete(completion, {COMMAND_REFUSED, "refused"}, told);
    complete(completion, {}, told);
    if (!m_pExchange) return;
    for (const auto& order : command->m_orders) {
        if (!order || !order->m_pAccountInfo) continue;
        // A command without a completion asks for no number, so its orders carry none.
        const OrderRequest request =
            requestOf(*order, command->m_strStrategyName2, completion ? told : 0);
        const std::uint64_t key = m_pExchange->submit(request);
        if (m_pObserver) m_pObserver->onCommandOrder(*command, request.account, key);
    }
}

int CCommandCenter::number(const Completion& completion) {
    const std::lock_guard lock(m_mutex);
    ++m_nCommands;
    if (completion) m_completions[m_nCommands] = completion;
    if (m_completions.size() > KEPT_COMPLETIONS) m_completions.erase(m_completions.begin());
    return m_nCommands;
}

// The exchange calls the completion in turn with its reports, so it comes before those of the
// command's orders.
void CCommandCenter::complete(const Completion& completion, const utils::VexError& error,
                              int number) {
    if (!completion) return;
    auto work = [completion, error, number] { completion(error, number); };
    if (m_pExchange) {
        m_pExchange->tell(std::move(work));
    } else {
        boost::asio::post(m_service, std::move(work));
    }
}

void CCommandCenter::refuse(int times) {
    const std::lock_guard lock(m_mutex);
    m_nRefusals = times;
}

bool CCommandCenter::refuses() {
    const std::lock_guard lock(m_mutex);
    if (m_nRefusals == 0) return false;
    --m_nRefusals;
    return true;
}

bool CCommandCenter::repeatResult(int number, const std::string& error) {
    Completion completion;
    {
        const std::lock_guard lock(m_mutex);
        if (number < 1 || number > m_nCommands) return false;
        const auto at = m_completions.find(number);
        if (at != m_completions.end()) completion = at->second;
    }
    if (!completion) return true;
    const utils::VexError result =
        error.empty() ? utils::VexError{} : utils::VexError{COMMAND_REFUSED, error};
    boost::asio::post(m_service, [completion, result, number] { completion(result, number); });
    return true;
}

void CCommandCenter::operateServerTask(
    const std::string& serverTaskKey, const boost::shared_ptr<CTaskOpRecord>& record,
    const boost::shared_ptr<CAccountInfo>&,
    const boost::function<void(const utils::VexError&, bson::BSONObj)>& completion) {
    const EFault fault = m_pFaults->next(EService::CommandCenter);
    if (fault == EFault::Lost) return;
    utils::VexError outcome;
    if (fault == EFault::Null || !record || !m_pTasks->operateServerTask(serverTaskKey, *record)) {
        outcome = {UNKNOWN_TASK, "unknown task " + serverTaskKey};
    }
    if (!completion) return;
    boost::asio::post(m_service, [completion, outcome] { completion(outcome, bson::BSONObj()); });
}

}  // namespace paper
