#include "bench/workload.h"

#include "platform/utils/keys.h"

#include <boost/make_shared.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace bench {

using namespace vexservice;

namespace {

constexpr int SESSION_BEGIN = 9 * 3600 + 30 * 60;
constexpr int SESSION_SECONDS = 4 * 3600;
constexpr std::size_t RECENT = 5000;  ///< a repeat is one of so many earlier reports of its kind

double onTick(double price) { return std::round(price * 100.0) / 100.0; }

class CDayMaker {
public:
    explicit CDayMaker(Workload& workload)
        : m_workload(workload), m_random(workload.size.seed), m_size(workload.size) {}

    void make() {
        std::size_t orders = m_size.orderReports;
        std::size_t deals = m_size.dealReports;
        const std::size_t all = orders + deals;
        m_workload.reports.reserve(all);
        while (orders + deals > 0) {
            m_nSecond = static_cast<int>(static_cast<double>(m_workload.reports.size()) /
                                         static_cast<double>(all) * SESSION_SECONDS);
            const bool isOrder = m_random() % (orders + deals) < orders;
            auto& recent = isOrder ? m_recentOrders : m_recentDeals;
            const std::size_t at = m_workload.reports.size();
            if (below(100) < 5 && !recent.empty()) {
                repeat(recent[below(std::min(recent.size(), RECENT))]);
            } else if (isOrder) {
                reportOrder();
            } else {
                reportDeal();
            }
            if (recent.size() < RECENT) {
                recent.push_back(at);
            } else {
                recent[at % RECENT] = at;
            }
            --(isOrder ? orders : deals);
        }
    }

private:
    std::size_t below(std::size_t bound) { return m_random() % bound; }

    Report anywhere() {
        Report ids;
        ids.account = static_cast<std::uint32_t>(below(m_size.accounts));
        ids.strategy = static_cast<std::uint32_t>(1 + below(m_size.strategies));
        ids.stock = static_cast<std::uint32_t>(below(m_size.stocks));
        return ids;
    }

    // Reports the same figures again, in a record of its own.
    void repeat(std::size_t at) {
        Report again = m_workload.reports[at];
        if (again.order) again.order = boost::make_shared<COrderDetail>(*again.order);
        if (again.deal) again.deal = boost::make_shared<CDealDetail>(*again.deal);
        m_workload.reports.push_back(std::move(again));
    }

    void reportOrder() {
        if (m_open.empty() || below(100) < 40) {
            Report fresh = anywhere();
            fresh.order = makeOrder(m_workload, fresh, ++m_nKey);
            fresh.order->m_nVolume = static_cast<int>(100 * (1 + below(50)));
            m_open.push_back(fresh);
            m_workload.reports.push_back(std::move(fresh));
            return;
        }
        const std::size_t at = below(m_open.size());
        Report next = m_open[at];
        auto order = boost::make_shared<COrderDetail>(*next.order);
        const int left = order->m_nVolume - order->m_nTradedVolume;
        if (below(100) < 20) {
            order->m_eStatus = order->m_nTradedVolume ? STATUS_PART_CANCEL : STATUS_CANCELED;
        } else {
            const int fill =
                static_cast<int>(100 * (1 + below(static_cast<std::size_t>(left / 100))));
            order->m_nTradedVolume += fill;
            order->m_dTradedAmount += fill * order->m_dPrice;
            order->m_eStatus = fill == left ? STATUS_SUCCEEDED : STATUS_PART_SUCC;
        }
        next.order = order;
        m_open[at] = next;
        if (!isRunningStatus(order->m_eStatus)) {
            m_open[at] = m_open.back();
            m_open.pop_back();
        }
        m_workload.reports.push_back(std::move(next));
    }

    void reportDeal() {
        Report fresh = m_open.empty() ? anywhere() : m_open[below(m_open.size())];
        fresh.order.reset();
        fresh.deal = makeDeal(m_workload, fresh, ++m_nKey, m_nSecond);
        fresh.deal->m_eDirection = below(2) ? ENTRUST_BUY : ENTRUST_SELL;
        fresh.deal->m_nVolume = static_cast<int>(100 * (1 + below(20)));
        fresh.deal->m_dAmount = fresh.deal->m_nVolume * fresh.deal->m_dPrice;
        m_workload.reports.push_back(std::move(fresh));
    }

    Workload& m_workload;
    std::mt19937_64 m_random;
    const Size& m_size;
    std::vector<Report> m_open;
    std::vector<std::size_t> m_recentOrders;
    std::vector<std::size_t> m_recentDeals;
    std::uint64_t m_nKey = m_size.firstKey;
    int m_nSecond = 0;
};

}  // namespace

Workload makeWorld(const Size& size, const std::string& tradeDate) {
    Workload world;
    world.tradeDate = tradeDate;
    world.size = size;
    for (std::uint32_t i = 0; i < size.accounts; ++i) {
        paper::Account account;
        account.key = fmt::format("2____10371____{:04}____49____", i);
        account.id = fmt::format("{:04}", i);
        account.fee = CStkExchangeRateLimit{0.00025, 5.0, 0.00001, 0.0005};
        world.accounts.push_back(account);
        auto info = boost::make_shared<CAccountInfo>();
        info->m_strKey = account.key;
        info->m_strID = account.id;
        world.accountInfos.push_back(info);
    }
    world.strategies.emplace_back();
    world.carriers.emplace_back();
    for (std::uint32_t i = 0; i < size.strategies; ++i) {
        world.strategies.push_back(fmt::format("strategy-{:02}", i));
        auto carrier = boost::make_shared<CCommandRecord>();
        carrier->m_strStrategyName = world.strategies.back();
        world.carriers.push_back(carrier);
    }
    std::mt19937_64 random(size.seed);
    for (std::uint32_t i = 0; i < size.stocks; ++i) {
        const bool shanghai = i < size.stocks / 2;
        paper::Instrument stock;
        stock.market = fmt::format("{}", shanghai ? "SH" : "SZ");
        stock.code = fmt::format("{:06}", shanghai ? 600000 + i : i);
        stock.reference = onTick(5.0 + static_cast<double>(random() % 5500) / 100.0);
        stock.limitUp = onTick(stock.reference * 1.1);
        stock.limitDown = onTick(stock.reference * 0.9);
        world.prices.push_back(onTick(stock.reference * 1.01));
        world.stocks.push_back(stock);
        world.stockKeys.push_back(utils::zorStockKey(stock.market, stock.code));
    }
    return world;
}

boost::shared_ptr<COrderDetail> makeOrder(const Workload& workload, const Report& ids,
                                          std::uint64_t key) {
    const paper::Instrument& stock = workload.stocks[ids.stock];
    auto order = boost::make_shared<COrderDetail>();
    order->m_nRecordKey = key;
    order->m_eDirection = key % 2 ? ENTRUST_BUY : ENTRUST_SELL;
    order->m_eStatus = STATUS_REPORTED;
    order->m_nVolume = 1000;
    order->m_dPrice = onTick(stock.reference * (0.95 + static_cast<double>(key % 101) / 1000.0));
    order->m_strMarket = stock.market;
    order->m_strCode = stock.code;
    order->m_strTradeDate = workload.tradeDate;
    order->m_strSysID = std::to_string(key);
    order->m_pAccountInfo = workload.accountInfos[ids.account];
    order->m_pCommand = workload.carriers[ids.strategy];
    return order;
}

boost::shared_ptr<CDealDetail> makeDeal(const Workload& workload, const Report& ids,
                                        std::uint64_t key, int secondOfSession) {
    const paper::Instrument& stock = workload.stocks[ids.stock];
    // The session has a break from 11:30 to 13:00.
    int second = SESSION_BEGIN + secondOfSession;
    if (second > 11 * 3600 + 30 * 60) second += 90 * 60;
    auto deal = boost::make_shared<CDealDetail>();
    deal->m_nRecordKey = key;
    deal->m_nVolume = 100;
    deal->m_dPrice = onTick(stock.reference * (0.95 + static_cast<double>(key % 101) / 1000.0));
    deal->m_dAmount = deal->m_nVolume * deal->m_dPrice;
    deal->m_strMarket = stock.market;
    deal->m_strCode = stock.code;
    deal->m_strTradeDate = workload.tradeDate;
    deal->m_strTradeTime =
        fmt::format("{:02}{:02}{:02}", second / 3600, second / 60 % 60, second % 60);
    deal->m_strDealID = std::to_string(key);
    deal->m_pAccountInfo = workload.accountInfos[ids.account];
    deal->m_pCommand = workload.carriers[ids.strategy];
    return deal;
}

Workload makeDay(const Size& size, const std::string& tradeDate) {
    Workload day = makeWorld(size, tradeDate);
    CDayMaker(day).make();
    return day;
}

Workload makeOrders(const Size& size, std::size_t ordersPerRecord) {
    Workload orders = makeWorld(size);
    std::uint64_t key = 1'000'000'000;
    for (std::size_t round = 0; round < ordersPerRecord; ++round) {
        for (Report ids; ids.account < size.accounts; ++ids.account) {
            for (ids.strategy = 1; ids.strategy <= size.strategies; ++ids.strategy) {
                for (ids.stock = 0; ids.stock < size.stocks; ++ids.stock) {
                    Report report = ids;
                    report.order = makeOrder(orders, ids, ++key);
                    // The same price every time, so that more orders do not mean more price levels.
                    report.order->m_dPrice = orders.stocks[ids.stock].reference;
                    if (round % 2) report.order->m_eStatus = STATUS_CANCELED;
                    orders.reports.push_back(std::move(report));
                }
            }
        }
    }
    return orders;
}

Workload makeTraded() {
    Workload traded = makeWorld({});
    std::uint64_t key = 2'000'000'000;  // none of a day's keys
    for (Report ids; ids.account < traded.size.accounts; ++ids.account) {
        for (ids.strategy = 1; ids.strategy <= traded.size.strategies; ++ids.strategy) {
            for (ids.stock = 0; ids.stock < traded.size.stocks; ++ids.stock) {
                Report report = ids;
                report.deal = makeDeal(traded, ids, key, static_cast<int>(key % 14'000));
                if (++key % 3 == 0) report.deal->m_eDirection = ENTRUST_SELL;
                traded.reports.push_back(std::move(report));
            }
        }
    }
    return traded;
}

}  // namespace bench
