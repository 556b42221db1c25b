#pragma once

#include "platform/utils/runningtotal.h"

#include <cstdint>
#include <memory>
#include <unordered_map>

namespace utils {

/// One value per record key and their total.
///
/// Orders, deals and tasks report their cumulative figures again and again;
/// writing each record's newest figure under its record key and reading the total
/// never counts a record twice. sum() does not walk.
///
/// An owner that already keeps the newest figure of each record key (the linkage
/// library does, in one table for all its totals) calls replace() with the old and
/// the new figure and spares this holder a copy of the keys.
///
/// Threads: one writer at a time; sum() from any thread.
template <class T>
class TStringMapSum {
public:
    /// Sets (does not add to) the value of the key.
    void update(std::uint64_t key, T value) {
        if (!m_values) m_values = std::make_unique<std::unordered_map<std::uint64_t, T>>();
        T& kept = (*m_values)[key];
        m_total.change(kept, value);
        kept = value;
    }

    /// The figure of a key that the caller keeps changed from `from` to `to`.
    void replace(T from, T to) { m_total.change(from, to); }

    /// The total over all keys.
    T sum() const { return m_total.value(); }

private:
    CRunningTotal<T> m_total;
    std::unique_ptr<std::unordered_map<std::uint64_t, T>> m_values;
};

}  // namespace utils
