#pragma once

#include <type_traits>

namespace utils {

/// A number with one writer at a time that any thread may read while it is being
/// written. Reading costs what a plain read costs; several numbers read together
/// need not be of the same moment.
template <class T>
class CRelaxed {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(void*));

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
    // The compiler's own operations: they are the same in every standard a client is compiled in,
    // and leave m_value a plain number for own().
    T get() const {
        T value;
        __atomic_load(&m_value, &value, __ATOMIC_RELAXED);
        return value;
    }
    void set(T value) { __atomic_store(&m_value, &value, __ATOMIC_RELAXED); }

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
