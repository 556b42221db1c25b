#pragma once

#include "linkage/stats/periodrule.h"
#include "platform/services/quoteclient.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {

/// A value that runs renew one after another: readers have that of the newest run that has ended,
/// however much of it the run under way has renewed.
template <class T>
class CRenewed {
    friend struct PictureMembers;

public:
    /// An empty value for the run `run`; runs have growing numbers.
    T& renew(std::uint64_t run, std::uint64_t ended) {
        if (m_nRun <= ended) m_held = std::move(m_next);
        m_nRun = run;
        m_next = T();
        return m_next;
    }
    const T& of(std::uint64_t ended) const { return m_nRun <= ended ? m_next : m_held; }
    const T& newest() const { return m_next; }

private:
    T m_held;
    T m_next;
    std::uint64_t m_nRun = 0;  ///< of m_next
};

/// A value that its owner goes on changing while others keep it as it was when they took it.
template <class T>
class CShared {
public:
    const T& get() const { return *m_pValue; }
    std::shared_ptr<const T> share() const {
        m_bTaken = true;
        return m_pValue;
    }
    T& change() {
        if (std::exchange(m_bTaken, false)) m_pValue = std::make_shared<T>(*m_pValue);
        return *m_pValue;
    }

private:
    std::shared_ptr<T> m_pValue = std::make_shared<T>();
    mutable bool m_bTaken = false;
};

/// What the profit and balance curves of the day are made of: the closes of each stock's
/// minutes, the live prices seen in them, and the deal totals at the end of each minute per
/// account, stock and strategy.
/// Curves are valued only when somebody asks for them, so no point keeps the value of an old
/// price, bar or limit.
///
/// Guarded by the manager's lock.
class CCurveData {
    friend struct PictureMembers;

public:
    using ByStrategy = std::map<std::string, std::shared_ptr<const PeriodTotals>>;
    using Closes = std::map<int, double>;
    using Marks = std::map<std::string, std::set<std::string>>;  ///< stocks by account

    bool m_bProfitCalcRunning = false;
    bool m_bBalanceCalcRunning = false;

    bool isWanted() const { return m_bProfitCalcRunning || m_bBalanceCalcRunning; }

    /// A trade date ("yyyyMMdd"): what is known of another one goes. The same date again changes
    /// nothing.
    void newDay(const std::string& date);

    /// The account's day is built up again: its totals stay until a run renews them.
    void suspectAccount(const std::string& accountKey);

    // A run of the period calculation. It renews what has changed, in slices, and all of it is
    // seen when it ends.

    /// Begins a run, or joins the one under way; the number by which to ask for it.
    std::uint64_t beginRun();
    /// Whether this is the run, or the joining of one, that came last.
    bool isNewestRun(std::uint64_t run) const { return run == m_nRun; }
    /// Also when the run has gone with its day.
    bool isOver(std::uint64_t run) const { return !m_bRunning || run <= m_nEnded; }
    /// Adds to what is due the marked stocks, and those of the suspected accounts; false when
    /// nothing is due.
    bool addDue(Marks marks);
    /// How often addDue() was called in this run.
    int rounds() const { return m_nRounds; }
    /// The next account and stock whose totals are due; empty when none is.
    std::optional<std::pair<std::string, std::string>> nextDue() const;
    /// The next of the stocks whose totals were renewed, when no totals are due.
    std::optional<std::string> nextStock() const;
    /// Ends the run: everybody sees what it has renewed.
    void endRun();
    bool hasRunToday() const { return m_bRunToday; }

    /// Renews the totals of an account's stock by strategy; it is not due any more. The stock is
    /// followed from now on.
    void renewTotals(const std::string& accountKey, const std::string& stockKey, ByStrategy totals);

    /// Derives the mean prices of a stock's deals from the totals of all accounts, as far as they
    /// are renewed. Gives how many totals these are.
    std::size_t renewTraded(const std::string& stockKey);

    /// Keeps a live price that came at this moment as its minute's, if there is one.
    void notePrice(const std::string& stockKey, double price, std::int64_t nowMicros);
    /// What is known of a stock of an account: parts that never change. Null where there is none.
    struct StockParts {
        std::shared_ptr<const PeriodTotals> totals;
        std::shared_ptr<const Closes> closes;
        std::shared_ptr<const Closes> seen;    ///< the last live price of each minute
        std::shared_ptr<const Closes> traded;  ///< the mean price of the deals of each minute
    };
    /// Finds the parts of a pair's stocks; the quicker the more of them come in key order.
    class CPartsFinder;

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
        CShared<Closes> closes;
        int tradingMinutes = 0;  ///< of those
        int answered = 0;        ///< `finished` of the newest answer
        int askedFinished = 0;
        std::int64_t askedMicros = 0;
        std::int64_t waitMicros = 0;  ///< until it is asked again
        CRenewed<std::shared_ptr<const Closes>> traded;
    };
    using Totals = std::map<std::string, std::map<std::string, CRenewed<ByStrategy>>>;

    static bool isDue(const Bars& bars, const DayMoment& moment, std::int64_t nowMicros);

    std::string m_strDate;
    std::int64_t m_nMidnight = 0;  ///< of the date, seconds since the epoch
    std::map<std::string, Bars> m_bars;
    std::unordered_map<std::string, CShared<Closes>> m_seen;
    Totals m_totals;  ///< account, stock
    std::set<std::string> m_suspects;

    std::uint64_t m_nRun = 0;    ///< counts runs, and who joined one
    std::uint64_t m_nEnded = 0;  ///< the newest of them that has ended
    bool m_bRunning = false;
    int m_nRounds = 0;
    Marks m_due;
    std::set<std::string> m_renewedStocks;
    bool m_bRunToday = false;
};

class CCurveData::CPartsFinder {
public:
    CPartsFinder(const CCurveData& data, const std::string& accountKey,
                 const std::string& strategy);
    StockParts find(const std::string& stockKey);

private:
    const CCurveData& m_data;
    const std::string& m_strategy;
    const std::map<std::string, CRenewed<ByStrategy>>* m_pTotals = nullptr;  ///< by stock
    std::map<std::string, CRenewed<ByStrategy>>::const_iterator m_nextTotals;
    std::map<std::string, Bars>::const_iterator m_nextBars;
};

}  // namespace TC
