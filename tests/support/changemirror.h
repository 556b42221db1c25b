#pragma once

#include "linkage/balance/linkagechanges.h"
#include "linkage/core/clinkagemanager.h"

#include <fmt/format.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>

namespace tests {

/// What a screen keeps that asks for changes alone.
class CChangeMirror {
public:
    using Pair = std::pair<std::string, std::string>;  ///< account, strategy
    using Record =
        std::tuple<std::string, std::string, std::string, std::uint64_t>;  ///< account,
                                                                           ///< date, stock, key

    explicit CChangeMirror(std::size_t most = TC::CHANGES_AT_ONCE) : m_nMost(most) {}

    /// Asks once. True when there is more.
    bool ask(TC::CLinkageManager& manager) {
        const TC::LinkageChanges changes = manager.getChanges(m_cursor, m_nMost);
        take(changes);
        return changes.more;
    }
    /// Asks until all is told.
    void catchUp(TC::CLinkageManager& manager) {
        while (ask(manager)) {
        }
    }

    void take(const TC::LinkageChanges& changes) {
        last = changes;
        if (changes.everything) forgetAll();
        if (changes.tasksDropped) tasks.clear();
        for (const std::string& account : changes.droppedAccounts) forget(account);
        for (const auto& each : changes.goneOrders) orders.erase(keyOf(each));
        for (const auto& each : changes.goneDeals) deals.erase(keyOf(each));
        for (const auto& each : changes.pairs) put(pairs, Pair{each.account, each.strategy}, each);
        for (const auto& each : changes.figures) {
            put(figures, std::tuple(each.account, each.strategy, each.stock), each.record);
        }
        for (const auto& each : changes.stocks) put(stocks, each.stock, each);
        for (const auto& each : changes.orders) put(orders, keyOf(each), each.report);
        for (const auto& each : changes.deals) put(deals, keyOf(each), each.report);
        for (const auto& each : changes.tasks) {
            put(tasks, std::pair(each.account, each.report->recordKey()), each.report);
        }
        for (const auto& each : changes.balances) put(balances, each.number, each);
        m_inAnswer.clear();
    }

    template <class Report>
    static Record keyOf(const std::string& account, const Report& report) {
        return {account, report.m_strTradeDate, report.m_strMarket + report.m_strCode,
                report.recordKey()};
    }

    std::map<Pair, TC::ChangedPair> pairs;
    std::map<std::tuple<std::string, std::string, std::string>,
             boost::shared_ptr<TC::LinkagePeriodExtData>>
        figures;
    std::map<std::string, TC::ChangedStock> stocks;
    std::map<Record, boost::shared_ptr<vexservice::COrderDetail>> orders;
    std::map<Record, boost::shared_ptr<vexservice::CDealDetail>> deals;
    std::map<std::pair<std::string, std::uint64_t>, boost::shared_ptr<vexservice::CTaskDetail>>
        tasks;
    std::map<int, TC::BalanceRecord> balances;

    TC::LinkageChanges last;  ///< the newest answer
    std::string twice;        ///< something that stood in one answer twice

private:
    template <class Changed>
    static Record keyOf(const Changed& changed) {
        return keyOf(changed.account, *changed.report);
    }

    template <class Key, class Value>
    void put(std::map<Key, Value>& kept, const Key& key, const Value& value) {
        Value& place = kept[key];
        if (!m_inAnswer.insert(&place).second && twice.empty()) {
            twice = fmt::format("record {} of {}", m_inAnswer.size(), typeid(Value).name());
        }
        place = value;
    }

    void forgetAll() {
        pairs.clear();
        figures.clear();
        stocks.clear();
        orders.clear();
        deals.clear();
        tasks.clear();
        balances.clear();
    }

    void forget(const std::string& account) {
        const auto drop = [&](auto& kept, auto accountOf) {
            std::erase_if(kept, [&](const auto& each) { return accountOf(each.first) == account; });
        };
        const auto first = [](const auto& key) { return std::get<0>(key); };
        drop(pairs, first);
        drop(figures, first);
        drop(orders, first);
        drop(deals, first);
    }

    const std::size_t m_nMost;
    TC::ChangeCursor m_cursor;
    std::set<const void*> m_inAnswer;
};

}  // namespace tests
