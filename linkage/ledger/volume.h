#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace TC {

/// Adds volumes as the trade service does: in 32 bits, wrapping on overflow.
inline std::int32_t wrapAdd(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) +
                                     static_cast<std::uint32_t>(right));
}
inline std::int32_t wrapSub(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) -
                                     static_cast<std::uint32_t>(right));
}

/// The sum if its type can hold it, else nothing. A sum of amounts must be finite.
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
