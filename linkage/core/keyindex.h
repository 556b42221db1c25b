#pragma once

#include "linkage/core/arena.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace TC {

inline std::uint64_t mixHash(std::uint64_t value) {
    value *= 0xd6e8feb86659fd93ull;
    value ^= value >> 32;
    value *= 0xd6e8feb86659fd93ull;
    return value ^ value >> 32;
}

/// Hash of a short text: keys of this trade have 2 to 16 characters.
inline std::uint64_t textHash(std::string_view text, std::uint64_t seed = 0) {
    const char* at = text.data();
    std::size_t left = text.size();
    std::uint64_t hash = seed ^ (left * 0x2545f4914f6cdd1dull);
    while (left >= 8) {
        std::uint64_t word;
        std::memcpy(&word, at, 8);
        hash = mixHash(hash ^ word);
        at += 8;
        left -= 8;
    }
    if (left >= 4) {
        std::uint32_t first, last;
        std::memcpy(&first, at, 4);
        std::memcpy(&last, at + left - 4, 4);
        return mixHash(hash ^ (first | static_cast<std::uint64_t>(last) << 32));
    }
    if (left == 0) return mixHash(hash);
    const std::uint64_t word =
        static_cast<unsigned char>(at[0]) |
        static_cast<std::uint64_t>(static_cast<unsigned char>(at[left / 2])) << 8 |
        static_cast<std::uint64_t>(static_cast<unsigned char>(at[left - 1])) << 16;
    return mixHash(hash ^ word);
}

/// From a hash to an index of the caller's. It keeps no keys: the caller says whether
/// an index belongs to the key he looks for. One look-up is one line of the table and,
/// as a rule, one object.
class CKeyIndex {
public:
    /// The index that `matches`, or NONE.
    template <class Matches>
    std::uint32_t find(std::uint64_t hash, Matches matches) const {
        if (m_slots.empty()) return NONE;
        const std::uint32_t tag = tagOf(hash);
        for (std::size_t at = hash & m_nMask;; at = (at + 1) & m_nMask) {
            const Slot& slot = m_slots[at];
            if (slot.index == NONE) return NONE;
            if (slot.tag == tag && matches(slot.index)) return slot.index;
        }
    }

    /// Asks the processor for the line of the table that find() will look at.
    void prefetch(std::uint64_t hash) const {
        if (!m_slots.empty()) __builtin_prefetch(&m_slots[hash & m_nMask]);
    }

    /// Adds an index that is not there yet.
    void add(std::uint64_t hash, std::uint32_t index) {
        if ((m_nUsed + 1) * 8 > m_slots.size() * 5) grow();
        place({tagOf(hash), index}, hash & m_nMask);
        ++m_nUsed;
    }

    /// Puts another index in the place of one that is there.
    void replace(std::uint64_t hash, std::uint32_t from, std::uint32_t to) {
        for (std::size_t at = hash & m_nMask;; at = (at + 1) & m_nMask) {
            if (m_slots[at].index == from) {
                m_slots[at].index = to;
                return;
            }
        }
    }

    /// Takes out an index that is there.
    void remove(std::uint64_t hash, std::uint32_t index) {
        std::size_t hole = hash & m_nMask;
        while (m_slots[hole].index != index) hole = (hole + 1) & m_nMask;
        // What had to step aside for it moves up, so that no search ends too early.
        for (std::size_t at = (hole + 1) & m_nMask; m_slots[at].index != NONE;
             at = (at + 1) & m_nMask) {
            const std::size_t home = m_slots[at].tag & m_nMask;
            if (((at - home) & m_nMask) < ((at - hole) & m_nMask)) continue;
            m_slots[hole] = m_slots[at];
            hole = at;
        }
        m_slots[hole] = Slot();
        --m_nUsed;
    }

    void clear() {
        m_slots.clear();
        m_nMask = 0;
        m_nUsed = 0;
    }

private:
    struct Slot {
        std::uint32_t tag = 0;
        std::uint32_t index = NONE;
    };

    // Growing places entries anew by their tag, so the tag must hold every bit of the
    // hash that a table position is made of: the low 32.
    static std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash); }

    void place(Slot slot, std::size_t at) {
        while (m_slots[at].index != NONE) at = (at + 1) & m_nMask;
        m_slots[at] = slot;
    }

    void grow() {
        std::vector<Slot> old(m_slots.empty() ? 8 : m_slots.size() * 2);
        old.swap(m_slots);
        m_nMask = m_slots.size() - 1;
        for (const Slot& slot : old) {
            if (slot.index != NONE) place(slot, slot.tag & m_nMask);
        }
    }

    std::vector<Slot> m_slots;
    std::size_t m_nMask = 0;
    std::size_t m_nUsed = 0;
};

}  // namespace TC
