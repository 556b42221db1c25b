#pragma once

#include "linkage/core/managerstate.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace TC {

using OrderPtr = boost::shared_ptr<vexservice::COrderDetail>;
using DealPtr = boost::shared_ptr<vexservice::CDealDetail>;
using TaskPtr = boost::shared_ptr<vexservice::CTaskDetail>;
using FiguresPtr = boost::shared_ptr<LinkagePeriodExtData>;

/// Orders, deals and tasks, and every figure that is kept of them.
///
/// Guarded by the manager's lock.
class CLedger {
public:
    CLedger();
    ~CLedger();

    // ---- running records of a pair, in record key order; nothing when it was never seen
    std::optional<std::vector<OrderPtr>> runningOrders(const std::string& accountKey,
                                                       const std::string& strategy) const;
    std::optional<std::vector<TaskPtr>> runningTasks(const std::string& accountKey,
                                                     const std::string& strategy) const;

    // ---- filing alone, which changes no figure: history of the server and imports
    /// Files a record under its day, stock, account and record key, replacing an
    /// earlier report. True when the record is new there.
    bool fileOrder(int day, const std::string& stockKey, const std::string& accountKey,
                   const OrderPtr& order);
    bool fileDeal(int day, const std::string& stockKey, const std::string& accountKey,
                  const DealPtr& deal);
    /// Takes away what is filed of an account under a day.
    void removeOrders(int day, const std::string& accountKey);
    void removeDeals(int day, const std::string& accountKey);
    ByRecord<OrderPtr> accountOrders(const std::string& accountKey, int day) const;
    ByRecord<DealPtr> accountDeals(const std::string& accountKey, int day) const;
};

}  // namespace TC
