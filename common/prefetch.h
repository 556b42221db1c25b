#pragma once

namespace utils {

/// Asks the processor for the cache line at `place` ahead of its use. Any address may be given.
/// Without the empty asm statement the compiler would see no effect in a function that only
/// prefetches, and would drop the calls of that function.
inline void prefetch(const void* place) {
    __builtin_prefetch(place);
    asm volatile("");
}

}  // namespace utils
