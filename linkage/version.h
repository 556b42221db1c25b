#pragma once

#include "linkage/export.h"

namespace TC {

/// The version that a client is compiled with. The first number changes when a client must be
/// compiled anew, the second when something is added, the third with mends.
inline constexpr char VERSION[] = "1.0.0";

/// The version of the library that is loaded. Any thread.
LINKAGE_EXPORT const char* loadedVersion();

}  // namespace TC
