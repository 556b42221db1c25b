#pragma once

#include "linkage/stats/periodrule.h"
#include "platform/services/quoteclient.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {

/// What the profit and balance curves of the day are made of: the closes of each stock's
/// minutes, the live prices seen in them, and the deal totals at the end of each minute per
/// account, stock and strategy.
/// Curves are valued only when somebody asks for them, so no point keeps the value of an old
/// price, bar or limit.
///
/// Guarded by the manager's lock.
class CCurveData {
public:
    using ByStrategy = std::map<std::string, PeriodTotals>;
    using Closes = std::map<int, double>;
    using AccountStock = std::pair<std::string, std::string>;

    bool m_bProfitCalcRunning = false;
    bool m_bBalanceCalcRunning = false;

    bool isWanted() const { return m_bProfitCalcRunning || m_bBalanceCalcRunning; }

    /// Counts the runs of the period calculation; only the newest one's timer counts.
    std::uint64_t m_nRun = 0;

    /// A trade date ("yyyyMMdd"): what is known of another one goes. The same date again changes
    /// nothing.
    void newDay(const std::string& date);

    /// The account's day is built up again: its totals stay until the next run renews them.
    void suspectAccount(const std::string& accountKey) { m_suspects.insert(accountKey); }

    /// The totals that are to be renewed although nobody marked them, because their account was
    /// built up again.
    std::set<AccountStock> takeSuspects();

    void noteRun() { m_bRunToday = true; }
    bool hasRunToday() const { return m_bRunToday; }

    /// The totals of an account's stock by strategy, to be renewed. The stock is followed
    /// from now on.
    ByStrategy& totalsOf(const std::string& accountKey, const std::string& stockKey);

    /// Derives the mean prices of a stock's deals from the totals of all accounts.
    void renewTraded(const std::string& stockKey);

    /// Keeps a live price that came at this moment as its minute's, if there is one.
    void notePrice(const std::string& stockKey, double price, std::int64_t nowMicros);
    /// The last live price of each minute; null without any.
    const Closes* findSeen(const std::string& stockKey) const;
    /// The mean price of the deals of each minute; null when the stock is not followed.
    const Closes* findTraded(const std::string& stockKey) const;
    const PeriodTotals* findTotals(const std::string& accountKey, const std::string& stockKey,
                                   const std::string& strategy) const;

    /// The followed stocks whose bars are due, and notes them as asked for. A stock that lacks
    /// the last finished minute is due once for each such minute. A stock that lacks any minute
    /// is due once a minute, and from half an hour after the close on less and less often: the
    /// minute may be one without trading, or the service may have its bars only later.
    std::vector<std::string> takeDueStocks(const DayMoment& moment, std::int64_t nowMicros);

    /// Takes the answer to a question that was put when the minute `finished` had ended:
    /// bars of later minutes were not complete yet. The newest answer wins. True when a
    /// close is new or different.
    bool addBars(const std::string& stockKey, int finished, const std::vector<CMinuteBar>& bars);

    /// The closes of a stock; null without any.
    const Closes* findCloses(const std::string& stockKey) const;

private:
    struct Bars {
        Closes closes;
        int tradingMinutes = 0;  ///< of those
        int answered = 0;        ///< `finished` of the newest answer
        int askedFinished = 0;
        std::int64_t askedMicros = 0;
        std::int64_t waitMicros = 0;  ///< until it is asked again
        Closes traded;
    };

    static bool isDue(const Bars& bars, const DayMoment& moment, std::int64_t nowMicros);

    std::string m_strDate;
    std::int64_t m_nMidnight = 0;  ///< of the date, seconds since the epoch
    std::map<std::string, Bars> m_bars;
    std::unordered_map<std::string, Closes> m_seen;
    std::map<std::string, std::map<std::string, ByStrategy>> m_totals;  ///< account, stock
    std::set<std::string> m_suspects;
    bool m_bRunToday = false;
};

}  // namespace TC
