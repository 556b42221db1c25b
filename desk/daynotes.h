#pragma once

#include "desk/picture.h"

#include <mutex>
#include <utility>
#include <vector>

namespace desk {

/// Events that somebody of the desk notes himself. Threads: any.
class CDayNotes {
public:
    void add(EventRow event) {
        const std::lock_guard lock(m_mutex);
        m_events.push_back(std::move(event));
    }
    /// What was noted since the last call.
    std::vector<EventRow> take() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_events, {});
    }

private:
    std::mutex m_mutex;
    std::vector<EventRow> m_events;
};

}  // namespace desk
