#pragma once

#include "common/hugepages.h"
#include "common/keyindex.h"
#include "common/prefetch.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace TC {

/// Stands for "no such index".
inline constexpr std::uint32_t NONE = utils::CKeyIndex::NONE;

/// Objects in blocks, named by a 32-bit index. An object never moves, and growth copies
/// nothing. make() uses the indexes of dropped objects again.
template <class T, unsigned BLOCK_BITS = 9>
class CArena {
    template <class P>
    friend class CLedgerPicture;

public:
    CArena() = default;
    CArena(const CArena&) = delete;  // blocks would outlive the slabs that they lie in
    CArena& operator=(const CArena&) = delete;

    T& operator[](std::uint32_t index) { return m_blocks[index >> BLOCK_BITS][index & MASK]; }
    const T& operator[](std::uint32_t index) const {
        return m_blocks[index >> BLOCK_BITS][index & MASK];
    }

    /// The index of a fresh object.
    std::uint32_t make() {
        if (!m_free.empty()) {
            const std::uint32_t index = m_free.back();
            m_free.pop_back();
            return index;
        }
        if ((m_nUsed & MASK) == 0) addBlock();
        return m_nUsed++;
    }

    /// Resets an object. make() may give its index out again.
    void drop(std::uint32_t index) {
        (*this)[index] = T();
        m_free.push_back(index);
    }

    std::uint32_t size() const { return m_nUsed; }

    /// How many objects are not dropped.
    std::size_t countAlive() const { return m_nUsed - m_free.size(); }

    /// Asks the processor for an object that will be needed soon.
    void prefetch(std::uint32_t index) const { utils::prefetch(&(*this)[index]); }

    /// All objects in the order of their indexes, dropped ones too.
    auto begin() { return Iterator<CArena>{this, 0}; }
    auto end() { return Iterator<CArena>{this, m_nUsed}; }
    auto begin() const { return Iterator<const CArena>{this, 0}; }
    auto end() const { return Iterator<const CArena>{this, m_nUsed}; }

private:
    template <class Arena>
    struct Iterator {
        Arena* arena;
        std::uint32_t at;
        auto& operator*() const { return (*arena)[at]; }
        void operator++() { ++at; }
        bool operator!=(const Iterator& other) const { return at != other.at; }
    };

    static constexpr std::uint32_t MASK = (1u << BLOCK_BITS) - 1;
    static constexpr std::size_t BLOCK_BYTES = sizeof(T) << BLOCK_BITS;
    // A large arena takes huge pages, one for several blocks; a smaller one takes block by block,
    // because a page that is hardly used would be much of its memory.
    static constexpr std::size_t BLOCKS_PER_PAGE =
        std::max<std::size_t>(1, utils::hugepages::SIZE / BLOCK_BYTES);
    static constexpr std::size_t LARGE = 8 * BLOCKS_PER_PAGE;

    struct DestroyObjects {
        void operator()(T* block) const { std::destroy_n(block, MASK + 1); }
    };

    void addBlock() {
        if (m_nPrepared == 0) {
            const bool isLarge = m_blocks.size() >= LARGE;
            const std::size_t bytes =
                isLarge ? std::max(BLOCKS_PER_PAGE * BLOCK_BYTES, utils::hugepages::SIZE)
                        : BLOCK_BYTES;
            m_next = m_slabs.emplace_back(utils::hugepages::memoryFor<T>(bytes)).get();
            m_nPrepared = isLarge ? BLOCKS_PER_PAGE : 1;
        }
        std::uninitialized_value_construct_n(m_next, MASK + 1);
        m_blocks.emplace_back(m_next);
        m_next += MASK + 1;
        --m_nPrepared;
    }

    std::vector<utils::hugepages::CMemory<T>> m_slabs;  ///< of the blocks
    std::vector<std::unique_ptr<T[], DestroyObjects>> m_blocks;
    T* m_next = nullptr;
    std::size_t m_nPrepared = 0;
    std::vector<std::uint32_t> m_free;
    std::uint32_t m_nUsed = 0;
};

}  // namespace TC
