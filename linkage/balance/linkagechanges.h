#pragma once

#include "linkage/balance/balancebook.h"
#include "linkage/ledger/changes.h"

#include <cstddef>
#include <vector>

namespace TC {

/// So many changed records come in one answer, unless somebody asks for more or fewer. Gathering
/// them takes well under a millisecond.
inline constexpr std::size_t CHANGES_AT_ONCE = 1000;

/// What CLinkageManager::getChanges tells.
struct LinkageChanges : LedgerChanges {
    /// The balances that changed, by number, all at once whatever `most` says. Kept only with
    /// LinkageOptions::guard. That one is dropped, two trade dates later, is not told.
    std::vector<BalanceRecord> balances;
};

}  // namespace TC
