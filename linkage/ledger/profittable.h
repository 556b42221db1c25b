#pragma once

#include "linkage/ledger/arena.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TC {

/// The profits of all pairs of account and strategy, each pair's in the order of its
/// stocks. A tile holds eight pairs side by side, one line of the cache for each rank. A
/// revaluation writes these lines one after another. The table adds eight sums at once,
/// each in its own order, so that every sum has the bits that it would have alone.
class CProfitTable {
public:
    /// Gives a pair `places` places, all at 0. Its old places are dropped. A tile is as long as
    /// its longest pair, so the long pairs (`wide`) have tiles of their own.
    void seat(std::uint32_t pair, bool wide, std::size_t places);

    /// Stores a profit without marking the pair as changed.
    void put(std::uint32_t pair, std::uint32_t rank, double profit) {
        m_seats[pair].column[rank * LANES] = profit;
    }

    /// Stores a profit and marks the pair as changed.
    void set(std::uint32_t pair, std::uint32_t rank, double profit) {
        put(pair, rank, profit);
        m_seats[pair].changed = true;
    }

    /// Visits each pair that was set since the last time, with its sum, in the order of
    /// `pairs`, which names every pair.
    template <class Visit>
    void sumChanged(const std::vector<std::uint32_t>& pairs, Visit visit) {
        addUp();
        for (const std::uint32_t pair : pairs) {
            if (pair >= m_seats.size() || !m_seats[pair].changed) continue;
            m_seats[pair].changed = false;
            visit(pair, m_seats[pair].sum);
        }
    }

    /// All that the sum of a pair is made of, in this order. For checks.
    std::vector<double> profits(std::uint32_t pair) const;

private:
    static constexpr std::size_t LANES = 8;

    struct alignas(64) Row {
        double profits[LANES] = {};
    };
    struct Tile {
        std::vector<Row> rows;  ///< 0 behind the last stock of a pair
        std::uint32_t pairs[LANES] = {NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE};
        std::size_t used = 0;
    };
    struct Seat {
        double* column = nullptr;
        double sum = 0.0;
        std::uint32_t tile = NONE;
        std::uint32_t lane = 0;
        bool changed = false;
    };

    void addUp();
    void addUp(const Tile& one, const Tile& other);
    bool isChanged(const Tile& tile) const;

    std::vector<Tile> m_tiles;
    std::vector<Seat> m_seats;  ///< by pair
    std::uint32_t m_nOpenTile[2] = {NONE, NONE};
};

}  // namespace TC
