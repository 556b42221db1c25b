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

#include <functional>

namespace TC {

namespace {

constexpr std::int64_t HISTORY_MICROS = 3'000'000;

/// So many keys and records of history are valued in one hold of the lock.
constexpr std::size_t VALUED_PER_HOLD = 200;

/// Whether any price is of a stock under any key.
bool holdsAny(const ByText<ByText<FiguresPtr>>& history, const ByText<double>& prices) {
    for (const auto& [key, stocks] : history) {
        for (const auto& [stock, record] : stocks) {
            if (prices.count(stock) > 0) return true;
        }
    }
    return false;
}

struct KeyTotals {
    double value = 0.0;
    std::int64_t bought = 0;
    std::int64_t sold = 0;
};

/// Values the records of a history key at the newest prices, for which `request` subscribes.
KeyTotals revalue(const ByText<FiguresPtr>& stocks, bool clientType3,
                  const std::function<void(const std::string&)>& request) {
    KeyTotals totals;
    for (const auto& [stock, record] : stocks) {
        const QString stockKey = Pim::sToQs(stock);
        const auto price = service<CQuoteClient>().getStockPrice(stockKey);
        const double last = price && price->hasLastPrice() ? price->m_dLastPrice : 0.0;
        request(stock);
        if (!service<CStockManager>().getInstrumentDetail(stockKey)) {
            continue;
        }
        const EffectiveFigures figures = effectiveFigures(*record, clientType3);
        const double positionValue = positionValueOf(figures.net(), last);
        record->worth().m_dPositionValue = positionValue;
        totals.value += positionValue;
        totals.bought += figures.buyVolume;
        totals.sold += figures.sellVolume;
    }
    return totals;
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
    const auto request = [this](const std::string& stock)
                             LINKAGE_REQUIRES(m_mutex) { requestPrice(stock); };
    std::string next;
    for (bool more = true; more; m_mutex.giveWay()) {
        const CLock lock(m_mutex);
        m_pLedger->figuresChangedElsewhere();
        const auto& history = m_pHistory->m_historyLinkageData;
        auto key = history.lower_bound(next);
        for (std::size_t valued = 0; key != history.end() && valued < VALUED_PER_HOLD; ++key) {
            const KeyTotals totals = revalue(key->second, m_bClientType3, request);
            m_pHistory->m_historyStatData.with([&](auto& stats) {
                const auto at = stats.find(key->first);
                if (at == stats.end()) return;
                at->second.m_dTotalPositionValue = totals.value;
                at->second.m_nTotalBuyVolume = totals.bought;
                at->second.m_nTotalSellVolume = totals.sold;
            });
            valued += 1 + key->second.size();
        }
        more = key != history.end();
        if (more) next = key->first;
    }
}

}  // namespace TC
