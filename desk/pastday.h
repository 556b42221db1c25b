#pragma once

#include "linkage/store/filedrecords.h"
#include "linkage/store/historyrequest.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TC {
class CLinkageManager;
}

namespace desk {

/// A deal, or an order, that is filed under a day. Volumes are shares, money is yuan.
struct FiledRow {
    std::uint64_t key = 0;
    std::string time;    ///< of a deal, "hhmmss"
    std::string number;  ///< the exchange's
    std::string stock;
    std::string strategy;
    bool buys = true;
    double price = 0.0;
    std::int64_t volume = 0;  ///< of an order: as it was ordered
    std::int64_t traded = 0;
    double amount = 0.0;  ///< traded
    int status = 0;       ///< of an order
    TC::RecordSource source;
    std::string file;  ///< of the import that filed it; empty where it has none
};

/// The deals or the orders of a day, and what became of the question for them.
struct FiledRows {
    std::vector<FiledRow> rows;            ///< deals by time, orders by number
    std::optional<TC::HistoryDay> answer;  ///< of the trading server; empty: never asked
    bool isAsked = false;                  ///< a question for the day is under way
};

/// What is filed of an account under a day.
struct PastDay {
    std::string account;
    std::string date;               ///< "yyyyMMdd"
    std::string tradeDate;          ///< the running day
    std::vector<std::string> days;  ///< that have anything filed, newest first
    FiledRows deals;
    FiledRows orders;
};

/// Reads it by public queries alone, on the engine's thread. An empty date stands for the
/// newest day that has anything filed, or for the running day when none has.
PastDay takePastDay(const TC::CLinkageManager& manager, const std::string& account,
                    const std::string& date);

}  // namespace desk
