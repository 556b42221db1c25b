#pragma once

#include <cstdint>
#include <string>
#include <tuple>

/// @file
/// What becomes of a request for past days of an account; see
/// CLinkageManager::requestAccountDeals.
namespace TC {

/// The kinds of records that the trading server is asked for.
enum class EHistoryRecords { Deals, Orders };

/// What became of one past day of an account.
struct HistoryDay {
    /// How far a day has come. All but Waiting are final, until the day is asked for again.
    enum class EState {
        Waiting,    ///< asked for, not answered yet
        Answered,   ///< what the server knows of the day is filed
        NoTrading,  ///< the calendar knows that nothing was traded, so the server was not asked
        Failed,     ///< what is filed is as it was before; `fault` tells why
    };

    EState state = EState::Waiting;  ///< how far it has come
    int records = 0;    ///< answered: how many records are filed under the day, however they came
    std::string fault;  ///< in plain English

    /// Every member, for comparisons.
    auto tied() const { return std::tie(state, records, fault); }
    /// Whether all members are equal.
    bool operator==(const HistoryDay& other) const { return tied() == other.tied(); }
    /// Whether any member differs.
    bool operator!=(const HistoryDay& other) const { return !(*this == other); }
};

/// A request and how far it has come. A range that cannot be asked for counts as one day that
/// failed.
struct HistoryRequest {
    std::uint64_t number = 0;                          ///< from 1 on, in the order of the requests
    EHistoryRecords records = EHistoryRecords::Deals;  ///< what is asked for
    std::string account;                               ///< account key
    std::string first;                                 ///< "yyyyMMdd", as it was asked for
    std::string last;                                  ///< likewise
    int days = 0;                                      ///< of the range; 0 until the request begins
    int done = 0;       ///< of these: answered, failed or without trading
    int failed = 0;     ///< of those done
    std::string fault;  ///< of the day that failed last, "" when none did

    /// Whether every day of the request has ended.
    bool isOver() const { return days > 0 && done == days; }
    /// Every member, for comparisons.
    auto tied() const {
        return std::tie(number, records, account, first, last, days, done, failed, fault);
    }
    /// Whether all members are equal.
    bool operator==(const HistoryRequest& other) const { return tied() == other.tied(); }
    /// Whether any member differs.
    bool operator!=(const HistoryRequest& other) const { return !(*this == other); }
};

}  // namespace TC
