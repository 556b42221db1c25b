#pragma once

#include "linkage/core/arena.h"
#include "linkage/core/types.h"

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace TC {

struct FigureBlock;

/// The traded figures of one stock, account and strategy, in their place.
struct Figures {
    explicit Figures(DealFigures& deals) : record(deals) {}

    LinkagePeriodExtData record;
    FigureBlock* block = nullptr;
    Figures* wide = nullptr;  ///< of the whole account; null for itself
    std::uint32_t stock = NONE;
    std::uint32_t pair = NONE;     ///< NONE: taken out of the ledger
    std::uint32_t minutes = NONE;  ///< newest minute of its deals
    std::uint32_t inBlock = 0;

    boost::shared_ptr<LinkagePeriodExtData> share();
};

/// Where a record's profit stands in the sum of its strategy.
struct SumPlace {
    std::uint32_t pair = NONE;
    std::uint32_t rank = 0;
};

/// Records of one stock side by side. What the calculators stream over (deal figures
/// and places in the sums) lies in arrays of its own.
///
/// Whoever holds a record holds its block.
struct FigureBlock : boost::enable_shared_from_this<FigureBlock> {
    explicit FigureBlock(std::uint32_t room);
    ~FigureBlock();
    FigureBlock(const FigureBlock&) = delete;
    FigureBlock& operator=(const FigureBlock&) = delete;

    Figures& at(std::uint32_t index) { return records()[index]; }
    Figures* records() { return reinterpret_cast<Figures*>(m_pRoom.get()); }

    std::uint32_t capacity;
    std::uint32_t used = 0;
    std::uint32_t alive = 0;
    std::unique_ptr<DealFigures[]> deals;
    std::unique_ptr<SumPlace[]> places;

private:
    struct alignas(Figures) Room {
        unsigned char bytes[sizeof(Figures)];
    };
    std::unique_ptr<Room[]> m_pRoom;
};

/// All records of one stock.
class CFigureBlocks {
public:
    /// A fresh record, in a gap or at the end.
    Figures* make();

    /// Takes a record out; who holds it keeps it as it is.
    void drop(Figures* figures);

    const std::vector<boost::shared_ptr<FigureBlock>>& blocks() const { return m_blocks; }

private:
    Figures* makeIn(const boost::shared_ptr<FigureBlock>& block, std::uint32_t index);

    std::vector<boost::shared_ptr<FigureBlock>> m_blocks;
    std::uint32_t m_nGaps = 0;
};

}  // namespace TC
