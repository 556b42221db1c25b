#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace TC::ledger {

/// Grows without moving what it has, as a hold of the lock has no time for that.
template <class T>
class CPile {
public:
    void push_back(T item) {
        if (m_nSize % CHUNK == 0) m_chunks.emplace_back().reserve(CHUNK);
        m_chunks.back().push_back(std::move(item));
        ++m_nSize;
    }
    T& operator[](std::size_t at) { return m_chunks[at / CHUNK][at % CHUNK]; }
    const T& operator[](std::size_t at) const { return m_chunks[at / CHUNK][at % CHUNK]; }
    std::size_t size() const { return m_nSize; }
    void clear() {
        m_chunks.clear();
        m_nSize = 0;
    }

private:
    static constexpr std::size_t CHUNK = 512;
    std::vector<std::vector<T>> m_chunks;
    std::size_t m_nSize = 0;
};

template <class Item>
class CSlicedCopy;

/// The copies of the ledger's items that are being made.
///
/// Guarded by the manager's lock.
template <class Item>
class CSlicedCopies {
public:
    /// The item is new or has changed.
    void touch(Item item) noexcept {
        for (CSlicedCopy<Item>* const each : m_copies) each->touch(item);
    }
    /// Items have gone, or more have changed than could be told.
    void restart() noexcept {
        for (CSlicedCopy<Item>* const each : m_copies) each->m_bBegun = false;
    }

private:
    friend class CSlicedCopy<Item>;
    std::vector<CSlicedCopy<Item>*> m_copies;
};

/// Copies something of the ledger in slices, each in a hold of the manager's lock, so that
/// reports need not wait for all of it. What has changed between two slices is copied again: a
/// copy is of one moment, that of its last slice.
///
/// Guarded by the manager's lock, until it is closed.
template <class Item>
class CSlicedCopy {
public:
    /// It must be closed by then.
    virtual ~CSlicedCopy() = default;
    CSlicedCopy(const CSlicedCopy&) = delete;
    CSlicedCopy& operator=(const CSlicedCopy&) = delete;

    /// Copies about `most` items. True when all are copied, as they stand now.
    bool next(std::size_t most) {
        if (!m_bBegun) restart();
        // Who was disturbed so often copies all of it at once.
        if (m_nBegun > MOST_BEGINNINGS) most = std::numeric_limits<std::size_t>::max();
        if (!copySome(most)) return false;
        for (most = std::max(most, AGAIN); most > 0 && m_nAgain < m_touched.size(); --most) {
            copyAgain(m_touched[m_nAgain++]);
        }
        if (m_nAgain < m_touched.size()) return false;
        m_touched.clear();
        m_nAgain = 0;
        return true;
    }

    /// Ends it, finished or not. What was copied needs no lock any more.
    void close() {
        std::erase(m_copies.m_copies, this);
        m_bBegun = false;
    }

protected:
    explicit CSlicedCopy(CSlicedCopies<Item>& copies) : m_copies(copies) {}

    /// Forgets what was copied.
    virtual void begin() = 0;
    /// Copies at most so many of what was not copied yet; true when none is left.
    virtual bool copySome(std::size_t most) = 0;
    /// Copies an item as it stands, which may have been copied before.
    virtual void copyAgain(Item item) = 0;

private:
    friend class CSlicedCopies<Item>;
    static constexpr int MOST_BEGINNINGS = 3;
    /// More than the strand touches until it gives way: two items in each of 1,024 reports.
    static constexpr std::size_t AGAIN = 3000;
    /// Who is kept from its next slice for so long begins again.
    static constexpr std::size_t MOST_TOUCHED = 1 << 16;

    void restart() {
        if (++m_nBegun == 1) m_copies.m_copies.push_back(this);
        m_touched.clear();
        m_nAgain = 0;
        begin();
        m_bBegun = true;
    }

    // Called in the middle of a report, which must not notice that there is no memory.
    void touch(Item item) noexcept {
        if (!m_bBegun) return;
        try {
            m_touched.push_back(item);
            m_bBegun = m_touched.size() < MOST_TOUCHED;
        } catch (...) {
            m_bBegun = false;
        }
    }

    CSlicedCopies<Item>& m_copies;
    CPile<Item> m_touched;     ///< in their order
    std::size_t m_nAgain = 0;  ///< how many of these are copied again
    bool m_bBegun = false;
    int m_nBegun = 0;
};

}  // namespace TC::ledger
