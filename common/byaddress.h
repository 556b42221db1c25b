#pragma once

#include <functional>

namespace utils {

/// Tells shared objects apart by address. Their own order tells apart who owns them: a client that
/// keeps many records in one piece of memory would have them taken for one.
struct ByAddress {
    template <class Ptr>
    bool operator()(const Ptr& left, const Ptr& right) const {
        return std::less<const void*>()(left.get(), right.get());
    }
};

}  // namespace utils
