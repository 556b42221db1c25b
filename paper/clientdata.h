#pragma once

#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/ratelimit.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

/// @file
/// What the paper client is told of itself, its stocks and its accounts.
namespace paper {

/// The client itself. It does not change while the client lives.
struct ClientConfig {
    int clientType = 1;               ///< TC::EClientType
    std::string tradeDate;            ///< "yyyyMMdd"
    std::string userName = "trader";  ///< USER_NAME of the user configuration
    double limitPercent = 10.0;       ///< USER_LIMIT_PERCENT, percent
    double limitPercentST = 5.0;      ///< USER_LIMIT_PERCENT_ST, percent
    bool registRules = false;         ///< market orders need a protective price
    bool executes = false;            ///< the paper exchange matches; else orders are recorded only
    bool scheduler = false;           ///< balances start at the times of the balance-time table
    QString dataDir;                  ///< where the library keeps its files; no trailing separator
    std::string fileEncoding = "UTF-8";  ///< "UTF-8" or "GBK"
};

/// One stock. Prices in yuan.
struct Instrument {
    std::string market;      ///< "SH" or "SZ"
    std::string code;        ///< the code in its market ("600000")
    std::string name;        ///< the stock's name, for people
    double tick = 0.01;      ///< smallest step of a price
    double reference = 0.0;  ///< yesterday's close; 0: none
    double limitUp = 0.0;    ///< 0: none
    double limitDown = 0.0;  ///< 0: none
    int unit = 100;          ///< shares of a lot; below 1 counts as 1
    std::vector<int> types;  ///< stock types (vexservice::EStockType)
    bool detail = true;      ///< false: the instrument manager has no detail of it
};

/// One trading account.
struct Account {
    std::string key;     ///< account key
    std::string id;      ///< account ID as the broker writes it
    std::string name;    ///< the account's name, for people
    int type = 2;        ///< vexservice::EAccountType
    std::string broker;  ///< brokerage company
    bool info = true;    ///< false: the data center has no info of it
    std::optional<vexservice::CStkExchangeRateLimit> fee;  ///< empty: no fee limits are known
};

/// What the trading server knows of one account and one past day.
struct ServerDay {
    /// Newest report of each order.
    std::vector<boost::shared_ptr<vexservice::COrderDetail>> orders;
    std::vector<boost::shared_ptr<vexservice::CDealDetail>> deals;  ///< all deals
    std::string error;  ///< not empty: the query fails with this text
    bool lost = false;  ///< the answer never comes
};

}  // namespace paper
