#pragma once

#include "linkage/export.h"
#include "linkage/stats/periodrule.h"
#include "platform/services/quoteclient.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace TC {

/// What the profit and balance curves of the day are made of: the closes of each stock's
/// minutes, and the deal totals at the end of each minute per account, stock and strategy.
/// Curves are valued only when somebody asks for them, so no point keeps the value of an old
/// price, bar or limit.
///
/// Guarded by the manager's lock.
class LINKAGE_EXPORT CCurveData {
public:
    using ByStrategy = std::map<std::string, PeriodTotals>;
    using Closes = std::map<int, double>;

    bool m_bProfitCalcRunning = false;
    bool m_bBalanceCalcRunning = false;

    bool isWanted() const { return m_bProfitCalcRunning || m_bBalanceCalcRunning; }

    /// Counts the runs of the period calculation; only the newest one's timer counts.
    std::uint64_t m_nRun = 0;

    /// A new trade date: bars and totals of the old one go.
    void newDay();

    /// Drops an account's totals, because its day is built up again.
    void forgetAccount(const std::string& accountKey);

    void noteRun() { m_bRunToday = true; }
    bool hasRunToday() const { return m_bRunToday; }

    /// The totals of an account's stock by strategy, to be renewed. The stock is followed
    /// from now on.
    ByStrategy& totalsOf(const std::string& accountKey, const std::string& stockKey);
    const PeriodTotals* findTotals(const std::string& accountKey, const std::string& stockKey,
                                   const std::string& strategy) const;

    /// The followed stocks whose bars are due, and notes them as asked for. A stock that lacks
    /// the last finished minute is due once for each such minute. A stock that lacks any minute
    /// is due once a minute, until an answer to a question well after the close has come.
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
    };

    static bool isDue(const Bars& bars, const DayMoment& moment, std::int64_t nowMicros);

    std::map<std::string, Bars> m_bars;
    std::map<std::string, std::map<std::string, ByStrategy>> m_totals;  ///< account, stock
    bool m_bRunToday = false;
};

}  // namespace TC
