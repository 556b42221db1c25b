#include "paper/usersettings.h"

#include "paper/datacenter.h"
#include "platform/utils/clock.h"
#include "platform/utils/text.h"

#include <QDateTime>

namespace paper {

CUserSettings::CUserSettings(const ClientConfig& config)
    : m_strUserName(Pim::sToQs(config.userName)),
      m_dLimitPercent(config.limitPercent),
      m_dLimitPercentST(config.limitPercentST) {}

QString CUserSettings::getUserDataString(TC::EUserMember member) const {
    return member == TC::USER_NAME ? m_strUserName : QString();
}

double CUserSettings::getUserDataDouble(TC::EUserMember member) const {
    switch (member) {
        case TC::USER_LIMIT_PERCENT:
            return m_dLimitPercent;
        case TC::USER_LIMIT_PERCENT_ST:
            return m_dLimitPercentST;
        default:
            return 0.0;
    }
}

const void* CUserSettings::getUserDataAddress(TC::EUserMember member) const {
    return member == TC::USER_TRADE_SETTING ? m_pSetting.load(std::memory_order_acquire) : nullptr;
}

void CUserSettings::setTradeSetting(int block, vexservice::EPriceType priceType, double price) {
    const std::lock_guard lock(m_settingMutex);
    TC::CTradeSetting setting(m_pSetting.load(std::memory_order_relaxed));
    (block == 2 ? setting.m_credit : setting.m_stock) = {priceType, price};
    m_settings.push_back(setting);
    m_pSetting.store(&m_settings.back(), std::memory_order_release);
}

std::int64_t CPaperTimeService::currentTime() const {
    return utils::currentClock().nowMicros() / 1000;
}

std::int64_t CPaperCalendar::lastTradeDate(const std::string&) const {
    if (m_pFaults->nothing(EService::Calendar)) return 0;
    const QString date = Pim::sToQs(m_pDataCenter->getTradingDate());
    const QDateTime midnight = QDateTime::fromString(date, QStringLiteral("yyyyMMdd"));
    return midnight.isValid() ? midnight.toMSecsSinceEpoch() : 0;
}

std::optional<bool> CPaperCalendar::isTradingDay(const std::string&, const std::string& day) const {
    if (m_pFaults->nothing(EService::Calendar)) return std::nullopt;
    const std::lock_guard lock(m_daysMutex);
    const auto at = m_days.find(day);
    return at == m_days.end() ? std::nullopt : std::optional(at->second);
}

void CPaperCalendar::setTradingDay(const std::string& day, bool trades) {
    const std::lock_guard lock(m_daysMutex);
    m_days[day] = trades;
}

}  // namespace paper
