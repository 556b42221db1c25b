#include "lab/invariants.h"

#include "linkage/balance/guardreasons.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace lab {

namespace {

using TC::EBalanceState;

/// What became of one order, as far as it was heard.
struct Fate {
    bool refused = false;
    bool rejected = false;
    bool lost = false;
    bool open = false;
    bool cancelled = false;
    bool priced = true;
};

Fate fateOf(const CModel& model, const SentCommand& command, const SentOrder& order) {
    Fate fate{.refused = command.refused, .lost = order.lost, .priced = order.priced};
    const auto reports = model.reportsOf(command, order);
    fate.open = reports.empty();
    bool whole = true;
    for (const OrderReport* report : reports) {
        fate.rejected = fate.rejected || report->status == vexservice::STATUS_JUNK;
        fate.open = fate.open || report->runs();
        whole = whole && report->traded == report->volume;
    }
    fate.cancelled = !fate.open && !whole;
    return fate;
}

}  // namespace

// Whether the reason that stands beside what remains of a stock holds, by what was told.
bool CInvariants::isTrue(const Seen& seen, int round, int stock,
                         const TC::BalanceStock& figures) const {
    const std::string& reason = figures.reason;
    if (figures.remains == 0) return reason == TC::REASON_BALANCED;
    for (const SentCommand& command : m_model.commands()) {
        if (command.balance != seen.record.number || command.round != round) continue;
        for (const SentOrder& order : command.orders) {
            if (order.stock != stock) continue;
            const Fate fate = fateOf(m_model, command, order);
            if (fate.refused && reason.starts_with(TC::REASON_REFUSED)) return true;
            if (fate.rejected && fate.priced && reason == TC::REASON_REJECTED) return true;
            if (fate.rejected && !fate.priced && reason == TC::REASON_NO_PRICE) return true;
            if (fate.lost && reason == TC::REASON_LOST) return true;
            if (fate.open && reason == TC::REASON_RESTING) return true;
            if (fate.cancelled && reason == TC::REASON_CANCELLED) return true;
        }
    }
    const Stock& of = m_plan.stocks[static_cast<std::size_t>(stock)];
    const auto at = seen.planned.find(stock);
    const std::int64_t planned = at == seen.planned.end() ? 0 : at->second;
    const std::int64_t difference = figures.bought - figures.sold;
    const bool range = figures.least != difference || figures.most != difference;
    if (reason == TC::REASON_TRADED_SINCE) return figures.remains != difference + planned;
    if (reason == TC::REASON_BELOW_LOT) {
        const std::int64_t sure = std::max<std::int64_t>(figures.least, 0) +
                                  std::min<std::int64_t>(figures.most, 0) + planned;
        return sure != 0 && std::abs(sure) < of.unit;
    }
    if (reason == TC::REASON_WAITING) return range;
    if (reason == TC::REASON_TASK) return seen.tasks.count(stock) > 0;
    if (reason == TC::REASON_NO_ANSWER) return seen.failed;
    return reason == TC::REASON_NO_INSTRUMENT && (seen.failed || !of.detail);
}

void CInvariants::checkRemains(const Seen& seen, const TC::BalanceRecord& record) const {
    // At a new trading date it was told before what the date brought.
    if (record.reason == TC::REASON_NEW_DATE) return;
    for (const auto& [key, figures] : record.stocks) {
        const int stock = placeOf(m_plan.stocks, key);
        const std::int64_t remains = m_model.range(seen.pair, stock).difference();
        if (figures.remains != remains) {
            fail(seen,
                 fmt::format("tells that {} of {} remain, not {}", figures.remains, key, remains));
        }
        // Where the whole has a reason, a stock needs none.
        if (figures.reason.empty() && !record.reason.empty()) continue;
        if (!isTrue(seen, record.rounds, stock, figures)) {
            fail(seen, fmt::format("gives \"{}\" as the reason why {} of {} remain", figures.reason,
                                   figures.remains, key));
        }
    }
}

}  // namespace lab
