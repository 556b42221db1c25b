#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/profitrule.h"
#include "linkage/store/historystate.h"
#include "linkage/tape/services.h"
#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/text.h"

namespace TC {

namespace {

constexpr std::int64_t HISTORY_MICROS = 3'000'000;

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

void CLinkageManager::runHistoryStatCalculator() {
    {
        const CLock lock(m_mutex);
        const CQuotes::Prices& prices = m_pQuotes->historyPrices();
        if (!prices.empty() && holdsAny(m_pHistory->m_historyLinkageData, prices)) {
            raise("CLinkageManager::runHistoryStatCalculator", sigStatDataChanged);
        }
        m_pQuotes->clearHistoryPrices();
    }
    armTimer(*m_pEngine->m_historyStatTimer, *m_pEngine->m_strand, HISTORY_MICROS,
             guarded(later({"historyPass", {}})));
}

void CLinkageManager::historyStatCalculator() {
    const CStep step(tape(), [] { return callOf("historyStatCalculator"); });
    const CLock lock(m_mutex);
    m_pLedger->figuresChangedElsewhere();
    for (const auto& [key, stocks] : m_pHistory->m_historyLinkageData) {
        double value = 0.0;
        std::int64_t bought = 0;
        std::int64_t sold = 0;
        for (const auto& [stock, record] : stocks) {
            const QString stockKey = Pim::sToQs(stock);
            const auto price = service<CQuoteClient>().getStockPrice(stockKey);
            const double last = price && price->hasLastPrice() ? price->m_dLastPrice : 0.0;
            requestPrice(stock);
            if (!service<CStockManager>().getInstrumentDetail(stockKey)) {
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

}  // namespace TC
