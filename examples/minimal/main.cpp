// A whole client in one file: every service that the library asks for, the manager, a deal, its
// figures, and what a balance would send. The account and its deals are in memory, every stock has
// one price, and nothing is ever sent. A real client has its own data behind the same classes.

#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/startup.h"
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

#include <QCoreApplication>
#include <QTemporaryDir>

#include <boost/make_shared.hpp>
#include <boost/signals2/signal.hpp>

#include <chrono>
#include <cstdio>
#include <map>
#include <mutex>
#include <thread>

namespace {

using namespace vexservice;
using boost::shared_ptr;
using Record = shared_ptr<IData>;

/// An account, and the newest report of each of its records.
class CAccount final : public CAccountData {
public:
    explicit CAccount(const std::string& key) {
        m_pInfo->m_strKey = m_pInfo->m_strID = key;
        m_pInfo->m_nType = ACCOUNT_STOCK;
    }
    std::string getKey() const override { return m_pInfo->m_strKey; }
    shared_ptr<CAccountInfo> getAccountInfo() const override { return m_pInfo; }
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
    const shared_ptr<CAccountInfo> m_pInfo = boost::make_shared<CAccountInfo>();
    mutable std::mutex m_mutex;
    std::map<int, std::map<std::uint64_t, Record>> m_records;
};

/// The trade services, with one account. There are neither tasks nor fees.
class CTrading final : public TraderCenter,
                       public IDataCenter,
                       public ITaskCenter,
                       public IFeeLimitService {
public:
    IDataCenter* getDataCenter() override { return this; }
    ITaskCenter* getTaskCenter() override { return this; }
    IFeeLimitService* getFeeLimitService() override { return this; }

    std::string getTradingDate() const override { return "20240102"; }
    void getAllAccountData(std::vector<shared_ptr<CAccountData>>& accounts) const override {
        accounts.push_back(m_pAccount);
    }
    shared_ptr<CAccountData> getAccountData(std::uint64_t hash) const override {
        return m_pAccount->getAccountInfo()->hash() == hash ? m_pAccount : nullptr;
    }
    shared_ptr<CAccountData> getGlobalAccountData() const override { return m_pTasks; }
    boost::signals2::connection subscribe(const std::string& accountKey, int type,
                                          const std::string&, const Callback& callback) override {
        return m_news.connect([=](const std::string& of, int what, const Record& record) {
            if (what == type && (accountKey.empty() || accountKey == of)) callback(of, record);
        });
    }
    shared_ptr<ITaskHandler> getTaskHandler(std::uint64_t) override { return {}; }
    shared_ptr<CStkExchangeRateLimit> getFeeLimits(const shared_ptr<CAccountInfo>&,
                                                   const std::string&,
                                                   const std::string&) override {
        return boost::make_shared<CStkExchangeRateLimit>();
    }

    /// Keeps a deal, and only then tells of it: the library may read the account's records at
    /// any time, and expects to find there what it was told.
    void report(const shared_ptr<CDealDetail>& deal) {
        deal->m_pAccountInfo = m_pAccount->getAccountInfo();
        m_pAccount->keep(DATA_DEAL, deal->recordKey(), deal);
        m_news(m_pAccount->getKey(), DATA_DEAL, deal);
    }

private:
    const shared_ptr<CAccount> m_pAccount = boost::make_shared<CAccount>("10001");
    const shared_ptr<CAccount> m_pTasks = boost::make_shared<CAccount>("");
    boost::signals2::signal<void(const std::string&, int, const Record&)> m_news;
};

/// One thread, on which the library's strand and timers run.
class CEngine final : public net::RPCEngine {
public:
    using Strand = boost::asio::io_service::strand;

    CEngine() : m_thread([this] { m_service.run(); }) {}
    ~CEngine() override {
        m_service.stop();
        m_thread.join();
    }
    shared_ptr<Strand> getStrand(const std::string& name) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        shared_ptr<Strand>& strand = m_strands[name];
        if (!strand) strand = boost::make_shared<Strand>(m_service);
        return strand;
    }

private:
    boost::asio::io_service m_service;
    boost::asio::io_service::work m_work{m_service};
    std::mutex m_mutex;
    std::map<std::string, shared_ptr<Strand>> m_strands;
    std::thread m_thread;
};

/// What the client knows of itself, its user and its day.
class CApplication final : public TC::CAppConfig,
                           public TC::IDataDirectory,
                           public TC::CTimeService,
                           public marlo::IMarketCalendar {
public:
    bool isClientType(TC::EClientType type) const override {
        return type == TC::CLIENT_TYPE_STANDARD;
    }
    QString path() const override { return m_directory.path(); }
    std::int64_t currentTime() const override {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    }
    std::int64_t lastTradeDate(const std::string&) const override { return 1'704'124'800'000; }

private:
    QTemporaryDir m_directory;
};
class CUser final : public TC::CUserConfig {
public:
    QString getUserDataString(TC::EUserMember) const override { return "trader"; }
    double getUserDataDouble(TC::EUserMember) const override { return 10.0; }
    const void* getUserDataAddress(TC::EUserMember) const override { return nullptr; }
};

/// Every stock exists, trades in lots of 100, and is ordered at the last price.
class CStocks final : public TC::CStockManager,
                      public StockTypeCenter,
                      public IOrderRules,
                      public ConfigCollector {
public:
    std::shared_ptr<CInstrumentDetail> getInstrumentDetail(const QString& stockKey) override {
        auto detail = std::make_shared<CInstrumentDetail>();
        detail->m_strMarket = stockKey.left(2).toStdString();
        detail->m_strCode = stockKey.mid(2).toStdString();
        detail->m_dReferencePrice = 10.0;
        return detail;
    }
    bool isTypedStock(int, const std::string&, const std::string&) override { return false; }
    int tradeMinUnit(const std::string&, const std::string&) override { return 100; }
    void orderSettingToParam(const COrderSetting& setting, CCodeOrderParam& order, EOperationType,
                             int, double, const shared_ptr<CPriceData>&) override {
        order.m_ePriceType = setting.m_ePriceType;
    }
    double getPriceForOrder(const shared_ptr<CPriceData>& quote, EPriceType,
                            EOperationType) override {
        return quote ? quote->m_dLastPrice : 0.0;
    }
    void fixTimeRange(CCodeOrderParam&) override {}
    bool useRegistRules() override { return false; }
};

class CQuotes final : public TC::CQuoteClient {
public:
    shared_ptr<CPriceData> getStockPrice(const QString& stockKey) override {
        auto price = boost::make_shared<CPriceData>();
        price->m_strStockKey = stockKey.toStdString();
        price->m_dLastPrice = 10.5;
        return price;
    }
    shared_ptr<TC::CQuoteRequest> request(const QString&,
                                          const TC::CQuoteRequest::Callback&) override {
        return boost::make_shared<TC::CQuoteRequest>();
    }
    void queryMinuteBars(const QString&, const std::string&, const BarsAnswer&) override {}
};

/// What would go to the server, which this client does not have.
class CCommands final : public TC::CDovCommandCenter {
public:
    void createCommand(const shared_ptr<COrderComandParam>&,
                       const boost::function<void(utils::VexError, int)>&, bool, int) override {}
    void operateServerTask(
        const std::string&, const shared_ptr<CTaskOpRecord>&, const shared_ptr<CAccountInfo>&,
        const boost::function<void(const utils::VexError&, mongo::BSONObj)>&) override {}
};
class CTrade final : public TC::CTradeClient {
public:
    bool cancelOrder(const shared_ptr<COrderDetail>&, QString& error, int, QString,
                     const shared_ptr<TC::COrderAuxInfo>&) override {
        error = "this client sends nothing";
        return false;
    }
    void queryHistoryOrders(const std::string&, const std::string&, const OrdersAnswer&) override {}
    void queryHistoryDeals(const std::string&, const std::string&, const DealsAnswer&) override {}
};

/// Installs a service, or takes it away when `made` is empty.
template <class Service>
void install(const shared_ptr<Service>& made) {
    utils::CSingletonT<Service>::install(made);
}
template <class Service>
void installManual(const shared_ptr<Service>& made) {
    utils::CManualSingletonT<Service>::install(made);
}

/// Every service is there while this lives.
struct Services {
    const shared_ptr<CTrading> trading = boost::make_shared<CTrading>();

    Services() {
        const auto application = boost::make_shared<CApplication>();
        const auto stocks = boost::make_shared<CStocks>();
        TraderCenter::install(trading);
        install<net::RPCEngine>(boost::make_shared<CEngine>());
        install<TC::CAppConfig>(application);
        install<TC::IDataDirectory>(application);
        install<TC::CTimeService>(application);
        install<marlo::IMarketCalendar>(application);
        install<TC::CUserConfig>(boost::make_shared<CUser>());
        install<TC::CStockManager>(stocks);
        install<StockTypeCenter>(stocks);
        install<IOrderRules>(stocks);
        install<ConfigCollector>(stocks);
        install<TC::CDovCommandCenter>(boost::make_shared<CCommands>());
        install<TC::CProxyClient>(boost::make_shared<TC::CProxyClient>());
        installManual<TC::CExchangeClient>(boost::make_shared<TC::CExchangeClient>());
        installManual<TC::CQuoteClient>(boost::make_shared<CQuotes>());
        installManual<TC::CTradeClient>(boost::make_shared<CTrade>());
    }
    /// The rest may stay until the process ends; what has a thread or belongs to Qt may not.
    ~Services() {
        installManual<TC::CTradeClient>({});
        installManual<TC::CExchangeClient>({});
        install<TC::CProxyClient>({});
        install<net::RPCEngine>({});
    }
};

shared_ptr<CDealDetail> aDeal() {
    auto deal = boost::make_shared<CDealDetail>();
    deal->m_nRecordKey = 1;
    deal->m_strDealID = "1";
    deal->m_strMarket = "SH";
    deal->m_strCode = "600000";
    deal->m_eDirection = ENTRUST_BUY;
    deal->m_nVolume = 300;
    deal->m_dPrice = 10.0;
    deal->m_dAmount = 3000.0;
    deal->m_strTradeDate = "20240102";
    deal->m_strTradeTime = "100000";
    deal->m_pCommand = boost::make_shared<CCommandRecord>();
    deal->m_pCommand->m_strStrategyName = "S";
    return deal;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const Services services;
    for (const TC::MissingService& each : TC::missingServices()) {
        std::fprintf(stderr, "missing: %s\n", each.name.c_str());
    }

    using Linkage = utils::CSingletonT<TC::CLinkageManager>;
    TC::CLinkageManager& linkage = *Linkage::instance();
    // The signal comes on the library's strand; this thread wakes up and asks.
    linkage.sigStatDataChanged.connect([&] {
        QMetaObject::invokeMethod(&application, [&] {
            if (!linkage.getTradeStatDatas("10001", "S").empty()) application.quit();
        });
    });
    linkage.init();
    if (!linkage.isInited()) return 1;
    services.trading->report(aDeal());
    application.exec();

    for (const auto& stock : linkage.getTradeStatDatas("10001", "S")) {
        std::printf("%s: bought %d\n", stock.first.c_str(),
                    stock.second->deals().m_nBuyVolume.get());
    }
    for (const TC::StockBalance& stock : linkage.previewBalance("10001", "S").stocks) {
        std::printf("%s: a balance would %s %lld\n", stock.stockKey.c_str(),
                    stock.side == vexservice::OPT_SELL ? "sell" : "buy",
                    static_cast<long long>(stock.volume));
    }
    Linkage::release();
    return 0;
}
