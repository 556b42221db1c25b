#include "lab/broker.h"
#include "lab/times.h"

#include <algorithm>
#include <utility>

namespace lab {

namespace {

using namespace vexservice;

constexpr std::uint64_t FATES = 2;

std::int64_t seconds(CRandom& random, int least, int most) {
    return random.between(least * 1000, most * 1000) * MILLI;
}

}  // namespace

CBroker::CBroker(Habits habits, CAgenda& agenda, FaultCounts& counts, Ears ears)
    : m_habits(habits), m_agenda(agenda), m_counts(counts), m_ears(std::move(ears)) {}

bool CBroker::rolls(MarketOrder& order, EFault fault) {
    const bool happens = order.random.chance(m_habits.dials[fault]) && !m_bCalm;
    if (happens) ++m_counts[static_cast<std::size_t>(fault)];
    return happens;
}

MarketOrder* CBroker::open(std::uint64_t key) {
    const auto at = m_orders.find(key);
    return at == m_orders.end() || !at->second.isOpen() ? nullptr : &at->second;
}

void CBroker::later(std::int64_t delay, std::uint64_t key, void (CBroker::*what)(MarketOrder&)) {
    m_agenda.at(now() + delay, [this, key, what] {
        if (MarketOrder* order = open(key)) (this->*what)(*order);
    });
}

// ------------------------------------------------------------------- the market

std::uint64_t CBroker::place(const Ticket& ticket) {
    const auto key = static_cast<std::uint64_t>(++m_nPlaced);
    MarketOrder& order = m_orders[key];
    order.ticket = ticket;
    order.key = key;
    order.random = CRandom::of(m_habits.seed, FATES, ticket.fate);
    order.toldAt = ticket.hush;
    if (rolls(order, EFault::LateOrder)) {
        order.toldAt = std::max(order.toldAt, now() + seconds(order.random, 5, 100));
    }
    later(order.random.between(10, 300) * MILLI, key, &CBroker::arrive);
    return key;
}

void CBroker::arrive(MarketOrder& order) {
    if (!order.ticket.priced || rolls(order, EFault::Rejected)) {
        order.status = STATUS_JUNK;
        tellOrder(order, order.random.between(20, 300) * MILLI);
        return;
    }
    order.status = STATUS_REPORTED;
    tellOrder(order, order.random.between(20, 300) * MILLI);
    planFills(order);
}

// Some fill at once, some in parts over the next minute, some rest with what is left.
void CBroker::planFills(MarketOrder& order) {
    const int kind = order.random.below(100);
    const int parts = kind < 40 || m_bCalm ? 1 : order.random.between(1, 4);
    const bool whole = m_bCalm || kind < 75;
    const int span = kind < 40 || m_bCalm ? 2'000 : 60'000;
    std::int64_t left = order.ticket.volume;
    for (int part = 0; part < parts && left > 0; ++part) {
        const bool last = part + 1 == parts && whole;
        const std::int64_t lots = left / 100;
        std::int64_t volume = left;
        if (!last) volume = 100 * order.random.below(static_cast<int>(lots) + 1);
        const std::int64_t delay = order.random.between(50, span) * MILLI;
        if (volume == 0) continue;
        left -= volume;
        m_agenda.at(now() + delay, [this, key = order.key, volume] {
            if (MarketOrder* found = open(key)) fill(*found, volume);
        });
    }
}

void CBroker::fill(MarketOrder& order, std::int64_t volume) {
    volume = std::min(volume, order.rest());
    if (volume <= 0) return;
    order.filled += volume;
    order.status = order.rest() == 0 ? STATUS_SUCCEEDED : STATUS_PART_SUCC;
    m_ears.filled(order, volume);
    const std::int64_t delay = order.random.between(20, 300) * MILLI;
    std::int64_t ofDeal = delay;
    std::int64_t ofOrder = delay;
    if (rolls(order, EFault::DealFirst)) {
        ofOrder += seconds(order.random, 1, 10);
    } else if (rolls(order, EFault::DealBehind)) {
        ofDeal += seconds(order.random, 1, 10);
    }
    tellDeal(order, volume, ofDeal);
    tellOrder(order, ofOrder);
}

void CBroker::cancel(std::uint64_t key) {
    MarketOrder* order = open(key);
    if (!order) {
        // Who asks for what has ended is told so once more.
        const auto at = m_orders.find(key);
        if (at != m_orders.end()) tellOrder(at->second, 100 * MILLI);
        return;
    }
    if (rolls(*order, EFault::NoCancel)) return;
    std::int64_t delay = order->random.between(50, 1'500) * MILLI;
    if (rolls(*order, EFault::LateCancel)) delay += seconds(order->random, 5, 45);
    const bool crossed = rolls(*order, EFault::CrossedCancel);
    later(delay, key, crossed ? &CBroker::crossAndCancel : &CBroker::cancelNow);
}

void CBroker::cancelNow(MarketOrder& order) {
    order.status = order.filled > 0 ? STATUS_PART_CANCEL : STATUS_CANCELED;
    tellOrder(order, order.random.between(20, 300) * MILLI);
}

void CBroker::crossAndCancel(MarketOrder& order) {
    fill(order, order.random.chance(50) ? order.rest() : 100 * order.random.between(1, 5));
    if (order.isOpen()) cancelNow(order);
}

void CBroker::newDate() {
    ++m_nDate;
    m_orders.clear();
    m_deals.clear();
}

void CBroker::calm() {
    m_bCalm = true;
    for (auto& [key, order] : m_orders) {
        if (order.isOpen()) later(500 * MILLI, key, &CBroker::cancelNow);
    }
}

// ---------------------------------------------------------------------- telling

OrderReport CBroker::reportOf(const MarketOrder& order) const {
    return {.key = order.key,
            .of = order.ticket.of,
            .volume = order.ticket.volume,
            .traded = order.filled,
            .status = order.status};
}

void CBroker::tellOrder(MarketOrder& order, std::int64_t delay) {
    OrderReport report = reportOf(order);
    if (rolls(order, EFault::Late)) delay += seconds(order.random, 2, 50);
    std::int64_t at = std::max(now() + delay, order.toldAt);
    if (rolls(order, EFault::Reordered)) {
        // Those that come after it do not wait for it.
        at += seconds(order.random, 1, 8);
    } else {
        order.toldAt = at;
    }
    report.announced = !rolls(order, EFault::Missed);
    deliver(report, at);
    if (rolls(order, EFault::Doubled)) deliver(report, at + order.random.below(2) * 400 * MILLI);
}

void CBroker::tellDeal(MarketOrder& order, std::int64_t volume, std::int64_t delay) {
    DealReport report{.key = ++m_nDeals, .of = order.ticket.of, .volume = volume};
    if (m_habits.named) report.order = order.key;
    m_deals[report.key] = report;
    if (rolls(order, EFault::Late)) delay += seconds(order.random, 2, 50);
    // A deal may be told before any report of its order, but not before its command's number.
    const std::int64_t at = std::max(now() + delay, order.ticket.hush);
    report.announced = !rolls(order, EFault::Missed);
    deliver(report, at);
    if (rolls(order, EFault::Doubled)) deliver(report, at + order.random.below(2) * 400 * MILLI);
}

void CBroker::deliver(const OrderReport& report, std::int64_t at) {
    m_agenda.at(at, [this, report, date = m_nDate] {
        if (date == m_nDate) m_ears.order(report);
    });
}

void CBroker::deliver(const DealReport& report, std::int64_t at) {
    m_agenda.at(at, [this, report, date = m_nDate] {
        if (date == m_nDate) m_ears.deal(report);
    });
}

void CBroker::tellAgain() {
    for (const auto& [key, order] : m_orders) deliver(reportOf(order), now());
    for (const auto& [key, deal] : m_deals) deliver(deal, now());
}

}  // namespace lab
