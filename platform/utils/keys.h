#pragma once

#include "platform/export.h"

#include <cstdint>
#include <string>

namespace utils {

/// The 64-bit hash by which the data center looks accounts up (FNV-1a).
LINKAGE_PLATFORM_EXPORT std::uint64_t hash(const std::string& text);

/// The key of every per-stock map: the market followed by the code ("SH600000").
LINKAGE_PLATFORM_EXPORT std::string zorStockKey(const std::string& market, const std::string& code);

}  // namespace utils
