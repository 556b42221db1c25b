#pragma once

#include <mutex>
#include <utility>

namespace TC {

/// A value that is read without the manager's lock: it has a lock of its own, held
/// for a copy or an assignment and never while anything else is called.
template <class T>
class CPublished {
public:
    CPublished() = default;
    explicit CPublished(T value) : m_value(std::move(value)) {}

    T get() const {
        std::lock_guard lock(m_mutex);
        return m_value;
    }

    void set(T value) {
        std::lock_guard lock(m_mutex);
        m_value = std::move(value);
    }

    /// Runs `work` on the value; it must be short and call nothing that locks.
    template <class Work>
    auto with(Work work) {
        std::lock_guard lock(m_mutex);
        return work(m_value);
    }
    template <class Work>
    auto with(Work work) const {
        std::lock_guard lock(m_mutex);
        return work(static_cast<const T&>(m_value));
    }

private:
    mutable std::mutex m_mutex;
    T m_value{};
};

}  // namespace TC
