#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <type_traits>

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

/// A sum that has room in its type, or nothing; of amounts, one that is finite.
template <class T>
std::optional<T> checkedAdd(T left, T right) {
    if constexpr (std::is_integral_v<T>) {
        T sum = 0;
        if (__builtin_add_overflow(left, right, &sum)) return std::nullopt;
        return sum;
    } else {
        const T sum = left + right;
        if (!std::isfinite(left) || !std::isfinite(sum)) return std::nullopt;
        return sum;
    }
}

}  // namespace TC
