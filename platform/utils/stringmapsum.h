#pragma once

#include "platform/utils/runningtotal.h"

#include <cstdint>
#include <unordered_map>

namespace utils {

/// The total of TStringMapSum for an owner that keeps the newest figure of each record key itself,
/// as the linkage library does in one table for all its totals.
///
/// Threads: one writer at a time; sum() from any thread.
template <class T>
class TRecordSum {
public:
    /// The figure of a key changes from `from` to `to`.
    void replace(T from, T to) { m_total.change(from, to); }

    /// The total over all keys.
    T sum() const { return m_total.value(); }

    /// What the total has beyond sum(), where that has no room for it. For the writer.
    T rest() const { return m_total.rest(); }

private:
    CRunningTotal<T> m_total;
};

/// One value per record key and their total.
///
/// Orders, deals and tasks report their cumulative figures again and again;
/// writing each record's newest figure under its record key and reading the total
/// never counts a record twice. sum() does not walk.
///
/// Threads: one writer at a time; sum() from any thread.
template <class T>
class TStringMapSum : public TRecordSum<T> {
public:
    /// Sets (does not add to) the value of the key.
    void update(std::uint64_t key, T value) {
        T& kept = m_values[key];
        this->replace(kept, value);
        kept = value;
    }

private:
    std::unordered_map<std::uint64_t, T> m_values;
};

}  // namespace utils
