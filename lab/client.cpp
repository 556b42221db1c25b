#include "lab/client.h"

#include "platform/services/clientconfig.h"

#include <mongo/bson/bson.h>

#include <boost/make_shared.hpp>

#include <cstdlib>

namespace lab {

using namespace vexservice;

class CClient::CCommandCenter final : public TC::CDovCommandCenter {
public:
    explicit CCommandCenter(IRequests& requests) : m_requests(requests) {}

    void createCommand(const boost::shared_ptr<COrderComandParam>& command,
                       const boost::function<void(utils::VexError, int)>& completion, bool,
                       int) override {
        m_requests.onCommand(*command, completion);
    }
    void operateServerTask(
        const std::string& serverTaskKey, const boost::shared_ptr<CTaskOpRecord>&,
        const boost::shared_ptr<CAccountInfo>&,
        const boost::function<void(const utils::VexError&, bson::BSONObj)>& completion) override {
        m_requests.onTerminateTask(
            std::strtoull(serverTaskKey.c_str() + serverTaskKey.find('_') + 1, nullptr, 10),
            completion);
    }

private:
    IRequests& m_requests;
};

CClient::CClient(const Plan& plan, paper::CVirtualLoop& loop, const std::string& dataDir,
                 const std::string& date, IRequests& requests)
    : m_plan(plan), m_requests(requests) {
    paper::ClientConfig config;
    config.clientType = plan.clientType;
    config.tradeDate = date;
    config.dataDir = QString::fromStdString(dataDir);
    m_pPaper = std::make_unique<paper::CPaperClient>(loop.service(), config, this);
    utils::CSingletonT<TC::CDovCommandCenter>::install(
        boost::make_shared<CCommandCenter>(requests));
    for (const Stock& stock : plan.stocks) {
        paper::Instrument instrument{.market = stock.market, .code = stock.code};
        instrument.reference = PRICE;
        instrument.unit = stock.unit;
        instrument.detail = stock.detail;
        instrument.types = stock.types();
        m_pPaper->setInstrument(instrument);
        if (!stock.priced) continue;
        const auto price = boost::make_shared<CPriceData>();
        price->m_strStockKey = stock.key();
        price->m_dLastPrice = PRICE;
        m_pPaper->setPrice(stock.key(), price, false);
    }
    for (const std::string& account : plan.accounts) {
        m_pPaper->setAccount({.key = account, .id = account});
    }
}

CClient::~CClient() = default;

void CClient::onCancelOrder(const COrderDetail& order) {
    m_requests.onCancelOrder(order.recordKey());
}

// Tasks of the lab run on the server.
void CClient::onOperateTask(std::uint64_t, bool, const CTaskOpRecord&) {}

boost::shared_ptr<CCommandRecord> CClient::carrierOf(const Origin& of) const {
    auto carrier = boost::make_shared<CCommandRecord>();
    carrier->m_strTradeDate = m_pPaper->tradeDate();
    carrier->m_strStrategyName = of.strategy;
    carrier->m_strStrategyName2 = of.strategy;
    if (of.history) carrier->m_strTag = HISTORY_TAG;
    carrier->m_nCommand = of.command;
    if (m_plan.clientType != TC::CLIENT_TYPE_3) carrier->m_strUser = "trader";
    return carrier;
}

template <class Record, class Report>
boost::shared_ptr<Record> CClient::recordOf(const Report& report) const {
    const Stock& stock = m_plan.stocks[static_cast<std::size_t>(report.of.stock)];
    auto record = boost::make_shared<Record>();
    record->m_nRecordKey = report.key;
    record->m_eDirection = report.of.buys ? ENTRUST_BUY : ENTRUST_SELL;
    record->m_nVolume = static_cast<int>(report.volume);
    record->m_dPrice = PRICE;
    record->m_strMarket = stock.market;
    record->m_strCode = stock.code;
    record->m_strTradeDate = m_pPaper->tradeDate();
    record->m_pAccountInfo =
        m_pPaper->accountInfo(m_plan.accounts[static_cast<std::size_t>(report.of.account)]);
    record->m_pCommand = carrierOf(report.of);
    return record;
}

void CClient::tell(const OrderReport& report, bool announced) {
    const auto record = recordOf<COrderDetail>(report);
    record->m_eStatus = report.status;
    record->m_nTradedVolume = static_cast<int>(report.traded);
    record->m_dTradedAmount = PRICE * static_cast<double>(report.traded);
    const std::string& account = m_plan.accounts[static_cast<std::size_t>(report.of.account)];
    m_pPaper->report(account, record, announced);
}

void CClient::tell(const DealReport& report, bool announced) {
    const auto record = recordOf<CDealDetail>(report);
    record->m_dAmount = PRICE * static_cast<double>(report.volume);
    record->m_strTradeTime = "100000";
    record->m_strDealID = std::to_string(report.key);
    record->m_nOrderKey = report.order;
    const std::string& account = m_plan.accounts[static_cast<std::size_t>(report.of.account)];
    m_pPaper->report(account, record, announced);
}

void CClient::tellTask(std::uint64_t key, const Origin& of, ETaskStatus status) {
    const Stock& stock = m_plan.stocks[static_cast<std::size_t>(of.stock)];
    const auto item = boost::make_shared<CTaskItem>();
    item->m_strMarket = stock.market;
    item->m_strCode = stock.code;
    item->m_pAccountInfo =
        m_pPaper->accountInfo(m_plan.accounts[static_cast<std::size_t>(of.account)]);
    const auto task = boost::make_shared<CTaskDetail>();
    task->m_nRecordKey = key;
    task->m_eStatus = status;
    task->m_items = {item};
    task->m_pCommand = carrierOf(of);
    m_pPaper->report(task);
}

}  // namespace lab
