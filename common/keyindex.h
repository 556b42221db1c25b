#pragma once

#include "common/hugepages.h"
#include "common/prefetch.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

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
///
/// It grows in steps: shortly before the table is full, the next one is emptied in parts, and then
/// the entries move over in parts. So no add() takes as long as a large table.
class CKeyIndex {
public:
    static constexpr std::uint32_t NONE = 0xffffffffu;

    /// The index under this hash for which `matches` holds, or NONE.
    template <class Matches>
    std::uint32_t find(std::uint64_t hash, Matches matches) const {
        if (m_table.isNull()) return NONE;
        const std::uint32_t tag = tagOf(hash);
        const auto is = [&](const Slot& slot) {
            return slot.tag == tag && slot.index < LEFT && matches(slot.index);
        };
        const Slot* const found = m_table.seek(hash, is);
        if (found->index != NONE || !isMoving()) return found->index;
        return m_pGrowth->old.seek(hash, is)->index;
    }

    /// Asks the processor for the line of the table that find() will look at.
    void prefetch(std::uint64_t hash) const {
        if (m_table.isNull()) return;
        m_table.prefetch(hash);
        if (isMoving()) m_pGrowth->old.prefetch(hash);
    }

    /// Adds an index that is not there yet. Throws std::bad_alloc, and then adds nothing.
    void add(std::uint64_t hash, std::uint32_t index) {
        if (m_nUsed % STEP == 0 || mustGrow()) grow();
        m_table.put({tagOf(hash), index});
        ++m_nUsed;
    }

    /// Puts another index in the place of one that is there.
    void replace(std::uint64_t hash, std::uint32_t from, std::uint32_t to) {
        locate(hash, from).second->index = to;
    }

    /// Takes out an index that is there.
    void remove(std::uint64_t hash, std::uint32_t index) {
        const auto [table, slot] = locate(hash, index);
        if (table == &m_table) {
            m_table.takeOut(slot);
        } else {
            slot->index = LEFT;
        }
        --m_nUsed;
    }

    /// Every index, in no order.
    template <class Visit>
    void forEach(Visit visit) const {
        m_table.forEach(visit);
        if (isMoving()) m_pGrowth->old.forEach(visit);
    }

    void clear() { *this = CKeyIndex(); }

private:
    /// `index` is NONE in a free slot, and LEFT in one of an old table whose entry has gone.
    struct Slot {
        std::uint32_t tag = 0;
        std::uint32_t index = NONE;
    };

    static constexpr std::uint32_t LEFT = NONE - 1;

    // A growing table places its entries anew by their tags, so the tag must hold every bit of the
    // hash that a table position is made of: the low 32.
    static std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash); }

    /// A table, or none. Its size is a power of two.
    struct Table {
        struct Release {
            std::size_t mask;
            void operator()(Slot* memory) const noexcept {
                hugepages::release(memory, (mask + 1) * sizeof(Slot), alignof(Slot));
            }
        };
        std::unique_ptr<Slot[], Release> slots;

        /// Its slots are to be emptied by the caller. Throws std::bad_alloc.
        static Table ofSize(std::size_t size) {
            void* const memory = hugepages::allocate(size * sizeof(Slot), alignof(Slot));
            return {{static_cast<Slot*>(memory), Release{size - 1}}};
        }
        bool isNull() const { return !slots; }
        std::size_t mask() const { return slots.get_deleter().mask; }
        std::size_t size() const { return slots ? mask() + 1 : 0; }

        void prefetch(std::uint64_t hash) const { utils::prefetch(&slots[hash & mask()]); }
        template <class Visit>
        void forEach(Visit& visit) const {
            for (std::size_t at = 0; at < size(); ++at) {
                if (slots[at].index < LEFT) visit(slots[at].index);
            }
        }
        /// The first slot on the way of a hash that `is`, or the free one at its end.
        template <class Is>
        Slot* seek(std::uint64_t hash, Is is) const {
            for (std::size_t at = hash & mask();; at = (at + 1) & mask()) {
                if (slots[at].index == NONE || is(slots[at])) return &slots[at];
            }
        }
        void put(Slot slot) const {
            *seek(slot.tag, [](const Slot&) { return false; }) = slot;
        }
        // Entries that the one taken out had displaced move up, so that no search for them ends at
        // the hole.
        void takeOut(Slot* slot) const {
            auto hole = static_cast<std::size_t>(slot - slots.get());
            for (std::size_t at = (hole + 1) & mask(); slots[at].index != NONE;
                 at = (at + 1) & mask()) {
                const std::size_t home = slots[at].tag & mask();
                if (((at - home) & mask()) < ((at - hole) & mask())) continue;
                slots[hole] = slots[at];
                hole = at;
            }
            slots[hole] = Slot();
        }
    };

    // A step is large enough to run through memory as fast as it goes, and takes a fraction of a
    // millisecond. With 9/16 of the slots in use the next table is begun, with 10/16 it is needed:
    // the entries between are as many steps as empty it.
    static constexpr std::size_t STEP = 256;  ///< entries between two steps
    static constexpr std::size_t SLOTS_EACH = 2 * 16 * STEP;
    static constexpr std::size_t LEAST = 8;
    static constexpr std::size_t ALL = static_cast<std::size_t>(-1);

    struct Growth {
        Table old;                 ///< the table before, while entries still move over
        Table next;                ///< the one behind, while it is emptied
        std::size_t nMoved = 0;    ///< slots of `old` whose entries have moved
        std::size_t nEmptied = 0;  ///< slots of `next`
    };

    bool isMoving() const { return m_pGrowth && !m_pGrowth->old.isNull(); }

    std::pair<const Table*, Slot*> locate(std::uint64_t hash, std::uint32_t index) {
        const auto is = [&](const Slot& slot) { return slot.index == index; };
        if (Slot* const found = m_table.seek(hash, is); found->index != NONE) {
            return {&m_table, found};
        }
        return {&m_pGrowth->old, m_pGrowth->old.seek(hash, is)};
    }

    bool mustGrow() const { return (m_nUsed + 1) * 16 > m_table.size() * 10; }

    void grow() {
        if (isMoving()) moveSome(SLOTS_EACH);
        if (m_nUsed * 16 < m_table.size() * 9) return;
        if (!m_pGrowth) m_pGrowth = std::make_unique<Growth>();
        const bool must = mustGrow();
        emptySome(must ? ALL : SLOTS_EACH);
        if (!must) return;
        moveSome(ALL);
        m_pGrowth->old = std::exchange(m_table, std::exchange(m_pGrowth->next, {}));
        moveSome(SLOTS_EACH);
    }

    void emptySome(std::size_t most) {
        Growth& growth = *m_pGrowth;
        if (growth.next.isNull()) {
            growth.next = Table::ofSize(m_table.isNull() ? LEAST : 2 * m_table.size());
            growth.nEmptied = 0;
        }
        const std::size_t count = std::min(most, growth.next.size() - growth.nEmptied);
        std::uninitialized_fill_n(growth.next.slots.get() + growth.nEmptied, count, Slot());
        growth.nEmptied += count;
    }

    void moveSome(std::size_t most) {
        Growth& growth = *m_pGrowth;
        const std::size_t end = growth.nMoved + std::min(most, growth.old.size() - growth.nMoved);
        for (; growth.nMoved < end; ++growth.nMoved) {
            Slot& slot = growth.old.slots[growth.nMoved];
            if (slot.index < LEFT) m_table.put(std::exchange(slot, {slot.tag, LEFT}));
        }
        if (growth.nMoved < growth.old.size()) return;
        growth.old = {};
        growth.nMoved = 0;
        if (growth.next.isNull()) m_pGrowth.reset();
    }

    Table m_table;
    std::size_t m_nUsed = 0;
    std::unique_ptr<Growth> m_pGrowth;  ///< while it grows
};

}  // namespace utils
