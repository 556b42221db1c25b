#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <utility>

namespace TC {

using namespace ledger;

namespace {

bool isNear(double left, double right) {
    return std::fabs(left - right) <= 1e-9 * std::max(1.0, std::fabs(left));
}

}  // namespace

/// One walk over the ledger. It goes through the filed records first, and notes what they
/// say of sums, levels and running sets. Then it compares these with the notes.
class CLedger::CIntegrity {
    /// What the reports of orders add up to.
    struct OrderSums {
        std::int64_t boughtVolume = 0;
        std::int64_t soldVolume = 0;
        double boughtAmount = 0.0;
        double soldAmount = 0.0;
    };

public:
    explicit CIntegrity(const CLedger& ledger) : m_ledger(ledger) {}

    std::vector<std::string> check() {
        for (const Account& account : m_ledger.m_accounts) checkAccount(account);
        for (std::uint32_t at = 0; at < m_ledger.m_pairs.size(); ++at) {
            checkRunningSet(at);
            checkLevels(at);
            checkFigures(at);
            checkProfits(at);
        }
        for (const Stock& stock : m_ledger.m_stocks) checkBlocks(stock);
        expectEqual(m_nOrders, m_ledger.m_orders.countAlive(), "order entries");
        expectEqual(m_nDeals, m_ledger.m_deals.countAlive(), "deal entries");
        expectEqual(m_nLevels, m_ledger.m_levels.countAlive(), "levels");
        expectEqual(m_nMinutes, m_ledger.m_minutes.countAlive(), "minutes");
        expectEqual(m_nFigures, m_ledger.m_nFigures, "figures");
        return std::move(m_faults);
    }

private:
    template <class... Arguments>
    void expect(bool sound, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
        if (!sound) m_faults.push_back(fmt::format(text, std::forward<Arguments>(arguments)...));
    }
    void expectEqual(std::uint64_t reached, std::uint64_t used, const char* what) {
        expect(reached == used, "{}: {} are reached, {} are in use", what, reached, used);
    }

    void checkAccount(const Account& account) {
        for (const std::uint32_t cellAt : account.cells) {
            checkCell(m_ledger.m_cells[cellAt]);
            for (std::uint32_t at = m_ledger.m_cells[cellAt].firstOrder; at != NONE;
                 at = m_ledger.m_orders[at].nextInCell) {
                checkOrder(account, at, cellAt);
            }
            for (std::uint32_t at = m_ledger.m_cells[cellAt].firstDeal; at != NONE;
                 at = m_ledger.m_deals[at].nextInCell) {
                checkDeal(account, at, cellAt);
            }
        }
        for (const std::uint32_t at : account.parked) checkOrder(account, at, NONE);
    }

    void checkCell(const Cell& cell) {
        const auto at = m_ledger.m_days.find(cell.day);
        const Day day = at == m_ledger.m_days.end() ? Day() : at->second;
        const auto announces = [&](bool has, const std::set<std::uint32_t>& stocks) {
            return !has || stocks.count(cell.stock) > 0;
        };
        expect(announces(cell.hasOrders || cell.firstOrder != NONE, day.orders) &&
                   announces(cell.hasDeals || cell.firstDeal != NONE, day.deals) &&
                   announces(cell.hasTotals, day.totals) && cell.hasDeals >= cell.hasTotals,
               "the day {} does not name all its stocks", cell.day);
    }

    void checkOrder(const Account& account, std::uint32_t at, std::uint32_t cell) {
        ++m_nOrders;
        const OrderEntry& entry = m_ledger.m_orders[at];
        const bool filed = entry.facets & FILED;
        expect(entry.cell == cell && filed == (cell != NONE), "order {} is filed elsewhere",
               entry.key);
        expect(!filed || (entry.report &&
                          entry.ended != vexservice::isRunningStatus(entry.report->m_eStatus)),
               "order {} does not know whether it has ended", entry.key);
        const std::uint32_t head = m_ledger.findOrder(account, entry.key);
        checkChain(m_ledger.m_orders, head, at, "order");
        if (entry.facets & LOTS) m_lots[entry.levelCell] += static_cast<std::uint32_t>(entry.lots);
        if (const Figures* const own = entry.figures) {
            if ((entry.facets & TRADED) && own->wide) add(m_sums[own], entry);
            if (entry.facets & WIDE) add(m_sums[own->wide ? own->wide : own], entry);
        }
        if (entry.facets & (RUNS | RUNS_WIDE)) {
            expect(runs(entry), "order {} has ended and is in a running set", entry.key);
        } else if (at == head && (entry.facets & WIDE)) {
            // A report that balances history takes the place of the one that was counted, but
            // enters no running set.
            expect(!runs(entry) || isHistoryBalance(entry.report->m_pCommand.get()),
                   "order {} runs and is in no running set", entry.key);
        }
        m_nRunning += std::popcount<std::uint8_t>(entry.facets & (RUNS | RUNS_WIDE));
    }

    static bool runs(const OrderEntry& entry) {
        return vexservice::isRunningStatus(
            static_cast<decltype(vexservice::COrderDetail::m_eStatus)>(entry.progress.status));
    }

    static void add(OrderSums& sums, const OrderEntry& entry) {
        (entry.buys ? sums.boughtVolume : sums.soldVolume) += entry.progress.traded;
        (entry.buys ? sums.boughtAmount : sums.soldAmount) += entry.amount;
    }

    void checkDeal(const Account& account, std::uint32_t at, std::uint32_t cell) {
        ++m_nDeals;
        const DealEntry& entry = m_ledger.m_deals[at];
        const auto hasKey = [&](std::uint32_t each) {
            return m_ledger.m_deals[each].key == entry.key;
        };
        checkChain(m_ledger.m_deals, account.deals.find(utils::mixHash(entry.key), hasKey), at,
                   "deal");
        expect(entry.cell == cell && !(entry.counted && entry.dropped),
               "deal {} is filed elsewhere, or counted and dropped", entry.key);
    }

    template <class Entries>
    void checkChain(const Entries& entries, std::uint32_t head, std::uint32_t wanted,
                    const char* what) {
        const std::uint64_t key = entries[wanted].key;
        int found = 0;
        for (std::uint32_t at = head; at != NONE; at = entries[at].nextOfKey) {
            found += at == wanted ? 1 : 0;
            expect(entries[at].key == key, "{} {} is in a chain of {}", what, entries[at].key, key);
        }
        expect(found == 1, "{} {} is {} times in the chain of its key", what, key, found);
    }

    void checkRunningSet(std::uint32_t pairAt) {
        const Pair& pair = m_ledger.m_pairs[pairAt];
        const bool wide = pair.strategy == WHOLE_ACCOUNT_ID;
        for (std::uint32_t place = 0; place < pair.running.size(); ++place) {
            const OrderEntry& entry = m_ledger.m_orders[pair.running[place]];
            const bool sound = entry.report && (entry.facets & (wide ? RUNS_WIDE : RUNS)) &&
                               entry.placeRunning[wide] == place && (wide || entry.pair == pairAt);
            expect(sound, "the running set of {} names an order that is not in it", name(pair));
        }
        expect(pair.hasRunning || pair.running.empty(), "{} has a set that was never used",
               name(pair));
        m_nRunning -= pair.running.size();
        if (pairAt + 1 == m_ledger.m_pairs.size()) {
            expect(m_nRunning == 0, "{} orders run and are in no set", m_nRunning);
        }
    }

    void checkLevels(std::uint32_t pairAt) {
        const Pair& pair = m_ledger.m_pairs[pairAt];
        for (std::uint32_t at = pair.firstLevel; at != NONE;
             at = m_ledger.m_levels[at].nextOfPair) {
            ++m_nLevels;
            const Level& level = m_ledger.m_levels[at];
            const std::uint32_t found = pair.levelIndex.find(
                utils::mixHash(static_cast<std::uint32_t>(level.level)),
                [&](std::uint32_t each) { return m_ledger.m_levels[each].level == level.level; });
            expect(found == at, "level {} of {} is not found", level.level, name(pair));
            const auto lots = static_cast<std::int32_t>(m_lots[at]);
            expect(level.lots == lots, "level {} of {} has {} lots, its orders {}", level.level,
                   name(pair), level.lots, lots);
        }
    }

    void checkFigures(std::uint32_t pairAt) {
        const Pair& pair = m_ledger.m_pairs[pairAt];
        for (const Figures* const figures : pair.figures) {
            ++m_nFigures;
            expect(figures->pair == pairAt && pair.index.find(figures->stock) == figures,
                   "{} does not find its figures", name(pair));
            const LinkagePeriodExtData& record = figures->record;
            const OrderSums& sums = m_sums[figures];
            expect(record.m_buyVolumes.sum() == static_cast<std::int32_t>(sums.boughtVolume) &&
                       record.m_sellVolumes.sum() == static_cast<std::int32_t>(sums.soldVolume) &&
                       isNear(sums.boughtAmount, record.m_buyAmounts.sum()) &&
                       isNear(sums.soldAmount, record.m_sellAmounts.sum()),
                   "the figures of {} are not those of its orders", name(pair));
            checkMinutes(pair, *figures);
            if (pair.strategy == WHOLE_ACCOUNT_ID) checkWhole(pair, *figures);
        }
    }

    // A record of the account has at least what its strategies have.
    void checkWhole(const Pair& pair, const Figures& wide) {
        std::int64_t bought = 0;
        std::int64_t sold = 0;
        double commission = 0.0;
        for (const std::uint32_t at : m_ledger.m_accounts[pair.account].pairs) {
            if (at == NONE || m_ledger.m_pairs[at].strategy == WHOLE_ACCOUNT_ID) continue;
            const Figures* const own = m_ledger.m_pairs[at].index.find(wide.stock);
            if (!own) continue;
            expect(own->wide == &wide, "{} counts for another account", name(pair));
            bought += own->record.deals().m_nBuyVolume;
            sold += own->record.deals().m_nSellVolume;
            commission += own->record.deals().m_dCommission;
        }
        const DealFigures& deals = wide.record.deals();
        expect(deals.m_nBuyVolume >= bought && deals.m_nSellVolume >= sold &&
                   (deals.m_dCommission >= commission || isNear(commission, deals.m_dCommission)),
               "the strategies of {} have more deals than the account", name(pair));
    }

    void checkMinutes(const Pair& pair, const Figures& figures) {
        int later = figures.newestMinute + 1;
        std::int64_t bought = 0;
        std::int64_t sold = 0;
        m_ledger.forEachMinute(figures, [&](int minute, const LinkagePeriodTradeData& deals) {
            expect(minute < later, "the minutes of {} are not in order", name(pair));
            later = minute;
            bought += deals.m_nBuyVolume;
            sold += deals.m_nSellVolume;
            ++m_nMinutes;
        });
        const DealFigures& deals = figures.record.deals();
        expect(bought <= deals.m_nBuyVolume && sold <= deals.m_nSellVolume,
               "the minutes of {} have more deals than its figures", name(pair));
    }

    // The first `sorted` figures have their places in the table. The places behind them are
    // part of the sum too, so they must hold 0.
    void checkProfits(std::uint32_t pairAt) {
        const Pair& pair = m_ledger.m_pairs[pairAt];
        if (pair.sorted == 0) return;
        const std::vector<double> profits = m_ledger.m_profits.profits(pairAt);
        expect(profits.size() >= pair.sorted, "{} has too few places", name(pair));
        for (std::uint32_t rank = 0; rank < profits.size(); ++rank) {
            if (rank >= pair.sorted) {
                expect(profits[rank] == 0.0, "{} has the profit of no stock", name(pair));
                continue;
            }
            const Figures& figures = *pair.figures[rank];
            const SumPlace place = figures.block->places[figures.inBlock];
            expect(place.pair == pairAt && place.rank == rank &&
                       profits[rank] == figures.record.worth().m_dProfit,
                   "a profit of {} is not at its place", name(pair));
        }
    }

    void checkBlocks(const Stock& stock) {
        for (const auto& block : stock.figures.blocks()) {
            std::uint32_t alive = 0;
            for (std::uint32_t index = 0; index < block->used; ++index) {
                const bool used = block->at(index).pair != NONE;
                alive += used ? 1 : 0;
                expect(used || block->places[index].pair == NONE,
                       "dropped figures of {} have a place", stock.key);
            }
            expect(alive == block->alive, "a block of {} miscounts", stock.key);
        }
    }

    std::string name(const Pair& pair) const {
        return m_ledger.m_accounts[pair.account].key + "/" +
               m_ledger.m_strategies[pair.strategy].key;
    }

    const CLedger& m_ledger;
    std::vector<std::string> m_faults;
    std::map<const Figures*, OrderSums> m_sums;
    std::map<std::uint32_t, std::uint32_t> m_lots;  ///< by level
    std::uint64_t m_nOrders = 0;
    std::uint64_t m_nDeals = 0;
    std::uint64_t m_nLevels = 0;
    std::uint64_t m_nMinutes = 0;
    std::uint64_t m_nFigures = 0;
    std::uint64_t m_nRunning = 0;  ///< places in running sets that orders say they have
};

std::vector<std::string> CLedger::checkIntegrity() const { return CIntegrity(*this).check(); }

}  // namespace TC
