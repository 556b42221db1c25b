#include "lab/model.h"

#include "lab/times.h"

#include <algorithm>
#include <utility>

// What the model is told.

namespace lab {

namespace {

template <class Map>
auto found(const Map& map, std::uint64_t key) {
    const auto at = map.find(key);
    return at == map.end() ? std::nullopt : std::optional(at->second);
}

template <class Map, class Value>
void putBack(Map& map, std::uint64_t key, const std::optional<Value>& value) {
    if (value) {
        map[key] = *value;
    } else {
        map.erase(key);
    }
}

}  // namespace

void CModel::order(const OrderReport& report, bool heard) {
    if (heard) m_last = {};
    if (!follows(report.of)) return;
    Told& told = m_told[static_cast<std::size_t>(report.of.account)];
    told.keptOrders[report.key] = report;
    if (!heard) return;
    m_last = {.account = report.of.account,
              .order = report.key,
              .report = found(told.orders, report.key),
              .final = found(told.finals, report.key),
              .guessed = told.guesses.count(report.key) > 0};
    told.orders[report.key] = report;
    if (report.runs()) return;
    told.finals[report.key] = report;
    told.guesses.erase(report.key);
}

void CModel::deal(const DealReport& report, bool heard) {
    if (heard) m_last = {};
    if (!follows(report.of)) return;
    Told& told = m_told[static_cast<std::size_t>(report.of.account)];
    told.keptDeals[report.key] = report;
    if (!heard) return;
    m_last = {.account = report.of.account,
              .deal = report.key,
              .knewDeal = told.deals.count(report.key) > 0};
    told.deals[report.key] = report;
}

void CModel::takeBack() {
    Told& told = m_told[static_cast<std::size_t>(m_last.account)];
    if (m_last.order != 0) {
        putBack(told.orders, m_last.order, m_last.report);
        putBack(told.finals, m_last.order, m_last.final);
        if (m_last.guessed) told.guesses.insert(m_last.order);
    }
    if (m_last.deal != 0 && !m_last.knewDeal) told.deals.erase(m_last.deal);
    m_last = {};
}

void CModel::mayTakeBack() {
    Told& told = m_told[static_cast<std::size_t>(m_last.account)];
    if (m_last.order != 0 && !m_last.final && told.finals.count(m_last.order) > 0)
        told.guesses.insert(m_last.order);
    m_last = {};
}

void CModel::task(std::uint64_t key, const Origin& of, bool runs) { m_tasks[key] = {of, runs}; }

void CModel::load(int account, std::int64_t now, bool whole) {
    Told& told = m_told[static_cast<std::size_t>(account)];
    told.orders = told.keptOrders;
    told.deals = told.keptDeals;
    for (const auto& [key, report] : told.orders) {
        if (report.runs()) continue;
        const bool isNew = told.finals.count(key) == 0;
        told.finals[key] = report;
        if (whole) {
            told.guesses.erase(key);
        } else if (isNew) {
            told.guesses.insert(key);
        }
    }
    for (SentCommand& command : m_sent) {
        if (command.pair.account != account || command.refused) continue;
        if (now < command.at + LOST_AFTER || knows(account, command.number)) continue;
        for (SentOrder& order : command.orders) order.lost = true;
    }
}

void CModel::trust(int account) { m_told[static_cast<std::size_t>(account)].guesses.clear(); }

bool CModel::isUnsure(int account) const {
    const Told& told = m_told[static_cast<std::size_t>(account)];
    return std::any_of(told.guesses.begin(), told.guesses.end(),
                       [&](std::uint64_t key) { return told.orders.at(key).runs(); });
}

void CModel::carryDeals() {
    for (const Told& told : m_told) {
        for (const auto& [key, deal] : told.deals) {
            if (!deal.of.history) continue;
            const Pair pair{deal.of.account, deal.of.strategy, true};
            m_carried[{pair, deal.of.stock, deal.of.buys}] += deal.volume;
        }
    }
}

void CModel::newDate() {
    for (Told& told : m_told) told = {};
    m_tasks.clear();
    m_sent.clear();
}

void CModel::restart(std::vector<SentCommand> book) {
    m_sent = std::move(book);
    for (Told& told : m_told) {
        told.orders.clear();
        told.deals.clear();
        told.finals.clear();
        told.guesses.clear();
    }
}

void CModel::answered(int serial, int number) {
    for (SentCommand& command : m_sent) {
        if (serial != 0 && command.serial == serial && command.number == 0) command.number = number;
    }
}

void CModel::refused(int serial, int number) {
    answered(serial, number);
    for (SentCommand& command : m_sent) {
        if (command.serial != serial || knows(command.pair.account, command.number)) continue;
        command.refused = true;
    }
}

}  // namespace lab
