#pragma once

#include "linkage/ledger/ledger.h"
#include "linkage/record/picturemembers.h"
#include "platform/utils/text.h"

#include <string>
#include <vector>

namespace TC {

/// The ledger in a picture (picturemembers.h): its arenas as they lie, so that every index stays
/// what it is, and of the traded figures their values.
template <class P>
class CLedgerPicture {
public:
    CLedgerPicture(P& picture, CLedger& ledger) : p(picture), l(ledger) {}

    void visit() {
        strategies();
        accounts();
        stocks();
        listings();
        pairs();
        arenas();
        entries();
        accountIndexes();
        p("days", l.m_days);
        p("tradeDay", l.m_tradeDay);
        p("newPrices", l.m_newPrices);
        tasks();
        p("positions", l.m_positions);
    }

private:
    template <class Table>
    static void name(P& row, Table& table, std::uint32_t at) {
        std::string key;
        if (!P::READS) key = table[at].key;
        row("key", key);
        if (P::READS && at >= table.size()) table.add(key);
    }

    template <class Arena, class Each>
    void arena(const char* name, const char* freeName, Arena& arena, const Each& each) {
        p.rows(name, arena.size(), [&](P& row, std::uint32_t at) {
            if (P::READS) arena.make();
            each(row, arena[at]);
        });
        p(freeName, arena.m_free);
    }

    void strategies() {
        p.rows("strategies", l.m_strategies.size(), [&](P& row, std::uint32_t at) {
            name(row, l.m_strategies, at);
            ledger::Strategy& strategy = l.m_strategies[at];
            row("listed", strategy.listed);
            row("levels", strategy.hasLevels);
        });
    }

    void accounts() {
        p.rows("accounts", l.m_accounts.size(), [&](P& row, std::uint32_t at) {
            name(row, l.m_accounts, at);
            ledger::Account& account = l.m_accounts[at];
            row("day", account.day);
            row("pairs", account.pairs);
            row("holdings", account.holdings);
            row("cells", account.cells);
            row("parked", account.parked);
            row("droppedThrough", account.droppedThrough);
        });
    }

    void stocks() {
        p.rows("stocks", l.m_stocks.size(), [&](P& row, std::uint32_t at) {
            name(row, l.m_stocks, at);
            ledger::Stock& stock = l.m_stocks[at];
            if (P::READS) stock.quoteKey = Pim::sToQs(stock.key);
            row("limits", stock.limits);
            row("limitsRevision", stock.limitsRevision);
            row("special", stock.special);
            row("last", stock.lastPrice);
            row("valued", stock.valuedPrice);
            row("newPrice", stock.hasNewPrice);
            row("requestEpoch", stock.requestEpoch);
            row("orderAmplitudes", stock.hasOrderAmplitudes);
            row("dealAmplitudes", stock.hasDealAmplitudes);
            row("periods", stock.hasPeriods);
        });
    }

    void listings() {
        p.rows("listings", l.m_listings.size(), [&](P& row, std::uint32_t at) {
            if (P::READS) l.m_listings.make();
            ledger::Listing& listing = l.m_listings[at];
            row("market", listing.market);
            row("code", listing.code);
            row("stock", listing.stock);
            row("revision", listing.revision);
            row("excluded", listing.excluded);
            row("detail", listing.hasDetail);
            row("tick", listing.tick);
            row("reference", listing.reference);
            row("unit", listing.unit);
            if (!P::READS) return;
            l.m_listingIndex.add(utils::textHash(listing.code, utils::textHash(listing.market)),
                                 at);
        });
    }

    void pairs() {
        p.rows("pairs", l.m_pairs.size(), [&](P& row, std::uint32_t at) {
            if (P::READS) l.m_pairs.make();
            ledger::Pair& pair = l.m_pairs[at];
            row("account", pair.account);
            row("strategy", pair.strategy);
            row("hasRunning", pair.hasRunning);
            row("running", pair.running);
            row("sorted", pair.sorted);
            row("firstLevel", pair.firstLevel, NONE);
            row("profit", pair.profit);
            row.rows("figures", pair.figures.size(),
                     [&](P& each, std::uint32_t rank) { figuresOf(each, at, pair, rank); });
        });
        if (P::READS) seat();
    }

    void figuresOf(P& row, std::uint32_t pairAt, ledger::Pair& pair, std::uint32_t rank) {
        std::uint32_t stock = P::READS ? NONE : pair.figures[rank]->stock;
        row("stock", stock);
        if (P::READS) {
            Figures* const made = l.m_stocks[stock].figures.make(l.m_figureMemory);
            made->stock = stock;
            made->pair = pairAt;
            pair.index.add(stock, made);
            pair.figures.push_back(made);
            ++l.m_nFigures;
        }
        Figures& figures = *pair.figures[rank];
        row.number(figures);
        row("minutes", figures.minutes, NONE);
        row("newest", figures.newestMinute);
        PictureMembers::of(row, figures.record);
    }

    /// What CLedger::sortGrown() did before, and what it has still to do.
    void seat() {
        for (std::uint32_t at = 0; at < l.m_pairs.size(); ++at) {
            ledger::Pair& pair = l.m_pairs[at];
            const bool isWide = pair.strategy == ledger::WHOLE_ACCOUNT_ID;
            const std::uint32_t wideAt = l.m_accounts[pair.account].pairs[ledger::WHOLE_ACCOUNT_ID];
            for (Figures* figures : pair.figures) {
                if (!isWide) figures->wide = l.m_pairs[wideAt].index.find(figures->stock);
            }
            if (pair.figures.size() > pair.sorted) l.m_grownPairs.push_back(at);
            if (pair.sorted == 0) continue;
            l.m_profits.seat(at, isWide, pair.sorted);
            for (std::uint32_t rank = 0; rank < pair.sorted; ++rank) {
                Figures& figures = *pair.figures[rank];
                l.m_profits.put(at, rank, figures.record.worth().m_dProfit);
                figures.block->places[figures.inBlock] = {at, rank};
            }
        }
    }

    void arenas() {
        arena("holdings", "freeHoldings", l.m_holdings, [&](P& row, ledger::Holding& holding) {
            row("orderAmplitude", holding.orderAmplitude);
            row("dealAmplitude", holding.dealAmplitude);
            row("hasOrderAmplitude", holding.hasOrderAmplitude);
            row("hasDealAmplitude", holding.hasDealAmplitude);
            row("day", holding.newestDay);
            row("cell", holding.newestCell, NONE);
            row("feeRevision", holding.feeRevision);
            row("markerEpoch", holding.markerEpoch);
            row("fee", holding.fee);
        });
        arena("cells", "freeCells", l.m_cells, [&](P& row, ledger::Cell& cell) {
            row("day", cell.day);
            row("stock", cell.stock, NONE);
            row("account", cell.account, NONE);
            row("older", cell.olderCell, NONE);
            row("order", cell.firstOrder, NONE);
            row("deal", cell.firstDeal, NONE);
            row("hasOrders", cell.hasOrders);
            row("hasDeals", cell.hasDeals);
            row("hasTotals", cell.hasTotals);
            row("totals", cell.totals);
        });
        arena("levels", "freeLevels", l.m_levels, [&](P& row, ledger::Level& level) {
            row("level", level.level);
            row("lots", level.lots);
            row("next", level.nextOfPair, NONE);
        });
        arena("minutes", "freeMinutes", l.m_minutes, [&](P& row, ledger::Minute& minute) {
            row("minute", minute.minute);
            row("older", minute.older, NONE);
            PictureMembers::of(row, minute.deals);
        });
        if (P::READS) levelIndexes();
    }

    void levelIndexes() {
        for (ledger::Pair& pair : l.m_pairs) {
            for (std::uint32_t at = pair.firstLevel; at != NONE; at = l.m_levels[at].nextOfPair) {
                const auto level = static_cast<std::uint32_t>(l.m_levels[at].level);
                pair.levelIndex.add(utils::mixHash(level), at);
            }
        }
    }

    void entries() {
        arena("orders", "freeOrders", l.m_orders, [&](P& row, ledger::OrderEntry& order) {
            row("key", order.key);
            row("report", order.report);
            row.figures("figures", order.figures);
            row("amount", order.amount);
            row("traded", order.progress.traded);
            row("status", order.progress.status);
            row("buys", order.buys);
            row("facets", order.facets);
            row("ended", order.ended);
            row("told", order.told);
            row("lots", order.lots);
            row("level", order.level);
            row("levelCell", order.levelCell, NONE);
            row("cell", order.cell, NONE);
            row("pair", order.pair, NONE);
            row("next", order.nextInCell, NONE);
            row("nextOfKey", order.nextOfKey, NONE);
            row("place", order.placeRunning[0], NONE);
            row("widePlace", order.placeRunning[1], NONE);
        });
        arena("deals", "freeDeals", l.m_deals, [&](P& row, ledger::DealEntry& deal) {
            row("key", deal.key);
            row("report", deal.report);
            row("cell", deal.cell, NONE);
            row("next", deal.nextInCell, NONE);
            row("nextOfKey", deal.nextOfKey, NONE);
            row("counted", deal.counted);
            row("dropped", deal.dropped);
            row("told", deal.told);
        });
    }

    template <class Arena>
    void index(P& row, const char* name, utils::CKeyIndex& index, Arena& arena) {
        std::vector<std::uint32_t> heads;
        if (!P::READS) {
            index.forEach([&](std::uint32_t head) { heads.push_back(head); });
            std::sort(heads.begin(), heads.end());
        }
        row(name, heads);
        if (!P::READS) return;
        for (const std::uint32_t head : heads) index.add(utils::mixHash(arena[head].key), head);
    }

    /// The first entry of each record key of an account.
    void accountIndexes() {
        p.rows("records", l.m_accounts.size(), [&](P& row, std::uint32_t at) {
            ledger::Account& account = l.m_accounts[at];
            index(row, "orders", account.orders, l.m_orders);
            index(row, "deals", account.deals, l.m_deals);
        });
    }

    void tasks() {
        p.rows("tasks", l.m_taskEntries.size(), [&](P& row, std::uint32_t at) {
            if (P::READS) l.m_taskEntries.emplace_back();
            ledger::TaskEntry& task = l.m_taskEntries[at];
            row("account", task.account);
            row("report", task.report);
            if (P::READS) l.m_taskIndex[{task.account, task.report->recordKey()}] = at;
        });
        p("taskDetails", l.m_taskDetails);
        p("runningTasks", l.m_runningTasks);
    }

    P& p;
    CLedger& l;
};

template <class P>
void PictureMembers::of(P& p, CLedger& ledger) {
    CLedgerPicture<P>(p, ledger).visit();
}

}  // namespace TC
