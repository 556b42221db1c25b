#pragma once

#include "adapters/quoteboard.h"
#include "adapters/recordcenter.h"
#include "adapters/strandengine.h"
#include "platform/records/dealdetail.h"
#include "platform/services/clientconfig.h"
#include "platform/services/connections.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"

#include <QTemporaryDir>

#include <boost/make_shared.hpp>

#include <chrono>
#include <string>
#include <vector>

/// The smallest client that the library can live in: accounts and deals in memory, one price, and
/// nothing is ever sent. The bases of adapters/ keep the records and the prices and run the strand;
/// a real client reads its wire here.
namespace host {

/// The trade services. The accounts are there from the beginning.
class CCenter final : public vexservice::TraderCenter,
                      public adapters::CRecordCenter,
                      public vexservice::ITaskCenter,
                      public vexservice::IFeeLimitService {
public:
    CCenter(std::string tradeDate, const std::vector<std::string>& accounts)
        : CRecordCenter(std::move(tradeDate)) {
        for (const std::string& key : accounts) {
            auto info = boost::make_shared<vexservice::CAccountInfo>();
            info->m_strKey = info->m_strID = key;
            info->m_nType = vexservice::ACCOUNT_STOCK;
            setAccount(key, info);
        }
    }

    IDataCenter* getDataCenter() override { return this; }
    ITaskCenter* getTaskCenter() override { return this; }
    IFeeLimitService* getFeeLimitService() override { return this; }

    boost::shared_ptr<vexservice::ITaskHandler> getTaskHandler(std::uint64_t) override {
        return {};
    }
    boost::shared_ptr<vexservice::CStkExchangeRateLimit> getFeeLimits(
        const boost::shared_ptr<vexservice::CAccountInfo>&, const std::string&,
        const std::string&) override {
        return boost::make_shared<vexservice::CStkExchangeRateLimit>();
    }
};

class CConfig final : public TC::CAppConfig {
public:
    bool isClientType(TC::EClientType type) const override {
        return type == TC::CLIENT_TYPE_STANDARD;
    }
};

class CUser final : public TC::CUserConfig {
public:
    QString getUserDataString(TC::EUserMember) const override { return "trader"; }
    double getUserDataDouble(TC::EUserMember) const override { return 10.0; }
    const void* getUserDataAddress(TC::EUserMember) const override { return nullptr; }
};

class CDirectory final : public TC::IDataDirectory {
public:
    QString path() const override { return m_directory.path(); }

private:
    QTemporaryDir m_directory;
};

class CTime final : public TC::CTimeService {
public:
    std::int64_t currentTime() const override {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    }
};

/// Every stock exists, trades in lots of 100 and has the same price.
class CStocks final : public TC::CStockManager, public vexservice::StockTypeCenter {
public:
    std::shared_ptr<vexservice::CInstrumentDetail> getInstrumentDetail(
        const QString& stockKey) override {
        auto detail = std::make_shared<vexservice::CInstrumentDetail>();
        detail->m_strMarket = stockKey.left(2).toStdString();
        detail->m_strCode = stockKey.mid(2).toStdString();
        detail->m_dReferencePrice = 10.0;
        return detail;
    }
    bool isTypedStock(int, const std::string&, const std::string&) override { return false; }
    int tradeMinUnit(const std::string&, const std::string&) override { return 100; }
};

class CQuotes final : public adapters::CQuoteBoard {
public:
    void queryMinuteBars(const QString&, const std::string&, const BarsAnswer&) override {}
};

class CRules final : public vexservice::IOrderRules, public vexservice::ConfigCollector {
public:
    void orderSettingToParam(const vexservice::COrderSetting& setting,
                             vexservice::CCodeOrderParam& order, vexservice::EOperationType, int,
                             double, const boost::shared_ptr<vexservice::CPriceData>&) override {
        order.m_ePriceType = setting.m_ePriceType;
    }
    double getPriceForOrder(const boost::shared_ptr<vexservice::CPriceData>& quote,
                            vexservice::EPriceType, vexservice::EOperationType) override {
        return quote ? quote->m_dLastPrice : 0.0;
    }
    void fixTimeRange(vexservice::CCodeOrderParam&) override {}
    bool useRegistRules() override { return false; }
};

/// Refuses whatever would go to a market.
class CCommands final : public TC::CDovCommandCenter {
public:
    void createCommand(const boost::shared_ptr<vexservice::COrderComandParam>&,
                       const boost::function<void(utils::VexError, int)>&, bool, int) override {}
    void operateServerTask(
        const std::string&, const boost::shared_ptr<vexservice::CTaskOpRecord>&,
        const boost::shared_ptr<vexservice::CAccountInfo>&,
        const boost::function<void(const utils::VexError&, mongo::BSONObj)>&) override {}
};

class CTrade final : public TC::CTradeClient {
public:
    bool cancelOrder(const boost::shared_ptr<vexservice::COrderDetail>&, QString& error, int,
                     QString, const boost::shared_ptr<TC::COrderAuxInfo>&) override {
        error = "this client sends nothing";
        return false;
    }
    void queryHistoryOrders(const std::string&, const std::string&, const OrdersAnswer&) override {}
    void queryHistoryDeals(const std::string&, const std::string&, const DealsAnswer&) override {}
};

class CCalendar final : public marlo::IMarketCalendar {
public:
    std::int64_t lastTradeDate(const std::string&) const override { return 1'704'124'800'000; }
};

/// Installs every service while it lives. Make it before the manager, release the manager first.
class CServices {
public:
    CServices(const std::string& tradeDate, const std::vector<std::string>& accounts)
        : m_pCenter(boost::make_shared<CCenter>(tradeDate, accounts)) {
        install(m_pCenter, boost::make_shared<adapters::CThreadEngine>(),
                boost::make_shared<CStocks>(), boost::make_shared<CRules>());
        utils::CSingletonT<TC::CAppConfig>::install(boost::make_shared<CConfig>());
        utils::CSingletonT<TC::CUserConfig>::install(boost::make_shared<CUser>());
        utils::CSingletonT<TC::IDataDirectory>::install(boost::make_shared<CDirectory>());
        utils::CSingletonT<TC::CTimeService>::install(boost::make_shared<CTime>());
        utils::CSingletonT<marlo::IMarketCalendar>::install(boost::make_shared<CCalendar>());
        utils::CSingletonT<TC::CDovCommandCenter>::install(boost::make_shared<CCommands>());
        utils::CSingletonT<TC::CProxyClient>::install(boost::make_shared<TC::CProxyClient>());
        utils::CManualSingletonT<TC::CQuoteClient>::install(m_pQuotes);
        utils::CManualSingletonT<TC::CTradeClient>::install(boost::make_shared<CTrade>());
        utils::CManualSingletonT<TC::CExchangeClient>::install(
            boost::make_shared<TC::CExchangeClient>());
    }
    ~CServices() {
        utils::CManualSingletonT<TC::CExchangeClient>::release();
        utils::CManualSingletonT<TC::CTradeClient>::release();
        utils::CManualSingletonT<TC::CQuoteClient>::release();
        utils::CSingletonT<TC::CProxyClient>::install({});
        utils::CSingletonT<TC::CDovCommandCenter>::install({});
        utils::CSingletonT<marlo::IMarketCalendar>::install({});
        utils::CSingletonT<TC::CTimeService>::install({});
        utils::CSingletonT<TC::IDataDirectory>::install({});
        utils::CSingletonT<TC::CUserConfig>::install({});
        utils::CSingletonT<TC::CAppConfig>::install({});
        install({}, {}, {}, {});
    }
    CServices(const CServices&) = delete;
    CServices& operator=(const CServices&) = delete;

    /// A deal as the wire tells it, and with it a price of its stock.
    void report(const std::string& accountKey,
                const boost::shared_ptr<vexservice::CDealDetail>& deal) {
        auto price = boost::make_shared<vexservice::CPriceData>();
        price->m_strStockKey = deal->m_strMarket + deal->m_strCode;
        price->m_dLastPrice = 10.5;
        m_pQuotes->setPrice(price->m_strStockKey, price);
        const adapters::CAccountRecords* const account = m_pCenter->account(accountKey);
        if (!account) return;
        deal->m_pAccountInfo = account->getAccountInfo();
        m_pCenter->report(accountKey, vexservice::DATA_DEAL, deal);
    }

private:
    static void install(const boost::shared_ptr<CCenter>& center,
                        const boost::shared_ptr<adapters::CThreadEngine>& engine,
                        const boost::shared_ptr<CStocks>& stocks,
                        const boost::shared_ptr<CRules>& rules) {
        vexservice::TraderCenter::install(center);
        utils::CSingletonT<TC::CStockManager>::install(stocks);
        utils::CSingletonT<vexservice::StockTypeCenter>::install(stocks);
        utils::CSingletonT<vexservice::IOrderRules>::install(rules);
        utils::CSingletonT<vexservice::ConfigCollector>::install(rules);
        utils::CSingletonT<net::RPCEngine>::install(engine);
    }

    const boost::shared_ptr<CCenter> m_pCenter;
    const boost::shared_ptr<CQuotes> m_pQuotes = boost::make_shared<CQuotes>();
};

/// A deal of the day as a report tells it.
inline boost::shared_ptr<vexservice::CDealDetail> makeDeal(std::uint64_t key,
                                                           const std::string& stockKey, bool buys,
                                                           int volume, double price,
                                                           const std::string& strategy) {
    auto deal = boost::make_shared<vexservice::CDealDetail>();
    deal->m_nRecordKey = key;
    deal->m_strDealID = std::to_string(key);
    deal->m_strMarket = stockKey.substr(0, 2);
    deal->m_strCode = stockKey.substr(2);
    deal->m_eDirection = buys ? vexservice::ENTRUST_BUY : vexservice::ENTRUST_SELL;
    deal->m_nVolume = volume;
    deal->m_dPrice = price;
    deal->m_dAmount = volume * price;
    deal->m_strTradeDate = "20240102";
    deal->m_strTradeTime = "100000";
    deal->m_pCommand = boost::make_shared<vexservice::CCommandRecord>();
    deal->m_pCommand->m_strStrategyName = strategy;
    return deal;
}

}  // namespace host
