#include "lab/model.h"

#include "lab/times.h"

#include <algorithm>
#include <utility>

namespace lab {

// ------------------------------------------------------------------------ questions

// A report that takes a final status back changes nothing.
const OrderReport& CModel::newest(const Told& told, const OrderReport& report) const {
    if (!report.runs()) return report;
    const auto final = told.finals.find(report.key);
    return final == told.finals.end() ? report : final->second;
}

bool CModel::knows(int account, int number) const {
    if (number == 0) return false;
    const Told& told = m_told[static_cast<std::size_t>(account)];
    const auto isOfCommand = [&](const auto& each) { return each.second.of.command == number; };
    return std::any_of(told.orders.begin(), told.orders.end(), isOfCommand) ||
           std::any_of(told.deals.begin(), told.deals.end(), isOfCommand);
}

const SentCommand* CModel::bySerial(int serial) const {
    for (const SentCommand& command : m_sent) {
        if (command.serial == serial) return &command;
    }
    return nullptr;
}

const OrderReport* CModel::heardOrder(int account, std::uint64_t key) const {
    const Told& told = m_told[static_cast<std::size_t>(account)];
    const auto at = told.orders.find(key);
    return at == told.orders.end() ? nullptr : &newest(told, at->second);
}

std::set<int> CModel::stocksOf(int account) const {
    const Told& told = m_told[static_cast<std::size_t>(account)];
    std::set<int> stocks;
    for (const auto& [key, report] : told.orders) stocks.insert(report.of.stock);
    for (const auto& [key, report] : told.deals) stocks.insert(report.of.stock);
    return stocks;
}

std::int64_t CModel::dealt(int account, std::uint64_t order) const {
    std::int64_t sum = 0;
    for (const auto& [key, deal] : m_told[static_cast<std::size_t>(account)].deals) {
        if (deal.order == order) sum += deal.volume;
    }
    return sum;
}

std::vector<const OrderReport*> CModel::reportsOf(const SentCommand& command,
                                                  const SentOrder& order) const {
    std::vector<const OrderReport*> reports;
    if (command.number == 0) return reports;
    const Told& told = m_told[static_cast<std::size_t>(command.pair.account)];
    for (const auto& [key, report] : told.orders) {
        if (report.of.command == command.number && report.of.stock == order.stock &&
            report.of.buys == order.buys) {
            reports.push_back(&newest(told, report));
        }
    }
    return reports;
}

// Of an order sent by a balance: what no order report accounts for.
std::int64_t CModel::unheard(const SentCommand& command, const SentOrder& order) const {
    if (command.refused || order.lost) return 0;
    std::int64_t volume = order.volume;
    for (const OrderReport* report : reportsOf(command, order)) volume -= report->volume;
    return std::max<std::int64_t>(volume, 0);
}

std::int64_t CModel::lostFrom() const {
    std::int64_t moment = 0;
    for (const SentCommand& command : m_sent) {
        for (const SentOrder& order : command.orders) {
            if (unheard(command, order) > 0) moment = std::max(moment, command.at + LOST_AFTER);
        }
    }
    return moment;
}

bool CModel::taskRuns(const Pair& pair, int stock) const {
    return std::any_of(m_tasks.begin(), m_tasks.end(), [&](const auto& each) {
        return each.second.runs && each.second.of.stock == stock && pair.holds(each.second.of);
    });
}

bool CModel::quiet(const Pair& pair, std::size_t sent) const {
    const Told& told = m_told[static_cast<std::size_t>(pair.account)];
    for (const auto& [key, report] : told.orders) {
        if (pair.holds(report.of) && newest(told, report).runs()) return false;
    }
    for (const auto& [key, task] : m_tasks) {
        if (task.runs && pair.holds(task.of)) return false;
    }
    for (std::size_t at = 0; at < std::min(sent, m_sent.size()); ++at) {
        const SentCommand& command = m_sent[at];
        if (!pair.holds(command.pair) || command.refused) continue;
        for (const SentOrder& order : command.orders) {
            if (!order.lost && reportsOf(command, order).empty()) return false;
        }
    }
    return true;
}

// ------------------------------------------------------------------------- the rule

void CModel::addHistory(const Pair& pair, int stock, Range& range) const {
    for (const Rest& rest : m_plan.rests) {
        const std::string& strategy = m_plan.strategies[static_cast<std::size_t>(rest.strategy)];
        // The whole account has no record of its own.
        if (rest.account != pair.account || rest.stock != stock || strategy != pair.strategy) {
            continue;
        }
        range.bought = rest.bought;
        range.sold = rest.sold;
    }
    const auto carried = [&](bool buys) {
        const auto at = m_carried.find({pair, stock, buys});
        return at == m_carried.end() ? 0 : at->second;
    };
    range.bought += carried(true);
    range.sold += carried(false);
}

std::int64_t CModel::restOf(const Pair& pair, int stock) const {
    Range range;
    addHistory(pair, stock, range);
    return range.difference();
}

// An order has traded the larger of its report and the deals that name it. Deals that name no
// order stand against the orders that no deal names, for each strategy and side apart.
void CModel::addTraded(const Pair& pair, int stock, Range& range) const {
    struct Sums {
        std::int64_t reported = 0;
        std::int64_t dealt = 0;
    };
    const Told& told = m_told[static_cast<std::size_t>(pair.account)];
    std::map<std::pair<std::string, bool>, Sums> loose;
    std::map<std::uint64_t, std::pair<std::int64_t, bool>> named;
    for (const auto& [key, deal] : told.deals) {
        if (deal.of.stock != stock || !pair.holds(deal.of)) continue;
        if (deal.order == 0) {
            loose[{deal.of.strategy, deal.of.buys}].dealt += deal.volume;
        } else {
            auto& [volume, buys] = named[deal.order];
            volume += deal.volume;
            buys = deal.of.buys;
        }
    }
    for (const auto& [key, heard] : told.orders) {
        if (heard.of.stock != stock || !pair.holds(heard.of)) continue;
        const OrderReport& report = newest(told, heard);
        std::int64_t done = report.traded;
        const auto deals = named.find(key);
        if (deals == named.end()) {
            loose[{report.of.strategy, report.of.buys}].reported += report.traded;
        } else {
            done = std::max(done, deals->second.first);
            deals->second.first = done;
        }
        if (!report.runs()) continue;
        (report.of.buys ? range.mayBuy : range.maySell) += report.volume - done;
    }
    for (const auto& [key, deals] : named) {
        (deals.second ? range.bought : range.sold) += deals.first;
    }
    for (const auto& [of, sums] : loose) {
        (of.second ? range.bought : range.sold) += std::max(sums.reported, sums.dealt);
    }
}

Range CModel::range(const Pair& pair, int stock, std::size_t sent) const {
    Range range;
    if (pair.history) addHistory(pair, stock, range);
    addTraded(pair, stock, range);
    for (std::size_t at = 0; at < std::min(sent, m_sent.size()); ++at) {
        if (!pair.holds(m_sent[at].pair)) continue;
        for (const SentOrder& order : m_sent[at].orders) {
            if (order.stock != stock) continue;
            (order.buys ? range.mayBuy : range.maySell) += unheard(m_sent[at], order);
        }
    }
    return range;
}

std::int64_t CModel::decide(const Pair& pair, int stock, EForm form, std::size_t sent) const {
    const Range range = this->range(pair, stock, sent);
    const Stock& of = m_plan.stocks[static_cast<std::size_t>(stock)];
    const bool sells = range.least() > 0;
    if (!sells && range.most() >= 0) return 0;
    if (taskRuns(pair, stock) || !of.detail) return 0;
    std::int64_t size = sells ? range.least() : -range.most();
    if (size < of.unit) {
        // An odd lot can be sold, and by the single form alone.
        if (!sells || form != EForm::Single) return 0;
    } else if (form != EForm::GroupedHistory && !of.anyVolume) {
        size = size / of.unit * of.unit;
    }
    return sells ? -size : size;
}

// -------------------------------------------------------------------------- figures

Volumes CModel::figures(const Pair& pair, int stock) const {
    const Told& told = m_told[static_cast<std::size_t>(pair.account)];
    Volumes sums{0, 0};
    const auto add = [&](const Origin& of, std::int64_t volume) {
        if (of.stock == stock && pair.holds(of)) (of.buys ? sums.first : sums.second) += volume;
    };
    if (m_plan.clientType == 3) {
        for (const auto& [key, report] : told.orders) add(report.of, report.traded);
    } else {
        for (const auto& [key, deal] : told.deals) add(deal.of, deal.volume);
    }
    return sums;
}

std::int64_t CModel::filled(const SentCommand& command, const SentOrder& order) const {
    if (command.number == 0) return 0;
    std::int64_t traded = 0;
    for (const OrderReport* report : reportsOf(command, order)) traded += report->traded;
    std::int64_t deals = 0;
    for (const auto& [key, deal] : m_told[static_cast<std::size_t>(command.pair.account)].deals) {
        if (deal.of.command == command.number && deal.of.stock == order.stock &&
            deal.of.buys == order.buys) {
            deals += deal.volume;
        }
    }
    return std::max(traded, deals);
}

// ------------------------------------------------------------------------- history

// A deal adds to the record of its own strategy.
void CModel::addDeals(const std::map<std::uint64_t, DealReport>& deals, const Pair& pair, int stock,
                      Range& range) {
    for (const auto& [key, deal] : deals) {
        if (deal.of.stock != stock || !deal.of.history || deal.of.strategy != pair.strategy)
            continue;
        (deal.of.buys ? range.bought : range.sold) += deal.volume;
    }
}

Volumes CModel::history(const Pair& pair, int stock) const {
    Range range;
    addHistory(pair, stock, range);
    addDeals(m_told[static_cast<std::size_t>(pair.account)].deals, pair, stock, range);
    return {range.bought, range.sold};
}

bool CModel::mayHave(const Pair& pair, int stock, const Volumes& volumes) const {
    Range least;
    addHistory(pair, stock, least);
    Range most = least;
    addDeals(m_told[static_cast<std::size_t>(pair.account)].keptDeals, pair, stock, most);
    return volumes.first >= least.bought && volumes.first <= most.bought &&
           volumes.second >= least.sold && volumes.second <= most.sold;
}

void CModel::carry(const Pair& pair, int stock, const Volumes& volumes) {
    m_carried.erase({pair, stock, true});
    m_carried.erase({pair, stock, false});
    Range rest;
    addHistory(pair, stock, rest);
    m_carried[{pair, stock, true}] = volumes.first - rest.bought;
    m_carried[{pair, stock, false}] = volumes.second - rest.sold;
}

}  // namespace lab
