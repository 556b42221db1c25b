#pragma once

#include "linkage/export.h"
#include "platform/utils/deadlinetimer.h"

#include <QDate>
#include <QString>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>

namespace TC {

enum class EHistoryRecords { Deals, Orders };

/// A request for the records of an account, at the day that is being asked for; the days
/// up to the last one follow one after another.
struct HistoryQuery {
    EHistoryRecords records = EHistoryRecords::Deals;
    std::string accountKey;
    QDate day;
    QDate last;
};

/// "yyyyMMdd" as a date; anything else gives an invalid one.
LINKAGE_EXPORT QDate historyDay(const std::string& text);

/// Why the server cannot be asked for these days, "" when it can: a day that is none, an
/// empty range, days that have not come yet, or days before any exchange (1990).
LINKAGE_EXPORT std::string historyRangeFault(const QDate& first, const QDate& last,
                                             const QDate& tradeDate);

/// Queries under way and what their answers filed.
///
/// A day that was not answered in time is given up: its done signal has told that the filed
/// records are final, so an answer that still comes is ignored. The client may ask again.
///
/// Guarded by the manager's lock.
class LINKAGE_EXPORT CServerHistory {
public:
    using Timer = boost::shared_ptr<utils::DeadlineTimer>;
    using Keys = std::set<std::uint64_t>;

    /// How long an answer may take.
    static constexpr int ANSWER_SECONDS = 10;

    /// The number under which the query's answer is expected.
    std::uint64_t open(const HistoryQuery& query, const Timer& deadline);

    /// Ends the wait for an answer; nothing when it is over already.
    std::optional<HistoryQuery> close(std::uint64_t number);

    /// The records that only the server has filed under a day.
    struct Filed {
        Keys keys;
        /// Of deals: their keys by what they have in common with the same deal as it is
        /// reported (number and values).
        std::unordered_multimap<std::string, std::uint64_t> deals;
    };
    Filed& filed(const HistoryQuery& query);
    /// The deals that only the server has filed under a day; null when there are none.
    Filed* filedDeals(const std::string& accountKey, const std::string& date);
    /// Takes out a deal that is filed under another key than `key` and has this in common;
    /// nothing when there is none.
    static std::optional<std::uint64_t> takeDeal(Filed& filed, const std::string& common,
                                                 std::uint64_t key);

private:
    struct Open {
        HistoryQuery query;
        Timer deadline;
    };

    std::uint64_t m_nLast = 0;
    std::map<std::uint64_t, Open> m_open;
    /// By account and day ("yyyyMMdd").
    std::map<std::tuple<EHistoryRecords, std::string, std::string>, Filed> m_filed;
};

}  // namespace TC
