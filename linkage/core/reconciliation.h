#pragma once

#include "linkage/core/inbox.h"
#include "linkage/export.h"
#include "linkage/ledger/ledgerstate.h"

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TC {

/// Why an account is loaded.
enum class ELoadCause { Login, AccountReady, Request, Rollover };

/// "login", "accountReady", "request" or "rollover".
LINKAGE_EXPORT const char* textOf(ELoadCause cause);

/// How the records of one kind differ.
struct RecordChanges {
    int added = 0;    ///< the data center knows them, the manager had not heard of them
    int changed = 0;  ///< its newest report says something else
    int gone = 0;     ///< the manager had them, the data center knows them no longer

    bool any() const { return added != 0 || changed != 0 || gone != 0; }
    bool operator==(const RecordChanges&) const = default;
};

/// What the manager had missed since the load before, as a new load of the account showed.
/// Records of the current trade date alone; volumes are shares.
struct Reconciliation {
    std::int64_t at = 0;  ///< microseconds since the epoch
    std::string account;
    ELoadCause cause = ELoadCause::Request;
    RecordChanges orders;
    RecordChanges deals;  ///< a deal never changes
    /// By stock key, where the two differ: the position that follows from the day's first
    /// positions and today's deals, and the one that the data center reports.
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> positions;

    bool any() const { return orders.any() || deals.any() || !positions.empty(); }
};

using VolumeByStock = std::map<std::string, std::int64_t>;

/// An account's records of one trade date.
struct DayRecords {
    ByRecord<OrderPtr> orders;
    ByRecord<DealPtr> deals;
};

/// The differences between the records that the manager had and those that the data center has.
/// Reports that still wait do not count as missed, and imported records do not count as
/// reports.
LINKAGE_EXPORT RecordChanges compareOrders(const ByRecord<OrderPtr>& before,
                                           const ByRecord<OrderPtr>& now,
                                           const WaitingReports& waiting);
LINKAGE_EXPORT RecordChanges compareDeals(const ByRecord<DealPtr>& before,
                                          const ByRecord<DealPtr>& now,
                                          const WaitingReports& waiting);

/// Bought less sold by stock key.
LINKAGE_EXPORT VolumeByStock netOf(const ByRecord<DealPtr>& deals);

/// The stocks whose reported position is not the opening position plus the net of the day's
/// deals: expected and reported volume. A stock that one of the three does not name has 0
/// there.
LINKAGE_EXPORT std::map<std::string, std::pair<std::int64_t, std::int64_t>> comparePositions(
    const VolumeByStock& opening, const VolumeByStock& net, const VolumeByStock& reported);

/// What the manager remembers of reconciling. Guarded by the manager's lock.
class LINKAGE_EXPORT CReconciliations {
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
