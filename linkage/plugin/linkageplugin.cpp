#include "linkage/plugin/linkageplugin.h"

#include "linkage/balance/balancebook.h"
#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/raise.h"
#include "linkage/core/startup.h"
#include "linkage/draw/cenhancedrawmanager.h"
#include "linkage/stats/periodpoint.h"
#include "linkage/version.h"

namespace TC {

namespace {

using Manager = utils::CSingletonT<CLinkageManager>;

CLinkageManager& manager() { return *Manager::instance(); }

}  // namespace

const char* CLinkagePlugin::version() const { return loadedVersion(); }

std::vector<MissingService> CLinkagePlugin::missingServices() const {
    return TC::missingServices();
}

bool CLinkagePlugin::init(const LinkageOptions& options) {
    CLinkageManager* made = nullptr;
    try {
        made = Manager::instance();
    } catch (...) {
        logThrown("CLinkagePlugin::init");
        return false;
    }
    made->setOptions(options);
    made->init();
    return made->isInited();
}

bool CLinkagePlugin::isInited() const { return Manager::exists() && manager().isInited(); }

void CLinkagePlugin::release() { Manager::release(); }

CLinkageManager& CLinkagePlugin::linkage() { return manager(); }

QObject* CLinkagePlugin::object() { return &manager(); }

CEnhanceDrawManager& CLinkagePlugin::draw() {
    return *utils::CSingletonT<CEnhanceDrawManager>::instance();
}

void CLinkagePlugin::requestAccounts() { manager().requestAccounts(); }

void CLinkagePlugin::requestAccount(const std::string& accountKey) {
    manager().requestAccount(accountKey);
}

std::vector<boost::shared_ptr<vexservice::CAccountInfo>> CLinkagePlugin::getAccounts() const {
    return manager().getAccounts();
}

std::string CLinkagePlugin::getTradeDate() const { return manager().getTradeDate(); }

std::set<std::string> CLinkagePlugin::getStocks() const { return manager().getStocks(); }

std::set<std::string> CLinkagePlugin::getStrategys() const { return manager().getStrategys(); }

int CLinkagePlugin::getRunningOrders(const std::string& accountKey,
                                     const std::string& strategy) const {
    return manager().getRunningOrders(accountKey, strategy);
}

int CLinkagePlugin::getRunningTasks(const std::string& accountKey,
                                    const std::string& strategy) const {
    return manager().getRunningTasks(accountKey, strategy);
}

std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> CLinkagePlugin::getTradeStatDatas(
    const std::string& accountKey, const std::string& strategy) const {
    return manager().getTradeStatDatas(accountKey, strategy);
}

std::map<std::string, std::map<unsigned long long, boost::shared_ptr<vexservice::COrderDetail>>>
CLinkagePlugin::getOrderDetails(int day, const std::string& stockKey,
                                const std::set<std::string>& accountKeys) const {
    return manager().getOrderDetails(day, stockKey, accountKeys);
}

std::map<std::string, std::map<unsigned long long, boost::shared_ptr<vexservice::CDealDetail>>>
CLinkagePlugin::getDealDetails(int day, const std::string& stockKey,
                               const std::set<std::string>& accountKeys) const {
    return manager().getDealDetails(day, stockKey, accountKeys);
}

std::map<int, double> CLinkagePlugin::getTotalProfits(const std::set<std::string>& accountKeys,
                                                      const std::set<std::string>& strategies,
                                                      const std::set<std::string>& stockKeys,
                                                      bool todayOnly) const {
    return manager().getTotalProfits(accountKeys, strategies, stockKeys, todayOnly);
}

std::map<int, std::pair<double, double>> CLinkagePlugin::getTotalBuySellAmounts(
    const std::set<std::string>& accountKeys, const std::set<std::string>& strategies,
    const std::set<std::string>& stockKeys, bool todayOnly) const {
    return manager().getTotalBuySellAmounts(accountKeys, strategies, stockKeys, todayOnly);
}

void CLinkagePlugin::startCalculators() {
    manager().startProfitCalculator();
    manager().startBalanceCalculator();
}

void CLinkagePlugin::stopCalculators() {
    manager().stopProfitCalculator();
    manager().stopBalanceCalculator();
}

std::map<int, PeriodPoint> CLinkagePlugin::getPeriodCurve(const std::string& accountKey,
                                                          const std::string& strategy) const {
    return manager().getPeriodCurve(accountKey, strategy);
}

std::map<std::string, TradeStatData> CLinkagePlugin::getHistoryStatData() const {
    return manager().getHistoryStatData();
}

bool CLinkagePlugin::runAutoBalance(const std::string& accountKey, const std::string& strategy,
                                    EBalanceAsker asker) {
    return manager().runAutoBalance(accountKey, strategy, asker);
}

BalancePlan CLinkagePlugin::previewBalance(const std::string& accountKey,
                                           const std::string& strategy, bool grouped) const {
    return manager().previewBalance(accountKey, strategy, grouped);
}

std::vector<BalanceRecord> CLinkagePlugin::getBalances(
    const std::optional<std::string>& account, const std::optional<std::string>& strategy) const {
    return manager().getBalances(account, strategy);
}

bool CLinkagePlugin::cancelAllOrders(const std::string& accountKey, const std::string& strategy) {
    return manager().cancelAllOrders(accountKey, strategy);
}

bool CLinkagePlugin::cancelAllTasks(const std::string& accountKey, const std::string& strategy) {
    return manager().cancelAllTasks(accountKey, strategy);
}

void CLinkagePlugin::addBalanceTime(const std::string& key, const std::string& time) {
    manager().addBalanceTime(key, time);
}

bool CLinkagePlugin::deleteBalanceTime(const std::string& key) {
    return manager().deleteBalanceTime(key);
}

std::map<std::string, std::string> CLinkagePlugin::getBalanceTime() const {
    return manager().getBalanceTime();
}

void CLinkagePlugin::addHistoryLinkdata(const std::string& accountKey,
                                        const std::string& strategy) {
    manager().addHistoryLinkdata(accountKey, strategy);
}

void CLinkagePlugin::doHistoryBalance(const std::string& accountKey, const std::string& strategy) {
    manager().doHistoryBalance(accountKey, strategy);
}

void CLinkagePlugin::finishSaves() { manager().finishSaves(); }

boost::signals2::connection CLinkagePlugin::onNewTradingDay(
    const boost::function<void(const std::string&)>& slot) {
    return manager().m_sigNewTradingDay.connect(slot);
}

boost::signals2::connection CLinkagePlugin::onProfitChanged(
    const boost::function<void(const std::string&, const std::string&, double)>& slot) {
    return manager().sigProfitChanged.connect(slot);
}

boost::signals2::connection CLinkagePlugin::onStocksChanged(const boost::function<void()>& slot) {
    return manager().sigStocksChanged.connect(slot);
}

boost::signals2::connection CLinkagePlugin::onStrategysChanged(
    const boost::function<void()>& slot) {
    return manager().sigStrategysChanged.connect(slot);
}

boost::signals2::connection CLinkagePlugin::onStatDataChanged(const boost::function<void()>& slot) {
    return manager().sigStatDataChanged.connect(slot);
}

boost::signals2::connection CLinkagePlugin::onBalanceChanged(
    const boost::function<void(int)>& slot) {
    return manager().sigBalanceChanged.connect(slot);
}

}  // namespace TC
