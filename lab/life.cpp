#include "lab/invariants.h"
#include "lab/times.h"

#include <fmt/format.h>

#include <algorithm>

namespace lab {

using TC::EBalanceState;

namespace {

bool isToDecide(const TC::BalanceRecord& record) {
    return record.state == EBalanceState::Asked || record.state == EBalanceState::Cancelling;
}

}  // namespace

// Refused is a pair whose own balance is to decide (a form that sends at once: any that
// overlaps), and a strategy whose account was balanced as a whole on this date.
bool CInvariants::takes(const Pair& pair, bool atOnce) const {
    for (const auto& [number, seen] : m_seen) {
        if (seen.date != m_nDate || !isToDecide(seen.record)) continue;
        if (atOnce ? seen.pair.overlaps(pair) : seen.pair == pair) return false;
    }
    if (pair.strategy.empty()) return true;
    const auto& commands = m_model.commands();
    return std::none_of(commands.begin(), commands.end(), [&](const SentCommand& command) {
        return command.pair == Pair{pair.account, "", pair.history} && !command.refused;
    });
}

void CInvariants::checkLife(const Seen& seen, const TC::BalanceRecord& record) const {
    if (seen.fresh) return;
    const TC::BalanceRecord& before = seen.record;
    const bool over =
        before.state == EBalanceState::Ended || before.state == EBalanceState::Refused;
    if (over && (record.state != before.state || record.reason != before.reason)) {
        fail(seen, fmt::format("was over and is {} again", TC::textOf(record.state)));
    }
    if (record.rounds > m_plan.rounds) fail(seen, "has sent more rounds than it may");
    if (record.rounds < before.rounds) fail(seen, "has lost a round");
    for (const auto& [key, stock] : before.stocks) {
        const auto now = record.stocks.find(key);
        if (now == record.stocks.end()) fail(seen, "has lost the stock " + key);
    }
}

bool CInvariants::isBefore(const Seen& other, const Seen& seen) const {
    return other.date == m_nDate && other.record.number < seen.record.number &&
           isToDecide(other.record) && other.pair.overlaps(seen.pair);
}

bool CInvariants::isOver() const {
    return std::none_of(m_seen.begin(), m_seen.end(), [&](const auto& each) {
        const TC::BalanceRecord& record = each.second.record;
        return each.second.date == m_nDate &&
               (isToDecide(record) || record.state == EBalanceState::Sent);
    });
}

bool CInvariants::hasNoAnswer() const { return m_services.failed(now() - SECOND, now()); }

// At rest nothing that could go on stands still.
void CInvariants::checkTurn(const Seen& seen, const TC::BalanceRecord& record) const {
    const std::int64_t moment = now();
    const bool waits = std::any_of(m_seen.begin(), m_seen.end(),
                                   [&](const auto& each) { return isBefore(each.second, seen); });
    if (record.state == EBalanceState::Asked && moment >= seen.dueAt && !waits) {
        fail(seen, "still waits for its turn");
    }
    if (record.state != EBalanceState::Cancelling) return;
    if (waits && record.rounds == 0) fail(seen, "cancels while one that overlaps is to decide");
    if (!hasNoAnswer()) {
        if (moment >= seen.cancelAt + LONGEST_CANCELLING) fail(seen, "cancels for more than 30 s");
        if (m_model.quiet(seen.pair)) fail(seen, "does not decide although nothing runs");
    }
    for (const auto& [number, other] : m_seen) {
        const bool older = other.date == m_nDate && number < seen.record.number &&
                           other.record.state == EBalanceState::Sent;
        if (older && record.rounds == 0 && other.pair.overlaps(seen.pair)) {
            fail(seen, fmt::format("cancels and leaves balance {} under way", number));
        }
    }
}

}  // namespace lab
