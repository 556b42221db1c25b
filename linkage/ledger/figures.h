#pragma once

#include "common/hugepages.h"
#include "common/prefetch.h"
#include "linkage/ledger/arena.h"
#include "linkage/ledger/types.h"

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace TC {

struct FigureBlock;

/// The traded figures of one stock, account and strategy, and their place. The first cache line
/// holds the members that a report of an order changes, and the address of the account's
/// figures.
struct alignas(64) Figures {
    Figures(DealFigures& deals, DealWorth& worth) : record(deals, worth) {}

    Figures* wide = nullptr;  ///< figures of the whole account; null in the account's own
    LinkagePeriodExtData record;
    FigureBlock* block = nullptr;
    std::uint32_t stock = NONE;
    std::uint32_t pair = NONE;       ///< NONE: taken out of the ledger
    std::uint32_t minutes = NONE;    ///< newest minute of its deals
    std::int32_t newestMinute = -1;  ///< its minute: for a later one the entry need not be read
    std::uint32_t inBlock = 0;

    boost::shared_ptr<LinkagePeriodExtData> share();
};

/// The figures of one strategy of one account, by stock.
class CFigureIndex {
public:
    /// Null when there is none.
    Figures* find(std::uint32_t stock) const {
        return m_slots.empty() ? nullptr : slotOf(stock).figures;
    }

    /// As find(), and asks the processor for the sums over their deals. To learn from the figures
    /// where these are would mean to wait for the figures first.
    Figures* findForDeal(std::uint32_t stock) const {
        if (m_slots.empty()) return nullptr;
        const Slot& slot = slotOf(stock);
        utils::prefetch(reinterpret_cast<const DealFigures*>(slot.figures) + slot.toDeals);
        return slot.figures;
    }

    /// Adds the figures of a stock that is not there yet.
    void add(std::uint32_t stock, Figures* figures);

    /// Asks the processor for what find() will look at.
    void prefetch(std::uint32_t stock) const {
        if (!m_slots.empty()) utils::prefetch(&m_slots[start(stock)]);
    }

private:
    // The address stands beside the stock: a look-up does not read the figures.
    struct Slot {
        Figures* figures = nullptr;
        std::uint32_t stock = NONE;
        std::int32_t toDeals = 0;  ///< from the figures to their sums, in sizes of such sums
    };

    const Slot& slotOf(std::uint32_t stock) const {
        std::size_t at = start(stock);
        while (m_slots[at].figures && m_slots[at].stock != stock) at = (at + 1) & m_nMask;
        return m_slots[at];
    }

    std::size_t start(std::uint32_t stock) const { return stock * 0x9e3779b1u >> 7 & m_nMask; }
    void place(const Slot& slot);

    std::vector<Slot> m_slots;
    std::size_t m_nMask = 0;
    std::size_t m_nUsed = 0;
};

/// Where the profit of the figures stands in the sum of their strategy.
struct SumPlace {
    std::uint32_t pair = NONE;
    std::uint32_t rank = 0;
};

/// Where blocks get their memory. What a pass reads and writes lies apart from the rest, so that a
/// pass goes over few pages.
struct FigureMemory {
    utils::hugepages::CPieces streamed;
    utils::hugepages::CPieces records;
};

/// Figures of one stock side by side. The calculators stream over deal figures, worths and
/// places in the sums; each of these has an array of its own.
///
/// A shared pointer to one record keeps the whole block alive, with the slabs that it lies in.
/// Blocks lie in huge pages because a pass otherwise waits for the processor's list of pages.
struct FigureBlock : boost::enable_shared_from_this<FigureBlock> {
    FigureBlock(std::uint32_t room, FigureMemory& memory);
    ~FigureBlock();
    FigureBlock(const FigureBlock&) = delete;
    FigureBlock& operator=(const FigureBlock&) = delete;

    Figures& at(std::uint32_t index) { return records()[index]; }
    Figures* records() { return reinterpret_cast<Figures*>(m_records.memory); }

    /// Asks the processor for the beginnings of the three arrays.
    void prefetch() const {
        for (int at = 0; at < 16; at += 2) utils::prefetch(deals + at);
        for (int at = 0; at < 16; at += 4) utils::prefetch(worths + at);
        for (int at = 0; at < 16; at += 8) utils::prefetch(places + at);
    }

    std::uint32_t capacity;
    std::uint32_t used = 0;
    std::uint32_t alive = 0;
    DealFigures* deals;
    DealWorth* worths;
    SumPlace* places;

private:
    const utils::hugepages::CPieces::Piece m_streamed;  ///< the three arrays, one behind another
    const utils::hugepages::CPieces::Piece m_records;
};

/// All records of one stock.
class CFigureBlocks {
public:
    /// New figures, in a gap or at the end. A gap is left empty while somebody outside holds
    /// its block. A further block takes its place out of `memory`.
    Figures* make(FigureMemory& memory);

    /// Takes figures out. Whoever holds their record keeps it as it is.
    void drop(Figures* figures);

    const std::vector<boost::shared_ptr<FigureBlock>>& blocks() const { return m_blocks; }

private:
    Figures* makeIn(const boost::shared_ptr<FigureBlock>& block, std::uint32_t index);

    std::vector<boost::shared_ptr<FigureBlock>> m_blocks;
    std::uint32_t m_nGaps = 0;
};

}  // namespace TC
