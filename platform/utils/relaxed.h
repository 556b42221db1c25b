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
    /// Begins with a value. Other threads may read once they know the object.
    CRelaxed(T value = T()) : m_value(value) {}
    /// Begins with what the other one holds now.
    CRelaxed(const CRelaxed& other) : m_value(other.get()) {}
    /// Takes what the other one holds now. For the only writer.
    CRelaxed& operator=(const CRelaxed& other) {
        set(other.get());
        return *this;
    }
    /// As set().
    CRelaxed& operator=(T value) {
        set(value);
        return *this;
    }

    /// As get().
    operator T() const { return get(); }
    // The compiler's own operations: they are the same in every standard a client is compiled in,
    // and leave m_value a plain number for own().
    /// The number as it is now. From any thread.
    T get() const {
        T value;
        __atomic_load(&m_value, &value, __ATOMIC_RELAXED);
        return value;
    }
    /// Writes the number. One writer at a time.
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
