#pragma once

#include "linkage/core/managerstate.h"
#include "platform/services/quoteclient.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace TC {

/// The manager's price subscriptions, and what prices and deals leave behind for the
/// calculators. Keys are stock keys, prices yuan. The newest price of a stock stands in the
/// ledger.
///
/// Guarded by the manager's lock.
class CQuotes {
    friend struct PictureMembers;

public:
    using Markers = std::map<std::string, std::set<std::string>>;
    using Prices = std::map<std::string, double>;

    bool isRequested(const std::string& stockKey) const { return m_requests.count(stockKey) > 0; }
    void addRequest(const std::string& stockKey, const boost::shared_ptr<CQuoteRequest>& request) {
        m_requests.emplace(stockKey, request);
    }

    /// Keeps a price for the next pass over the history store.
    void setHistoryPrice(const std::string& stockKey, double price) {
        m_historyPrices[stockKey] = price;
    }

    /// The prices that arrived since the last pass over the history store; each pass clears
    /// them.
    const Prices& historyPrices() const { return m_historyPrices; }
    void clearHistoryPrices() { m_historyPrices.clear(); }

    /// Notes that the totals by minute of an account's stock must be computed again.
    void mark(const std::string& accountKey, const std::string& stockKey) {
        m_markers[accountKey].insert(stockKey);
    }

    /// The marked stocks by account; removes the marks.
    Markers takeMarkers();

    /// Removes an account's marks, because its day is built up again.
    void forgetAccount(const std::string& accountKey);

    /// At a new trade date: ends the subscriptions and removes the marks of the old one.
    void newDay();

    /// Count how often subscriptions, or marks, were dropped. A caller that stores the count
    /// with a request or a mark need not look it up again until the count changes.
    std::uint64_t requestEpoch() const { return m_nRequestEpoch; }
    std::uint64_t markerEpoch() const { return m_nMarkerEpoch; }

    void describe(ManagerState& state) const;

private:
    Prices m_historyPrices;
    std::map<std::string, boost::shared_ptr<CQuoteRequest>> m_requests;
    Markers m_markers;
    std::uint64_t m_nRequestEpoch = 1;
    std::uint64_t m_nMarkerEpoch = 1;
};

}  // namespace TC
