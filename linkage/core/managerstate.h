#pragma once

#include "linkage/core/types.h"
#include "platform/records/accountinfo.h"
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

using PositionPtr = boost::shared_ptr<vexservice::CPositionStatics>;

/// Everything the manager holds, in the documented form of its containers, whatever
/// form it keeps them in. A picture for diagnosis, replay and tests; taking it costs
/// a copy of all keys.
struct ManagerState {
    std::string tradeDate;
    std::string userData;
    ByText<boost::shared_ptr<vexservice::CAccountInfo>> accounts;
    std::set<std::string> strategys;
    std::set<std::string> alreadyAddedKeys;
    std::set<std::string> quoteRequests;

    ByDay<ByText<ByText<ByRecord<boost::shared_ptr<vexservice::COrderDetail>>>>> orderDetails;
    ByDay<ByText<ByText<ByRecord<boost::shared_ptr<vexservice::CDealDetail>>>>> dealDetails;
    ByText<ByText<ByRecord<boost::shared_ptr<vexservice::CTaskDetail>>>> taskDetails;
    ByText<ByText<ByRecord<boost::shared_ptr<vexservice::CPositionStatics>>>> positions;

    ByText<ByText<std::set<unsigned long long>>> runningOrders;
    ByText<ByText<std::set<unsigned long long>>> runningTasks;
    ByText<ByText<std::set<unsigned long long>>> historyOrders;
    ByText<ByText<std::set<unsigned long long>>> historyTasks;

    /// account, strategy, stock
    ByText<ByText<ByText<boost::shared_ptr<LinkagePeriodExtData>>>> tradeStatDatas;
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

    ByText<TradeStatData> historyStatData;
    /// history key, stock
    ByText<ByText<boost::shared_ptr<LinkagePeriodExtData>>> historyLinkageData;
    ByText<std::string> balanceTimes;
    /// account, strategy: second of the start
    ByText<ByText<int>> autoBalanceStarts;
    ByText<std::set<std::string>> writtenTradeKeys;
    ByText<double> latestPrices;
    ByText<double> historyPrices;
};

}  // namespace TC
