#pragma once

#include "common/hugepages.h"
#include "common/prefetch.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace utils {

inline std::uint64_t mixHash(std::uint64_t value) {
    value *= 0xd6e8feb86659fd93ull;
    value ^= value >> 32;
    value *= 0xd6e8feb86659fd93ull;
    return value ^ value >> 32;
}

namespace text {

template <class Word>
Word wordAt(const char* at) {
    Word word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

// A text of up to 8 characters as one word: its first and its last four characters, which may
// overlap, or each of up to three.
inline std::uint64_t shortText(const char* at, std::size_t size) {
    if (size >= 4) {
        return wordAt<std::uint32_t>(at) |
               static_cast<std::uint64_t>(wordAt<std::uint32_t>(at + size - 4)) << 32;
    }
    if (size == 0) return 0;
    const auto byte = [&](std::size_t i) {
        return std::uint64_t{static_cast<unsigned char>(at[i])};
    };
    return byte(0) | byte(size / 2) << 8 | byte(size - 1) << 16;
}

}  // namespace text

/// Hash of a short text: keys of this trade have 2 to 30 characters.
inline std::uint64_t textHash(std::string_view text, std::uint64_t seed = 0) {
    constexpr std::uint64_t ODD = 0x9e3779b97f4a7c15ull;
    const char* const at = text.data();
    const std::size_t size = text.size();
    std::uint64_t hash = (seed + size) * ODD;
    if (size <= 8) return mixHash(hash ^ text::shortText(at, size));
    for (std::size_t done = 0; done + 8 < size; done += 8) {
        hash = (hash ^ text::wordAt<std::uint64_t>(at + done)) * ODD;
        hash ^= hash >> 29;
    }
    return mixHash(hash ^ text::wordAt<std::uint64_t>(at + size - 8));
}

/// Whether two short texts are equal, without a call.
inline bool sameText(std::string_view left, std::string_view right) {
    const std::size_t size = left.size();
    if (size != right.size()) return false;
    if (size <= 8) return text::shortText(left.data(), size) == text::shortText(right.data(), size);
    const auto sameAt = [&](std::size_t at) {
        return text::wordAt<std::uint64_t>(left.data() + at) ==
               text::wordAt<std::uint64_t>(right.data() + at);
    };
    for (std::size_t done = 0; done + 8 < size; done += 8) {
        if (!sameAt(done)) return false;
    }
    return sameAt(size - 8);
}

/// Maps a hash to an index that the caller has chosen. It keeps no keys: the caller says whether an
/// index belongs to the key that he looks for. A look-up usually reads one cache line of the table
/// and one object of the caller's.
class CKeyIndex {
public:
    static constexpr std::uint32_t NONE = 0xffffffffu;

    /// The index under this hash for which `matches` holds, or NONE.
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
        if (!m_slots.empty()) utils::prefetch(&m_slots[hash & m_nMask]);
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
        // Entries that the removed one had displaced move up, so that no search for them ends at
        // the hole.
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

    /// Every index, in no order.
    template <class Visit>
    void forEach(Visit visit) const {
        for (const Slot& slot : m_slots) {
            if (slot.index != NONE) visit(slot.index);
        }
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

    // A growing table places its entries anew by their tags, so the tag must hold every bit of the
    // hash that a table position is made of: the low 32.
    static std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash); }

    using CSlots = std::vector<Slot, hugepages::CAllocator<Slot>>;

    void place(Slot slot, std::size_t at) {
        while (m_slots[at].index != NONE) at = (at + 1) & m_nMask;
        m_slots[at] = slot;
    }

    void grow() {
        CSlots old(m_slots.empty() ? 8 : m_slots.size() * 2);
        old.swap(m_slots);
        m_nMask = m_slots.size() - 1;
        for (const Slot& slot : old) {
            if (slot.index != NONE) place(slot, slot.tag & m_nMask);
        }
    }

    CSlots m_slots;
    std::size_t m_nMask = 0;
    std::size_t m_nUsed = 0;
};

}  // namespace utils
