#pragma once

#include <atomic>

namespace utils {

/// A number with one writer at a time that any thread may read while it is being
/// written. Reading costs what a plain read costs; several numbers read together
/// need not be of the same moment.
template <class T>
class CRelaxed {
public:
    CRelaxed(T value = T()) : m_value(value) {}
    CRelaxed(const CRelaxed& other) : m_value(other.get()) {}
    CRelaxed& operator=(const CRelaxed& other) {
        set(other.get());
        return *this;
    }
    CRelaxed& operator=(T value) {
        set(value);
        return *this;
    }

    operator T() const { return get(); }
    T get() const {
        return std::atomic_ref<T>(const_cast<T&>(m_value)).load(std::memory_order_relaxed);
    }
    void set(T value) { std::atomic_ref<T>(m_value).store(value, std::memory_order_relaxed); }

    /// For the only writer: a plain read, which the compiler may combine with others.
    T own() const { return m_value; }

    /// For the only writer: it is not atomic as a whole, so two writers would lose updates.
    CRelaxed& operator+=(T amount) {
        set(own() + amount);
        return *this;
    }

private:
    T m_value;
};

}  // namespace utils
