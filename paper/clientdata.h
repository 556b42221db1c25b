#pragma once

#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/ratelimit.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

/// What the paper client is told of itself, its stocks and its accounts.
namespace paper {

struct ClientConfig {
    int clientType = 1;
    std::string tradeDate;  ///< "yyyyMMdd"
    std::string userName = "trader";
    double limitPercent = 10.0;
    double limitPercentST = 5.0;
    bool registRules = false;
    bool executes = false;   ///< the paper exchange matches; else orders are recorded only
    bool scheduler = false;  ///< balances start at the times of the balance-time table
    QString dataDir;
    std::string fileEncoding = "UTF-8";
};

struct Instrument {
    std::string market;
    std::string code;
    std::string name;
    double tick = 0.01;
    double reference = 0.0;
    double limitUp = 0.0;
    double limitDown = 0.0;
    int unit = 100;
    std::vector<int> types;
    bool detail = true;
};

struct Account {
    std::string key;
    std::string id;
    std::string name;
    int type = 2;
    std::string broker;
    bool info = true;
    std::optional<vexservice::CStkExchangeRateLimit> fee;
};

/// What the trading server knows of one account and one past day.
struct ServerDay {
    std::vector<boost::shared_ptr<vexservice::COrderDetail>> orders;
    std::vector<boost::shared_ptr<vexservice::CDealDetail>> deals;
    std::string error;  ///< not empty: the query fails with this text
    bool lost = false;  ///< the answer never comes
};

}  // namespace paper
