#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TC::ledger {

/// What changed, in the order in which it changed: a ring of the newest places.
///
/// Each record keeps the place of its newest entry. So an entry counts only while its record
/// names its place, and a record that has an entry behind the last question needs no further one:
/// however often a record changes between two questions, it is noted once.
///
/// Off until the first question; then note() costs one comparison.
class CChangeJournal {
public:
    enum class EKind : std::uint32_t {
        Pair,
        WholePair,  ///< with all its figures
        Stock,
        Order,
        Deal,
        Task,
        Gone,
        AccountDropped,
        TasksDropped
    };

    struct Entry {
        EKind kind;
        std::uint32_t index;
    };

    /// The place of a record's newest entry; 0 for none.
    using Place = std::uint64_t;

    /// Changes between two questions that are kept. Who asks later than that is told everything.
    static constexpr std::size_t ROOM = std::size_t{1} << 18;

    bool isOn() const { return m_nSource != 0; }

    /// Notes that a record has changed.
    void note(EKind kind, std::uint32_t index, Place& place) {
        if (place >= m_nAsked) return;
        place = m_nNext;
        m_entries[m_nNext++ % ROOM] = {kind, index};
    }

    /// Somebody asks: what changes from now on is noted behind this moment. The first question
    /// turns the journal on.
    void ask() {
        if (!isOn()) {
            static std::atomic<std::uint64_t> journals{0};
            m_nSource = ++journals;
            m_entries.resize(ROOM);
        }
        m_nAsked = m_nNext;
    }

    /// Differs from that of every other journal of the process.
    std::uint64_t source() const { return m_nSource; }
    /// The place behind the newest entry.
    Place end() const { return m_nNext; }
    /// Whether all from this place on is still there.
    bool reaches(Place place) const { return place <= m_nNext && m_nNext - place <= ROOM; }

    const Entry& operator[](Place place) const { return m_entries[place % ROOM]; }

private:
    std::vector<Entry> m_entries;
    std::uint64_t m_nSource = 0;
    Place m_nNext = 1;
    Place m_nAsked = 0;  ///< what is noted here or later need not be noted again
};

}  // namespace TC::ledger
