#pragma once

#include "platform/services/quoteclient.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace TC {

/// What the manager knows of prices, by stock key; prices in yuan. Guarded by the
/// manager's lock. CPeriodCurves is one of these.
struct QuoteState {
    /// Prices that the history statistics pass has not seen yet; it empties the map.
    /// (Those of the statistics pass stand with the stocks, in the ledger.)
    std::map<std::string, double> m_historyPrices;

    /// The price subscriptions, one per stock, until the trade date changes.
    std::map<std::string, boost::shared_ptr<CQuoteRequest>> m_quoteRequests;

    /// Account key, stock keys: whose totals by minute must be computed anew. Set by deal
    /// intake, cleared by the period calculation.
    std::map<std::string, std::set<std::string>> m_markers;

    /// Counts how often markers were cleared, or subscriptions dropped: deal intake
    /// remembers in which state it has already set them.
    std::uint64_t m_nMarkerEpoch = 1;
    std::uint64_t m_nRequestEpoch = 1;
};

}  // namespace TC
