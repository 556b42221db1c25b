#include "lab/invariants.h"
#include "lab/times.h"
#include "linkage/balance/guardreasons.h"

#include <fmt/format.h>

#include <algorithm>

namespace lab {

using TC::EBalanceState;

namespace {

std::string textOf(const SentOrder& order, const Plan& plan) {
    const auto at = static_cast<std::size_t>(order.stock);
    return fmt::format("{} {} {}", order.buys ? "buy" : "sell", order.volume,
                       order.stock < 0 ? "?" : plan.stocks[at].key());
}

std::int64_t signedVolume(const SentOrder& order) {
    return order.buys ? order.volume : -order.volume;
}

}  // namespace

void CInvariants::sends(SentCommand& command, EForm form, const std::string& book) {
    const BookEntry line = CBookReader(m_plan).last(book);
    if (line.step != "sent") {
        m_fail("a command is sent that does not stand in the book");
        return;
    }
    command.balance = line.record.number;
    Seen& own = seenOf(line.record);
    for (const SentCommand& each : m_model.commands()) {
        if (each.balance == command.balance) ++command.place;
    }
    const auto place = static_cast<std::size_t>(command.place);
    if (place >= line.commands.size() || line.commands[place].pair != command.pair) {
        fail(own, "sends a command that does not stand in the book");
        return;
    }
    const SentCommand& written = line.commands[place];
    command.round = written.round;
    const bool same =
        std::equal(written.orders.begin(), written.orders.end(), command.orders.begin(),
                   command.orders.end(), [](const SentOrder& left, const SentOrder& right) {
                       return left.stock == right.stock && left.buys == right.buys &&
                              left.volume == right.volume;
                   });
    if (!same) fail(own, "sends other orders than its book says");
    if (own.firstSent == CModel::ALL) {
        own.firstSent = m_model.sentCount();
        begins(own);
    }
    for (const SentOrder& order : command.orders) {
        own.planned[order.stock] += signedVolume(order);
        const std::int64_t expected =
            m_model.decide(command.pair, order.stock, form, own.firstSent);
        if (signedVolume(order) == expected) continue;
        const Range range = m_model.range(command.pair, order.stock, own.firstSent);
        fail(own, fmt::format("sends {}, and the rule gives {} (bought {}, sold {}, {} to {})",
                              textOf(order, m_plan), expected, range.bought, range.sold,
                              range.least(), range.most()));
    }
}

// A decision takes the place of the one before.
void CInvariants::begins(Seen& seen) const {
    seen.planned.clear();
    seen.tasks.clear();
    seen.failed = m_services.failed(now(), now());
    for (std::size_t at = 0; at < m_plan.stocks.size(); ++at) {
        const int stock = static_cast<int>(at);
        if (m_model.taskRuns(seen.pair, stock)) seen.tasks.insert(stock);
    }
}

// The figures of a decision as the model had them when so many commands were sent; and
// nothing is left out that the rule would send.
std::string CInvariants::differs(const Seen& seen, const TC::BalanceRecord& record,
                                 std::size_t sent) const {
    for (std::size_t at = 0; at < m_plan.stocks.size(); ++at) {
        const int stock = static_cast<int>(at);
        const std::string key = m_plan.stocks[at].key();
        const auto planned = seen.planned.find(stock);
        const std::int64_t expected = m_model.decide(seen.pair, stock, seen.form, sent);
        const std::int64_t has = planned == seen.planned.end() ? 0 : planned->second;
        const auto found = record.stocks.find(key);
        // A service that does not answer leaves the stock out.
        const bool noAnswer = has == 0 && m_services.failed(now(), now());
        if (has != expected && !noAnswer)
            return fmt::format("sends {} of {}, not {}", has, key, expected);
        if (found == record.stocks.end()) continue;
        const TC::BalanceStock& figures = found->second;
        const Range range = m_model.range(seen.pair, stock, sent);
        if (figures.bought != range.bought || figures.sold != range.sold ||
            figures.least != range.least() || figures.most != range.most()) {
            return fmt::format(
                "decides on {} with bought {}, sold {}, {} to {}; it is {}, {}, {} to {}", key,
                figures.bought, figures.sold, figures.least, figures.most, range.bought, range.sold,
                range.least(), range.most());
        }
    }
    return {};
}

void CInvariants::checkTime(const Seen& seen, std::size_t sent) const {
    if (seen.atOnce || m_model.quiet(seen.pair, sent)) return;
    const std::int64_t moment = now();
    const bool waited = !seen.fresh && seen.record.state == EBalanceState::Cancelling &&
                        moment >= seen.cancelAt + LONGEST_CANCELLING;
    if (!waited) fail(seen, "decides while something of the pair runs");
}

// After a refusal or a rejection there is no further round.
bool CInvariants::hasFailed(const Seen& seen) const {
    for (const SentCommand& command : m_model.commands()) {
        if (command.balance != seen.record.number) continue;
        if (command.refused) return true;
        for (const SentOrder& order : command.orders) {
            for (const OrderReport* report : m_model.reportsOf(command, order)) {
                if (report->status == vexservice::STATUS_JUNK) return true;
            }
        }
    }
    return false;
}

void CInvariants::checkDecision(Seen& seen, const TC::BalanceRecord& record) {
    const int roundsBefore = seen.fresh ? 0 : seen.record.rounds;
    const bool wasToDecide = seen.fresh || seen.record.state == EBalanceState::Asked ||
                             seen.record.state == EBalanceState::Cancelling ||
                             (record.rounds > 0 && record.rounds < m_plan.rounds &&
                              seen.record.state == EBalanceState::Sent && !hasFailed(seen));
    if (record.rounds > roundsBefore) {
        if (seen.firstSent == CModel::ALL) {
            // The process died between the book and the command center.
            return;
        }
        const std::string what = differs(seen, record, seen.firstSent);
        if (!what.empty()) fail(seen, what);
        checkTime(seen, seen.firstSent);
        return;
    }
    if (!wasToDecide || record.state != EBalanceState::Ended) return;
    if (record.reason.empty() || record.reason == TC::REASON_NO_BOOK) begins(seen);
    if (!record.reason.empty()) return;
    std::string what;
    for (std::size_t sent = m_nLooked; sent <= m_model.sentCount(); ++sent) {
        what = differs(seen, record, sent);
        if (!what.empty()) continue;
        checkTime(seen, sent);
        return;
    }
    fail(seen, what);
}

void CInvariants::checkFilled(const Seen& seen, const TC::BalanceRecord& record) const {
    if (record.rounds == 0) return;
    std::map<std::string, std::int64_t> filled;
    std::map<std::string, std::int64_t> sent;
    std::vector<int> numbers;
    for (const SentCommand& command : m_model.commands()) {
        if (command.balance != record.number) continue;
        if (command.number != 0) numbers.push_back(command.number);
        for (const SentOrder& order : command.orders) {
            const std::string key = m_plan.stocks[static_cast<std::size_t>(order.stock)].key();
            const std::int64_t volume = m_model.filled(command, order);
            filled[key] += order.buys ? volume : -volume;
            sent[key] += signedVolume(order);
        }
    }
    if (numbers != record.commands) fail(seen, "has other command numbers than were told");
    for (const auto& [key, stock] : record.stocks) {
        if (stock.filled != filled[key]) {
            fail(seen, fmt::format("has {} of {} filled, not {}", stock.filled, key, filled[key]));
        }
        if (stock.sent != sent[key]) {
            fail(seen, fmt::format("has sent {} of {}, not {}", stock.sent, key, sent[key]));
        }
    }
}

}  // namespace lab
