#include "platform/services/clientconfig.h"
#include "platform/services/connections.h"
#include "platform/utils/clock.h"
#include "tests/adaptercheck/faultkit.h"

namespace faulty {

namespace {

struct User : TC::CUserConfig {
    TC::CUserConfig* real = TC::getUserConfig();
    double unset = 0.0, percent = 10.0;
    bool inPlace = false;
    boost::signals2::scoped_connection forwarded;
    mutable TC::CTradeSetting block;

    QString getUserDataString(TC::EUserMember member) const override {
        return real->getUserDataString(member);
    }
    double getUserDataDouble(TC::EUserMember member) const override {
        const bool limit = member == TC::USER_LIMIT_PERCENT || member == TC::USER_LIMIT_PERCENT_ST;
        return limit ? percent : unset;
    }
    const void* getUserDataAddress(TC::EUserMember member) const override {
        const void* const address = real->getUserDataAddress(member);
        if (!inPlace || !address) return address;
        block = TC::CTradeSetting(address);
        return &block;
    }
    void forward() {
        forwarded = real->m_sigUserDataChanged.connect([this] { m_sigUserDataChanged(); });
    }
};

adaptercheck::Factory user(std::function<void(User&)> change) {
    return with([change](Adapter&) {
        const auto service = boost::make_shared<User>();
        change(*service);
        CSingletonT<TC::CUserConfig>::install(service);
    });
}

struct Directory : TC::IDataDirectory {
    QString path() const override { return QStringLiteral("/tmp/data/"); }
};
struct Config : TC::CAppConfig {
    bool isClientType(TC::EClientType) const override { return false; }
    std::string fileEncoding() const override { return "utf8"; }
};
struct Time : TC::CTimeService {
    std::int64_t currentTime() const override {
        return utils::currentClock().nowMicros() / 1'000'000;
    }
};
struct Calendar : marlo::IMarketCalendar {
    std::int64_t shift = 0;
    std::optional<bool> trades;
    std::int64_t lastTradeDate(const std::string&) const override {
        return 1'704'124'800'000 + shift;  // midnight of 2024-01-02 in Shanghai
    }
    std::optional<bool> isTradingDay(const std::string&, const std::string&) const override {
        return trades;
    }
};
struct Engine : net::RPCEngine {
    boost::asio::io_service idle;
    boost::asio::io_service* service = &idle;
    bool shares = false;
    boost::shared_ptr<boost::asio::io_service::strand> kept;
    boost::shared_ptr<boost::asio::io_service::strand> getStrand(const std::string&) override {
        if (!kept || !shares) kept = boost::make_shared<boost::asio::io_service::strand>(*service);
        return kept;
    }
};
struct Registration : ConfigCollector {
    bool useRegistRules() override { return false; }
};

}  // namespace

std::vector<Fault> clientFaults() {
    using CalendarService = As<marlo::IMarketCalendar, Calendar>;
    using EngineService = As<net::RPCEngine, Engine>;
    return {
        {"a service is forgotten", {101, 711}, with([](Adapter&) {
             CSingletonT<ConfigCollector>::release();
         })},
        {"a service is left behind",
         {102},
         [] {
             auto made = adapter();
             made->onRemove = [] {
                 CSingletonT<ConfigCollector>::install(boost::make_shared<Registration>());
             };
             return made;
         }},
        {"no task center", {103, 411}, center([](Center& at) { at.tasks = nullptr; })},
        {"a number for an unset member", {104}, user([](User& at) {
             at.forward();
             at.unset = 1.0;
         })},
        {"limits as fractions", {105}, user([](User& at) {
             at.forward();
             at.percent = 0.1;
         })},
        {"a block changes in place", {106}, user([](User& at) {
             at.forward();
             at.inPlace = true;
         })},
        {"settings are not announced", {107}, user([](User&) {})},
        {"a separator at the end", {108}, service<As<TC::IDataDirectory, Directory>>(nothing)},
        {"an unknown encoding", {109}, service<As<TC::CAppConfig, Config>>(nothing)},
        {"seconds", {110}, service<As<TC::CTimeService, Time>>(nothing)},
        {"midnight of another zone", {111}, service<CalendarService>([](Calendar& at, Adapter&) {
             at.shift = 8 * 3'600'000;
         })},
        {"a trading day is denied", {112}, service<CalendarService>([](Calendar& at, Adapter&) {
             at.trades = false;
         })},
        {"a strand for each who asks",
         {113},
         service<EngineService>(
             [](Engine& at, Adapter& adapter) { at.service = &adapter.loop().service(); })},
        {"nobody runs the engine", {114, 118}, service<EngineService>([](Engine& at, Adapter&) {
             at.shares = true;
         })},
        {"a repeated login is not told",
         {115},
         [] {
             auto made = adapter();
             made->onLogin = [told = false](Adapter& at) mutable {
                 if (!std::exchange(told, true)) at.client().login(true, {});
                 return true;
             };
             return made;
         }},
        {"a date is told before it is known",
         {116},
         [] {
             auto made = adapter();
             made->onDate = [](const std::string& date) {
                 Q_EMIT CManualSingletonT<TC::CExchangeClient>::instance()->sigNewTradingDate(date);
                 return true;
             };
             return made;
         }},
        {"a login is told of a connection that is down",
         {117},
         [] {
             auto made = adapter();
             made->onDisconnect = [](Adapter& at) {
                 at.client().login(true, {});
                 return at.Base::disconnect();
             };
             return made;
         }},
        {"the engine ends with an exception",
         {118},
         [] {
             auto made = adapter();
             made->onSettle = [dead = false](Adapter& at) mutable {
                 try {
                     return dead || at.Base::settle();
                 } catch (...) {
                     return dead = true;
                 }
             };
             return made;
         }},
    };
}

}  // namespace faulty
