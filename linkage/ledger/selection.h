#pragma once

#include <set>
#include <string>

namespace TC {

/// Whether a set of keys selects one of them; an empty set selects all.
inline bool selects(const std::set<std::string>& keys, const std::string& key) {
    return keys.empty() || keys.count(key) > 0;
}

}  // namespace TC
