#include "paper/commandcenter.h"
#include "tests/rules/papermarket.h"

#include <gtest/gtest.h>

#include <mongo/bson/bson.h>

#include <limits>
#include <map>
#include <random>

/// The matching engine of the paper exchange, seen through its reports.
namespace {

using namespace tests;

TEST(PaperExchange, matchesAnArrivingOrderWithTheBook) {
    const Levels asks = {{10.01, 300}, {10.02, 500}, {10.05, 1000}};
    const Levels bids = {{10.00, 200}, {9.99, 400}};
    const double unknown = CPriceData::UNKNOWN;
    struct Row {
        const char* name;
        double last;
        Levels asks, bids;
        bool buys;
        std::int64_t volume;
        double price;
        EPriceType type;
        const char* said;  // after "o1:49:0 o1:50:0"
    };
    const Row rows[] = {
        {"within the first level", 10, asks, bids, BUY, 200, 10.01, PRTP_FIX,
         " d1:200@10.01 o1:56:200"},
        {"two levels, rest stands", 10, asks, bids, BUY, 1000, 10.02, PRTP_FIX,
         " d1:300@10.01 o1:55:300 d2:500@10.02 o1:55:800"},
        {"better than its price", 10, asks, bids, BUY, 800, 10.04, PRTP_FIX,
         " d1:300@10.01 o1:55:300 d2:500@10.02 o1:56:800"},
        {"sell two levels", 10, asks, bids, SELL, 600, 9.99, PRTP_FIX,
         " d1:200@10 o1:55:200 d2:400@9.99 o1:56:600"},
        {"buy below the asks stands", 10, asks, bids, BUY, 100, 10.0, PRTP_FIX, ""},
        {"sell above the bids stands", 10, asks, bids, SELL, 100, 10.01, PRTP_FIX, ""},
        {"market takes all levels", 10, asks, bids, BUY, 1800, 0, PRTP_MARKET,
         " d1:300@10.01 o1:55:300 d2:500@10.02 o1:55:800 d3:1000@10.05 o1:56:1800"},
        {"rest of a market order is cancelled", 10, asks, bids, SELL, 700, 0, PRTP_MARKET,
         " d1:200@10 o1:55:200 d2:400@9.99 o1:55:600 o1:53:600"},
        {"market without other side", 10, asks, {}, SELL, 700, 0, PRTP_MARKET, " o1:54:0"},
        {"protected market order stands at its price", 10, asks, bids, BUY, 500, 10.01, PRTP_MARKET,
         " d1:300@10.01 o1:55:300"},
        {"no book, price reached", 10, {}, {}, BUY, 5000, 10.0, PRTP_FIX, " d1:5000@10 o1:56:5000"},
        {"no book, better than last",
         10,
         {},
         {},
         SELL,
         5000,
         9.5,
         PRTP_FIX,
         " d1:5000@10 o1:56:5000"},
        {"no book, price not reached", 10, {}, {}, BUY, 100, 9.99, PRTP_FIX, ""},
        {"no book, nothing known", unknown, {}, {}, BUY, 100, 99, PRTP_FIX, ""},
        {"no book, market", 10, {}, {}, BUY, 100, 0, PRTP_MARKET, " o1:54:0"},
        {"own side of the book only", 10, {}, bids, BUY, 100, 10.5, PRTP_FIX, ""},
        {"empty levels are no book",
         10,
         {{0, 0}},
         {{9.9, 0}},
         BUY,
         100,
         10.0,
         PRTP_FIX,
         " d1:100@10 o1:56:100"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Market market;
        market.price(row.last, row.asks, row.bids);
        market.send(row.buys, row.volume, row.price, row.type);
        EXPECT_EQ(market.said(), std::string("o1:49:0 o1:50:0") + row.said);
    }
}

TEST(PaperExchange, rejectsWhatCannotBeTraded) {
    struct Row {
        const char* name;
        bool buys;
        std::int64_t volume;
        double price;
        EPriceType type;
        bool rejected;
    };
    const Row rows[] = {
        {"at the upper limit", BUY, 100, 11.0, PRTP_FIX, false},
        {"above the upper limit", BUY, 100, 11.01, PRTP_FIX, true},
        {"at the lower limit", SELL, 100, 9.0, PRTP_FIX, false},
        {"below the lower limit", SELL, 100, 8.99, PRTP_FIX, true},
        {"protected market order outside", BUY, 100, 11.01, PRTP_MARKET, true},
        {"no price", BUY, 100, 0.0, PRTP_COMPETE, true},
        {"negative price", BUY, 100, -1.0, PRTP_FIX, true},
        {"no volume", BUY, 0, 10.0, PRTP_FIX, true},
        {"volume beyond an order's", SELL, 3'000'000'000, 10.0, PRTP_FIX, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Market market;
        market.limits(9.0, 11.0);
        market.send(row.buys, row.volume, row.price, row.type);
        EXPECT_EQ(market.said(), row.rejected ? "o1:49:0 o1:50:0 o1:57:0" : "o1:49:0 o1:50:0");
    }
}

TEST(PaperExchange, countsTheLargestAmountThereCanBe) {
    Market market;
    market.price(1e8);
    market.send(BUY, std::numeric_limits<int>::max(), 1e8);
    EXPECT_DOUBLE_EQ(market.orders[1].m_dTradedAmount, 2147483647e8);
    EXPECT_DOUBLE_EQ(market.deals.at(0).m_dAmount, 2147483647e8);
}

TEST(PaperExchange, servesRestingOrdersOldestFirstFromWhatAPriceEventOffers) {
    Market market;
    market.send(BUY, 500, 10.00);
    market.send(BUY, 300, 10.05);
    market.send(SELL, 100, 10.50);
    market.said();
    market.price(10.0, {{10.00, 600}, {10.04, 100}});
    EXPECT_EQ(market.said(), "d1:500@10 o1:56:500 d2:100@10 o2:55:100 d3:100@10.04 o2:55:200");
    // What was taken stays taken: the book is empty until the next quote.
    market.send(BUY, 100, 10.05);
    EXPECT_EQ(market.said(), "o4:49:0 o4:50:0");
    market.price(10.5, {}, {{10.50, 100}});
    EXPECT_EQ(market.said(), "d4:100@10.5 o3:56:100");
    market.price(10.0, {{10.01, 150}});
    EXPECT_EQ(market.said(), "d5:100@10.01 o2:56:300 d6:50@10.01 o4:55:50");
    EXPECT_DOUBLE_EQ(market.orders[2].m_dTradedAmount, 1000.0 + 1004.0 + 1001.0);
    EXPECT_EQ(market.deals.back().m_strTradeTime, "093000");
    EXPECT_DOUBLE_EQ(market.deals.back().m_dAmount, 500.5);
}

TEST(PaperExchange, answersACancelAfterOneSecondUnlessTheOrderIsFinal) {
    Market market;
    market.send(BUY, 500, 10.00);
    market.send(BUY, 500, 10.00);
    market.send(BUY, 500, 10.00);
    market.price(10.0, {{10.00, 700}});
    market.said();
    market.cancel(2);
    market.cancel(3);
    market.cancel(3);
    market.cancel(1);
    market.loop.advanceSeconds(0.999999);
    EXPECT_EQ(market.said(), "") << "not before the second is over";
    market.loop.advanceSeconds(0.000001);
    EXPECT_EQ(market.said(), "o2:53:200 o3:54:0") << "once each, and not the filled order 1";
    market.cancel(1);
    market.send(SELL, 100, 10.1);
    market.said();
    market.cancel(4);
    market.loop.advanceSeconds(0.5);
    market.price(10.1, {}, {{10.1, 100}});
    EXPECT_EQ(market.said(), "d3:100@10.1 o4:56:100");
    market.loop.advanceSeconds(10);
    EXPECT_EQ(market.said(), "") << "filled while the cancel was under way";
    market.price(10.0, {{9.0, 9999}});
    EXPECT_EQ(market.said(), "") << "a cancelled order trades no more";
}

TEST(PaperExchange, cancelsOrdersThatOnlyTheDataCenterKnows) {
    Market market;
    const auto report = [&](std::uint64_t key, EEntrustStatus status, int traded) {
        auto order = boost::make_shared<COrderDetail>();
        order->m_nRecordKey = key;
        order->m_eStatus = status;
        order->m_nVolume = 500;
        order->m_nTradedVolume = traded;
        market.dataCenter->report("A", DATA_ORDER, order, false);
    };
    report(1, STATUS_REPORTED, 0);
    report(7, STATUS_PART_SUCC, 200);
    report(8, STATUS_SUCCEEDED, 500);
    for (const std::uint64_t key : {1, 7, 8, 9}) market.cancel(key);
    report(11, STATUS_REPORTED, 0);
    market.exchange->cancel("", 11);  // without account info nobody says whose it is
    market.exchange->cancel("", 12);
    market.loop.advanceSeconds(1);
    EXPECT_EQ(market.said(), "o1:54:0 o7:53:200 o11:54:0");
    market.send(BUY, 100, 10.0);
    EXPECT_EQ(market.said(), "o2:49:0 o2:50:0") << "key 1 is taken";
}

TEST(PaperExchange, makesTheOrdersOfACommandWithItsStrategies) {
    Market market;
    paper::CCommandCenter center(market.loop.service(), market.exchange, market.tasks, nullptr);
    auto command = boost::make_shared<COrderComandParam>();
    command->m_strStrategyName = "S";
    command->m_strStrategyName2 = "历史配平";
    for (const EOperationType operation : {OPT_BUY, OPT_SELL}) {
        auto order = boost::make_shared<CCodeOrderParam>();
        order->m_pAccountInfo = market.dataCenter->account("A")->getAccountInfo();
        order->m_stock.m_strMarket = "SH";
        order->m_stock.m_strCode = "600000";
        order->m_eOperationType = operation;
        order->m_nVolume = 100;
        order->m_dPrice = 10.0;
        order->m_strStrategyName = "first";
        order->m_strStrategyName2 = "second";
        command->m_orders.push_back(order);
    }
    int completed = 0;
    center.createCommand(
        command, [&](const utils::VexError& error, int) { completed += error.isOk(); }, true, 0);
    EXPECT_EQ(market.said() + std::to_string(completed), "0") << "the caller may hold locks";
    market.loop.runToRest();
    EXPECT_EQ(market.said(), "o1:49:0 o1:50:0 o2:49:0 o2:50:0");
    EXPECT_EQ(completed, 1);
    EXPECT_EQ(market.orders[1].m_eDirection, ENTRUST_BUY);
    EXPECT_EQ(market.orders[2].m_eDirection, ENTRUST_SELL);
    const auto& carrier = *market.orders[2].m_pCommand;
    EXPECT_EQ(carrier.m_strStrategyName, "first");
    EXPECT_EQ(carrier.m_strStrategyName2, "second");
    EXPECT_EQ(carrier.m_strTag, "历史配平");
}

TEST(PaperExchange, forgetsWorkingOrdersAndTasksWhenATradeDateBegins) {
    Market market;
    market.send(BUY, 500, 10.00);
    market.startTask(300, 3, 30);
    market.cancel(1);
    market.said();
    market.dataCenter->beginTradingDate("20240103");
    market.exchange->beginTradingDate();
    market.price(10.0, {{9.0, 100'000}});
    market.loop.advanceSeconds(60);
    EXPECT_EQ(market.said(), "");
    market.send(BUY, 100, 10.00);
    EXPECT_EQ(market.said(), "o2:49:0 o2:50:0 d1:100@9 o2:56:100");
    EXPECT_EQ(market.orders[2].m_strTradeDate, "20240103");
}

// Whatever happens: an order's deals add up to what it reports, nothing trades beyond
// an order's price or volume or beyond what a quote offered, nothing follows a final
// report, and a cancelled day ends with nothing running.
TEST(PaperExchange, keepsItsBooksWithAnySeed) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Market market;
        std::mt19937 random(seed);
        const auto upTo = [&](int most) { return static_cast<int>(random() % unsigned(most + 1)); };
        std::map<std::uint64_t, EEntrustStatus> last;
        std::vector<std::uint64_t> sent;
        market.dataCenter->subscribe("A", DATA_ORDER, "", [&](auto&, auto& data) {
            const auto& order = static_cast<const COrderDetail&>(*data);
            const auto before = last.find(order.recordKey());
            EXPECT_TRUE(before == last.end() || isRunningStatus(before->second));
            last[order.recordKey()] = order.m_eStatus;
            EXPECT_LE(order.m_nTradedVolume, order.m_nVolume);
        });
        long long offered = 0;
        for (int step = 0; step < 60; ++step) {
            const double middle = 10 + upTo(20) / 100.0;
            switch (upTo(3)) {
                case 0: {
                    const Levels asks = {{middle, upTo(3) * 100}, {middle + 0.01, upTo(500)}};
                    const Levels bids = {{middle - 0.01, upTo(500)}, {middle - 0.02, 1}};
                    for (const CPriceLevel& level : asks) offered += level.m_nVolume;
                    for (const CPriceLevel& level : bids) offered += level.m_nVolume;
                    market.price(middle, asks, bids);
                    break;
                }
                case 1:
                    market.startTask(1 + upTo(900), 1 + upTo(5), upTo(20), true);
                    break;
                case 2:
                    if (!last.empty()) market.cancel(1 + random() % last.size());
                    break;
                default:
                    market.send(upTo(1) == 1, 1 + upTo(900), upTo(4) ? middle : 0,
                                upTo(4) ? PRTP_FIX : PRTP_MARKET);
            }
            market.loop.advanceSeconds(upTo(30) / 10.0);
        }
        for (const auto& [key, status] : last) market.cancel(key);
        std::vector<boost::shared_ptr<IData>> known;
        market.dataCenter->getGlobalAccountData()->getVector(DATA_TASK, known);
        for (const auto& task : known)
            market.tasks->operateServerTask("task_" + task->getKey(), {});
        market.loop.advanceSeconds(1);
        long long dealt = 0;
        long long traded = 0;
        double dealtAmount = 0.0;
        double tradedAmount = 0.0;
        for (const CDealDetail& deal : market.deals) {
            dealt += deal.m_nVolume;
            dealtAmount += deal.m_dAmount;
        }
        for (const auto& [key, order] : market.orders) {
            EXPECT_FALSE(isRunningStatus(order.m_eStatus)) << key;
            traded += order.m_nTradedVolume;
            tradedAmount += order.m_dTradedAmount;
            if (order.m_dPrice <= 0 || order.m_nTradedVolume == 0) continue;
            const double average = order.m_dTradedAmount / order.m_nTradedVolume;
            const double worse = order.m_eDirection == ENTRUST_BUY ? average - order.m_dPrice
                                                                   : order.m_dPrice - average;
            EXPECT_LT(worse, 1e-9) << key;
        }
        EXPECT_EQ(dealt, traded);
        EXPECT_LE(dealt, offered);
        EXPECT_NEAR(dealtAmount, tradedAmount, 1e-6);
    }
}

}  // namespace
