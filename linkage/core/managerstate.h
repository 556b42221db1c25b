#pragma once

#include "linkage/ledger/ledgerstate.h"
#include "platform/records/accountinfo.h"

#include <map>
#include <set>
#include <string>

namespace TC {

/// Everything the manager holds, in the documented form of its containers, whatever
/// form it keeps them in. A picture for diagnosis, replay and tests; taking it costs
/// a copy of all keys.
struct ManagerState : LedgerState {
    std::string tradeDate;
    std::string userData;
    ByText<boost::shared_ptr<vexservice::CAccountInfo>> accounts;
    std::set<std::string> alreadyAddedKeys;
    std::set<std::string> quoteRequests;
    ByText<ByText<std::set<unsigned long long>>> historyOrders;
    ByText<ByText<std::set<unsigned long long>>> historyTasks;

    ByText<TradeStatData> historyStatData;
    /// history key, stock
    ByText<ByText<boost::shared_ptr<LinkagePeriodExtData>>> historyLinkageData;
    ByText<std::string> balanceTimes;
    /// account, strategy: second of the start
    ByText<ByText<int>> autoBalanceStarts;
    ByText<std::set<std::string>> writtenTradeKeys;
    ByText<double> historyPrices;
};

}  // namespace TC
