#pragma once

#include "platform/records/taskdetail.h"
#include "platform/services/clientconfig.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/rpcengine.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"

#include <mongo/bson/bson.h>

#include <boost/make_shared.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Every service that is installed, behind one that says of each call that it is asked.
namespace asked {

using namespace vexservice;

/// Hears of a call ("IDataCenter::subscribe") before it is answered. What it throws is what the
/// service throws; when it gives false, the service answers with nothing.
using Hear = std::function<bool(const std::string& call)>;

struct Asked {
    std::shared_ptr<Hear> hear;

    template <class Answer>
    auto ask(const char* call, const Answer& answer) const -> decltype(answer()) {
        if (*hear && !(*hear)(call)) return decltype(answer())();
        return answer();
    }
};

struct Account : CAccountData, Asked {
    Account(const Asked& asked, boost::shared_ptr<CAccountData> data)
        : Asked(asked), real(std::move(data)) {}
    boost::shared_ptr<CAccountData> real;

    std::string getKey() const override { return real->getKey(); }
    boost::shared_ptr<CAccountInfo> getAccountInfo() const override {
        return ask("CAccountData::getAccountInfo", [&] { return real->getAccountInfo(); });
    }
    void getVector(int type, std::vector<boost::shared_ptr<IData>>& records) const override {
        ask("CAccountData::getVector", [&] { real->getVector(type, records); });
    }
};

struct Handler : ITaskHandler, Asked {
    Handler(const Asked& asked, boost::shared_ptr<ITaskHandler> handler)
        : Asked(asked), real(std::move(handler)) {}
    boost::shared_ptr<ITaskHandler> real;

    void operate(const boost::shared_ptr<CTaskOpRecord>& record) override {
        ask("ITaskHandler::operate", [&] { real->operate(record); });
    }
};

struct Center : TraderCenter, IDataCenter, ITaskCenter, IFeeLimitService, Asked {
    explicit Center(const Asked& asked) : Asked(asked) {}
    IDataCenter* data = TraderCenter::instance()->getDataCenter();
    ITaskCenter* tasks = TraderCenter::instance()->getTaskCenter();
    IFeeLimitService* fees = TraderCenter::instance()->getFeeLimitService();

    IDataCenter* getDataCenter() override {
        return ask("TraderCenter::getDataCenter", [&]() -> IDataCenter* { return this; });
    }
    ITaskCenter* getTaskCenter() override {
        return ask("TraderCenter::getTaskCenter", [&]() -> ITaskCenter* { return this; });
    }
    IFeeLimitService* getFeeLimitService() override {
        return ask("TraderCenter::getFeeLimitService", [&]() -> IFeeLimitService* { return this; });
    }
    boost::shared_ptr<CAccountData> wrapped(boost::shared_ptr<CAccountData> account) const {
        if (!account) return {};
        return boost::make_shared<Account>(*this, std::move(account));
    }
    void getAllAccountData(std::vector<boost::shared_ptr<CAccountData>>& all) const override {
        ask("IDataCenter::getAllAccountData", [&] {
            data->getAllAccountData(all);
            for (auto& each : all) each = wrapped(each);
        });
    }
    boost::shared_ptr<CAccountData> getAccountData(std::uint64_t hash) const override {
        return ask("IDataCenter::getAccountData",
                   [&] { return wrapped(data->getAccountData(hash)); });
    }
    boost::shared_ptr<CAccountData> getGlobalAccountData() const override {
        return ask("IDataCenter::getGlobalAccountData",
                   [&] { return wrapped(data->getGlobalAccountData()); });
    }
    std::string getTradingDate() const override {
        return ask("IDataCenter::getTradingDate", [&] { return data->getTradingDate(); });
    }
    boost::signals2::connection subscribe(const std::string& key, int type,
                                          const std::string& filter,
                                          const Callback& heard) override {
        return ask("IDataCenter::subscribe",
                   [&] { return data->subscribe(key, type, filter, heard); });
    }
    boost::shared_ptr<ITaskHandler> getTaskHandler(std::uint64_t number) override {
        return ask("ITaskCenter::getTaskHandler", [&]() -> boost::shared_ptr<ITaskHandler> {
            auto handler = tasks->getTaskHandler(number);
            if (!handler) return {};
            return boost::make_shared<Handler>(*this, std::move(handler));
        });
    }
    boost::shared_ptr<CStkExchangeRateLimit> getFeeLimits(
        const boost::shared_ptr<CAccountInfo>& account, const std::string& market,
        const std::string& code) override {
        return ask("IFeeLimitService::getFeeLimits",
                   [&] { return fees->getFeeLimits(account, market, code); });
    }
};

struct Engine : net::RPCEngine, Asked {
    explicit Engine(const Asked& asked) : Asked(asked) {}
    net::RPCEngine* real = utils::CSingletonT<net::RPCEngine>::instance();

    boost::shared_ptr<boost::asio::io_service::strand> getStrand(const std::string& name) override {
        return ask("RPCEngine::getStrand", [&] { return real->getStrand(name); });
    }
};

struct AppConfig : TC::CAppConfig, Asked {
    explicit AppConfig(const Asked& asked) : Asked(asked) {}
    TC::CAppConfig* real = utils::CSingletonT<TC::CAppConfig>::instance();

    bool isClientType(TC::EClientType type) const override {
        return ask("CAppConfig::isClientType", [&] { return real->isClientType(type); });
    }
    std::string fileEncoding() const override {
        return ask("CAppConfig::fileEncoding", [&] { return real->fileEncoding(); });
    }
};

struct User : TC::CUserConfig, Asked {
    explicit User(const Asked& asked) : Asked(asked) {}
    TC::CUserConfig* real = TC::getUserConfig();

    QString getUserDataString(TC::EUserMember member) const override {
        return ask("CUserConfig::getUserDataString",
                   [&] { return real->getUserDataString(member); });
    }
    double getUserDataDouble(TC::EUserMember member) const override {
        return ask("CUserConfig::getUserDataDouble",
                   [&] { return real->getUserDataDouble(member); });
    }
    const void* getUserDataAddress(TC::EUserMember member) const override {
        return ask("CUserConfig::getUserDataAddress",
                   [&] { return real->getUserDataAddress(member); });
    }
};

struct Directory : TC::IDataDirectory, Asked {
    explicit Directory(const Asked& asked) : Asked(asked) {}
    TC::IDataDirectory* real = utils::CSingletonT<TC::IDataDirectory>::instance();

    QString path() const override {
        return ask("IDataDirectory::path", [&] { return real->path(); });
    }
};

struct Time : TC::CTimeService, Asked {
    explicit Time(const Asked& asked) : Asked(asked) {}
    TC::CTimeService* real = TC::getTimeService();

    std::int64_t currentTime() const override {
        return ask("CTimeService::currentTime", [&] { return real->currentTime(); });
    }
};

struct Calendar : marlo::IMarketCalendar, Asked {
    explicit Calendar(const Asked& asked) : Asked(asked) {}
    marlo::IMarketCalendar* real = utils::CSingletonT<marlo::IMarketCalendar>::instance();

    std::int64_t lastTradeDate(const std::string& market) const override {
        return ask("IMarketCalendar::lastTradeDate", [&] { return real->lastTradeDate(market); });
    }
    std::optional<bool> isTradingDay(const std::string& market,
                                     const std::string& day) const override {
        return ask("IMarketCalendar::isTradingDay",
                   [&] { return real->isTradingDay(market, day); });
    }
};

struct Stocks : TC::CStockManager, Asked {
    explicit Stocks(const Asked& asked) : Asked(asked) {}
    TC::CStockManager* real = utils::CSingletonT<TC::CStockManager>::instance();

    std::shared_ptr<CInstrumentDetail> getInstrumentDetail(const QString& key) override {
        return ask("CStockManager::getInstrumentDetail",
                   [&] { return real->getInstrumentDetail(key); });
    }
};

struct Types : StockTypeCenter, Asked {
    explicit Types(const Asked& asked) : Asked(asked) {}
    StockTypeCenter* real = utils::CSingletonT<StockTypeCenter>::instance();

    bool isTypedStock(int type, const std::string& market, const std::string& code) override {
        return ask("StockTypeCenter::isTypedStock",
                   [&] { return real->isTypedStock(type, market, code); });
    }
    int tradeMinUnit(const std::string& market, const std::string& code) override {
        return ask("StockTypeCenter::tradeMinUnit",
                   [&] { return real->tradeMinUnit(market, code); });
    }
};

struct Rules : IOrderRules, ConfigCollector, Asked {
    explicit Rules(const Asked& asked) : Asked(asked) {}
    IOrderRules* rules = utils::CSingletonT<IOrderRules>::instance();
    ConfigCollector* switches = ConfigCollector::instance();

    void orderSettingToParam(const COrderSetting& setting, CCodeOrderParam& order,
                             EOperationType operation, int volume, double price,
                             const boost::shared_ptr<CPriceData>& quote) override {
        ask("IOrderRules::orderSettingToParam",
            [&] { rules->orderSettingToParam(setting, order, operation, volume, price, quote); });
    }
    double getPriceForOrder(const boost::shared_ptr<CPriceData>& quote, EPriceType type,
                            EOperationType operation) override {
        return ask("IOrderRules::getPriceForOrder",
                   [&] { return rules->getPriceForOrder(quote, type, operation); });
    }
    void fixTimeRange(CCodeOrderParam& order) override {
        ask("IOrderRules::fixTimeRange", [&] { rules->fixTimeRange(order); });
    }
    bool useRegistRules() override {
        return ask("ConfigCollector::useRegistRules", [&] { return switches->useRegistRules(); });
    }
};

struct Quotes : TC::CQuoteClient, Asked {
    explicit Quotes(const Asked& asked) : Asked(asked) {}
    TC::CQuoteClient* real = utils::CManualSingletonT<TC::CQuoteClient>::instance();

    boost::shared_ptr<CPriceData> getStockPrice(const QString& key) override {
        return ask("CQuoteClient::getStockPrice", [&] { return real->getStockPrice(key); });
    }
    boost::shared_ptr<TC::CQuoteRequest> request(
        const QString& key, const TC::CQuoteRequest::Callback& heard) override {
        return ask("CQuoteClient::request", [&] { return real->request(key, heard); });
    }
    void queryMinuteBars(const QString& key, const std::string& day,
                         const BarsAnswer& answer) override {
        ask("CQuoteClient::queryMinuteBars", [&] { real->queryMinuteBars(key, day, answer); });
    }
};

struct Commands : TC::CDovCommandCenter, Asked {
    explicit Commands(const Asked& asked) : Asked(asked) {}
    TC::CDovCommandCenter* real = utils::CSingletonT<TC::CDovCommandCenter>::instance();

    void createCommand(const boost::shared_ptr<COrderComandParam>& command,
                       const boost::function<void(utils::VexError, int)>& completion, bool checked,
                       int source) override {
        ask("CDovCommandCenter::createCommand",
            [&] { real->createCommand(command, completion, checked, source); });
    }
    void operateServerTask(
        const std::string& key, const boost::shared_ptr<CTaskOpRecord>& record,
        const boost::shared_ptr<CAccountInfo>& account,
        const boost::function<void(const utils::VexError&, mongo::BSONObj)>& completion) override {
        ask("CDovCommandCenter::operateServerTask",
            [&] { real->operateServerTask(key, record, account, completion); });
    }
};

struct Trade : TC::CTradeClient, Asked {
    explicit Trade(const Asked& asked) : Asked(asked) {
        QObject::connect(real, &TC::CTradeClient::sigInitedAccountData, this,
                         &TC::CTradeClient::sigInitedAccountData);
    }
    TC::CTradeClient* real = utils::CManualSingletonT<TC::CTradeClient>::instance();

    bool cancelOrder(const boost::shared_ptr<COrderDetail>& order, QString& error, int batch,
                     QString remark, const boost::shared_ptr<TC::COrderAuxInfo>& aux) override {
        return ask("CTradeClient::cancelOrder",
                   [&] { return real->cancelOrder(order, error, batch, remark, aux); });
    }
    void queryHistoryOrders(const std::string& key, const std::string& day,
                            const OrdersAnswer& answer) override {
        ask("CTradeClient::queryHistoryOrders",
            [&] { real->queryHistoryOrders(key, day, answer); });
    }
    void queryHistoryDeals(const std::string& key, const std::string& day,
                           const DealsAnswer& answer) override {
        ask("CTradeClient::queryHistoryDeals", [&] { real->queryHistoryDeals(key, day, answer); });
    }
};

/// Puts itself before the services of the paper client, which stay behind it and take all away in
/// the end.
inline void install(Hear hear) {
    using utils::CManualSingletonT;
    using utils::CSingletonT;
    const Asked asked{std::make_shared<Hear>(std::move(hear))};
    const auto rules = boost::make_shared<Rules>(asked);
    TraderCenter::install(boost::make_shared<Center>(asked));
    CSingletonT<net::RPCEngine>::install(boost::make_shared<Engine>(asked));
    CSingletonT<TC::CAppConfig>::install(boost::make_shared<AppConfig>(asked));
    CSingletonT<TC::CUserConfig>::install(boost::make_shared<User>(asked));
    CSingletonT<TC::IDataDirectory>::install(boost::make_shared<Directory>(asked));
    CSingletonT<TC::CTimeService>::install(boost::make_shared<Time>(asked));
    CSingletonT<marlo::IMarketCalendar>::install(boost::make_shared<Calendar>(asked));
    CSingletonT<TC::CStockManager>::install(boost::make_shared<Stocks>(asked));
    CSingletonT<StockTypeCenter>::install(boost::make_shared<Types>(asked));
    CSingletonT<IOrderRules>::install(rules);
    CSingletonT<ConfigCollector>::install(rules);
    CSingletonT<TC::CDovCommandCenter>::install(boost::make_shared<Commands>(asked));
    CManualSingletonT<TC::CQuoteClient>::install(boost::make_shared<Quotes>(asked));
    CManualSingletonT<TC::CTradeClient>::install(boost::make_shared<Trade>(asked));
}

}  // namespace asked
