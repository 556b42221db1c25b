#pragma once

#include "linkage/store/historyrequest.h"
#include "linkage/tape/leftworks.h"
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
#include <vector>

namespace TC {

/// A request for the records of an account, at the day that is being asked for; the days
/// up to the last one follow one after another.
struct HistoryQuery {
    std::uint64_t request = 0;   ///< its number
    std::uint64_t question = 0;  ///< the number of the day's question
    EHistoryRecords records = EHistoryRecords::Deals;
    std::string accountKey;
    QDate day;
    QDate last;
};

/// "yyyyMMdd" as a date; anything else gives an invalid one.
QDate historyDay(const std::string& text);
/// The other way round; "" for an invalid date.
std::string historyDate(const QDate& day);

/// Work for a query that runs later, and back.
LeftWork leftQuery(const char* name, const HistoryQuery& query);
HistoryQuery queryOf(const LeftWork& work);

/// Why the server cannot be asked for these days, "" when it can: a day that is none, an
/// empty range, days that have not come yet, or days before any exchange (1990).
std::string historyRangeFault(const QDate& first, const QDate& last, const QDate& tradeDate);

/// Queries under way and what their answers filed.
///
/// A day that was not answered in time is given up: its done signal has told that the filed
/// records are final, so an answer that still comes is ignored. The client may ask again. When
/// a day is asked for twice at a time, the answer to the newer question counts, whichever comes
/// last.
///
/// Guarded by the manager's lock.
class CServerHistory {
    friend struct PictureMembers;

public:
    using Timer = boost::shared_ptr<utils::DeadlineTimer>;
    using Keys = std::set<std::uint64_t>;

    /// How long an answer may take.
    static constexpr int ANSWER_SECONDS = 10;

    /// How many requests that are over are remembered.
    static constexpr std::size_t MOST_REQUESTS = 1000;

    /// Notes a request and gives it its number.
    std::uint64_t begin(HistoryRequest request);
    void setDays(std::uint64_t request, int days);
    std::vector<HistoryRequest> requests() const;

    /// What became of a day when it was asked for last; nothing when it never was.
    std::optional<HistoryDay> findDay(EHistoryRecords records, const std::string& accountKey,
                                      const std::string& date) const;

    /// Begins the query's day with a question of its own.
    void ask(HistoryQuery& query);
    /// Ends it. This is the day's result unless it was asked for again meanwhile.
    void endDay(const HistoryQuery& query, const HistoryDay& result);
    /// Whether the answer to the query's question is to be filed: false when a newer question
    /// was answered before.
    bool takesAnswer(const HistoryQuery& query);

    /// Expects the answer to the query's question.
    void open(const HistoryQuery& query, const Timer& deadline);

    /// Ends the wait for an answer; nothing when it is over already.
    std::optional<HistoryQuery> close(std::uint64_t question);

    /// The records that only the server has filed under a day.
    struct Filed {
        Keys keys;
        /// Of deals: their keys by what they have in common with the same deal as it is
        /// reported (number and values).
        std::unordered_multimap<std::string, std::uint64_t> deals;
    };
    Filed& filed(const HistoryQuery& query);
    /// Their keys.
    Keys filedKeys(EHistoryRecords records, const std::string& accountKey,
                   const std::string& date) const;
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
    struct Day {
        HistoryDay result;
        std::uint64_t asked = 0;     ///< the newest question
        std::uint64_t answered = 0;  ///< the newest question that was answered
    };

    Day& day(const HistoryQuery& query);

    std::uint64_t m_nLastRequest = 0;
    std::map<std::uint64_t, HistoryRequest> m_requests;
    std::map<std::tuple<EHistoryRecords, std::string, std::string>, Day> m_days;
    std::uint64_t m_nLastQuestion = 0;
    std::map<std::uint64_t, Open> m_open;  ///< by question
    /// By account and day ("yyyyMMdd").
    std::map<std::tuple<EHistoryRecords, std::string, std::string>, Filed> m_filed;
};

}  // namespace TC
