#pragma once

#include "linkage/core/mutex.h"

#include <cstddef>

namespace TC {

/// So many records are copied in one hold of the manager's lock.
inline constexpr std::size_t COPIED_PER_HOLD = 1000;

/// Makes copies of the ledger (linkage/ledger/slicedcopy.h) that are of one moment. Calls `last` in
/// the hold of that moment.
template <class Last, class... Copies>
void copyInSlices(CRecursiveMutex& mutex, const Last& last, Copies&... copies) {
    const auto slice = [&] {
        const CLock lock(mutex);
        try {
            if (!(copies.next(COPIED_PER_HOLD) && ...)) return false;
            last();
        } catch (...) {
            (copies.close(), ...);
            throw;
        }
        (copies.close(), ...);
        return true;
    };
    while (!slice()) mutex.giveWay();
}

}  // namespace TC
