#include "linkage/ledger/profittable.h"

#include "common/prefetch.h"

#include <algorithm>

namespace TC {

void CProfitTable::seat(std::uint32_t pair, bool wide, std::size_t places) {
    if (pair >= m_seats.size()) m_seats.resize(pair + 1);
    Seat& seat = m_seats[pair];
    if (seat.tile == NONE) {
        std::uint32_t& open = m_nOpenTile[wide];
        if (open == NONE || m_tiles[open].used == LANES) {
            open = static_cast<std::uint32_t>(m_tiles.size());
            m_tiles.emplace_back();
        }
        seat.tile = open;
        seat.lane = static_cast<std::uint32_t>(m_tiles[open].used++);
        m_tiles[open].pairs[seat.lane] = pair;
    }
    Tile& tile = m_tiles[seat.tile];
    if (places > tile.rows.size()) tile.rows.resize(places);
    for (Row& row : tile.rows) row.profits[seat.lane] = 0.0;
    for (const std::uint32_t each : tile.pairs) {
        if (each == NONE || tile.rows.empty()) continue;
        m_seats[each].column = tile.rows.front().profits + m_seats[each].lane;
    }
}

std::vector<double> CProfitTable::profits(std::uint32_t pair) const {
    std::vector<double> column;
    if (pair >= m_seats.size() || m_seats[pair].tile == NONE) return column;
    for (const Row& row : m_tiles[m_seats[pair].tile].rows) {
        column.push_back(row.profits[m_seats[pair].lane]);
    }
    return column;
}

bool CProfitTable::isChanged(const Tile& tile) const {
    return std::any_of(std::begin(tile.pairs), std::end(tile.pairs),
                       [&](std::uint32_t pair) { return pair != NONE && m_seats[pair].changed; });
}

void CProfitTable::addUp() {
    const Tile* waiting = nullptr;
    const Tile none;
    for (const Tile& tile : m_tiles) {
        if (!isChanged(tile)) continue;
        if (waiting) addUp(*waiting, tile);
        waiting = waiting ? nullptr : &tile;
    }
    if (waiting) addUp(*waiting, none);
}

// Adds two tiles in turns. Each addition must wait for the one before it in the same
// lane; the processor works on the other tile meanwhile.
void CProfitTable::addUp(const Tile& one, const Tile& other) {
    constexpr std::size_t AHEAD = 8;
    const Tile* const tiles[] = {&one, &other};
    double sums[2][LANES] = {};
    const auto add = [&](std::size_t which, std::size_t at) {
        const Row& row = tiles[which]->rows[at];
        for (std::size_t lane = 0; lane < LANES; ++lane) sums[which][lane] += row.profits[lane];
    };
    const std::size_t common = std::min(one.rows.size(), other.rows.size());
    for (std::size_t at = 0; at < common; ++at) {
        utils::prefetch(one.rows.data() + at + AHEAD);
        utils::prefetch(other.rows.data() + at + AHEAD);
        add(0, at);
        add(1, at);
    }
    for (const std::size_t which : {0, 1}) {
        for (std::size_t at = common; at < tiles[which]->rows.size(); ++at) add(which, at);
        for (std::size_t lane = 0; lane < tiles[which]->used; ++lane) {
            m_seats[tiles[which]->pairs[lane]].sum = sums[which][lane];
        }
    }
}

}  // namespace TC
