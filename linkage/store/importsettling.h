#pragma once

#include "linkage/ledger/ledger.h"
#include "linkage/store/import/dayrecords.h"

#include <cstddef>
#include <string>
#include <type_traits>

namespace TC {

/// So many rows are worked through in one hold of the manager's lock, so that intake does not
/// wait for a whole file. To find them, a hold may look through all records of one day.
inline constexpr std::size_t ROWS_PER_HOLD = 50;

/// What the ledger has of an account's day.
template <class Record>
ByRecord<boost::shared_ptr<Record>> recordsOfDay(const CLedger& ledger,
                                                 const std::string& accountKey, int day) {
    if constexpr (std::is_same_v<Record, vexservice::CDealDetail>) {
        return ledger.accountDeals(accountKey, day);
    } else {
        return ledger.accountOrders(accountKey, day);
    }
}

/// Tells the records of a day what the ledger has of it that was not imported. Hold the
/// manager's lock.
template <class Record>
void linkReported(const CLedger& ledger, const std::string& accountKey, int day,
                  statement::CDayRecords<Record>& records);

}  // namespace TC
