#pragma once

#include <cstddef>

namespace utils {

/// Asks the processor for the cache line at `place` ahead of its use. Any address may be given.
/// Without the empty asm statement the compiler would see no effect in a function that only
/// prefetches, and would drop the calls of that function.
inline void prefetch(const void* place) {
    __builtin_prefetch(place);
    asm volatile("");
}

/// The same for every cache line of an object.
template <class Object>
void prefetchAll(const Object* object) {
    constexpr std::size_t LINE = 64;
    for (std::size_t at = 0; at < sizeof(Object); at += LINE) {
        prefetch(reinterpret_cast<const char*>(object) + at);
    }
}

}  // namespace utils
