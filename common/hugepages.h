#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <new>

namespace utils::hugepages {

/// The size of a huge page. Memory of at least this size lies in huge pages where the system
/// grants them: a table that is read at random places then misses the processor's list of pages
/// less often.
inline constexpr std::size_t SIZE = std::size_t{2} << 20;

/// Memory for `bytes` bytes at an address that is a multiple of `alignment`. Throws
/// std::bad_alloc.
inline void* allocate(std::size_t bytes, std::size_t alignment) {
    if (bytes < SIZE) return ::operator new (bytes, std::align_val_t{alignment});
    void* const memory = ::operator new (bytes, std::align_val_t{SIZE});
    // A refusal only costs speed.
    ::madvise(memory, bytes, MADV_HUGEPAGE);
    return memory;
}

/// Gives back what allocate() returned for the same two numbers.
inline void release(void* memory, std::size_t bytes, std::size_t alignment) noexcept {
    ::operator delete (memory, std::align_val_t{bytes < SIZE ? alignment : SIZE});
}

/// An allocator for containers that grow large.
template <class T>
struct CAllocator {
    using value_type = T;

    CAllocator() = default;
    template <class Other>
    CAllocator(const CAllocator<Other>& /*other*/) {}

    T* allocate(std::size_t count) {
        return static_cast<T*>(hugepages::allocate(count * sizeof(T), alignof(T)));
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        release(memory, count * sizeof(T), alignof(T));
    }

    friend bool operator==(const CAllocator& /*left*/, const CAllocator& /*right*/) { return true; }
};

}  // namespace utils::hugepages
