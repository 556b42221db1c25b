#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/curvedata.h"
#include "platform/services/quoteclient.h"
#include "platform/utils/clock.h"
#include "platform/utils/text.h"

namespace TC {

namespace {

constexpr std::int64_t EXT_MICROS = 10'000'000;

using Minutes = std::map<int, LinkagePeriodTradeData>;

void addMinutes(const CLedger& ledger, const Figures& figures, Minutes& minutes) {
    ledger.forEachMinute(figures, [&](int minute, const LinkagePeriodTradeData& deals) {
        minutes[minute] += deals;
    });
}

}  // namespace

void CLinkageManager::runExtCalculator() {
    if (renewCurves()) requestQuote();
}

bool CLinkageManager::renewCurves() {
    const CLock lock(m_mutex);
    if (!m_bInited || !m_pCurveData->isWanted()) return false;
    m_pCurveData->noteRun();
    std::set<CCurveData::AccountStock> due = m_pCurveData->takeSuspects();
    for (const auto& [account, stocks] : m_pQuotes->takeMarkers()) {
        for (const std::string& stock : stocks) due.emplace(account, stock);
    }
    // What follows renews a stock for all its accounts, so one call for each stock is enough.
    std::set<std::string> renewed;
    for (const auto& [account, stock] : due) {
        renewPeriodTotals(account, stock);
        renewed.insert(stock);
    }
    for (const std::string& stock : renewed) {
        m_pCurveData->renewTraded(stock);
        renewCloseValues(stock);
    }
    // After switching off and on again, the timer of the earlier run may still be waiting.
    const std::uint64_t run = ++m_pCurveData->m_nRun;
    armTimer(*m_pEngine->m_extTimer, *m_pEngine->m_strand, EXT_MICROS, guarded([this, run] {
        CLock runLock(m_mutex);
        const bool newest = m_pCurveData->m_nRun == run;
        runLock.unlock();
        if (newest) runExtCalculator();
    }));
    return true;
}

void CLinkageManager::renewPeriodTotals(const std::string& accountKey,
                                        const std::string& stockKey) {
    CCurveData::ByStrategy& totals = m_pCurveData->totalsOf(accountKey, stockKey);
    totals.clear();
    // Deals without strategy stand under "" in the ledger; here "" is the account as a
    // whole, as in every other figure.
    Minutes wide;
    for (const auto& [strategy, figures] : m_pLedger->figuresOfStock(accountKey, stockKey)) {
        addMinutes(*m_pLedger, *figures, wide);
        if (strategy.empty()) continue;
        Minutes own;
        addMinutes(*m_pLedger, *figures, own);
        totals[strategy] = totalsOf(own);
    }
    totals[WHOLE_ACCOUNT] = totalsOf(wide);
}

void CLinkageManager::renewCloseValues(const std::string& stockKey) {
    const CCurveData::Closes* const closes = m_pCurveData->findCloses(stockKey);
    if (!closes) return;
    const double close = closes->rbegin()->second;
    m_pLedger->forEachOfStock(stockKey, [&](Figures& figures) {
        const std::int32_t net = effectiveFigures(figures.record, m_bClientType3).net();
        figures.record.m_dCloseValue = positionValueOf(net, close);
    });
}

void CLinkageManager::requestQuote() {
    CLock lock(m_mutex);
    const std::string day = m_pTradeDate->get();
    const DayMoment moment = dayMoment(nowText(), day);
    const auto due = m_pCurveData->takeDueStocks(moment, utils::currentClock().nowMicros());
    lock.unlock();
    for (const std::string& stock : due) {
        const auto answer = [this, stock, day,
                             finished = moment.finished](const std::vector<CMinuteBar>& bars) {
            post(
                [this, stock, day, finished, bars] { onRequestQuote(stock, day, finished, bars); });
        };
        attempt("CLinkageManager::requestQuote", [&] {
            utils::CManualSingletonT<CQuoteClient>::instance()->queryMinuteBars(
                Pim::sToQs(stock), day, guarded(answer));
        });
    }
}

void CLinkageManager::onRequestQuote(const std::string& stockKey, const std::string& day,
                                     int finished, const std::vector<CMinuteBar>& bars) {
    const CLock lock(m_mutex);
    if (day != m_pTradeDate->get()) return;
    if (m_pCurveData->addBars(stockKey, finished, bars)) renewCloseValues(stockKey);
}

std::map<int, PeriodPoint> CLinkageManager::getPeriodCurve(const std::string& accountKey,
                                                           const std::string& strategy) const {
    const CLock lock(m_mutex);
    if (!m_pCurveData->hasRunToday()) return {};
    std::vector<CurveStock> stocks;
    for (const auto& [key, record] : m_pLedger->figuresOf(accountKey, strategy)) {
        CurveStock& stock = stocks.emplace_back();
        stock.totals = m_pCurveData->findTotals(accountKey, key, strategy);
        stock.closes = m_pCurveData->findCloses(key);
        stock.seen = m_pCurveData->findSeen(key);
        stock.traded = m_pCurveData->findTraded(key);
        stock.rule = valueRule(key);
        stock.latest = m_pLedger->lastPrice(key);
        stock.figures = effectiveFigures(*record, m_bClientType3);
        stock.commission = record->deals().m_dCommission;
    }
    return periodCurve(stocks, dayMoment(nowText(), m_pTradeDate->get()).running);
}

}  // namespace TC
