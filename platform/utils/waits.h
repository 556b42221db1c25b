#pragma once

#include "platform/export.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace utils {

/// The waits of timers for moments of a clock that stands still until its owner moves it.
///
/// Threads: any.
class LINKAGE_PLATFORM_EXPORT CWaits {
public:
    /// Called at most once: with true when the moment has come, with false when the wait was
    /// cancelled.
    using End = std::function<void(bool due)>;
    /// The moment, and the number of the wait, which rises with each one added.
    using Place = std::pair<std::int64_t, std::uint64_t>;

    /// Adds a wait that ends at a moment, in microseconds since the epoch. A moment that has passed
    /// is due at the next takeDue().
    Place add(std::int64_t dueMicros, End end);
    /// Takes a wait out; returns an empty function when it is no longer there.
    End take(const Place& place);
    /// Takes out the waits that are due at a moment: the earliest first, and of the same moment the
    /// one that was added first.
    std::vector<End> takeDue(std::int64_t nowMicros);
    /// Drops all waits without calling them.
    void clear();

    /// The next moment that something waits for.
    std::optional<std::int64_t> next() const;

private:
    mutable std::mutex m_mutex;
    std::uint64_t m_nAdded = 0;
    std::map<Place, End> m_waiting;
};

}  // namespace utils
