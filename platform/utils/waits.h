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

/// What waits for the moments of a clock that stands still between moves of its owner.
///
/// Threads: any.
class PLATFORM_EXPORT CWaits {
public:
    /// Called once: whether the moment has come, or the wait was cancelled.
    using End = std::function<void(bool due)>;
    /// The moment, and which of its waits.
    using Place = std::pair<std::int64_t, std::uint64_t>;

    Place add(std::int64_t dueMicros, End end);
    /// Takes a wait out; empty when it is there no more.
    End take(const Place& place);
    /// Takes out what is due by a moment: the earliest first, of one moment the wait that
    /// was added first.
    std::vector<End> takeDue(std::int64_t nowMicros);
    /// Takes out all there are, for nobody to end.
    void clear();

    /// The next moment that something waits for.
    std::optional<std::int64_t> next() const;

private:
    mutable std::mutex m_mutex;
    std::uint64_t m_nAdded = 0;
    std::map<Place, End> m_waiting;
};

}  // namespace utils
