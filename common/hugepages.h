#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

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

/// How CMemory goes back.
template <class T>
struct CRelease {
    std::size_t bytes = 0;
    void operator()(T* memory) const noexcept { release(memory, bytes, alignof(T)); }
};

/// Memory for objects, which whoever has it makes and destroys himself.
template <class T>
using CMemory = std::unique_ptr<T[], CRelease<T>>;

/// Memory of so many bytes. Throws std::bad_alloc.
template <class T>
CMemory<T> memoryFor(std::size_t bytes) {
    return {static_cast<T*>(allocate(bytes, alignof(T))), CRelease<T>{bytes}};
}

/// Memory in pieces out of slabs that grow up to a huge page. It goes back slab by slab, when
/// nobody has a piece of the slab any more. Pieces may be given back on any thread.
class CPieces {
public:
    static constexpr std::size_t LINE = 64;

    struct Piece {
        unsigned char* memory = nullptr;
        std::shared_ptr<void> slab;
    };

    /// `bytes` bytes at an address that is a multiple of LINE. Throws std::bad_alloc.
    Piece take(std::size_t bytes) {
        bytes = (bytes + LINE - 1) / LINE * LINE;
        if (bytes > m_nLeft) addSlab(bytes);
        m_nLeft -= bytes;
        return {std::exchange(m_next, m_next + bytes), m_slab};
    }

private:
    static constexpr std::size_t FIRST = std::size_t{64} << 10;

    void addSlab(std::size_t least) {
        const std::size_t bytes = std::max(m_nNext, least);
        void* const memory = allocate(bytes, LINE);
        m_slab = {memory, [bytes](void* slab) { release(slab, bytes, LINE); }};
        m_next = static_cast<unsigned char*>(memory);
        m_nLeft = bytes;
        m_nNext = std::min(2 * m_nNext, SIZE);
    }

    std::shared_ptr<void> m_slab;
    unsigned char* m_next = nullptr;
    std::size_t m_nLeft = 0;
    std::size_t m_nNext = FIRST;  ///< bytes of the next slab
};

}  // namespace utils::hugepages
