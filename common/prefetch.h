#pragma once

namespace utils {

/// Asks the processor for the cache line at `place` ahead of its use. Any address may be
/// given. The empty statement keeps the compiler from taking a function that does nothing
/// but prefetch for one without effect: it would drop the calls of such a function.
inline void prefetch(const void* place) {
    __builtin_prefetch(place);
    asm volatile("");
}

}  // namespace utils
