#pragma once

#include "paper/paperclient.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

inline const std::string FIRST_DAY = "20240102";

/// The size of a workload.
struct Size {
    std::uint32_t accounts = 10;
    std::uint32_t strategies = 20;
    std::uint32_t stocks = 500;
    std::size_t orderReports = 612'957;
    std::size_t dealReports = 387'043;
    std::uint64_t seed = 20240102;
    std::uint64_t firstKey = 1'000'000'000;  ///< record keys of a day are larger
};

/// The integers that a report's texts stand for.
struct Ids {
    std::uint32_t account = 0;
    std::uint32_t strategy = 0;  ///< from 1; 0 is the account as a whole
    std::uint32_t stock = 0;     ///< in stock-key order
};

/// One report, either an order or a deal, with its integers. The limit uses the integers; the
/// others resolve the texts themselves.
struct Report : Ids {
    boost::shared_ptr<vexservice::COrderDetail> order;
    boost::shared_ptr<vexservice::CDealDetail> deal;
};

/// Reports, and the accounts, strategies and stocks that they name.
struct Workload {
    Size size;
    std::string tradeDate = FIRST_DAY;
    std::vector<paper::Account> accounts;
    std::vector<boost::shared_ptr<vexservice::CAccountInfo>> accountInfos;
    std::vector<std::string> strategies;                                  ///< [0] is ""
    std::vector<boost::shared_ptr<vexservice::CCommandRecord>> carriers;  ///< by strategy
    std::vector<paper::Instrument> stocks;
    std::vector<std::string> stockKeys;
    std::vector<double> prices;  ///< newest quote, by stock
    std::vector<Report> reports;
};

/// A workload without reports.
Workload makeWorld(const Size& size, const std::string& tradeDate = FIRST_DAY);

/// A trading day in the order of arrival: orders come, trade, are filled or cancelled;
/// deals spread over the session; 5 % of the reports repeat a recent one.
Workload makeDay(const Size& size, const std::string& tradeDate = FIRST_DAY);

/// A deal of every account, strategy and stock, so that every record of traded figures has a
/// profit.
Workload makeTraded();

/// `ordersPerRecord` rounds of orders, each with one for every account, strategy and stock; resting
/// and cancelled rounds alternate.
Workload makeOrders(const Size& size, std::size_t ordersPerRecord);

boost::shared_ptr<vexservice::COrderDetail> makeOrder(const Workload& workload, const Report& ids,
                                                      std::uint64_t key);
boost::shared_ptr<vexservice::CDealDetail> makeDeal(const Workload& workload, const Report& ids,
                                                    std::uint64_t key, int secondOfDay);

}  // namespace bench
