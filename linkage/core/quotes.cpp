#include "linkage/core/quotes.h"

#include <utility>

namespace TC {

CQuotes::Markers CQuotes::takeMarkers() {
    ++m_nMarkerEpoch;
    return std::exchange(m_markers, {});
}

void CQuotes::forgetAccount(const std::string& accountKey) {
    if (m_markers.erase(accountKey) > 0) ++m_nMarkerEpoch;
}

void CQuotes::newDay() {
    m_requests.clear();
    m_markers.clear();
    ++m_nRequestEpoch;
    ++m_nMarkerEpoch;
}

void CQuotes::describe(ManagerState& state) const {
    state.historyPrices = m_historyPrices;
    for (const auto& [stock, request] : m_requests) state.quoteRequests.insert(stock);
}

}  // namespace TC
