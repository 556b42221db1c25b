#pragma once

#include "linkage/core/arena.h"
#include "linkage/core/keyindex.h"

#include <cstdint>
#include <string>

namespace TC {

/// Texts, the small integers that they are resolved to, and what is kept for each: T has
/// a member `key`. Objects never move, and a text keeps its integer.
template <class T>
class CNameTable {
public:
    /// NONE when the text was never added.
    std::uint32_t find(const std::string& key) const {
        return m_index.find(textHash(key),
                            [&](std::uint32_t at) { return sameText(m_names[at].key, key); });
    }

    /// Adds a text that is not there yet.
    std::uint32_t add(const std::string& key) {
        const std::uint32_t made = m_names.make();
        m_names[made].key = key;
        m_index.add(textHash(key), made);
        return made;
    }

    T& operator[](std::uint32_t at) { return m_names[at]; }
    const T& operator[](std::uint32_t at) const { return m_names[at]; }

    auto begin() { return m_names.begin(); }
    auto end() { return m_names.end(); }
    auto begin() const { return m_names.begin(); }
    auto end() const { return m_names.end(); }

private:
    CArena<T, 5> m_names;
    CKeyIndex m_index;
};

}  // namespace TC
