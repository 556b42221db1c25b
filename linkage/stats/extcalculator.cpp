#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/tradedvalue.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/curvedata.h"
#include "linkage/tape/moment.h"
#include "linkage/tape/services.h"
#include "platform/services/quoteclient.h"
#include "platform/utils/text.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace TC {

namespace {

constexpr std::int64_t EXT_MICROS = 10'000'000;

/// So much is renewed in one hold of the lock, counted in minutes of records and in records.
constexpr std::size_t RENEWED_PER_HOLD = 100;
/// A run goes over what has changed meanwhile so many times; the next run has the rest.
constexpr int MOST_ROUNDS = 16;

using Minutes = std::map<int, LinkagePeriodTradeData>;

/// What a curve needs of a stock, as of one moment.
struct HeldStock {
    const std::string* key;
    CCurveData::StockParts parts;
    std::optional<double> latest;
    TradedValue value;
};

/// Gives how many they are.
std::size_t addMinutes(const CLedger& ledger, const Figures& figures, Minutes& minutes) {
    std::size_t count = 0;
    ledger.forEachMinute(figures, [&](int minute, const LinkagePeriodTradeData& deals) {
        minutes[minute] += deals;
        ++count;
    });
    return count;
}

}  // namespace

// On the thread of a call, which has its curves when it returns.
void CLinkageManager::runExtCalculator() {
    const std::uint64_t run = beginCurves();
    if (run == 0) return;
    while (!renewCurves(run)) m_mutex.giveWay();
}

std::uint64_t CLinkageManager::beginCurves() {
    const CLock lock(m_mutex);
    if (!m_bInited || !m_pCurveData->isWanted()) return 0;
    const std::uint64_t run = m_pCurveData->beginRun();
    // After switching off and on again, the timer of the earlier run may still be waiting.
    armTimer(*m_pEngine->m_extTimer, *m_pEngine->m_strand, EXT_MICROS,
             guarded(later({"curves", {std::to_string(run)}})));
    return run;
}

void CLinkageManager::onCurvesTimer(std::uint64_t run) {
    CLock lock(m_mutex);
    const bool newest = m_pCurveData->isNewestRun(run);
    lock.unlock();
    if (!newest) return;
    if (const std::uint64_t next = beginCurves()) renewCurvesInTurns(next);
}

void CLinkageManager::renewCurvesInTurns(std::uint64_t run) {
    if (!renewCurves(run)) post(LeftWork("curveSlice", {std::to_string(run)}));
}

// Between two slices anything may happen. What changes the totals is gone over again, so that what
// is seen in the end is of one moment, that of the last slice.
bool CLinkageManager::renewCurves(std::uint64_t run) {
    {
        const CLock lock(m_mutex);
        for (std::size_t renewed = 0; renewed < RENEWED_PER_HOLD;) {
            if (m_pCurveData->isOver(run)) return true;
            const std::size_t count = renewNext();
            renewed += count;
            if (count > 0) continue;
            if (m_pCurveData->rounds() < MOST_ROUNDS &&
                m_pCurveData->addDue(m_pQuotes->takeMarkers())) {
                continue;
            }
            m_pCurveData->endRun();
            break;
        }
        if (!m_pCurveData->isOver(run)) return false;
    }
    requestQuote();
    return true;
}

std::size_t CLinkageManager::renewNext() {
    if (const auto due = m_pCurveData->nextDue()) {
        return 1 + renewPeriodTotals(due->first, due->second);
    }
    const auto stock = m_pCurveData->nextStock();
    if (!stock) return 0;
    const std::size_t traded = m_pCurveData->renewTraded(*stock);
    return 1 + traded + renewCloseValues(*stock);
}

std::size_t CLinkageManager::renewPeriodTotals(const std::string& accountKey,
                                               const std::string& stockKey) {
    CCurveData::ByStrategy totals;
    std::size_t count = 0;
    // Deals without strategy stand under "" in the ledger; here "" is the account as a
    // whole, as in every other figure.
    Minutes wide;
    for (const auto& [strategy, figures] : m_pLedger->figuresOfStock(accountKey, stockKey)) {
        count += addMinutes(*m_pLedger, *figures, wide);
        if (strategy.empty()) continue;
        Minutes own;
        addMinutes(*m_pLedger, *figures, own);
        totals[strategy] = std::make_shared<PeriodTotals>(totalsOf(own));
    }
    totals[WHOLE_ACCOUNT] = std::make_shared<PeriodTotals>(totalsOf(wide));
    m_pCurveData->renewTotals(accountKey, stockKey, std::move(totals));
    return count;
}

std::size_t CLinkageManager::renewCloseValues(const std::string& stockKey) {
    const CCurveData::Closes* const closes = m_pCurveData->findCloses(stockKey);
    if (!closes) return 0;
    const double close = closes->rbegin()->second;
    std::size_t count = 0;
    m_pLedger->forEachOfStock(stockKey, [&](Figures& figures) {
        const std::int32_t net = effectiveFigures(figures.record, m_bClientType3).net();
        figures.record.m_dCloseValue = positionValueOf(net, close);
        ++count;
    });
    return count;
}

void CLinkageManager::requestQuote() {
    CLock lock(m_mutex);
    const std::string day = m_pTradeDate->get();
    const DayMoment moment = dayMoment(nowText(), day);
    const auto due = m_pCurveData->takeDueStocks(moment, nowMicros());
    lock.unlock();
    for (const std::string& stock : due) {
        const auto answer = [this, stock, day,
                             finished = moment.finished](const std::vector<CMinuteBar>& bars) {
            post(
                [this, stock, day, finished, bars] { onRequestQuote(stock, day, finished, bars); });
        };
        attempt("CLinkageManager::requestQuote", [&] {
            service<CQuoteClient>().queryMinuteBars(Pim::sToQs(stock), day, guarded(answer));
        });
    }
}

void CLinkageManager::onRequestQuote(const std::string& stockKey, const std::string& day,
                                     int finished, const std::vector<CMinuteBar>& bars) {
    const CStep step(tape(), [&] { return BarsInput{stockKey, day, finished, bars}; });
    const CLock lock(m_mutex);
    if (day != m_pTradeDate->get()) return;
    if (m_pCurveData->addBars(stockKey, finished, bars)) renewCloseValues(stockKey);
}

std::map<int, PeriodPoint> CLinkageManager::getPeriodCurve(const std::string& accountKey,
                                                           const std::string& strategy) const {
    constexpr std::size_t STOCKS = 1024;  // mostly enough, so that none is moved under the lock
    std::vector<HeldStock> held;
    held.reserve(STOCKS);
    CLock lock(m_mutex);
    if (!m_pCurveData->hasRunToday()) return {};
    const std::string date = m_pTradeDate->get();
    CCurveData::CPartsFinder parts(*m_pCurveData, accountKey, strategy);
    m_pLedger->forEachOfPair(
        accountKey, strategy,
        [&](const std::string& key, const auto& price, const LinkagePeriodExtData& record) {
            held.push_back({&key, parts.find(key), price, valueOf(record, m_bClientType3)});
        });
    lock.unlock();
    std::sort(held.begin(), held.end(),
              [](const HeldStock& a, const HeldStock& b) { return *a.key < *b.key; });
    std::vector<CurveStock> stocks;
    stocks.reserve(held.size());
    for (const HeldStock& each : held) {
        stocks.push_back({each.parts.totals.get(), each.parts.closes.get(), each.parts.seen.get(),
                          each.parts.traded.get(), each.latest, valueRule(*each.key),
                          each.value.figures, each.value.commission});
    }
    return periodCurve(stocks, dayMoment(nowText(), date).running);
}

}  // namespace TC
