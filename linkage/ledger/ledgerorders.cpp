#include "linkage/ledger/ledger.h"
#include "linkage/ledger/orderrule.h"

#include <algorithm>
#include <utility>

namespace TC {

std::uint32_t CLedger::findOrder(const Account& account, std::uint64_t key) const {
    return account.orders.find(utils::mixHash(key),
                               [&](std::uint32_t at) { return m_orders[at].key == key; });
}

void CLedger::chainOrder(Account& account, std::uint32_t at) {
    OrderEntry& entry = m_orders[at];
    const std::uint32_t head = findOrder(account, entry.key);
    if (head == NONE) {
        account.orders.add(utils::mixHash(entry.key), at);
    } else {
        entry.nextOfKey = m_orders[head].nextOfKey;
        m_orders[head].nextOfKey = at;
    }
}

std::uint32_t CLedger::addOrder(Account& account, std::uint64_t key, std::uint32_t cellAt) {
    const std::uint32_t made = m_orders.make();
    OrderEntry& entry = m_orders[made];
    Cell& cell = m_cells[cellAt];
    entry.key = key;
    entry.cell = cellAt;
    entry.facets = FILED;
    entry.nextInCell = cell.firstOrder;
    cell.firstOrder = made;
    if (!cell.hasOrders) {
        cell.hasOrders = true;
        Day& day = m_days[cell.day];
        day.hasOrders = true;
        day.orders.insert(cell.stock);
    }
    chainOrder(account, made);
    return made;
}

// The entry that the newest report stands in is the one that look-ups find first.
void CLedger::headOfKey(Account& account, std::uint64_t key, std::uint32_t entry) {
    const std::uint32_t head = findOrder(account, key);
    if (head == entry) return;
    std::uint32_t before = head;
    while (m_orders[before].nextOfKey != entry) before = m_orders[before].nextOfKey;
    m_orders[before].nextOfKey = m_orders[entry].nextOfKey;
    m_orders[entry].nextOfKey = head;
    account.orders.replace(utils::mixHash(key), head, entry);
}

void CLedger::fileOrder(OrderStep& step, const OrderPtr& order) {
    Account& account = m_accounts[step.account];
    const int day = this->day(order->m_strTradeDate);
    const std::uint64_t key = order->recordKey();
    step.order = order.get();
    step.cell = cellOf(step.account, step.stock, day);
    prefetchFigures(step.account, step.strategy, step.stock);

    const std::uint32_t head = findOrder(account, key);
    std::uint32_t at = head;
    while (at != NONE && m_orders[at].cell != step.cell) at = m_orders[at].nextOfKey;
    if (at == NONE) {
        step.stockIsNew =
            !m_cells[step.cell].hasOrders && m_days[day].orders.count(step.stock) == 0;
        step.recordIsNew = true;
        at = addOrder(account, key, step.cell);
    }
    if (at != head && head != NONE) headOfKey(account, key, at);
    step.entry = at;
    step.previous = std::exchange(m_orders[at].report, order);
    prefetchEntry(step);
}

void CLedger::placeOrder(OrderStep& step) {
    step.pair = pairOf(step.account, step.strategy);
    OrderEntry& entry = m_orders[step.entry];
    const bool asBefore = entry.pair == step.pair && entry.buys == step.buys &&
                          entry.level == step.level && entry.nextOfKey == NONE;
    if (asBefore) {
        step.before = {entry.traded, entry.traded, entry.amount, entry.amount};
        return;
    }
    if (step.recordIsNew && entry.nextOfKey == NONE) {
        entry.pair = step.pair;
        entry.buys = step.buys;
        entry.level = step.level;
        return;
    }
    settleFacets(step, entry, step.level);
}

// The report differs from the one before it in more than its progress, or the key has
// stood elsewhere: what the totals hold under the key is gathered from wherever it is,
// and what belongs to another strategy, stock, side or level stays behind.
void CLedger::settleFacets(OrderStep& step, OrderEntry& target, std::int32_t level) {
    Gathered held;
    held.facets = target.facets & FILED;
    step.before = {};

    std::uint32_t next = NONE;
    std::uint32_t last = step.entry;
    for (std::uint32_t at = step.entry; at != NONE; at = next) {
        OrderEntry& entry = m_orders[at];
        next = entry.nextOfKey;
        gatherFacets(step, entry, level, held);
        const std::uint8_t stays = entry.facets & static_cast<std::uint8_t>(~FILED);
        if (at == step.entry && stays != 0) {
            last = parkFacets(step, entry, stays);
        } else if (at != step.entry && entry.facets == 0) {
            m_orders[last].nextOfKey = next;
            std::erase(m_accounts[step.account].parked, at);
            m_orders.drop(at);
        } else {
            last = at;
        }
    }

    target.facets = held.facets;
    target.pair = step.pair;
    target.buys = step.buys;
    target.level = level;
    target.levelCell = NONE;
    target.lots = held.lots;
    target.figures = nullptr;
    for (const int set : {0, 1}) {
        target.placeRunning[set] = held.places[set];
        target.runTraded[set] = held.runTraded[set];
        target.status[set] = held.status[set];
    }
    if (held.facets & RUNS) m_pairs[step.pair].running[held.places[0]] = step.entry;
    if (held.facets & RUNS_WIDE) {
        m_pairs[pairOf(step.account, 0)].running[held.places[1]] = step.entry;
    }
}

// Moves out of an entry what the report of this step goes on with.
void CLedger::gatherFacets(OrderStep& step, OrderEntry& entry, std::int32_t level,
                           Gathered& held) const {
    const bool sameSide =
        entry.buys == step.buys && entry.figures && entry.figures->stock == step.stock;
    std::uint8_t taken = 0;
    if ((entry.facets & TRADED) && sameSide && entry.pair == step.pair) {
        step.before.traded = entry.traded;
        step.before.amount = entry.amount;
        taken |= TRADED;
    }
    if ((entry.facets & WIDE) && sameSide) {
        step.before.wideTraded = entry.traded;
        step.before.wideAmount = entry.amount;
        taken |= WIDE;
    }
    if ((entry.facets & LOTS) && entry.pair == step.pair && entry.level == level) {
        held.lots = entry.lots;
        taken |= LOTS;
    }
    const auto takeRunning = [&](int set, std::uint8_t facet) {
        held.places[set] = entry.placeRunning[set];
        held.runTraded[set] = entry.runTraded[set];
        held.status[set] = entry.status[set];
        taken |= facet;
    };
    if ((entry.facets & RUNS) && entry.pair == step.pair) takeRunning(0, RUNS);
    if (entry.facets & RUNS_WIDE) takeRunning(1, RUNS_WIDE);
    held.facets |= taken;
    entry.facets &= static_cast<std::uint8_t>(~taken);
}

// The totals of an entry stay behind in one of their own, next in the key's chain.
// A running set that the order has left keeps the report that it had.
std::uint32_t CLedger::parkFacets(const OrderStep& step, OrderEntry& entry, std::uint8_t stays) {
    const std::uint32_t parked = m_orders.make();
    m_accounts[step.account].parked.push_back(parked);
    OrderEntry& behind = m_orders[parked];
    behind = entry;
    behind.report = step.previous;
    behind.cell = NONE;
    behind.nextInCell = NONE;
    behind.facets = stays;
    entry.nextOfKey = parked;
    if (stays & RUNS) m_pairs[behind.pair].running[behind.placeRunning[0]] = parked;
    return parked;
}

std::uint32_t CLedger::levelCellOf(std::uint32_t pairAt, std::int32_t level) {
    Pair& pair = m_pairs[pairAt];
    const std::uint64_t hash = utils::mixHash(static_cast<std::uint32_t>(level));
    const std::uint32_t found =
        pair.levelIndex.find(hash, [&](std::uint32_t at) { return m_levels[at].level == level; });
    if (found != NONE) return found;
    const std::uint32_t made = m_levels.make();
    m_levels[made].level = level;
    m_levels[made].nextOfPair = pair.firstLevel;
    pair.firstLevel = made;
    pair.levelIndex.add(hash, made);
    m_strategies[pair.strategy].hasLevels = true;
    return made;
}

void CLedger::countLots(OrderStep& step) {
    OrderEntry& entry = m_orders[step.entry];
    const vexservice::COrderDetail& order = *step.order;
    const std::int32_t lots = openLots(order.m_eStatus, order.m_nVolume, order.m_nTradedVolume,
                                       m_listings[step.listing].unit);
    if (entry.levelCell == NONE) entry.levelCell = levelCellOf(step.pair, step.level);
    if (lots != entry.lots) {
        Level& level = m_levels[entry.levelCell];
        level.lots = wrapAdd(level.lots, wrapSub(lots, entry.lots));
        entry.lots = lots;
    }
    entry.facets |= LOTS;
}

void CLedger::enterRunning(Pair& pair, std::uint32_t at, bool wide) {
    OrderEntry& entry = m_orders[at];
    entry.placeRunning[wide] = static_cast<std::uint32_t>(pair.running.size());
    entry.facets |= wide ? RUNS_WIDE : RUNS;
    pair.running.push_back(at);
    pair.hasRunning = true;
}

void CLedger::leaveRunning(Pair& pair, std::uint32_t at, bool wide) {
    OrderEntry& entry = m_orders[at];
    const std::uint32_t place = entry.placeRunning[wide];
    const std::uint32_t moved = pair.running.back();
    pair.running[place] = moved;
    pair.running.pop_back();
    m_orders[moved].placeRunning[wide] = place;
    entry.placeRunning[wide] = NONE;
    entry.facets &= static_cast<std::uint8_t>(~(wide ? RUNS_WIDE : RUNS));
}

CLedger::RunningChange CLedger::updateRunning(OrderStep& step, bool wide) {
    const std::uint32_t pairAt = wide ? pairOf(step.account, 0) : step.pair;
    Pair& pair = m_pairs[pairAt];
    OrderEntry& entry = m_orders[step.entry];
    const bool present = entry.facets & (wide ? RUNS_WIDE : RUNS);
    if (!step.runs) {
        if (!present) return {};
        leaveRunning(pair, step.entry, wide);
        return {true, pair.running.empty()};
    }
    if (!present) {
        enterRunning(pair, step.entry, wide);
        return {true, false};
    }
    const bool progressed = entry.runTraded[wide] != step.order->m_nTradedVolume ||
                            entry.status[wide] != static_cast<std::int16_t>(step.order->m_eStatus);
    return {progressed, false};
}

void CLedger::countTraded(OrderStep& step) {
    OrderEntry& entry = m_orders[step.entry];
    const std::int32_t traded = step.order->m_nTradedVolume;
    const double amount = step.order->m_dTradedAmount;
    if (!entry.figures) entry.figures = figuresIn(step.pair, step.stock);
    for (const int set : {0, 1}) {
        entry.runTraded[set] = traded;
        entry.status[set] = static_cast<std::int16_t>(step.order->m_eStatus);
    }
    entry.traded = traded;
    entry.amount = amount;

    const auto update = [&](Figures& figures, std::int32_t tradedBefore, double amountBefore) {
        LinkagePeriodExtData& record = figures.record;
        auto& volumes = step.buys ? record.m_buyVolumes : record.m_sellVolumes;
        auto& amounts = step.buys ? record.m_buyAmounts : record.m_sellAmounts;
        if (traded != tradedBefore) volumes.replace(tradedBefore, traded);
        if (amount != amountBefore) amounts.replace(amountBefore, amount);
    };
    const Before& before = step.before;
    if (Figures* const wideFigures = entry.figures->wide) {
        update(*entry.figures, before.traded, before.amount);
        entry.facets |= TRADED;
        update(*wideFigures, before.wideTraded, before.wideAmount);
    } else {
        update(*entry.figures, before.wideTraded, before.wideAmount);
    }
    entry.facets |= WIDE;
}

void CLedger::widenOrderAmplitude(const OrderStep& step) {
    const Listing& listed = m_listings[step.listing];
    const double price = step.order->m_dPrice;
    if (!listed.hasDetail || !(std::fabs(price) > 0.00001)) return;
    const std::optional<double> distance = amplitude(price, listed.reference);
    if (!distance) return;
    Holding& held = holding(step.account, step.stock);
    if (!held.hasOrderAmplitude) {
        held.hasOrderAmplitude = true;
        m_stocks[step.stock].hasOrderAmplitudes = true;
    }
    held.orderAmplitude = std::max(held.orderAmplitude, *distance);
}

}  // namespace TC
