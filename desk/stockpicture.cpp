#include "desk/market.h"
#include "desk/picturetaker.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/orderrule.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/keys.h"
#include "replay/times.h"

#include <algorithm>
#include <utility>

namespace desk {

namespace {

/// Longer tables would help nobody, and each picture copies them.
constexpr std::size_t LONGEST_TABLE = 300;

const std::string& strategyOf(const boost::shared_ptr<vexservice::CCommandRecord>& command) {
    static const std::string NONE;
    if (!command) return NONE;
    return command->m_strStrategyName.empty() ? command->m_strStrategyName2
                                              : command->m_strStrategyName;
}

/// The empty strategy stands for all of the account.
bool belongs(const boost::shared_ptr<vexservice::CCommandRecord>& command,
             const std::string& strategy) {
    return strategy.empty() || strategyOf(command) == strategy;
}

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

}  // namespace

/// Whether the chosen pair has an order or a deal in a stock today.
bool CPictureTaker::hasRecords(TC::CLinkageManager& manager, const Picture& picture,
                               const std::string& stock) {
    const int day = replay::dayNumber(picture.date);
    const Selection& chosen = picture.selection;
    const auto any = [&chosen](const auto& byAccount) {
        for (const auto& [account, records] : byAccount) {
            for (const auto& [key, record] : records) {
                if (belongs(record->m_pCommand, chosen.strategy)) return true;
            }
        }
        return false;
    };
    return any(manager.getOrderDetails(day, stock, {chosen.account})) ||
           any(manager.getDealDetails(day, stock, {chosen.account}));
}

/// Walks over all orders of the day: those that run are listed, those that were rejected are
/// events.
void CPictureTaker::takeRunning(TC::CLinkageManager& manager, Picture& picture) {
    m_bound.clear();
    std::set<std::string> accounts;
    for (const auto& account : manager.getAccounts()) accounts.insert(account->m_strKey);
    for (const std::string& stock : manager.getStocks()) {
        const auto detail = detailOf(stock);
        for (const auto& [account, orders] :
             manager.getOrderDetails(replay::dayNumber(picture.date), stock, accounts)) {
            for (const auto& [key, order] : orders) {
                if (order->m_eStatus == vexservice::STATUS_JUNK)
                    m_events.noteRejected({account, key}, stock, order->m_strRemark, picture);
                if (!vexservice::isRunningStatus(order->m_eStatus)) continue;
                const bool buys =
                    vexservice::isBuyByDirection(order->m_eDirection, order->m_eOffsetFlag);
                if (buys && order->m_dPrice > 0.0)
                    m_bound[account] +=
                        order->m_dPrice * (order->m_nVolume - order->m_nTradedVolume);
                RunningRow row{account, strategyOf(order->m_pCommand), stock,
                               detail ? detail->m_strName : std::string(),
                               orderRow(key, *order, buys)};
                row.order.seen = seenAt(account, key, picture);
                picture.running.push_back(std::move(row));
            }
        }
    }
    keepFirst(picture.running, [](const RunningRow& left, const RunningRow& right) {
        return std::pair(right.order.seen, right.order.key) <
               std::pair(left.order.seen, left.order.key);
    });
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

void CPictureTaker::takeOrders(TC::CLinkageManager& manager, Picture& picture) {
    const Selection& chosen = picture.selection;
    std::map<std::int32_t, LevelRow, std::greater<>> levels;
    for (const auto& [account, orders] :
         manager.getOrderDetails(replay::dayNumber(picture.date), chosen.stock, {chosen.account})) {
        for (const auto& [key, order] : orders) {
            if (!belongs(order->m_pCommand, chosen.strategy)) continue;
            const bool buys =
                vexservice::isBuyByDirection(order->m_eDirection, order->m_eOffsetFlag);
            const int lots =
                TC::openLots(order->m_eStatus, order->m_nVolume, order->m_nTradedVolume,
                             vexservice::getTradeMinUnit(order->m_strMarket, order->m_strCode));
            if (lots != 0) {
                LevelRow& level = levels[TC::priceLevel(order->m_dPrice, picture.tick)];
                level.price = order->m_dPrice;
                level.lots += lots;
                (buys ? level.buys : level.sells) = true;
            }
            picture.orders.push_back(orderRow(key, *order, buys));
        }
    }
    keepFirst(picture.orders, [](const OrderRow& left, const OrderRow& right) {
        return std::pair(right.running, right.key) < std::pair(left.running, left.key);
    });
    for (OrderRow& row : picture.orders) row.seen = seenAt(chosen.account, row.key, picture);
    for (const auto& [ticks, level] : levels) {
        if (picture.levels.size() == LONGEST_TABLE) break;
        picture.levels.push_back(level);
    }
}

void CPictureTaker::takeDeals(TC::CLinkageManager& manager, Picture& picture) {
    const Selection& chosen = picture.selection;
    std::map<std::pair<int, bool>, std::pair<std::int64_t, double>> minutes;  // volume, amount
    for (const auto& [account, deals] :
         manager.getDealDetails(replay::dayNumber(picture.date), chosen.stock, {chosen.account})) {
        for (const auto& [key, deal] : deals) {
            if (!belongs(deal->m_pCommand, chosen.strategy)) continue;
            const bool buys = vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
            picture.deals.push_back({key, deal->m_strTradeTime, buys, deal->m_dPrice,
                                     deal->m_nVolume, deal->m_dAmount,
                                     TC::isHistoryBalance(deal->m_pCommand.get())});
            const auto when = minuteOf(deal->m_strTradeTime);
            if (!when) continue;  // the table shows the deal, but the chart cannot place it
            auto& minute = minutes[{*when, buys}];
            minute.first += deal->m_nVolume;
            minute.second += deal->m_dPrice * deal->m_nVolume;
        }
    }
    for (const auto& [when, total] : minutes) {
        if (total.first <= 0) continue;
        picture.dots.push_back({when.first, when.second,
                                total.second / static_cast<double>(total.first), total.first});
    }
    keepFirst(picture.deals, [](const DealRow& left, const DealRow& right) {
        return std::pair(right.time, right.key) < std::pair(left.time, left.key);
    });
}

void CPictureTaker::takeTasks(TC::CLinkageManager& manager, Picture& picture) {
    const Selection& chosen = picture.selection;
    for (const auto& [account, tasks] : manager.getTaskDetails(chosen.stock, {chosen.account})) {
        for (const auto& [key, task] : tasks) {
            if (!belongs(task->m_pCommand, chosen.strategy)) continue;
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
