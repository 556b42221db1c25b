#pragma once

#include "linkage/plugin.h"

#include <QObject>

namespace TC {

/// What QPluginLoader makes: each operation is the manager's.
class CLinkagePlugin final : public QObject, public ILinkagePlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID LINKAGE_PLUGIN_IID FILE "linkage.json")
    Q_INTERFACES(TC::ILinkagePlugin)

public:
    const char* version() const override;
    std::vector<MissingService> missingServices() const override;
    bool init(const LinkageOptions& options) override;
    bool isInited() const override;
    void release() override;
    CLinkageManager& linkage() override;
    QObject* object() override;
    CEnhanceDrawManager& draw() override;
    void requestAccounts() override;
    void requestAccount(const std::string& accountKey) override;
    std::vector<boost::shared_ptr<vexservice::CAccountInfo>> getAccounts() const override;
    std::string getTradeDate() const override;
    std::set<std::string> getStocks() const override;
    std::set<std::string> getStrategys() const override;
    int getRunningOrders(const std::string& accountKey, const std::string& strategy) const override;
    int getRunningTasks(const std::string& accountKey, const std::string& strategy) const override;
    std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> getTradeStatDatas(
        const std::string& accountKey, const std::string& strategy) const override;
    std::map<std::string, std::map<unsigned long long, boost::shared_ptr<vexservice::COrderDetail>>>
    getOrderDetails(int day, const std::string& stockKey,
                    const std::set<std::string>& accountKeys) const override;
    std::map<std::string, std::map<unsigned long long, boost::shared_ptr<vexservice::CDealDetail>>>
    getDealDetails(int day, const std::string& stockKey,
                   const std::set<std::string>& accountKeys) const override;
    std::map<int, double> getTotalProfits(const std::set<std::string>& accountKeys,
                                          const std::set<std::string>& strategies,
                                          const std::set<std::string>& stockKeys,
                                          bool todayOnly) const override;
    std::map<int, std::pair<double, double>> getTotalBuySellAmounts(
        const std::set<std::string>& accountKeys, const std::set<std::string>& strategies,
        const std::set<std::string>& stockKeys, bool todayOnly) const override;
    void startCalculators() override;
    void stopCalculators() override;
    std::map<int, PeriodPoint> getPeriodCurve(const std::string& accountKey,
                                              const std::string& strategy) const override;
    std::map<std::string, TradeStatData> getHistoryStatData() const override;
    bool runAutoBalance(const std::string& accountKey, const std::string& strategy,
                        EBalanceAsker asker) override;
    BalancePlan previewBalance(const std::string& accountKey, const std::string& strategy,
                               bool grouped) const override;
    std::vector<BalanceRecord> getBalances(
        const std::optional<std::string>& account,
        const std::optional<std::string>& strategy) const override;
    bool cancelAllOrders(const std::string& accountKey, const std::string& strategy) override;
    bool cancelAllTasks(const std::string& accountKey, const std::string& strategy) override;
    void addBalanceTime(const std::string& key, const std::string& time) override;
    bool deleteBalanceTime(const std::string& key) override;
    std::map<std::string, std::string> getBalanceTime() const override;
    void addHistoryLinkdata(const std::string& accountKey, const std::string& strategy) override;
    void doHistoryBalance(const std::string& accountKey, const std::string& strategy) override;
    void finishSaves() override;
    boost::signals2::connection onNewTradingDay(
        const boost::function<void(const std::string&)>& slot) override;
    boost::signals2::connection onProfitChanged(
        const boost::function<void(const std::string&, const std::string&, double)>& slot) override;
    boost::signals2::connection onStocksChanged(const boost::function<void()>& slot) override;
    boost::signals2::connection onStrategysChanged(const boost::function<void()>& slot) override;
    boost::signals2::connection onStatDataChanged(const boost::function<void()>& slot) override;
    boost::signals2::connection onBalanceChanged(const boost::function<void(int)>& slot) override;
};

}  // namespace TC
