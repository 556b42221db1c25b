#pragma once

#include "common/keyindex.h"
#include "linkage/ledger/arena.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace TC {

/// Texts, the small integers that they are resolved to, and what is kept for each: T has
/// a member `key`. Objects never move, and a text keeps its integer.
template <class T>
class CNameTable {
public:
    /// NONE when the text was never added.
    std::uint32_t find(const std::string& key) const {
        return m_index.find(utils::textHash(key), [&](std::uint32_t at) {
            return utils::sameText(m_names[at].key, key);
        });
    }

    /// As find(), and quicker for those who hand over the same few text objects again and again:
    /// it remembers what lay at their addresses, and compares the text instead of hashing it. One
    /// thread at a time.
    std::uint32_t recall(const std::string& key) const {
        const auto address = reinterpret_cast<std::uintptr_t>(&key);
        std::uint32_t& known = m_recalled[utils::mixHash(address) % m_recalled.size()];
        if (known < m_names.size() && utils::sameText(m_names[known].key, key)) return known;
        return known = find(key);
    }

    /// Adds a text that is not there yet.
    std::uint32_t add(const std::string& key) {
        const std::uint32_t made = m_names.make();
        m_names[made].key = key;
        m_index.add(utils::textHash(key), made);
        return made;
    }

    std::uint32_t size() const { return m_names.size(); }

    T& operator[](std::uint32_t at) { return m_names[at]; }
    const T& operator[](std::uint32_t at) const { return m_names[at]; }

    /// All integers in the order of their texts. The table remembers the order and renews
    /// it when there are new texts: one thread at a time.
    const std::vector<std::uint32_t>& inOrder() const {
        const auto isBefore = [&](std::uint32_t left, std::uint32_t right) {
            return m_names[left].key < m_names[right].key;
        };
        const auto known = static_cast<std::ptrdiff_t>(m_order.size());
        for (std::uint32_t at = m_order.size(); at < m_names.size(); ++at) m_order.push_back(at);
        std::sort(m_order.begin() + known, m_order.end(), isBefore);
        std::inplace_merge(m_order.begin(), m_order.begin() + known, m_order.end(), isBefore);
        return m_order;
    }

    auto begin() { return m_names.begin(); }
    auto end() { return m_names.end(); }
    auto begin() const { return m_names.begin(); }
    auto end() const { return m_names.end(); }

private:
    CArena<T, 5> m_names;
    utils::CKeyIndex m_index;
    mutable std::vector<std::uint32_t> m_order;
    mutable std::array<std::uint32_t, 64> m_recalled{};  ///< guesses, by address
};

}  // namespace TC
