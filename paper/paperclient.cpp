#include "paper/paperclient.h"

#include "adapters/strandengine.h"
#include "linkage/core/clinkagemanager.h"
#include "paper/commandcenter.h"
#include "paper/datacenter.h"
#include "paper/exchange.h"
#include "paper/orderrules.h"
#include "paper/quotes.h"
#include "paper/scheduler.h"
#include "paper/taskcenter.h"
#include "paper/tradeclient.h"
#include "paper/usersettings.h"

#include <boost/make_shared.hpp>

#include <utility>
#include <vector>

namespace paper {

using namespace vexservice;

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

class CTraderCenter final : public TraderCenter {
public:
    CTraderCenter(std::shared_ptr<CDataCenter> dataCenter, std::shared_ptr<CTaskCenter> taskCenter)
        : m_pDataCenter(std::move(dataCenter)), m_pTaskCenter(std::move(taskCenter)) {}

    IDataCenter* getDataCenter() override { return m_pDataCenter.get(); }
    ITaskCenter* getTaskCenter() override { return m_pTaskCenter.get(); }
    IFeeLimitService* getFeeLimitService() override { return m_pDataCenter.get(); }

private:
    const std::shared_ptr<CDataCenter> m_pDataCenter;
    const std::shared_ptr<CTaskCenter> m_pTaskCenter;
};

std::shared_ptr<CScheduler> makeScheduler(boost::asio::io_service& service,
                                          const std::shared_ptr<CDataCenter>& dataCenter,
                                          IClientObserver* observer) {
    CScheduler::Client client;
    client.table = [] {
        // Asking must not make a manager that is not there.
        return Manager::exists() ? Manager::instance()->getBalanceTime() : CScheduler::Table();
    };
    client.accounts = [dataCenter] { return dataCenter->accountKeys(); };
    client.balance = [observer](const std::string& account, const std::string& strategy) {
        if (!Manager::exists()) return;
        if (observer) observer->onBalanceTime(account, strategy);
        Manager::instance()->runAutoBalance(account, strategy, TC::EBalanceAsker::Schedule);
    };
    return std::make_shared<CScheduler>(service, std::move(client));
}

}  // namespace

/// Every service, in the order of making: a service comes before those that use it.
struct CPaperClient::Services {
    Services(boost::asio::io_service& service, const ClientConfig& config,
             IClientObserver* observer);

    void install(boost::asio::io_service& service, const ClientConfig& config,
                 IClientObserver* observer);
    static void uninstall();

    std::shared_ptr<CFaults> faults;
    std::shared_ptr<CDataCenter> dataCenter;
    std::shared_ptr<CInstruments> instruments;
    boost::shared_ptr<CQuotes> quotes;
    boost::shared_ptr<CUserSettings> userSettings;
    boost::shared_ptr<CPaperCalendar> calendar;
    std::shared_ptr<CExchange> exchange;  ///< empty when orders are recorded only
    std::shared_ptr<CTaskCenter> taskCenter;
    boost::shared_ptr<CPaperTradeClient> tradeClient;
    boost::shared_ptr<CCommandCenter> commandCenter;
    boost::shared_ptr<TC::CProxyClient> proxy;
    boost::shared_ptr<TC::CExchangeClient> exchangeClient;
    std::shared_ptr<CScheduler> scheduler;
    /// What else is installed: it stays when somebody puts a service of his own before it.
    std::vector<boost::shared_ptr<void>> others;
};

CPaperClient::Services::Services(boost::asio::io_service& service, const ClientConfig& config,
                                 IClientObserver* observer)
    : faults(std::make_shared<CFaults>()),
      dataCenter(std::make_shared<CDataCenter>(config.tradeDate, faults)),
      instruments(std::make_shared<CInstruments>()),
      quotes(boost::make_shared<CQuotes>(service, faults)),
      userSettings(boost::make_shared<CUserSettings>(config)),
      calendar(boost::make_shared<CPaperCalendar>(dataCenter, faults)),
      proxy(boost::make_shared<TC::CProxyClient>()),
      exchangeClient(boost::make_shared<TC::CExchangeClient>()) {
    if (config.executes) {
        const std::string taskUser =
            config.clientType == TC::CLIENT_TYPE_3 ? std::string() : config.userName;
        exchange = std::make_shared<CExchange>(CExchange::Services{
            service, dataCenter, instruments, quotes, config.userName, taskUser});
    }
    taskCenter = std::make_shared<CTaskCenter>(dataCenter, exchange, observer);
    tradeClient = boost::make_shared<CPaperTradeClient>(service, exchange, observer, faults);
    install(service, config, observer);
    if (config.scheduler) {
        scheduler = makeScheduler(service, dataCenter, observer);
        scheduler->start();
    }
}

void CPaperClient::Services::install(boost::asio::io_service& service, const ClientConfig& config,
                                     IClientObserver* observer) {
    using utils::CManualSingletonT;
    using utils::CSingletonT;
    const auto kept = [this](const auto& other) {
        others.push_back(other);
        return other;
    };
    TraderCenter::install(kept(boost::make_shared<CTraderCenter>(dataCenter, taskCenter)));
    CSingletonT<net::RPCEngine>::install(
        kept(boost::make_shared<adapters::CStrandEngine>(service)));
    CSingletonT<TC::CAppConfig>::install(kept(boost::make_shared<CPaperAppConfig>(config)));
    CSingletonT<TC::CUserConfig>::install(userSettings);
    CSingletonT<TC::CTimeService>::install(kept(boost::make_shared<CPaperTimeService>()));
    CSingletonT<TC::IDataDirectory>::install(
        kept(boost::make_shared<CPaperDataDirectory>(config.dataDir)));
    CSingletonT<marlo::IMarketCalendar>::install(calendar);
    CSingletonT<ConfigCollector>::install(
        kept(boost::make_shared<CPaperConfigCollector>(config.registRules)));
    CSingletonT<TC::CStockManager>::install(
        kept(boost::make_shared<CPaperStockManager>(instruments, faults)));
    CSingletonT<StockTypeCenter>::install(kept(boost::make_shared<CPaperStockTypes>(instruments)));
    CSingletonT<IOrderRules>::install(kept(boost::make_shared<COrderRules>(instruments)));
    commandCenter =
        boost::make_shared<CCommandCenter>(service, exchange, taskCenter, observer, faults);
    CSingletonT<TC::CDovCommandCenter>::install(commandCenter);
    CSingletonT<TC::CProxyClient>::install(proxy);
    CManualSingletonT<TC::CQuoteClient>::install(quotes);
    CManualSingletonT<TC::CTradeClient>::install(tradeClient);
    CManualSingletonT<TC::CExchangeClient>::install(exchangeClient);
}

void CPaperClient::Services::uninstall() {
    using utils::CManualSingletonT;
    using utils::CSingletonT;
    CManualSingletonT<TC::CExchangeClient>::release();
    CManualSingletonT<TC::CTradeClient>::release();
    CManualSingletonT<TC::CQuoteClient>::release();
    CSingletonT<TC::CProxyClient>::release();
    CSingletonT<TC::CDovCommandCenter>::release();
    CSingletonT<IOrderRules>::release();
    CSingletonT<StockTypeCenter>::release();
    CSingletonT<TC::CStockManager>::release();
    CSingletonT<ConfigCollector>::release();
    CSingletonT<marlo::IMarketCalendar>::release();
    CSingletonT<TC::IDataDirectory>::release();
    CSingletonT<TC::CTimeService>::release();
    CSingletonT<TC::CUserConfig>::release();
    CSingletonT<TC::CAppConfig>::release();
    CSingletonT<net::RPCEngine>::release();
    CSingletonT<TraderCenter>::release();
}

CPaperClient::CPaperClient(boost::asio::io_service& service, const ClientConfig& config,
                           IClientObserver* observer)
    : m_pServices(std::make_unique<Services>(service, config, observer)) {}

CPaperClient::~CPaperClient() {
    stopScheduler();
    Services::uninstall();
}

void CPaperClient::stopScheduler() {
    if (m_pServices->scheduler) m_pServices->scheduler->stop();
}

// ----------------------------------------------------------------- reference data

void CPaperClient::setInstrument(const Instrument& instrument) {
    m_pServices->instruments->set(instrument);
}

void CPaperClient::setAccount(const Account& account) {
    m_pServices->dataCenter->setAccount(account);
}

const CAccountData* CPaperClient::account(const std::string& accountKey) const {
    return m_pServices->dataCenter->account(accountKey);
}

boost::shared_ptr<CAccountInfo> CPaperClient::accountInfo(const std::string& accountKey) const {
    const CAccountData* const data = account(accountKey);
    return data ? data->getAccountInfo() : nullptr;
}

void CPaperClient::setTradeSetting(int block, EPriceType priceType, double price) {
    m_pServices->userSettings->setTradeSetting(block, priceType, price);
}

// -------------------------------------------------------------- reports and quotes

void CPaperClient::report(const std::string& accountKey, boost::shared_ptr<COrderDetail> order,
                          bool push) {
    m_pServices->dataCenter->report(accountKey, DATA_ORDER, std::move(order), push);
}

void CPaperClient::report(const std::string& accountKey, boost::shared_ptr<CDealDetail> deal,
                          bool push) {
    m_pServices->dataCenter->report(accountKey, DATA_DEAL, std::move(deal), push);
}

void CPaperClient::report(const std::string& accountKey,
                          boost::shared_ptr<CPositionStatics> position, bool push) {
    m_pServices->dataCenter->report(accountKey, DATA_POSITION, std::move(position), push);
}

void CPaperClient::report(boost::shared_ptr<CTaskDetail> task, bool push) {
    m_pServices->dataCenter->report(std::string(), DATA_TASK, std::move(task), push);
}

void CPaperClient::setPrice(const std::string& stockKey, boost::shared_ptr<CPriceData> price,
                            bool push) {
    m_pServices->quotes->setPrice(stockKey, price, push);
    if (m_pServices->exchange && price) m_pServices->exchange->quote(stockKey, *price);
}

void CPaperClient::setBars(const std::string& stockKey, const std::string& day,
                           const std::vector<TC::CMinuteBar>& bars) {
    m_pServices->quotes->setBars(stockKey, day, bars);
}

void CPaperClient::setTradingDay(const std::string& day, bool trades) {
    m_pServices->calendar->setTradingDay(day, trades);
}

void CPaperClient::setServerHistory(const std::string& accountKey, const std::string& day,
                                    const ServerDay& history) {
    m_pServices->tradeClient->setHistory(accountKey, day, history);
}

// ------------------------------------------------------------------- announcements

void CPaperClient::newTradingDate(const std::string& date, const std::string& signalDate) {
    const bool another = date != m_pServices->dataCenter->getTradingDate();
    m_pServices->dataCenter->beginTradingDate(date);
    if (m_pServices->exchange && another) m_pServices->exchange->beginTradingDate();
    Q_EMIT m_pServices->exchangeClient->sigNewTradingDate(signalDate);
}

void CPaperClient::login(bool ok, const QString& text) {
    Q_EMIT m_pServices->proxy->sig_loginStatus(
        ok ? TC::PROXY_LOGIN_SUCCESS : TC::PROXY_LOGIN_FAILED, text);
}

void CPaperClient::accountReady(const std::string& accountKey) {
    CAccountInfo info;
    info.m_strKey = accountKey;
    if (const auto known = accountInfo(accountKey)) info = *known;
    Q_EMIT m_pServices->tradeClient->sigInitedAccountData(info);
}

void CPaperClient::userDataChanged() { m_pServices->userSettings->m_sigUserDataChanged(); }

// ------------------------------------------------------------------ paper exchange

bool CPaperClient::executes() const { return m_pServices->exchange != nullptr; }

void CPaperClient::send(const OrderRequest& order) {
    if (executes()) m_pServices->exchange->submit(order);
}

void CPaperClient::startTask(const TaskRequest& task) {
    if (executes()) m_pServices->exchange->startTask(task);
}

void CPaperClient::rejectOrders(const std::string& accountKey, int times) {
    if (executes()) m_pServices->exchange->rejectNext(accountKey, times);
}

void CPaperClient::refuseCommands(int times) { m_pServices->commandCenter->refuse(times); }

void CPaperClient::beSilent(double seconds) {
    if (executes()) m_pServices->exchange->beSilent(seconds);
}

// -------------------------------------------------------------------------- faults

void CPaperClient::setFault(EService service, EFault fault, int times) {
    m_pServices->faults->set(service, fault, times);
}

void CPaperClient::answerThrough(std::function<void(CFaults::Answer answer)> through) {
    m_pServices->faults->answerThrough(std::move(through));
}

void CPaperClient::watchServices(CFaults::Watch watch) {
    m_pServices->faults->watch(std::move(watch));
}

bool CPaperClient::repeatCommandResult(int number, const std::string& error) {
    return m_pServices->commandCenter->repeatResult(number, error);
}

std::string CPaperClient::tradeDate() const { return m_pServices->dataCenter->getTradingDate(); }

}  // namespace paper
