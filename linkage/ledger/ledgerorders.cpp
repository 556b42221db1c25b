#include "common/prefetch.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/orderrule.h"

#include <algorithm>
#include <utility>

namespace TC {

using namespace ledger;

namespace {

Progress progressOf(const vexservice::COrderDetail& order) {
    return {order.m_nTradedVolume, static_cast<std::int16_t>(order.m_eStatus)};
}

}  // namespace

OrderChange CLedger::apply(const std::string& accountKey, const OrderPtr& order,
                           IOrderWatch& watch) {
    OrderChange change;
    OrderStep step;
    if (!resolve(accountKey, *order, step)) return change;
    change.followed = true;
    change.runs = step.runs;
    prefetchOrder(step, *order);
    fileOrder(step, order, change);
    watch.onFiled(step.takesBack ? step.previous : OrderPtr());
    change.ofHistory = isHistoryBalance(order->m_pCommand.get());
    if (change.ofHistory) return change;

    change.strategyIsNew = listStrategy(step.strategy);
    placeOrder(step, change.recordIsNew);
    countLots(step);
    if (step.strategy != WHOLE_ACCOUNT_ID) updateRunning(step, false, watch);
    change.accountEmptied = updateRunning(step, true, watch);
    countTraded(step);
    widenOrderAmplitude(step);
    return change;
}

bool CLedger::resolve(const std::string& accountKey, const vexservice::COrderDetail& order,
                      OrderStep& step) {
    step.account = m_accounts.recall(accountKey);
    if (step.account != NONE) {
        m_accounts[step.account].orders.prefetch(utils::mixHash(order.recordKey()));
    }
    step.listing = &listing(order.m_strMarket, order.m_strCode);
    if (step.listing->excluded) return false;
    step.stock = step.listing->stock;
    step.level = priceLevel(order.m_dPrice, step.listing->tick);
    if (step.account == NONE) step.account = accountId(accountKey);
    step.holding = &holding(step.account, step.stock);
    step.strategy = strategyId(strategyOf(order.m_pCommand.get()));
    step.runs = vexservice::COrderDetailHelper::isRunning(order.m_eStatus);
    step.buys = vexservice::isBuyByDirection(order.m_eDirection, order.m_eOffsetFlag);
    return true;
}

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
        m_days[cell.day].orders.insert(cell.stock);
    }
    chainOrder(account, made);
    return made;
}

// Makes `entry`, which holds the newest report, the first of its key's chain: look-ups
// find it first.
void CLedger::headOfKey(Account& account, std::uint64_t key, std::uint32_t entry) {
    const std::uint32_t head = findOrder(account, key);
    if (head == entry) return;
    std::uint32_t before = head;
    while (m_orders[before].nextOfKey != entry) before = m_orders[before].nextOfKey;
    m_orders[before].nextOfKey = m_orders[entry].nextOfKey;
    m_orders[entry].nextOfKey = head;
    account.orders.replace(utils::mixHash(key), head, entry);
}

void CLedger::fileOrder(OrderStep& step, const OrderPtr& order, OrderChange& change) {
    Account& account = m_accounts[step.account];
    const int day = this->day(order->m_strTradeDate);
    const std::uint64_t key = order->recordKey();
    step.order = order.get();
    step.cell = cellOf(*step.holding, step.account, step.stock, day);
    // What was prefetched is most likely the order itself.
    const bool isAhead = step.entry != NONE && m_orders[step.entry].key == key;
    const std::uint32_t head = isAhead ? step.entry : findOrder(account, key);
    std::uint32_t at = head;
    while (at != NONE && m_orders[at].cell != step.cell) at = m_orders[at].nextOfKey;
    if (at == NONE) {
        change.stockIsNew =
            !m_cells[step.cell].hasOrders && m_days[day].orders.count(step.stock) == 0;
        change.recordIsNew = true;
        at = addOrder(account, key, step.cell);
    }
    if (at != head && head != NONE) headOfKey(account, key, at);
    step.entry = at;
    step.filed = &m_orders[at];
    if (step.filed->levelCell != NONE) m_levels.prefetch(step.filed->levelCell);
    step.takesBack = step.filed->ended && step.runs;
    step.previous = step.filed->file(order, step.runs);
    utils::prefetch(step.previous.get());
    step.filed->told = true;
    m_orderCopies.touch(at);
    noteOrder(at);
}

void CLedger::placeOrder(OrderStep& step, bool recordIsNew) {
    step.pair = pairOf(step.account, step.strategy);
    OrderEntry& entry = *step.filed;
    const bool asBefore = entry.pair == step.pair && entry.buys == step.buys &&
                          entry.level == step.level && entry.nextOfKey == NONE;
    if (asBefore) {
        step.before = {.traded = entry.progress.traded,
                       .wideTraded = entry.progress.traded,
                       .amount = entry.amount,
                       .wideAmount = entry.amount,
                       .running = {entry.progress, entry.progress}};
        return;
    }
    if (recordIsNew && entry.nextOfKey == NONE) {
        entry.pair = step.pair;
        entry.buys = step.buys;
        entry.level = step.level;
        return;
    }
    if (entry.pair != step.pair) noteLeft(entry.pair);
    settleFacets(step, entry);
}

// For a report that differs from the one before it in more than its progress, or whose
// key has several entries. The figures that the report continues are gathered from all
// entries of the key. Those of another strategy, stock, side or level stay behind.
void CLedger::settleFacets(OrderStep& step, OrderEntry& target) {
    Gathered held;
    held.facets = target.facets & FILED;
    step.before = {};

    std::uint32_t next = NONE;
    std::uint32_t last = step.entry;
    for (std::uint32_t at = step.entry; at != NONE; at = next) {
        OrderEntry& entry = m_orders[at];
        next = entry.nextOfKey;
        gatherFacets(step, entry, held);
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
    target.level = step.level;
    target.levelCell = NONE;
    target.lots = held.lots;
    target.figures = nullptr;
    for (const int set : {0, 1}) target.placeRunning[set] = held.places[set];
    if (held.facets & RUNS) m_pairs[step.pair].running[held.places[0]] = step.entry;
    if (held.facets & RUNS_WIDE) {
        m_pairs[pairOf(step.account, WHOLE_ACCOUNT_ID)].running[held.places[1]] = step.entry;
    }
}

// Takes over those figures of `entry` that this report continues.
void CLedger::gatherFacets(OrderStep& step, OrderEntry& entry, Gathered& held) const {
    const bool sameSide =
        entry.buys == step.buys && entry.figures && entry.figures->stock == step.stock;
    std::uint8_t taken = 0;
    if ((entry.facets & TRADED) && sameSide && entry.pair == step.pair) {
        step.before.traded = entry.progress.traded;
        step.before.amount = entry.amount;
        taken |= TRADED;
    }
    if ((entry.facets & WIDE) && sameSide) {
        step.before.wideTraded = entry.progress.traded;
        step.before.wideAmount = entry.amount;
        taken |= WIDE;
    }
    if ((entry.facets & LOTS) && entry.pair == step.pair && entry.level == step.level) {
        held.lots = entry.lots;
        taken |= LOTS;
    }
    const auto takeRunning = [&](int set, std::uint8_t facet) {
        held.places[set] = entry.placeRunning[set];
        step.before.running[set] = entry.progress;
        taken |= facet;
    };
    if ((entry.facets & RUNS) && entry.pair == step.pair) takeRunning(0, RUNS);
    if (entry.facets & RUNS_WIDE) takeRunning(1, RUNS_WIDE);
    held.facets |= taken;
    entry.facets &= static_cast<std::uint8_t>(~taken);
}

// Leaves the figures `stays` of an entry behind in an entry of their own, the next in the
// key's chain. The strategy's running set that the order stands in keeps its old report.
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
    OrderEntry& entry = *step.filed;
    const vexservice::COrderDetail& order = *step.order;
    const std::int32_t lots =
        openLots(order.m_eStatus, order.m_nVolume, order.m_nTradedVolume, step.listing->unit);
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

bool CLedger::updateRunning(OrderStep& step, bool wide, IOrderWatch& watch) {
    Pair& pair = m_pairs[wide ? pairOf(step.account, WHOLE_ACCOUNT_ID) : step.pair];
    const bool present = step.filed->facets & (wide ? RUNS_WIDE : RUNS);
    RunningChange change{.ofAccount = wide};
    if (!step.runs) {
        if (!present) return false;
        leaveRunning(pair, step.entry, wide);
        change.logs = true;
        change.emptied = pair.running.empty();
    } else if (!present) {
        enterRunning(pair, step.entry, wide);
        change.logs = true;
    } else {
        change.logs = step.before.running[wide] != progressOf(*step.order);
    }
    if (change.logs) watch.onRunning(change);
    return change.emptied;
}

void CLedger::countTraded(OrderStep& step) {
    OrderEntry& entry = *step.filed;
    const std::int32_t traded = step.order->m_nTradedVolume;
    const double amount = step.order->m_dTradedAmount;
    if (!entry.figures) entry.figures = figuresIn(step.pair, step.stock);
    entry.progress = progressOf(*step.order);
    entry.amount = amount;

    const auto update = [&](Figures& figures, std::int32_t tradedBefore, double amountBefore) {
        LinkagePeriodExtData& record = figures.record;
        auto& volumes = step.buys ? record.m_buyVolumes : record.m_sellVolumes;
        auto& amounts = step.buys ? record.m_buyAmounts : record.m_sellAmounts;
        if (traded != tradedBefore) volumes.replace(tradedBefore, traded);
        if (amount != amountBefore) amounts.replace(amountBefore, amount);
        if (m_bClientType3) m_figureCopies.touch(&figures);
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
    const Listing& listed = *step.listing;
    const double price = step.order->m_dPrice;
    if (!listed.hasDetail || !(std::fabs(price) > 0.00001)) return;
    const std::optional<double> distance = amplitude(price, listed.reference);
    if (!distance) return;
    Holding& held = *step.holding;
    if (!held.hasOrderAmplitude) {
        held.hasOrderAmplitude = true;
        m_stocks[step.stock].hasOrderAmplitudes = true;
    }
    held.orderAmplitude = std::max(held.orderAmplitude, *distance);
}

}  // namespace TC
