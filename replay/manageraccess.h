#pragma once

#include "linkage/core/clinkagemanager.h"

namespace TC {

/// The protected operations that a scenario may call.
struct ManagerAccess {
    static void doStockBalance(CLinkageManager& manager, const std::string& accountKey,
                               const std::string& strategy) {
        manager.doStockBalance(accountKey, strategy);
    }
    static void doStockBalanceBySignalTask(CLinkageManager& manager, const std::string& accountKey,
                                           const std::string& strategy) {
        manager.doStockBalanceBySignalTask(accountKey, strategy);
    }
};

}  // namespace TC
