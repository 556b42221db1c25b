#pragma once

#include "platform/services/quoteclient.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <string>

namespace TC {

/// What the manager knows of prices, by stock key; prices in yuan. Guarded by the
/// manager's lock. CPeriodCurves is one of these, so `m_pCurves->m_latestPrices`.
struct QuoteState {
    /// Prices that the statistics pass has not used yet; it empties the map.
    std::map<std::string, double> m_latestPrices;

    /// The same for the history statistics pass.
    std::map<std::string, double> m_historyPrices;

    /// The last known price of each stock. Whoever writes a price into the maps above
    /// writes it here too; nothing takes it out.
    std::map<std::string, double> m_lastPrices;

    /// The price subscriptions, one per stock, for the manager's life.
    std::map<std::string, boost::shared_ptr<CQuoteRequest>> m_quoteRequests;

    /// Account key, stock key: the minute of the day from which the curve must be
    /// computed anew (0: from the first deal on). Set by deal intake, cleared by the
    /// period calculation; no entry where nothing is due.
    std::map<std::string, std::map<std::string, int>> m_markers;
};

}  // namespace TC
