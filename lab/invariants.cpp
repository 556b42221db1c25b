#include "lab/invariants.h"
#include "lab/times.h"

#include "linkage/core/clinkagemanager.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace lab {

using TC::EBalanceState;

Pair pairOf(const Plan& plan, const Rest& rest) {
    return {rest.account, plan.strategies[static_cast<std::size_t>(rest.strategy)], true};
}

Volumes historyOf(const Plan& plan, const TC::CLinkageManager& manager, const Rest& rest) {
    const std::string& account = plan.accounts[static_cast<std::size_t>(rest.account)];
    const auto stocks = manager.getHistoryLinkageData(account + pairOf(plan, rest).strategy);
    const auto at = stocks.find(plan.stocks[static_cast<std::size_t>(rest.stock)].key());
    if (at == stocks.end()) return {};
    const auto figures = TC::effectiveFigures(*at->second, plan.clientType == 3);
    return {figures.buyVolume, figures.sellVolume};
}

void CInvariants::fail(const Seen& seen, const std::string& what) const {
    if (m_services.isUncertain(seen.pair.account)) return;
    m_fail(fmt::format("balance {} of {} \"{}\"{}: {}", seen.record.number, seen.record.account,
                       seen.record.strategy, seen.record.history ? " (history)" : "", what));
}

bool CInvariants::asks(const Pair& pair, EForm form, bool atOnce, std::int64_t delay) {
    m_asked = {};
    m_asked.pair = pair;
    m_asked.form = form;
    m_asked.atOnce = atOnce;
    m_asked.dueAt = now() + delay;
    m_asked.taken = takes(pair, atOnce);
    return m_asked.taken;
}

CInvariants::Seen& CInvariants::seenOf(const TC::BalanceRecord& record) {
    const auto [at, isNew] = m_seen.try_emplace(record.number, m_asked);
    Seen& seen = at->second;
    if (!isNew) return seen;
    seen.date = m_nDate;
    seen.pair = {placeOf(m_plan.accounts, record.account), record.strategy, record.history};
    seen.record.number = record.number;
    seen.record.account = record.account;
    seen.record.strategy = record.strategy;
    seen.record.history = record.history;
    return seen;
}

// Balances that nobody has seen yet are of the pair that was asked for last.
std::set<std::pair<std::string, std::string>> CInvariants::changedPairs() const {
    std::set<std::pair<std::string, std::string>> pairs;
    for (const int number : m_changed) {
        const auto at = m_seen.find(number);
        const Pair& pair = (at == m_seen.end() ? m_asked : at->second).pair;
        pairs.insert({m_plan.accounts[static_cast<std::size_t>(pair.account)], pair.strategy});
    }
    return pairs;
}

void CInvariants::look(const TC::CLinkageManager& manager, bool all) {
    std::vector<TC::BalanceRecord> records;
    if (all) records = manager.getBalances();
    for (const auto& [account, strategy] : all ? decltype(changedPairs()){} : changedPairs()) {
        auto some = manager.getBalances(account, strategy);
        std::move(some.begin(), some.end(), std::back_inserter(records));
    }
    std::sort(records.begin(), records.end(),
              [](const auto& left, const auto& right) { return left.number < right.number; });
    if (!all) {
        std::erase_if(records,
                      [&](const auto& record) { return m_changed.count(record.number) == 0; });
    }
    // The reason of one may name another that is new, too.
    for (const TC::BalanceRecord& record : records) seenOf(record);
    for (const TC::BalanceRecord& record : records) {
        Seen& seen = seenOf(record);
        if (seen.date == m_nDate) lookAt(seen, record);
    }
    m_changed.clear();
    for (auto& [number, seen] : m_seen) {
        if (seen.date != m_nDate) continue;
        checkFilled(seen, seen.record);
        checkTurn(seen, seen.record);
    }
    m_nLooked = m_model.sentCount();
}

void CInvariants::lookAt(Seen& seen, const TC::BalanceRecord& record) {
    checkLife(seen, record);
    if (seen.fresh && seen.taken != (record.state != EBalanceState::Refused)) {
        fail(seen, seen.taken ? "was refused: " + record.reason : "was taken");
    }
    checkDecision(seen, record);
    const bool ends = record.state == EBalanceState::Ended &&
                      (seen.fresh || seen.record.state != EBalanceState::Ended);
    if (ends) checkRemains(seen, record);
    const bool refused = record.state == EBalanceState::Refused &&
                         (seen.fresh || seen.record.state != EBalanceState::Refused);
    if ((ends || refused) && !isTrue(seen, record)) {
        fail(seen, fmt::format("gives \"{}\" as the reason of its end", record.reason));
    }
    if (record.state == EBalanceState::Cancelling &&
        (seen.fresh || seen.record.state != EBalanceState::Cancelling)) {
        seen.cancelAt = now();
    }
    seen.record = record;
    seen.fresh = seen.restarted = false;
    seen.firstSent = CModel::ALL;
    std::string ending =
        std::string(TC::textOf(record.state)) + (record.reason.empty() ? "" : ": " + record.reason);
    std::erase_if(ending, [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
    m_endings[{seen.date, record.number}] = ending;
}

void CInvariants::lookAtFigures(const TC::CLinkageManager& manager, const Pair& pair) {
    if (pair.history || m_services.isUncertain(pair.account)) return;
    const std::string& account = m_plan.accounts[static_cast<std::size_t>(pair.account)];
    const auto figures = manager.getTradeStatDatas(account, pair.strategy);
    for (std::size_t at = 0; at < m_plan.stocks.size(); ++at) {
        const std::string key = m_plan.stocks[at].key();
        std::pair<std::int64_t, std::int64_t> has{0, 0};
        const auto record = figures.find(key);
        if (record != figures.end()) {
            const auto effective = TC::effectiveFigures(*record->second, m_plan.clientType == 3);
            has = {effective.buyVolume, effective.sellVolume};
        }
        const auto expected = m_model.figures(pair, static_cast<int>(at));
        if (has == expected) continue;
        m_fail(fmt::format("figures of {} \"{}\" {}: bought {} and sold {}, not {} and {}", account,
                           pair.strategy, key, has.first, has.second, expected.first,
                           expected.second));
    }
}

void CInvariants::lookAtHistory(const TC::CLinkageManager& manager) const {
    for (const Rest& rest : m_plan.rests) {
        if (m_services.isUncertain(rest.account)) continue;
        const Pair pair = pairOf(m_plan, rest);
        const Volumes has = historyOf(m_plan, manager, rest);
        const Volumes expected = m_model.history(pair, rest.stock);
        if (has == expected) continue;
        m_fail(fmt::format("history of {} \"{}\" {}: bought {} and sold {}, not {} and {}",
                           m_plan.accounts[static_cast<std::size_t>(rest.account)], pair.strategy,
                           m_plan.stocks[static_cast<std::size_t>(rest.stock)].key(), has.first,
                           has.second, expected.first, expected.second));
    }
}

void CInvariants::lookAtBook(const std::string& text) {
    if (m_bDiskFailed) return;
    const auto book = CBookReader(m_plan).read(text);
    for (const auto& [number, seen] : m_seen) {
        if (seen.date != m_nDate) continue;
        const auto at = book.find(number);
        if (at == book.end()) {
            fail(seen, "is not in the book");
            continue;
        }
        const TC::BalanceRecord& line = at->second.record;
        const TC::BalanceRecord& now = seen.record;
        const bool agree = line.state == now.state && line.commands == now.commands &&
                           line.account == now.account && line.strategy == now.strategy &&
                           line.history == now.history && line.asked == now.asked &&
                           line.ended == now.ended && line.rounds == now.rounds &&
                           line.reason == now.reason && line.stocks == now.stocks &&
                           line.cancelledOrders == now.cancelledOrders &&
                           line.cancelledTasks == now.cancelledTasks;
        if (!agree) fail(seen, "the book tells something else than getBalances");
    }
}

void CInvariants::restarted(const std::map<int, BookEntry>& book) {
    const std::map<int, Seen> before = std::exchange(m_seen, {});
    m_changed.clear();
    for (const auto& [number, entry] : book) {
        Seen& seen = m_seen[number];
        seen.record = entry.record;
        seen.pair = {placeOf(m_plan.accounts, entry.record.account), entry.record.strategy,
                     entry.record.history};
        seen.form = entry.form;
        seen.atOnce = entry.atOnce;
        seen.fresh = false;
        seen.restarted = true;
        seen.date = m_nDate;
        const auto known = before.find(number);
        if (known != before.end()) seen.tasks = known->second.tasks;
        for (const SentCommand& command : entry.commands) {
            if (command.round != entry.record.rounds) continue;
            seen.failed = m_services.failed(command.at, command.at);
            for (const SentOrder& order : command.orders) {
                seen.planned[order.stock] += order.buys ? order.volume : -order.volume;
            }
        }
    }
    m_nLooked = m_model.sentCount();
    // What waits for a disk that failed is gone with the process.
    m_bDiskFailed = false;
}

void CInvariants::newDate(bool another) {
    for (auto& [number, seen] : m_seen) {
        if (seen.date != m_nDate || seen.record.state == EBalanceState::Ended ||
            seen.record.state == EBalanceState::Refused) {
            continue;
        }
        m_endings[{seen.date, number}] = "ended: new trading date";
    }
    m_nDateAt = now();
    if (another) ++m_nDate;
    m_nLooked = another ? 0 : m_model.sentCount();
}

std::map<std::string, long> CInvariants::endings() const {
    std::map<std::string, long> counts;
    for (const auto& [number, ending] : m_endings) ++counts[ending];
    return counts;
}

}  // namespace lab
