#include "desk/market.h"
#include "desk/picturetaker.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/orderrule.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/keys.h"

#include <algorithm>
#include <functional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace desk {

namespace {

/// Longer tables would help nobody, and each picture copies them.
constexpr std::size_t LONGEST_TABLE = 300;

OrderRow orderRow(std::uint64_t key, const vexservice::COrderDetail& order, bool buys) {
    return {key,
            buys,
            vexservice::isRunningStatus(order.m_eStatus),
            order.m_dPrice,
            order.m_nVolume,
            order.m_nTradedVolume,
            order.m_eStatus};
}

template <class Row, class Less>
void keepFirst(std::vector<Row>& rows, Less less) {
    const std::size_t kept = std::min(rows.size(), LONGEST_TABLE);
    std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(kept), rows.end(),
                      less);
    rows.resize(kept);
}

RunningRow runningRow(const CDayRecords::RunningOrders::value_type& entry) {
    const auto& id = entry.first;
    const CDayRecords::OrderPtr& order = entry.second.order;
    const std::string stock = utils::zorStockKey(order->m_strMarket, order->m_strCode);
    const auto detail = detailOf(stock);
    const bool buys = vexservice::isBuyByDirection(order->m_eDirection, order->m_eOffsetFlag);
    return {id.first, TC::strategyOf(order->m_pCommand.get()), stock,
            detail ? detail->m_strName : std::string(), orderRow(id.second, *order, buys)};
}

}  // namespace

/// The running orders of the accounts that are followed, and the events of rejected ones.
void CPictureTaker::takeRunning(TC::CLinkageManager& manager, Picture& picture) {
    m_records.update(
        manager, picture,
        [&](const std::string& account, std::uint64_t key, const vexservice::COrderDetail& order) {
            m_events.noteRejected({account, key},
                                  utils::zorStockKey(order.m_strMarket, order.m_strCode),
                                  order.m_strRemark, picture);
        });
    m_bound.clear();
    std::set<std::string> accounts;
    for (const auto& account : manager.getAccounts()) accounts.insert(account->m_strKey);
    using Entry = CDayRecords::RunningOrders::value_type;
    std::vector<const Entry*> running;
    running.reserve(m_records.running().size());
    for (Entry& entry : m_records.running()) {
        const auto& id = entry.first;
        const CDayRecords::OrderPtr& order = entry.second.order;
        if (!accounts.count(id.first)) continue;
        std::string& seen = entry.second.seen;
        if (seen.empty()) seen = seenAt(id.first, id.second, picture);
        running.push_back(&entry);
        const bool buys = vexservice::isBuyByDirection(order->m_eDirection, order->m_eOffsetFlag);
        if (buys && order->m_dPrice > 0.0)
            m_bound[id.first] += order->m_dPrice * (order->m_nVolume - order->m_nTradedVolume);
    }
    keepFirst(running, [](const Entry* left, const Entry* right) {
        return std::tie(right->second.seen, right->first.second) <
               std::tie(left->second.seen, left->first.second);
    });
    picture.running.reserve(running.size());
    for (const Entry* entry : running) {
        picture.running.push_back(runningRow(*entry));
        picture.running.back().order.seen = entry->second.seen;
    }
}

/// An order whose report nobody heard, because a load of the account brought it, was seen when the
/// first picture has it. Without a pace that is no time of the day.
std::string CPictureTaker::seenAt(const std::string& account, std::uint64_t key,
                                  const Picture& picture) {
    std::string heard = m_witness.arrivals.firstSeen({account, key});
    if (!heard.empty()) return heard;
    const std::string now = picture.paced ? picture.time : std::string();
    return m_seen.emplace(std::pair(account, key), now).first->second;
}

void CPictureTaker::takeOrders(Picture& picture) {
    std::map<std::int32_t, LevelRow, std::greater<>> levels;
    m_records.eachOrder(
        picture.selection, [&](std::uint64_t key, const vexservice::COrderDetail& order) {
            const bool buys = vexservice::isBuyByDirection(order.m_eDirection, order.m_eOffsetFlag);
            picture.orders.push_back(orderRow(key, order, buys));
            if (!vexservice::isRunningStatus(order.m_eStatus)) return;
            const int lots =
                TC::openLots(order.m_eStatus, order.m_nVolume, order.m_nTradedVolume,
                             vexservice::getTradeMinUnit(order.m_strMarket, order.m_strCode));
            if (lots == 0) return;
            LevelRow& level = levels[TC::priceLevel(order.m_dPrice, picture.tick)];
            level.price = order.m_dPrice;
            level.lots += lots;
            (buys ? level.buys : level.sells) = true;
        });
    keepFirst(picture.orders, [](const OrderRow& left, const OrderRow& right) {
        return std::pair(right.running, right.key) < std::pair(left.running, left.key);
    });
    for (OrderRow& row : picture.orders)
        row.seen = seenAt(picture.selection.account, row.key, picture);
    for (const auto& [ticks, level] : levels) {
        if (picture.levels.size() == LONGEST_TABLE) break;
        picture.levels.push_back(level);
    }
}

void CPictureTaker::takeDeals(Picture& picture) const {
    std::map<std::pair<int, bool>, std::pair<std::int64_t, double>> minutes;  // volume, amount
    std::vector<std::pair<std::uint64_t, const vexservice::CDealDetail*>> newest;
    m_records.eachDeal(
        picture.selection, [&](std::uint64_t key, const vexservice::CDealDetail& deal) {
            newest.emplace_back(key, &deal);
            const auto when = minuteOf(deal.m_strTradeTime);
            if (!when) return;  // the table shows the deal, but the chart cannot place it
            const bool buys = vexservice::isBuyByDirection(deal.m_eDirection, deal.m_eOffsetFlag);
            auto& minute = minutes[{*when, buys}];
            minute.first += deal.m_nVolume;
            minute.second += deal.m_dPrice * deal.m_nVolume;
        });
    for (const auto& [when, total] : minutes) {
        if (total.first <= 0) continue;
        picture.dots.push_back({when.first, when.second,
                                total.second / static_cast<double>(total.first), total.first});
    }
    keepFirst(newest, [](const auto& left, const auto& right) {
        return std::tie(right.second->m_strTradeTime, right.first) <
               std::tie(left.second->m_strTradeTime, left.first);
    });
    picture.deals.reserve(newest.size());
    for (const auto& [key, deal] : newest) {
        const bool buys = vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
        picture.deals.push_back({key, deal->m_strTradeTime, buys, deal->m_dPrice, deal->m_nVolume,
                                 deal->m_dAmount, TC::isHistoryBalance(deal->m_pCommand.get())});
    }
}

void CPictureTaker::takeTasks(TC::CLinkageManager& manager, Picture& picture) {
    const Selection& chosen = picture.selection;
    for (const auto& [account, tasks] : manager.getTaskDetails(chosen.stock, {chosen.account})) {
        for (const auto& [key, task] : tasks) {
            const bool belongs = chosen.strategy.empty() ||
                                 TC::strategyOf(task->m_pCommand.get()) == chosen.strategy;
            if (!belongs) continue;
            TaskRow row{key, task->m_eStatus, task->m_bServerTask, 0,
                        manager.getTaskItemFinishNumber(task, chosen.stock)};
            for (const auto& item : task->m_items) {
                if (utils::zorStockKey(item->m_strMarket, item->m_strCode) == chosen.stock)
                    row.volume += item->m_nVolume;
            }
            picture.tasks.push_back(row);
        }
    }
    keepFirst(picture.tasks,
              [](const TaskRow& left, const TaskRow& right) { return right.key < left.key; });
}

}  // namespace desk
