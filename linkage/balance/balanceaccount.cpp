#include "linkage/balance/balanceaccount.h"

#include "linkage/core/datacenter.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

namespace TC {

BalanceAccount findBalanceAccount(const std::string& accountkey) {
    const auto data = dataCenter().getAccountData(utils::hash(accountkey));
    if (!data) return {EBalanceRefusal::NoAccountData, {}};
    auto info = data->getAccountInfo();
    if (!info) return {EBalanceRefusal::NoAccountInfo, {}};
    return {EBalanceRefusal::None, std::move(info)};
}

BalanceAccount findBalanceAccount(const std::string& accountkey, const char* operation,
                                  const char* noData, const char* noInfo) {
    auto account = findBalanceAccount(accountkey);
    if (account.refusal != EBalanceRefusal::None) {
        const bool data = account.refusal == EBalanceRefusal::NoAccountData;
        LINKAGE_LOG_INFO(operation, fmt::runtime(data ? noData : noInfo), accountkey);
    }
    return account;
}

bool isBalancedType(const vexservice::CAccountInfo& info) {
    return info.m_nType == vexservice::ACCOUNT_STOCK || info.m_nType == vexservice::ACCOUNT_CREDIT;
}

}  // namespace TC
