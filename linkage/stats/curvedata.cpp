#include "linkage/stats/curvedata.h"

#include <cmath>

namespace TC {

namespace {

constexpr std::int64_t ASK_AGAIN_MICROS = 60'000'000;

/// Half an hour after the close the exchange's bars are complete, late ones included: a minute
/// that is missing in an answer from then on (a halted or idle stock) will never come.
constexpr int FINAL_MINUTE = LAST_MINUTE + 30;

}  // namespace

void CCurveData::newDay() {
    m_bars.clear();
    m_totals.clear();
    m_bRunToday = false;
}

void CCurveData::forgetAccount(const std::string& accountKey) { m_totals.erase(accountKey); }

CCurveData::ByStrategy& CCurveData::totalsOf(const std::string& accountKey,
                                             const std::string& stockKey) {
    m_bars.try_emplace(stockKey);
    return m_totals[accountKey][stockKey];
}

const PeriodTotals* CCurveData::findTotals(const std::string& accountKey,
                                           const std::string& stockKey,
                                           const std::string& strategy) const {
    const auto account = m_totals.find(accountKey);
    if (account == m_totals.end()) return nullptr;
    const auto stock = account->second.find(stockKey);
    if (stock == account->second.end()) return nullptr;
    const auto totals = stock->second.find(strategy);
    return totals == stock->second.end() ? nullptr : &totals->second;
}

bool CCurveData::isDue(const Bars& bars, const DayMoment& moment, std::int64_t nowMicros) {
    const int newest = tradingMinuteAt(moment.finished);
    if (newest == 0 || bars.answered >= FINAL_MINUTE) return false;
    if (bars.tradingMinutes >= countTradingMinutes(newest)) return false;
    if (bars.askedFinished < newest && bars.closes.count(newest) == 0) return true;
    return nowMicros - bars.askedMicros >= ASK_AGAIN_MICROS;
}

std::vector<std::string> CCurveData::takeDueStocks(const DayMoment& moment,
                                                   std::int64_t nowMicros) {
    std::vector<std::string> due;
    for (auto& [stock, bars] : m_bars) {
        if (!isDue(bars, moment, nowMicros)) continue;
        bars.askedFinished = moment.finished;
        bars.askedMicros = nowMicros;
        due.push_back(stock);
    }
    return due;
}

bool CCurveData::addBars(const std::string& stockKey, int finished,
                         const std::vector<CMinuteBar>& bars) {
    const auto followed = m_bars.find(stockKey);
    if (followed == m_bars.end()) return false;
    Bars& held = followed->second;
    const bool newest = finished >= held.answered;
    if (newest) held.answered = finished;
    bool changed = false;
    for (const CMinuteBar& bar : bars) {
        if (bar.m_nMinute > finished || !std::isfinite(bar.m_dClose) || !(bar.m_dClose > 0.0)) {
            continue;
        }
        const auto [at, isNew] = held.closes.try_emplace(bar.m_nMinute, bar.m_dClose);
        if (isNew) {
            held.tradingMinutes += isTradingMinute(bar.m_nMinute);
            changed = true;
        } else if (newest && at->second != bar.m_dClose) {
            at->second = bar.m_dClose;
            changed = true;
        }
    }
    return changed;
}

const CCurveData::Closes* CCurveData::findCloses(const std::string& stockKey) const {
    const auto bars = m_bars.find(stockKey);
    return bars == m_bars.end() || bars->second.closes.empty() ? nullptr : &bars->second.closes;
}

}  // namespace TC
