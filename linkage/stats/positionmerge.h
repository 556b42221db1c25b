#pragma once

#include "linkage/core/managerstate.h"

#include <boost/shared_ptr.hpp>

#include <string>

/// One position out of its reports: the trading server tells today's and yesterday's
/// lots, and every shareholder account, of one stock apart.
namespace TC {

/// The parts of one position: newest report by record key.
struct PositionParts {
    unsigned long long key = 0;  ///< record key of the part that was reported first
    ByRecord<PositionPtr> reports;
};

/// The parts of every position, by account and stock key. Guarded by the manager's lock.
struct PositionReports {
    ByText<ByText<PositionParts>> m_parts;

    /// Forgets an account; its positions then build up anew from what is reported.
    void drop(const std::string& accountKey) { m_parts.erase(accountKey); }
};

/// One record for all parts; empty for no parts, the report itself for a single one.
///
/// Volumes and available volumes are added (and held at the limits of 32 bits), the
/// cost is the mean weighted by volume; while nothing is held it is that of the part
/// with the smallest record key. The record is named by `parts.key`, so it keeps its
/// name as further parts appear; its account info is that of the same part.
PositionPtr mergePosition(const PositionParts& parts);

}  // namespace TC
