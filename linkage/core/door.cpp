#include "linkage/core/door.h"

#include <algorithm>

namespace TC {

bool CDoor::enter() {
    std::lock_guard lock(m_mutex);
    const auto self = std::this_thread::get_id();
    for (Guest& guest : m_guests) {
        if (guest.thread == self) {
            // This thread is inside already. The nested call belongs to the same visit, even if
            // the door was closed meanwhile.
            ++guest.depth;
            return true;
        }
    }
    if (m_bClosed) return false;
    m_guests.push_back({self, 1});
    return true;
}

void CDoor::leave() {
    boost::shared_ptr<void> keep;
    std::lock_guard lock(m_mutex);
    const auto self = std::this_thread::get_id();
    const auto at = std::find_if(m_guests.begin(), m_guests.end(),
                                 [&](const Guest& guest) { return guest.thread == self; });
    if (--at->depth > 0) return;
    m_guests.erase(at);
    if (!m_guests.empty()) return;
    keep.swap(m_pKeep);
    m_empty.notify_all();
}

void CDoor::close(boost::shared_ptr<void> keep) {
    std::unique_lock lock(m_mutex);
    m_bClosed = true;
    const auto self = std::this_thread::get_id();
    const bool inside = std::any_of(m_guests.begin(), m_guests.end(),
                                    [&](const Guest& guest) { return guest.thread == self; });
    if (inside) {
        m_pKeep = std::move(keep);
        return;
    }
    m_empty.wait(lock, [&] { return m_guests.empty(); });
}

}  // namespace TC
