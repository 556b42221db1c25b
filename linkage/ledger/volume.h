#pragma once

#include <cstdint>

namespace TC {

/// 32-bit arithmetic of volumes as the trade service has it: it wraps, never traps.
inline std::int32_t wrapAdd(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) +
                                     static_cast<std::uint32_t>(right));
}
inline std::int32_t wrapSub(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) -
                                     static_cast<std::uint32_t>(right));
}

}  // namespace TC
