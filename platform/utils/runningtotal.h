#pragma once

#include "platform/utils/relaxed.h"

#include <cstdint>
#include <type_traits>

namespace utils {

/// What a total of doubles has beyond its first double; a total of integers has nothing.
template <class T, bool = std::is_integral_v<T>>
struct RunningRest {
    T m_rest{};  ///< what the first double had no room for
};
template <class T>
struct RunningRest<T, true> {};

/// The total of a changing set of values, kept as they change.
///
/// Integers are exact in 64 bits. Doubles are kept as a sum of two doubles (error-free addition,
/// about 106 bits), so that money amounts that were added and taken away again leave no trace and
/// the total does not depend on the order of the changes. Values that are not a number are left
/// out, and so are values so large that the sum of many might not be finite: one bad report must
/// not spoil a total for good.
///
/// Threads: one writer at a time; value() from any thread.
template <class T>
class CRunningTotal : private RunningRest<T> {
public:
    /// Replaces one value of the set by another (0 stands for none).
    void change(T from, T to) {
        if constexpr (std::is_integral_v<T>) {
            m_total += static_cast<std::int64_t>(to) - static_cast<std::int64_t>(from);
        } else {
            if (counts(from)) add(-from);
            if (counts(to)) add(to);
        }
    }

    /// The total as it is now. From any thread.
    T value() const { return static_cast<T>(m_total.get()); }

    /// What the total has beyond value(); nothing of integers. For the writer.
    T rest() const {
        if constexpr (std::is_integral_v<T>) {
            return T();
        } else {
            return this->m_rest;
        }
    }

private:
    using Wide = std::conditional_t<std::is_integral_v<T>, std::int64_t, T>;

    static bool counts(T value) {
        constexpr T LARGEST = 1e280;  // even 2^64 of these have a finite sum
        return value >= -LARGEST && value <= LARGEST;
    }

    void add(T value) {
        const T high = m_total.get();
        const T sum = high + value;
        const T part = sum - high;
        const T lost = (high - (sum - part)) + (value - part) + this->m_rest;
        const T total = sum + lost;
        this->m_rest = lost - (total - sum);
        m_total.set(total);
    }

    CRelaxed<Wide> m_total;
};

}  // namespace utils
