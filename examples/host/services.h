#pragma once

#include "platform/records/dealdetail.h"
#include "platform/services/clientconfig.h"
#include "platform/services/connections.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/rpcengine.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"

#include <QTemporaryDir>

#include <boost/make_shared.hpp>
#include <boost/signals2/signal.hpp>

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

/// The smallest client that the library can live in: accounts and deals in memory, one price, and
/// nothing is ever sent. A real client has its own data behind the same classes.
namespace host {

using vexservice::IData;
using Record = boost::shared_ptr<IData>;

/// One account and the newest report of each of its records.
class CAccount final : public vexservice::CAccountData {
public:
    explicit CAccount(const std::string& key) {
        m_pInfo->m_strKey = m_pInfo->m_strID = key;
        m_pInfo->m_nType = vexservice::ACCOUNT_STOCK;
    }
    std::string getKey() const override { return m_pInfo->m_strKey; }
    boost::shared_ptr<vexservice::CAccountInfo> getAccountInfo() const override { return m_pInfo; }
    void getVector(int type, std::vector<Record>& records) const override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_records.find(type);
        if (found == m_records.end()) return;
        for (const auto& each : found->second) records.push_back(each.second);
    }
    void keep(int type, std::uint64_t recordKey, const Record& record) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_records[type][recordKey] = record;
    }

private:
    const boost::shared_ptr<vexservice::CAccountInfo> m_pInfo =
        boost::make_shared<vexservice::CAccountInfo>();
    mutable std::mutex m_mutex;
    std::map<int, std::map<std::uint64_t, Record>> m_records;
};

/// The trade services. The accounts are there from the beginning.
class CCenter final : public vexservice::TraderCenter,
                      public vexservice::IDataCenter,
                      public vexservice::ITaskCenter,
                      public vexservice::IFeeLimitService {
public:
    CCenter(std::string tradeDate, const std::vector<std::string>& accounts)
        : m_strTradeDate(std::move(tradeDate)) {
        for (const std::string& key : accounts) {
            m_accounts.push_back(boost::make_shared<CAccount>(key));
        }
    }

    IDataCenter* getDataCenter() override { return this; }
    ITaskCenter* getTaskCenter() override { return this; }
    IFeeLimitService* getFeeLimitService() override { return this; }

    void getAllAccountData(
        std::vector<boost::shared_ptr<vexservice::CAccountData>>& accounts) const override {
        accounts.insert(accounts.end(), m_accounts.begin(), m_accounts.end());
    }
    boost::shared_ptr<vexservice::CAccountData> getAccountData(std::uint64_t hash) const override {
        for (const auto& each : m_accounts) {
            if (each->getAccountInfo()->hash() == hash) return each;
        }
        return {};
    }
    boost::shared_ptr<vexservice::CAccountData> getGlobalAccountData() const override {
        return m_pTasks;
    }
    std::string getTradingDate() const override { return m_strTradeDate; }
    boost::signals2::connection subscribe(const std::string& accountKey, int type,
                                          const std::string&, const Callback& callback) override {
        return m_news.connect(
            [accountKey, type, callback](const std::string& of, int what, const Record& record) {
                if (what == type && (accountKey.empty() || accountKey == of)) callback(of, record);
            });
    }

    boost::shared_ptr<vexservice::ITaskHandler> getTaskHandler(std::uint64_t) override {
        return {};
    }
    boost::shared_ptr<vexservice::CStkExchangeRateLimit> getFeeLimits(
        const boost::shared_ptr<vexservice::CAccountInfo>&, const std::string&,
        const std::string&) override {
        return boost::make_shared<vexservice::CStkExchangeRateLimit>();
    }

    /// Keeps a deal, and only then tells of it.
    void report(const std::string& accountKey,
                const boost::shared_ptr<vexservice::CDealDetail>& deal) {
        for (const auto& each : m_accounts) {
            if (each->getKey() != accountKey) continue;
            deal->m_pAccountInfo = each->getAccountInfo();
            each->keep(vexservice::DATA_DEAL, deal->recordKey(), deal);
            m_news(accountKey, vexservice::DATA_DEAL, deal);
        }
    }

private:
    const std::string m_strTradeDate;
    std::vector<boost::shared_ptr<CAccount>> m_accounts;
    const boost::shared_ptr<CAccount> m_pTasks = boost::make_shared<CAccount>("");
    boost::signals2::signal<void(const std::string&, int, const Record&)> m_news;
};

/// One thread on which the library's strand and timers run.
class CEngine final : public net::RPCEngine {
public:
    using Strand = boost::asio::io_service::strand;

    CEngine() : m_thread([this] { m_service.run(); }) {}
    ~CEngine() override {
        m_service.stop();
        m_thread.join();
    }
    boost::shared_ptr<Strand> getStrand(const std::string& name) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        boost::shared_ptr<Strand>& strand = m_strands[name];
        if (!strand) strand = boost::make_shared<Strand>(m_service);
        return strand;
    }

private:
    boost::asio::io_service m_service;
    boost::asio::io_service::work m_work{m_service};
    std::mutex m_mutex;
    std::map<std::string, boost::shared_ptr<Strand>> m_strands;
    std::thread m_thread;
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

class CQuotes final : public TC::CQuoteClient {
public:
    boost::shared_ptr<vexservice::CPriceData> getStockPrice(const QString& stockKey) override {
        auto price = boost::make_shared<vexservice::CPriceData>();
        price->m_strStockKey = stockKey.toStdString();
        price->m_dLastPrice = 10.5;
        return price;
    }
    boost::shared_ptr<TC::CQuoteRequest> request(const QString&,
                                                 const TC::CQuoteRequest::Callback&) override {
        return boost::make_shared<TC::CQuoteRequest>();
    }
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
        install(m_pCenter, boost::make_shared<CEngine>(), boost::make_shared<CStocks>(),
                boost::make_shared<CRules>());
        utils::CSingletonT<TC::CAppConfig>::install(boost::make_shared<CConfig>());
        utils::CSingletonT<TC::CUserConfig>::install(boost::make_shared<CUser>());
        utils::CSingletonT<TC::IDataDirectory>::install(boost::make_shared<CDirectory>());
        utils::CSingletonT<TC::CTimeService>::install(boost::make_shared<CTime>());
        utils::CSingletonT<marlo::IMarketCalendar>::install(boost::make_shared<CCalendar>());
        utils::CSingletonT<TC::CDovCommandCenter>::install(boost::make_shared<CCommands>());
        utils::CSingletonT<TC::CProxyClient>::install(boost::make_shared<TC::CProxyClient>());
        utils::CManualSingletonT<TC::CQuoteClient>::install(boost::make_shared<CQuotes>());
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

    CCenter& center() { return *m_pCenter; }

private:
    static void install(const boost::shared_ptr<CCenter>& center,
                        const boost::shared_ptr<CEngine>& engine,
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
