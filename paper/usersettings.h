#pragma once

#include "paper/clientdata.h"
#include "paper/faults.h"
#include "platform/services/clientconfig.h"
#include "platform/services/orderrules.h"

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace paper {

/// The user's configuration: name, limit percentages and trade settings.
class CUserSettings final : public TC::CUserConfig {
public:
    explicit CUserSettings(const ClientConfig& config);

    QString getUserDataString(TC::EUserMember member) const override;
    double getUserDataDouble(TC::EUserMember member) const override;
    const void* getUserDataAddress(TC::EUserMember member) const override;

    /// Block 1 serves stock accounts, block 2 credit accounts.
    void setTradeSetting(int block, vexservice::EPriceType priceType, double price);

private:
    const QString m_strUserName;
    const double m_dLimitPercent;
    const double m_dLimitPercentST;
    std::mutex m_settingMutex;
    /// All settings blocks ever set; none is removed, because readers hold plain pointers to them.
    std::deque<TC::CTradeSetting> m_settings;
    std::atomic<const TC::CTradeSetting*> m_pSetting{nullptr};
};

/// The type of the client and the encoding of its files.
class CPaperAppConfig final : public TC::CAppConfig {
public:
    explicit CPaperAppConfig(const ClientConfig& config)
        : m_nClientType(config.clientType), m_strEncoding(config.fileEncoding) {}

    bool isClientType(TC::EClientType type) const override { return type == m_nClientType; }
    std::string fileEncoding() const override { return m_strEncoding; }

private:
    const int m_nClientType;
    const std::string m_strEncoding;
};

class CPaperDataDirectory final : public TC::IDataDirectory {
public:
    explicit CPaperDataDirectory(QString path) : m_strPath(std::move(path)) {}
    QString path() const override { return m_strPath; }

private:
    const QString m_strPath;
};

class CPaperTimeService final : public TC::CTimeService {
public:
    std::int64_t currentTime() const override;
};

class CPaperConfigCollector final : public vexservice::ConfigCollector {
public:
    explicit CPaperConfigCollector(bool registRules) : m_bRegistRules(registRules) {}
    bool useRegistRules() override { return m_bRegistRules; }

private:
    const bool m_bRegistRules;
};

class CDataCenter;

/// The markets' calendar: every market's last trade date is the data center's.
class CPaperCalendar final : public marlo::IMarketCalendar {
public:
    CPaperCalendar(std::shared_ptr<const CDataCenter> dataCenter, std::shared_ptr<CFaults> faults)
        : m_pDataCenter(std::move(dataCenter)), m_pFaults(std::move(faults)) {}
    std::int64_t lastTradeDate(const std::string& market) const override;
    /// Only days that setTradingDay() has told are known.
    std::optional<bool> isTradingDay(const std::string& market,
                                     const std::string& day) const override;
    void setTradingDay(const std::string& day, bool trades);

private:
    const std::shared_ptr<const CDataCenter> m_pDataCenter;
    const std::shared_ptr<CFaults> m_pFaults;
    mutable std::mutex m_daysMutex;
    std::map<std::string, bool> m_days;
};

}  // namespace paper
