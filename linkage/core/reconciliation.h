#pragma once

#include "linkage/export.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>

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

    /// Whether anything differs.
    bool any() const { return added != 0 || changed != 0 || gone != 0; }
    /// Every member, for comparisons.
    auto tied() const { return std::tie(added, changed, gone); }
    /// Whether all members are equal.
    bool operator==(const RecordChanges& other) const { return tied() == other.tied(); }
    /// Whether any member differs.
    bool operator!=(const RecordChanges& other) const { return !(*this == other); }
};

/// What the manager had missed since the load before, as a new load of the account showed.
/// Records of the current trade date alone; volumes are shares.
struct Reconciliation {
    std::int64_t at = 0;                     ///< microseconds since the epoch
    std::string account;                     ///< account key
    ELoadCause cause = ELoadCause::Request;  ///< why the account was loaded
    RecordChanges orders;                    ///< how the orders of the day differ
    RecordChanges deals;                     ///< a deal never changes
    /// By stock key, where the two differ: the position that follows from the day's first
    /// positions and today's deals, and the one that the data center reports.
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> positions;

    /// Whether the load found anything.
    bool any() const { return orders.any() || deals.any() || !positions.empty(); }
};

}  // namespace TC
