#include "linkage/core/asyncstate.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/periodcurves.h"
#include "linkage/store/historystate.h"
#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/text.h"

namespace TC {

namespace {

constexpr std::int64_t CALCULATOR_MICROS = 3'000'000;

/// Whether any price is of a stock under any key.
bool holdsAny(const ByText<ByText<FiguresPtr>>& history, const ByText<double>& prices) {
    for (const auto& [key, stocks] : history) {
        for (const auto& [stock, record] : stocks) {
            if (prices.count(stock) > 0) return true;
        }
    }
    return false;
}

}  // namespace

void CLinkageManager::runStatCalculator() {
    std::vector<CLedger::ProfitSum> sums;
    bool hadRecords = false;
    {
        const CLock lock(m_mutex);
        hadRecords = m_pLedger->hasFigures();
        if (hadRecords) sums = m_pLedger->revalue({limitRate(false), limitRate(true)});
    }
    if (sigProfitChanged.empty()) sums.clear();
    for (const CLedger::ProfitSum& sum : sums) {
        raise("CLinkageManager::runStatCalculator", sigProfitChanged, sum.account, sum.strategy,
              sum.profit);
    }
    if (hadRecords) raise("CLinkageManager::runStatCalculator", sigStatDataChanged);
    armTimer(*m_pAsync->m_statTimer, *m_pAsync->m_strand, CALCULATOR_MICROS,
             guarded([this] { runStatCalculator(); }));
}

void CLinkageManager::runHistoryStatCalculator() {
    {
        const CLock lock(m_mutex);
        auto& prices = m_pCurves->m_historyPrices;
        if (!prices.empty() && holdsAny(m_pHistory->m_historyLinkageData, prices)) {
            raise("CLinkageManager::runHistoryStatCalculator", sigStatDataChanged);
        }
        prices.clear();
    }
    armTimer(*m_pAsync->m_historyStatTimer, *m_pAsync->m_strand, CALCULATOR_MICROS,
             guarded([this] { runHistoryStatCalculator(); }));
}

void CLinkageManager::historyStatCalculator() {
    const CLock lock(m_mutex);
    for (const auto& [key, stocks] : m_pHistory->m_historyLinkageData) {
        double value = 0.0;
        std::int64_t bought = 0;
        std::int64_t sold = 0;
        for (const auto& [stock, record] : stocks) {
            const QString stockKey = Pim::sToQs(stock);
            const auto price =
                utils::CManualSingletonT<CQuoteClient>::instance()->getStockPrice(stockKey);
            const double last = price && price->hasLastPrice() ? price->m_dLastPrice : 0.0;
            requestPrice(stock);
            if (!utils::CSingletonT<CStockManager>::instance()->getInstrumentDetail(stockKey)) {
                continue;
            }
            const EffectiveFigures figures = effectiveFigures(*record, m_bClientType3);
            const double positionValue = positionValueOf(figures.net(), last);
            record->worth().m_dPositionValue = positionValue;
            value += positionValue;
            bought += figures.buyVolume;
            sold += figures.sellVolume;
        }
        m_pHistory->m_historyStatData.with([&, &historyKey = key](auto& stats) {
            const auto at = stats.find(historyKey);
            if (at == stats.end()) return;
            at->second.m_dTotalPositionValue = value;
            at->second.m_nTotalBuyVolume = bought;
            at->second.m_nTotalSellVolume = sold;
        });
    }
}

void CLinkageManager::startProfitCalculator() {
    switchCalculator(&CPeriodCurves::m_bProfitCalcRunning);
}

void CLinkageManager::startBalanceCalculator() {
    switchCalculator(&CPeriodCurves::m_bBalanceCalcRunning);
}

void CLinkageManager::switchCalculator(bool CPeriodCurves::*own) {
    const CLock lock(m_mutex);
    const bool running = m_pCurves->isWanted();
    (*m_pCurves).*own = true;
    if (!running) runExtCalculator();
}

void CLinkageManager::stopProfitCalculator() {
    const CLock lock(m_mutex);
    m_pCurves->m_bProfitCalcRunning = false;
}

void CLinkageManager::stopBalanceCalculator() {
    const CLock lock(m_mutex);
    m_pCurves->m_bBalanceCalcRunning = false;
}

}  // namespace TC
