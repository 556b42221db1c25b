#pragma once

#include "linkage/ledger/arena.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TC {

/// The profits of all pairs of account and strategy, each pair's in the order of its
/// stocks. Eight pairs stand side by side in a tile, one line of the cache for each rank:
/// a revaluation that goes through the stocks writes whole lines, and eight sums are added
/// at once, each in its own order and thus to the same bits as one alone.
class CProfitTable {
public:
    /// Gives a pair so many places, which stand at 0, and takes those it had. Pairs of
    /// about as many stocks do well in the same tiles: `wide` ones are kept apart.
    void seat(std::uint32_t pair, bool wide, std::size_t places);

    /// A profit that takes its place without being news.
    void put(std::uint32_t pair, std::uint32_t rank, double profit) {
        m_seats[pair].column[rank * LANES] = profit;
    }

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

private:
    static constexpr std::size_t LANES = 8;

    struct alignas(64) Row {
        double profits[LANES] = {};
    };
    struct Tile {
        std::vector<Row> rows;  ///< a pair with fewer stocks than another is filled with 0
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
