#pragma once

#include <cstddef>
#include <cstdlib>

namespace utils {

/// Makes the heap of the calling thread sort what was freed. It does that anyway when somebody asks
/// for much, and after much was freed it takes milliseconds: better before a lock is taken than
/// under it.
inline void sortFreedMemory() {
    constexpr std::size_t MUCH = std::size_t{1} << 20;
    void* volatile memory = std::malloc(MUCH);  // volatile, or the compiler leaves both calls out
    std::free(memory);
}

}  // namespace utils
