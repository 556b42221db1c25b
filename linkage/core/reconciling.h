#pragma once

#include "linkage/core/inbox.h"
#include "linkage/core/reconciliation.h"
#include "linkage/ledger/ledgerstate.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace TC {

using VolumeByStock = std::map<std::string, std::int64_t>;

/// An account's records of one trade date.
struct DayRecords {
    ByRecord<OrderPtr> orders;
    ByRecord<DealPtr> deals;
};

/// The differences between the records that the manager had and those that the data center has.
/// Reports that still wait do not count as missed, and imported records do not count as
/// reports.
RecordChanges compareOrders(const ByRecord<OrderPtr>& before, const ByRecord<OrderPtr>& now,
                            const WaitingReports& waiting);
RecordChanges compareDeals(const ByRecord<DealPtr>& before, const ByRecord<DealPtr>& now,
                           const WaitingReports& waiting);

/// Bought less sold by stock key.
VolumeByStock netOf(const ByRecord<DealPtr>& deals);

/// The stocks whose reported position is not the opening position plus the net of the day's
/// deals: expected and reported volume. A stock that one of the three does not name has 0
/// there.
std::map<std::string, std::pair<std::int64_t, std::int64_t>> comparePositions(
    const VolumeByStock& opening, const VolumeByStock& net, const VolumeByStock& reported);

/// What the manager remembers of reconciling. Guarded by the manager's lock.
class CReconciliations {
    friend struct PictureMembers;

public:
    static constexpr std::size_t KEPT = 1'000;

    /// The positions that do not follow from the day's deals. The first positions of an account
    /// on a trade date give the opening position; before there are any, nothing differs.
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> checkPositions(
        const std::string& account, const std::string& tradeDate, const VolumeByStock& net,
        const VolumeByStock& reported);

    /// Drops the oldest entry when there are more than KEPT.
    void add(const Reconciliation& found);
    std::vector<Reconciliation> all() const { return {m_all.begin(), m_all.end()}; }

private:
    struct Opening {
        std::string tradeDate;
        VolumeByStock volumes;
    };

    std::deque<Reconciliation> m_all;
    std::map<std::string, Opening> m_openings;  ///< by account
};

}  // namespace TC
