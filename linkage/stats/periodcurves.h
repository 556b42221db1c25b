#pragma once

#include "linkage/core/managerstate.h"
#include "linkage/stats/quotestate.h"

namespace TC {

/// The profit and balance curves of the day. Guarded by the manager's lock.
class CPeriodCurves : public QuoteState {
public:
    bool m_bProfitCalcRunning = false;
    bool m_bBalanceCalcRunning = false;

    void describe(ManagerState& state) const {
        for (const auto& [stock, request] : m_quoteRequests) state.quoteRequests.insert(stock);
        state.historyPrices = m_historyPrices;
    }
    void newDay() {
        m_quoteRequests.clear();
        m_markers.clear();
        ++m_nRequestEpoch;
        ++m_nMarkerEpoch;
    }
    void forgetAccount(const std::string& accountKey) {
        m_markers.erase(accountKey);
        ++m_nMarkerEpoch;
    }
};

}  // namespace TC
