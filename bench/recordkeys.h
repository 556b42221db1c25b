#pragma once

#include "common/prefetch.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

/// Record keys to numbers from 0 upwards.
class CRecordKeys {
public:
    CRecordKeys() : m_slots(1024) {}

    /// The number of the key; a new key gets the next one.
    std::uint32_t number(std::uint64_t key, bool& isNew) {
        for (std::size_t at = start(key);; at = (at + 1) & (m_slots.size() - 1)) {
            Slot& slot = m_slots[at];
            if (slot.key == key) {
                isNew = false;
                return slot.number;
            }
            if (slot.number != NOWHERE) continue;
            isNew = true;
            slot = {key, m_nUsed++};
            const std::uint32_t number = slot.number;
            if (m_nUsed * 2 > m_slots.size()) grow();
            return number;
        }
    }

    /// Asks the processor for the line that number() will look at.
    void prefetch(std::uint64_t key) const { utils::prefetch(&m_slots[start(key)]); }

private:
    static constexpr std::uint32_t NOWHERE = 0xffffffffu;

    struct Slot {
        std::uint64_t key = 0;
        std::uint32_t number = NOWHERE;
    };
    std::size_t start(std::uint64_t key) const {
        return (key * 0x9e3779b97f4a7c15ull >> 20) & (m_slots.size() - 1);
    }
    void grow() {
        std::vector<Slot> old(m_slots.size() * 2);
        old.swap(m_slots);
        for (const Slot& slot : old) {
            if (slot.number == NOWHERE) continue;
            std::size_t at = start(slot.key);
            while (m_slots[at].number != NOWHERE) at = (at + 1) & (m_slots.size() - 1);
            m_slots[at] = slot;
        }
    }

    std::vector<Slot> m_slots;
    std::uint32_t m_nUsed = 0;
};

}  // namespace bench
