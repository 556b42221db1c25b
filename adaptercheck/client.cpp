#include "adaptercheck/cases.h"
#include "adaptercheck/world.h"
#include "platform/services/clientconfig.h"
#include "platform/services/connections.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/rpcengine.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/utils/clock.h"

#include <QDateTime>

#include <boost/thread/lock_guard.hpp>

#include <cmath>

/// What the client says of itself, its connections and its engine.
namespace adaptercheck {

namespace {

using utils::CManualSingletonT;
using utils::CSingletonT;

struct Service {
    const char* name;
    bool (*exists)();
};

const std::vector<Service>& services() {
    static const std::vector<Service> all = {
        {"vexservice::TraderCenter", CSingletonT<vexservice::TraderCenter>::exists},
        {"net::RPCEngine", CSingletonT<net::RPCEngine>::exists},
        {"TC::CAppConfig", CSingletonT<TC::CAppConfig>::exists},
        {"TC::CUserConfig", CSingletonT<TC::CUserConfig>::exists},
        {"TC::IDataDirectory", CSingletonT<TC::IDataDirectory>::exists},
        {"TC::CTimeService", CSingletonT<TC::CTimeService>::exists},
        {"marlo::IMarketCalendar", CSingletonT<marlo::IMarketCalendar>::exists},
        {"TC::CProxyClient", CSingletonT<TC::CProxyClient>::exists},
        {"TC::CExchangeClient", CManualSingletonT<TC::CExchangeClient>::exists},
        {"TC::CTradeClient", CManualSingletonT<TC::CTradeClient>::exists},
        {"TC::CQuoteClient", CManualSingletonT<TC::CQuoteClient>::exists},
        {"TC::CStockManager", CSingletonT<TC::CStockManager>::exists},
        {"vexservice::StockTypeCenter", CSingletonT<vexservice::StockTypeCenter>::exists},
        {"vexservice::IOrderRules", CSingletonT<vexservice::IOrderRules>::exists},
        {"vexservice::ConfigCollector", CSingletonT<vexservice::ConfigCollector>::exists},
        {"TC::CDovCommandCenter", CSingletonT<TC::CDovCommandCenter>::exists},
    };
    return all;
}

std::string named(bool installed) {
    std::string names;
    for (const Service& service : services()) {
        if (service.exists() == installed) names += std::string(" ") + service.name;
    }
    return names;
}

void servicesAreInstalled(CStage&) {
    expect(named(false).empty(), "not installed:" + named(false));
}

void servicesAreTakenAway(CStage& stage) {
    stage.remove();
    expect(named(true).empty(), "still installed:" + named(true));
}

void noPartIsNull(CStage&) {
    auto* const center = vexservice::TraderCenter::instance();
    expect(center->getDataCenter() != nullptr, "getDataCenter() gives null");
    expect(center->getTaskCenter() != nullptr, "getTaskCenter() gives null");
    expect(center->getFeeLimitService() != nullptr, "getFeeLimitService() gives null");
}

void unsetMembersAreEmpty(CStage&) {
    constexpr auto NOBODYS = static_cast<TC::EUserMember>(987'654);
    const TC::CUserConfig* const user = TC::getUserConfig();
    expect(user->getUserDataString(NOBODYS).isEmpty(), "an unknown member has a text");
    expect(user->getUserDataDouble(NOBODYS) == 0.0, "an unknown member has a number");
    expect(user->getUserDataAddress(NOBODYS) == nullptr, "an unknown member has a block");
}

void limitsAreInPercent(CStage&) {
    for (const auto member : {TC::USER_LIMIT_PERCENT, TC::USER_LIMIT_PERCENT_ST}) {
        const double percent = TC::getUserConfig()->getUserDataDouble(member);
        expect(percent == 0.0 || (percent >= 1.0 && percent <= 100.0),
               "member " + std::to_string(member) + " is " + std::to_string(percent));
    }
}

void settingsStay(CStage& stage) {
    const auto address = [] {
        return TC::getUserConfig()->getUserDataAddress(TC::USER_TRADE_SETTING);
    };
    need(stage.adapter().changeSettings(), "a change of the user's settings");
    stage.await([&] { return address() != nullptr; });
    const void* const block = address();
    expect(block != nullptr, "the settings have changed, and there is no block of them");
    const TC::CTradeSetting before(block);
    need(stage.adapter().changeSettings(), "a second change of the user's settings");
    stage.await([&] { return address() != block; });
    const TC::CTradeSetting after(block);
    for (const auto part : {&TC::CTradeSetting::m_stock, &TC::CTradeSetting::m_credit}) {
        expect((before.*part).m_ePriceType == (after.*part).m_ePriceType &&
                   (before.*part).m_dPrice == (after.*part).m_dPrice,
               "a block that was handed out has changed");
    }
}

void settingsAreAnnounced(CStage& stage) {
    TC::CUserConfig* const user = TC::getUserConfig();
    const auto told = std::make_shared<std::atomic<int>>(0);
    boost::signals2::scoped_connection connection;
    {
        const boost::lock_guard lock(user->m_mutex);
        connection = user->m_sigUserDataChanged.connect([told] { ++*told; });
    }
    need(stage.adapter().changeSettings(), "a change of the user's settings");
    expect(stage.await([&] { return *told > 0; }), "m_sigUserDataChanged was not raised");
}

void dataHasAPlace(CStage&) {
    const QString path = TC::getDataDir();
    expect(!path.isEmpty(), "the path is empty");
    expect(!path.endsWith('/') && !path.endsWith('\\'), "it ends with a separator");
}

void encodingIsKnown(CStage&) {
    const std::string encoding = CSingletonT<TC::CAppConfig>::instance()->fileEncoding();
    expect(encoding == "UTF-8" || encoding == "GBK", "the encoding is \"" + encoding + "\"");
}

void timeIsInMilliseconds(CStage&) {
    constexpr double DAY = 24.0 * 60 * 60 * 1000;
    const auto here = static_cast<double>(utils::currentClock().nowMicros()) / 1000.0;
    const auto told = static_cast<double>(TC::getTimeService()->currentTime());
    expect(std::fabs(told - here) < DAY,
           "it tells " + std::to_string(told) + ", and the clock " + std::to_string(here));
}

void lastTradeDateIsMidnight(CStage&) {
    const std::int64_t told = marlo::getMarketLastTradeDate("SH");
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(told);
    expect(moment.time() == QTime(0, 0), std::to_string(told) + " is no local midnight");
    const std::string date = moment.toString(QStringLiteral("yyyyMMdd")).toStdString();
    const std::string today = dataCenter().getTradingDate();
    expect(date <= today, "it is " + date + ", and the trade date " + today);
}

void tradedDaysAreNotDenied(CStage& stage) {
    const std::string& day = stage.facts().pastDay;
    need(!day.empty(), "a past day");
    expect(marlo::isMarketTradingDay(stage.facts().market, day) != std::optional(false),
           "the calendar says that nothing was traded on " + day);
}

void strandsAreShared(CStage&) {
    net::RPCEngine* const engine = CSingletonT<net::RPCEngine>::instance();
    const auto first = engine->getStrand("kit");
    expect(first != nullptr, "there is no strand");
    expect(engine->getStrand("kit") == first, "the same name gives two strands");
}

void handlersRun(CStage& stage) {
    const auto strand = CSingletonT<net::RPCEngine>::instance()->getStrand("kit");
    expect(strand != nullptr, "there is no strand");
    const auto ran = std::make_shared<std::atomic<bool>>(false);
    strand->post([ran] { *ran = true; });
    expect(stage.await([&] { return ran->load(); }), "a handler that was posted did not run");
}

void loginsAreTold(CStage& stage) {
    const auto told = std::make_shared<std::atomic<int>>(0);
    QObject::connect(TC::getProxyClient(), &TC::CProxyClient::sig_loginStatus,
                     [told](TC::EProxyConnectionStatus status) {
                         if (TC::isProxyLoginSuccess(status)) ++*told;
                     });
    need(stage.adapter().login(), "a login");
    expect(stage.await([&] { return *told == 1; }), "a login was not told");
    need(stage.adapter().login(), "a repeated login");
    expect(stage.await([&] { return *told == 2; }), "a repeated login was not told");
}

void handlersMayThrow(CStage& stage) {
    need(stage.facts().survivesHandlers, "threads that go on after an exception");
    struct Thrown {};
    const auto strand = CSingletonT<net::RPCEngine>::instance()->getStrand("kit");
    const auto ran = std::make_shared<std::atomic<bool>>(false);
    strand->post([] { throw Thrown(); });
    strand->post([ran] { *ran = true; });
    bool goesOn = false;
    try {
        goesOn = stage.await([&] { return ran->load(); });
    } catch (const Thrown&) {
        // It left run() on this thread: an adapter that moves in settle() alone.
        goesOn = stage.await([&] { return ran->load(); });
    }
    expect(goesOn, "after a handler that threw, the next one did not run");
}

void silentWhenDown(CStage& stage) {
    const auto told = std::make_shared<std::atomic<int>>(0);
    QObject::connect(TC::getProxyClient(), &TC::CProxyClient::sig_loginStatus,
                     [told](TC::EProxyConnectionStatus status) {
                         if (TC::isProxyLoginSuccess(status)) ++*told;
                     });
    QObject::connect(CManualSingletonT<TC::CExchangeClient>::instance(),
                     &TC::CExchangeClient::sigNewTradingDate,
                     [told](const std::string&) { ++*told; });
    need(stage.adapter().disconnect(), "a connection that breaks");
    stage.settle();
    expect(*told == 0, "a connection that is down told a login or a new date");
}

void newDateIsKnown(CStage& stage) {
    const std::string today = dataCenter().getTradingDate();
    expect(isDate(today), "the trade date is \"" + today + "\"");
    const std::string tomorrow = QDate::fromString(QString::fromStdString(today), "yyyyMMdd")
                                     .addDays(1)
                                     .toString("yyyyMMdd")
                                     .toStdString();
    const auto told = std::make_shared<std::atomic<int>>(0);
    QObject::connect(CManualSingletonT<TC::CExchangeClient>::instance(),
                     &TC::CExchangeClient::sigNewTradingDate,
                     [told, &stage](const std::string& date) {
                         const std::string known = dataCenter().getTradingDate();
                         if (known != date) {
                             stage.blame(date + " has begun, and the data center says " + known);
                         }
                         ++*told;
                     });
    need(stage.adapter().beginTradingDate(tomorrow), "a new trade date");
    expect(stage.await([&] { return *told > 0; }), "the new trade date was not told");
}

}  // namespace

std::vector<Case> clientCases() {
    constexpr const char* CONFIG = "services/clientconfig.h";
    constexpr const char* INSTALL =
        "the client installs each service before it makes a manager and takes it away after the "
        "manager has gone.";
    return {
        {101, "services-installed", CONFIG, INSTALL, servicesAreInstalled},
        {102, "services-removed", CONFIG, INSTALL, servicesAreTakenAway},
        {103, "no-part-null", "services/tradercenter.h", "none of the three is ever null.",
         noPartIsNull},
        {104, "unset-members", CONFIG, "A member that the user has not set gives \"\", 0 or null.",
         unsetMembersAreEmpty},
        {105, "limits-percent", CONFIG, "daily price limit in percent", limitsAreInPercent},
        {106, "settings-stay", CONFIG,
         "It belongs to the configuration, which neither changes nor moves it.", settingsStay},
        {107, "settings-announced", CONFIG,
         "Raised after any change; connect and disconnect under m_mutex.", settingsAreAnnounced},
        {108, "data-directory", CONFIG, "Where the client keeps its data; no trailing separator.",
         dataHasAPlace},
        {109, "file-encoding", CONFIG,
         "\"UTF-8\", or \"GBK\" when installations that use the system's code page share these "
         "files.",
         encodingIsKnown},
        {110, "time", CONFIG, "Milliseconds since the epoch.", timeIsInMilliseconds},
        {111, "last-trade-date", CONFIG,
         "Last trade date of a market (\"SH\"): its local midnight in milliseconds since the "
         "epoch.",
         lastTradeDateIsMidnight},
        {112, "trading-days", CONFIG,
         "say false only when it is certain, because the trading server is then not asked for the "
         "day.",
         tradedDaysAreNotDenied},
        {113, "one-strand", "services/rpcengine.h",
         "the same name gives the same strand, shared by all who ask", strandsAreShared},
        {114, "handlers-run", "services/rpcengine.h",
         "Handlers and timers run on the engine's own threads.", handlersRun},
        {115, "logins-told", "services/connections.h",
         "After each change, a repeated login included.", loginsAreTold},
        {116, "new-date", "services/connections.h",
         "A new trade date (\"yyyyMMdd\") has begun; the data center knows it already.",
         newDateIsKnown},
        {117, "silent-when-down", "services/connections.h",
         "a connection that is down emits nothing", silentWhenDown},
        {118, "handlers-throw", "services/rpcengine.h",
         "An exception of a handler leaves the engine's run().", handlersMayThrow},
    };
}

}  // namespace adaptercheck
