#pragma once

#include "linkage/ledger/types.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/taskdetail.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// @file
/// What changed since somebody asked last, as CLinkageManager::getChanges tells it.
namespace TC {

/// How far somebody has read the changes. A fresh one has read nothing. Keep it and give it back;
/// its members mean nothing outside.
struct ChangeCursor {
    std::uint64_t source = 0;    ///< which journal it reads; 0: none yet
    std::uint64_t next = 0;      ///< place of the first change that was not read
    std::uint64_t balances = 0;  ///< the newest change of a balance that was read
    std::uint32_t walked = 0;    ///< while everything is told: how far of `phase`
    std::uint8_t phase = 0;      ///< what is told now of everything; see CLedger::changesSince
};

/// A strategy of an account; the strategy "" is the account as a whole.
struct ChangedPair {
    std::string account;    ///< account key
    std::string strategy;   ///< strategy name
    int runningOrders = 0;  ///< as getRunningOrders
    int runningTasks = 0;   ///< as getRunningTasks
    double profit = 0.0;    ///< yuan; of all its stocks, as the last pass of the calculator left it
};

/// The traded figures of one stock of a pair.
struct ChangedFigures {
    std::string account;   ///< account key
    std::string strategy;  ///< strategy name
    std::string stock;     ///< stock key
    /// The record that getTradeStatDatas has. Intake goes on updating it.
    boost::shared_ptr<LinkagePeriodExtData> record;
};

/// A stock with a new price, or one that was revalued: then profit and position value of its
/// figures are new, whatever pair they belong to.
struct ChangedStock {
    std::string stock;                  ///< stock key
    std::optional<double> lastPrice;    ///< newest price of the day, yuan
    std::optional<double> valuedPrice;  ///< the price of the last revaluation, yuan
};

/// The newest report of an order.
struct ChangedOrder {
    std::string account;                                 ///< account key
    boost::shared_ptr<vexservice::COrderDetail> report;  ///< never null, never changed again
};

/// A deal.
struct ChangedDeal {
    std::string account;                                ///< account key
    boost::shared_ptr<vexservice::CDealDetail> report;  ///< never null, never changed again
};

/// The newest report of an algorithmic task.
struct ChangedTask {
    std::string account;                                ///< account key
    boost::shared_ptr<vexservice::CTaskDetail> report;  ///< never null, never changed again
};

/// What changed of orders, deals, tasks and figures. Each is in it once, as it is now. Take it in
/// the order of the members: first forget, then replace what has the same identity.
struct LedgerChanges {
    /// Everything follows, in this answer and in the next ones while there is `more`: forget all.
    bool everything = false;
    bool more = false;          ///< not all is told yet: ask again
    bool tasksDropped = false;  ///< forget all tasks
    /// Forget the orders, deals, pairs and figures of these account keys: they are loaded again.
    std::vector<std::string> droppedAccounts;
    /// Forget these: an import was taken back, or the trading system reports what it had. As they
    /// were last.
    std::vector<ChangedOrder> goneOrders;
    std::vector<ChangedDeal> goneDeals;  ///< likewise

    std::vector<ChangedPair> pairs;       ///< by account and strategy
    std::vector<ChangedFigures> figures;  ///< by account, strategy and stock
    std::vector<ChangedStock> stocks;     ///< by stock
    /// Orders that the data center reported since the account was loaded, whatever their date, and
    /// those that were imported under the trade date. By account, trade date, stock and record
    /// key: an order that comes back under another stock or date is told under both.
    std::vector<ChangedOrder> orders;
    std::vector<ChangedDeal> deals;  ///< likewise
    std::vector<ChangedTask> tasks;  ///< by account and record key

    /// How many records are in it.
    std::size_t size() const {
        return goneOrders.size() + goneDeals.size() + pairs.size() + figures.size() +
               stocks.size() + orders.size() + deals.size() + tasks.size();
    }
};

}  // namespace TC
