#pragma once

#include "linkage/ledger/ledger.h"
#include "linkage/ledger/recordscopy.h"
#include "linkage/store/import/dayrecords.h"

#include <cstddef>
#include <string>
#include <type_traits>

namespace TC {

/// So many rows are worked through in one hold of the manager's lock, so that intake does not
/// wait for a whole file.
inline constexpr std::size_t ROWS_PER_HOLD = 50;

/// To look for a row of an import, or for what is to be taken away, is quicker than to file one.
inline constexpr std::size_t LOOKS_PER_HOLD = 100;

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

/// What the ledger has of an account's day, to be told to CDayRecords::link().
template <class Record>
using CFiledCopy = CLedger::CRecordsCopy<boost::shared_ptr<Record>>;

}  // namespace TC
