#pragma once

#include "linkage/balance/balanceplan.h"
#include "platform/records/accountinfo.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace TC {

/// An account as balancing finds it in the data center: its info, or what is missing.
struct BalanceAccount {
    EBalanceRefusal refusal = EBalanceRefusal::None;
    boost::shared_ptr<vexservice::CAccountInfo> info;
};

BalanceAccount findBalanceAccount(const std::string& accountkey);

/// The same, with a log line for what is missing; {0} in the texts is the account key.
BalanceAccount findBalanceAccount(const std::string& accountkey, const char* operation,
                                  const char* noData, const char* noInfo);

/// Whether accounts of this type are balanced: stock and credit accounts.
bool isBalancedType(const vexservice::CAccountInfo& info);

}  // namespace TC
