#include "linkage/ledger/figures.h"

#include <boost/make_shared.hpp>

#include <algorithm>

namespace TC {

namespace {

constexpr std::uint32_t FIRST_BLOCK = 4;
constexpr std::uint32_t LARGEST_BLOCK = 128;
constexpr std::uint32_t GROWTH = 4;

/// Bytes of one record that a revaluation reads and writes.
constexpr std::size_t STREAMED = sizeof(DealFigures) + sizeof(DealWorth) + sizeof(SumPlace);

struct OwnRecord {
    DealFigures deals;
    DealWorth worth;
    LinkagePeriodExtData record{deals, worth};
};

}  // namespace

boost::shared_ptr<LinkagePeriodExtData> LinkagePeriodExtData::make() {
    const auto own = boost::make_shared<OwnRecord>();
    return {own, &own->record};
}

boost::shared_ptr<LinkagePeriodExtData> Figures::share() {
    return {block->shared_from_this(), &record};
}

void CFigureIndex::place(const Slot& slot) {
    std::size_t at = start(slot.stock);
    while (m_slots[at].figures) at = (at + 1) & m_nMask;
    m_slots[at] = slot;
}

void CFigureIndex::add(std::uint32_t stock, Figures* figures) {
    if ((m_nUsed + 1) * 8 > m_slots.size() * 5) {
        std::vector<Slot> old(m_slots.empty() ? 4 : m_slots.size() * 2);
        old.swap(m_slots);
        m_nMask = m_slots.size() - 1;
        for (const Slot& slot : old) {
            if (slot.figures) place(slot);
        }
    }
    // Sums that are too far away are fetched from a wrong place, which only costs time.
    static_assert(alignof(DealFigures) == sizeof(DealFigures));
    const auto distance = reinterpret_cast<std::intptr_t>(&figures->record.deals()) -
                          reinterpret_cast<std::intptr_t>(figures);
    place({figures, stock,
           static_cast<std::int32_t>(distance / static_cast<std::intptr_t>(sizeof(DealFigures)))});
    ++m_nUsed;
}

// One allocation for the three arrays: a pass then streams over few pages.
FigureBlock::FigureBlock(std::uint32_t room, FigureMemory& memory)
    : capacity(room),
      m_streamed(memory.streamed.take(room * STREAMED)),
      m_records(memory.records.take(room * sizeof(Figures))) {
    static_assert(alignof(DealFigures) >= alignof(DealWorth));
    static_assert(alignof(DealWorth) >= alignof(SumPlace));
    unsigned char* const begin = m_streamed.memory;
    deals = new (begin) DealFigures[room];
    worths = new (deals + room) DealWorth[room];
    places = new (worths + room) SumPlace[room];
}

FigureBlock::~FigureBlock() {
    for (std::uint32_t index = 0; index < used; ++index) at(index).~Figures();
}

Figures* CFigureBlocks::makeIn(const boost::shared_ptr<FigureBlock>& block, std::uint32_t index) {
    if (index < block->used) {
        block->at(index).~Figures();
        block->deals[index] = DealFigures();
        block->worths[index] = DealWorth();
    } else {
        block->used = index + 1;
    }
    ++block->alive;
    Figures* made = new (&block->at(index)) Figures(block->deals[index], block->worths[index]);
    made->block = block.get();
    made->inBlock = index;
    return made;
}

Figures* CFigureBlocks::make(FigureMemory& memory) {
    if (m_nGaps > 0) {
        for (const auto& block : m_blocks) {
            // Somebody who holds a block may still read a dropped record of it.
            if (block->alive == block->used || block.use_count() > 1) continue;
            for (std::uint32_t index = 0; index < block->used; ++index) {
                if (block->at(index).pair != NONE) continue;
                --m_nGaps;
                return makeIn(block, index);
            }
        }
    }
    if (m_blocks.empty() || m_blocks.back()->used == m_blocks.back()->capacity) {
        const std::uint32_t room =
            m_blocks.empty() ? FIRST_BLOCK
                             : std::min(m_blocks.back()->capacity * GROWTH, LARGEST_BLOCK);
        m_blocks.push_back(boost::make_shared<FigureBlock>(room, memory));
    }
    return makeIn(m_blocks.back(), m_blocks.back()->used);
}

void CFigureBlocks::drop(Figures* figures) {
    FigureBlock* block = figures->block;
    figures->pair = NONE;
    block->places[figures->inBlock] = SumPlace();
    ++m_nGaps;
    if (--block->alive > 0) return;
    m_nGaps -= block->used;
    const auto at = std::find_if(m_blocks.begin(), m_blocks.end(),
                                 [&](const auto& held) { return held.get() == block; });
    m_blocks.erase(at);
}

}  // namespace TC
