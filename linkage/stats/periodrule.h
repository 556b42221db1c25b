#pragma once

#include "linkage/ledger/types.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/periodpoint.h"

#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TC {

/// Trading minutes are named by their end: 571 (9:31) to 690 (11:30), and 781 (13:01) to
/// 900 (15:00).
inline constexpr int FIRST_MINUTE = 571;
inline constexpr int NOON_MINUTE = 690;
inline constexpr int AFTERNOON_MINUTE = 781;
inline constexpr int LAST_MINUTE = 900;

inline bool isPauseMinute(int minute) { return minute > NOON_MINUTE && minute < AFTERNOON_MINUTE; }

inline bool isTradingMinute(int minute) {
    return minute >= FIRST_MINUTE && minute <= LAST_MINUTE && !isPauseMinute(minute);
}

/// The opening auction ends at 9:25 with one price for all its deals; continuous trading begins
/// at 9:30:00, which is minute 570. The closing auction ends at 15:00.
inline constexpr int AUCTION_MINUTE = 565;
inline constexpr int OPENING_MINUTE = 570;

/// Whether deals of a minute are those of an auction.
inline bool isAuctionMinute(int minute) { return minute < OPENING_MINUTE || minute >= LAST_MINUTE; }

/// The newest trading minute at or before a minute; 0 before the first one.
int tradingMinuteAt(int minute);

/// The minute of which a live price, seen in a minute, is the price: in the pause and after the
/// close that of the last trade, before 9:30 that of the opening auction. 0 before 9:25, when
/// prices are yesterday's or of an auction that may still change.
int priceMinute(int minute);

/// How many trading minutes there are up to and including a minute.
int countTradingMinutes(int minute);

/// How far the trade date has come.
struct DayMoment {
    int finished = 0;  ///< the last minute that has ended
    int running = 0;   ///< the trading minute that runs, or ran last; 0 before the first
};

/// `now` is "yyyyMMddhhmmss". Another day than the trade date is wholly over, or has not
/// begun.
DayMoment dayMoment(const std::string& now, const std::string& tradeDate);

/// Deal totals since the start of the day at the end of each minute with deals.
using PeriodTotals = std::map<int, LinkagePeriodTradeData>;

/// What a map by minute holds at or before a minute; null when it begins later.
template <class Figures>
const Figures* findPrevExtData(const std::map<int, Figures>& byMinute, int minute) {
    const auto after = byMinute.upper_bound(minute);
    return after == byMinute.begin() ? nullptr : &std::prev(after)->second;
}

/// The totals to the end of each minute; `deals` holds the sums of single minutes.
PeriodTotals totalsOf(const std::map<int, LinkagePeriodTradeData>& deals);

/// What is known of one stock of a curve.
struct CurveStock {
    const PeriodTotals* totals = nullptr;           ///< null: no deal with a readable time
    const std::map<int, double>* closes = nullptr;  ///< of finished minutes; null: none
    const std::map<int, double>* seen = nullptr;    ///< last live price of each minute
    const std::map<int, double>* traded = nullptr;  ///< mean price of all own deals of a minute
    std::optional<double> latest;                   ///< newest price
    ValueRule rule;

    EffectiveFigures figures;  ///< as they stand now
    double commission = 0.0;
};

/// The curve of several stocks together, added in the order given.
///
/// Points: every trading minute from the first deal to the running one, and minutes with
/// deals outside trading hours, but none in the midday pause. The last point is the
/// present: the stocks' figures as they stand, at the newest price; so it agrees with
/// the live statistics, and deals that no minute knows (time not readable) count there.
/// Every other point has the deals to the end of its minute, at the newest price that was known
/// to hold by then: the close of the minute's bar; without one, the price of own auction deals;
/// without these, the last live price; without any, the newest of these of a minute before.
/// Where there is none yet, the minutes are valued at the mean price of the newest minute with
/// deals; if that is not known either, at yesterday's close, else at the first close of the day,
/// else at the newest price. A stock without any close or price of today is not valued: its
/// profit and position value are 0, as they are live.
std::map<int, PeriodPoint> periodCurve(const std::vector<CurveStock>& stocks, int running);

}  // namespace TC
