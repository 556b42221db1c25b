#pragma once

#include <tuple>

namespace TC {

/// Where a record that is filed under a day comes from; see CLinkageManager::getRecordSources.
struct RecordSource {
    /// The ways by which a record is filed.
    enum class EKind {
        Reported,  ///< by the trading system, while its day ran
        Answered,  ///< by the trading server, which was asked for the day
        Imported,  ///< read from a statement file
    };

    EKind kind = EKind::Reported;  ///< the way by which this one is filed
    int import = 0;  ///< imported: the number of the earliest import that tells it; otherwise 0

    /// Every member, for comparisons.
    auto tied() const { return std::tie(kind, import); }
    /// Whether all members are equal.
    bool operator==(const RecordSource& other) const { return tied() == other.tied(); }
    /// Whether any member differs.
    bool operator!=(const RecordSource& other) const { return !(*this == other); }
};

}  // namespace TC
