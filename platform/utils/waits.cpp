#include "platform/utils/waits.h"

namespace utils {

CWaits::Place CWaits::add(std::int64_t dueMicros, End end) {
    const std::lock_guard lock(m_mutex);
    const Place place(dueMicros, ++m_nAdded);
    m_waiting.emplace_hint(m_waiting.end(), place, std::move(end));
    return place;
}

CWaits::End CWaits::take(const Place& place) {
    const std::lock_guard lock(m_mutex);
    auto node = m_waiting.extract(place);
    return node ? std::move(node.mapped()) : End();
}

std::vector<CWaits::End> CWaits::takeDue(std::int64_t nowMicros) {
    std::vector<End> due;
    const std::lock_guard lock(m_mutex);
    while (!m_waiting.empty() && m_waiting.begin()->first.first <= nowMicros) {
        due.push_back(std::move(m_waiting.begin()->second));
        m_waiting.erase(m_waiting.begin());
    }
    return due;
}

void CWaits::clear() {
    // Destroyed after the lock is given back: dropping a callback may cancel other waits.
    std::map<Place, End> gone;
    const std::lock_guard lock(m_mutex);
    gone.swap(m_waiting);
}

std::optional<std::int64_t> CWaits::next() const {
    const std::lock_guard lock(m_mutex);
    if (m_waiting.empty()) return std::nullopt;
    return m_waiting.begin()->first.first;
}

}  // namespace utils
