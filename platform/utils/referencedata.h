#pragma once

#include "platform/export.h"

#include <cstdint>

namespace utils {

/// The state of the client's reference data: instrument details, stock types,
/// trading units, accounts and their fee limits. A module that keeps answers of
/// these services keeps them only while this number stays the same.
///
/// Threads: any.
LINKAGE_PLATFORM_EXPORT std::uint64_t referenceDataRevision();

/// The client calls this after any of that data has changed. A client that does not know whether it
/// has changed may call it as often as it likes.
LINKAGE_PLATFORM_EXPORT void referenceDataChanged();

}  // namespace utils
