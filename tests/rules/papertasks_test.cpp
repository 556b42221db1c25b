#include "tests/rules/papermarket.h"

#include <gtest/gtest.h>

#include <limits>

/// The algorithmic tasks of the paper exchange, seen through its reports.
namespace {

using namespace tests;

TEST(PaperTasks, SendEqualSlicesInTimeAndEndWhenAllIsFilled) {
    Market market;
    market.price(10.0, {{10.00, 100'000}});
    EXPECT_EQ(market.startTask(1000, 3, 60), "t1:3:0 o1:49:0 o1:50:0 d1:333@10 o1:56:333 t1:3:333");
    EXPECT_EQ(market.advance(19.999), "");
    EXPECT_EQ(market.advance(0.001), "o2:49:0 o2:50:0 d2:333@10 o2:56:333 t1:3:666");
    EXPECT_EQ(market.advance(20), "o3:49:0 o3:50:0 d3:334@10 o3:56:334 t1:7:1000");
    EXPECT_EQ(market.orders[3].m_pCommand->m_strStrategyName, "S");
    EXPECT_EQ(market.advance(3600), "");
}

TEST(PaperTasks, KeepOneSliceOpenAndCatchUpWhenItIsFilled) {
    Market market;
    market.price(10.0, {{10.00, 100}});
    EXPECT_EQ(market.startTask(900, 3, 30), "t1:3:0 o1:49:0 o1:50:0 d1:100@10 o1:55:100 t1:3:100");
    EXPECT_EQ(market.advance(25), "") << "the second and third slice wait";
    EXPECT_EQ(market.price(10.0, {{9.99, 1000}}),
              "d2:200@9.99 o1:56:300 t1:3:300 o2:49:0 o2:50:0 d3:300@9.99 o2:56:300 t1:3:600 "
              "o3:49:0 o3:50:0 d4:300@9.99 o3:56:300 t1:7:900");
}

TEST(PaperTasks, SendTheirPartsWhateverTheirNumberAndTime) {
    const int MANY = std::numeric_limits<int>::max();
    // The orders are "volume@second".
    const std::tuple<const char*, int, int, double, std::string> rows[] = {
        {"all at once", 1000, 3, 0, " 333@0 333@0 334@0"},
        {"less than a microsecond apart", 700, 2, 1e-7, " 350@0 350@0"},
        {"more parts than shares", 2, 5, 50, " 1@20 1@40"},
        {"more parts than can be counted", 3, MANY, 0, " 1@0 1@0 1@0"},
        {"and over a time", 3, MANY, 90, " 1@30 1@60 1@90"},
        {"once in the longest time", 400, 1, 1e300, " 400@0"},
    };
    for (const auto& [name, shares, slices, time, expected] : rows) {
        SCOPED_TRACE(name);
        Market market;
        std::string orders;
        market.dataCenter->subscribe("A", DATA_ORDER, "", [&](auto&, auto& data) {
            const auto& order = static_cast<const COrderDetail&>(*data);
            const auto passed = (market.loop.nowMicros() - START + 500'000) / 1'000'000;
            if (order.m_eStatus != STATUS_WAIT_REPORTING) return;
            orders += fmt::format(" {}@{}", order.m_nVolume, passed);
        });
        market.price(10.0, {{10.00, 100'000}});
        std::string said = market.startTask(shares, slices, time);
        said += market.advance(100);
        EXPECT_EQ(orders, expected);
        EXPECT_TRUE(said.ends_with(fmt::format("t1:7:{}", shares))) << said;
    }
}

TEST(PaperTasks, EndRejectedWhenASliceIs) {
    Market market;
    market.limits(9.0, 11.0);
    market.price(11.0, {{11.5, 1000}});
    EXPECT_EQ(market.startTask(900, 3, 30), "t1:3:0 o1:49:0 o1:50:0 o1:57:0 t1:9:0");
    EXPECT_EQ(market.advance(3600), "");
}

TEST(PaperTasks, SendAgainWhatASliceDidNotTrade) {
    Market market;
    EXPECT_EQ(market.startTask(200, 2, 10), "t1:3:0") << "no price, no order";
    market.price(10.0, {{10.00, 50}});
    EXPECT_EQ(market.advance(5), "o1:49:0 o1:50:0 d1:50@10 o1:55:50 t1:3:50");
    market.cancel(1);
    EXPECT_EQ(market.advance(4), "o1:53:50");
    market.price(10.0, {{10.00, 1000}});
    EXPECT_EQ(market.advance(1), "o2:49:0 o2:50:0 d2:150@10 o2:56:150 t1:7:200");
}

TEST(PaperTasks, EndCancelledWhenTheirOpenSliceIs) {
    Market market;
    market.price(10.0, {{10.00, 100}});
    market.startTask(900, 3, 30);
    market.startTask(100, 2, 30, false);  // local: 50 shares rest, all asks being taken
    EXPECT_TRUE(market.tasks->operateServerTask("task_1", {}));
    EXPECT_FALSE(market.tasks->operateServerTask("task_3", {})) << "no such task";
    EXPECT_FALSE(market.tasks->getTaskHandler(1)) << "runs on the server";
    const auto local = market.tasks->getTaskHandler(2);
    ASSERT_TRUE(local);
    EXPECT_EQ(market.advance(0.5), "");
    local->operate(boost::make_shared<CTaskOpRecord>());
    EXPECT_EQ(market.advance(0.5), "o1:53:100 t1:8:100");
    EXPECT_EQ(market.advance(0.5), "o2:54:0 t2:8:0");
    EXPECT_EQ(market.price(10.0, {{10.00, 10'000}}), "");
    EXPECT_EQ(market.advance(3600), "");
    market.startTask(200, 2, 30);
    EXPECT_TRUE(market.tasks->operateServerTask("task_3", {}));
    EXPECT_EQ(market.said(), "t3:8:100") << "at once between two slices";
}

TEST(PaperTasks, ThatFillWhileBeingTerminatedAreComplete) {
    Market market;
    market.price(10.0, {{10.00, 100}});
    market.startTask(300, 1, 0);
    market.tasks->operateServerTask("task_1", {});
    market.advance(0.5);
    EXPECT_EQ(market.price(10.0, {{10.00, 1000}}), "d2:200@10 o1:56:300 t1:7:300");
    EXPECT_EQ(market.advance(5), "");
}

}  // namespace
