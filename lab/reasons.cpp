#include "lab/invariants.h"
#include "lab/times.h"

#include "linkage/balance/guardreasons.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace lab {

namespace {

using TC::EBalanceState;

constexpr char UNDER_WAY[] = " is under way";
constexpr char WHOLE_ACCOUNT[] = " balanced the whole account";
constexpr char REPLACED_BY[] = "replaced by balance ";
constexpr char NOTHING_TRADED[] = "nothing was traded";
/// So long a balance tries again while a service does not answer.
constexpr std::int64_t GIVE_UP = 60 * SECOND;

/// Of another balance that a reason names; 0 when it names none.
int numberIn(const std::string& reason) {
    const std::size_t at = reason.find_first_of("0123456789");
    return at == std::string::npos ? 0 : std::atoi(reason.c_str() + at);
}

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

// Whether the reason of a whole balance holds at the moment at which it is over. Nothing is held
// against an account that is uncertain, as one is that is not loaded.
bool CInvariants::isTrue(const Seen& seen, const TC::BalanceRecord& record) const {
    const std::string& reason = record.reason;
    const auto at = m_seen.find(numberIn(reason));
    const Seen* const other = at == m_seen.end() ? nullptr : &at->second;
    if (other && (other->date != m_nDate || !other->pair.overlaps(seen.pair))) return false;
    if (record.state == EBalanceState::Refused) {
        if (!other || other->record.number == record.number) return false;
        if (reason.ends_with(WHOLE_ACCOUNT)) {
            return other->pair.strategy.empty() && hasSent(other->record.number);
        }
        return reason.ends_with(UNDER_WAY) && other->record.number < record.number;
    }
    if (reason.starts_with(REPLACED_BY)) return other && other->record.number > record.number;
    if (reason == TC::REASON_NO_BOOK) return m_bDiskFailed;
    if (reason == TC::REASON_NEW_DATE) return m_nDateAt == now();
    if (reason == TC::REASON_RESTART) return seen.restarted;
    if (reason == TC::REASON_NO_ANSWER) {
        const bool tried = seen.atOnce || (!seen.fresh && now() >= seen.cancelAt + GIVE_UP);
        return tried && m_services.failed(now(), now());
    }
    return reason.empty() || (reason == NOTHING_TRADED && !hasTraded(seen.pair));
}

bool CInvariants::hasSent(int balance) const {
    const auto& commands = m_model.commands();
    return std::any_of(commands.begin(), commands.end(), [&](const SentCommand& command) {
        return command.balance == balance && !command.refused;
    });
}

// Of history a pair has the records of its own strategy, whatever they hold.
bool CInvariants::hasTraded(const Pair& pair) const {
    if (pair.history) {
        return std::any_of(m_plan.rests.begin(), m_plan.rests.end(), [&](const Rest& rest) {
            return rest.account == pair.account &&
                   m_plan.strategies[static_cast<std::size_t>(rest.strategy)] == pair.strategy;
        });
    }
    for (std::size_t at = 0; at < m_plan.stocks.size(); ++at) {
        const Range range = m_model.range(pair, static_cast<int>(at));
        if (range.bought != 0 || range.sold != 0) return true;
    }
    return false;
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
