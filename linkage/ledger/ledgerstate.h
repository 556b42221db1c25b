#pragma once

#include "linkage/ledger/types.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/positionstatics.h"
#include "platform/records/taskdetail.h"

#include <map>
#include <set>
#include <string>
#include <utility>

namespace TC {

template <class Leaf>
using ByText = std::map<std::string, Leaf>;
template <class Leaf>
using ByRecord = std::map<unsigned long long, Leaf>;
template <class Leaf>
using ByDay = std::map<int, Leaf>;

using OrderPtr = boost::shared_ptr<vexservice::COrderDetail>;
using DealPtr = boost::shared_ptr<vexservice::CDealDetail>;
using TaskPtr = boost::shared_ptr<vexservice::CTaskDetail>;
using PositionPtr = boost::shared_ptr<vexservice::CPositionStatics>;
using FiguresPtr = boost::shared_ptr<LinkagePeriodExtData>;

/// What the ledger holds, in the documented form of its containers.
struct LedgerState {
    std::set<std::string> strategys;

    ByDay<ByText<ByText<ByRecord<OrderPtr>>>> orderDetails;
    ByDay<ByText<ByText<ByRecord<DealPtr>>>> dealDetails;
    ByText<ByText<ByRecord<TaskPtr>>> taskDetails;
    ByText<ByText<ByRecord<PositionPtr>>> positions;

    ByText<ByText<std::set<unsigned long long>>> runningOrders;
    ByText<ByText<std::set<unsigned long long>>> runningTasks;

    /// account, strategy, stock
    ByText<ByText<ByText<FiguresPtr>>> tradeStatDatas;
    /// strategy, account, price level: sum of open lots
    ByText<ByText<std::map<int, int>>> orderPrices;
    /// stock, account
    ByText<ByText<double>> orderAmplitudes;
    ByText<ByText<double>> dealAmplitudes;
    /// day, stock, account: bought, sold
    ByDay<ByText<ByText<std::pair<int, int>>>> buySellVolumes;
    ByDay<ByText<ByText<std::pair<double, double>>>> buySellAmounts;
    /// stock, account, strategy, minute
    ByText<ByText<ByText<std::map<int, LinkagePeriodTradeData>>>> periodTrades;
    ByText<double> latestPrices;
};

}  // namespace TC
