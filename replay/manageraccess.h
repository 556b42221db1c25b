#pragma once

#include "linkage/core/clinkagemanager.h"

namespace TC {

/// The protected operations that a scenario may call, and those that the benchmark
/// measures.
struct ManagerAccess {
    static void onOrderDetail(CLinkageManager& manager, const std::string& accountKey,
                              const boost::shared_ptr<vexservice::IData>& data) {
        manager.onOrderDetail(accountKey, data);
    }
    static void onDealDetail(CLinkageManager& manager, const std::string& accountKey,
                             const boost::shared_ptr<vexservice::IData>& data) {
        manager.onDealDetail(accountKey, data);
    }
    static void doOrderDetail(CLinkageManager& manager, const std::string& accountKey,
                              const boost::shared_ptr<vexservice::COrderDetail>& order) {
        manager.doOrderDetail(accountKey, order);
    }
    static void doDealDetail(CLinkageManager& manager, const std::string& accountKey,
                             const boost::shared_ptr<vexservice::CDealDetail>& deal) {
        manager.doDealDetail(accountKey, deal);
    }
    static void onPriceData(CLinkageManager& manager, const std::string& stockKey,
                            const boost::shared_ptr<vexservice::CPriceData>& price) {
        manager.onPriceData(stockKey, price);
    }
    static void runStatCalculator(CLinkageManager& manager) { manager.runStatCalculator(); }
    static void post(CLinkageManager& manager, boost::function<void()> work) {
        manager.post(std::move(work));
    }

    /// Whether a thread could take the manager's lock now.
    static bool isLockFree(CLinkageManager& manager) {
        if (!manager.m_mutex.try_lock()) return false;
        manager.m_mutex.unlock();
        return true;
    }

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
