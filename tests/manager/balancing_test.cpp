#include "tests/manager/balancing.h"
#include "platform/services/tradercenter.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>

using namespace tests;
using TC::EBalanceRefusal;

// ------------------------------------------------------------- asking and waiting

TEST(AutoBalance, CancellationsConfirmedAfterTenSecondsSendIt) {
    Started f;
    f.trade(SH, 0, 300);
    f.runningOrder(1);
    f.runningOrder(2, vexservice::STATUS_REPORTED, "T");
    f.runningTask(9);
    f.runningTask(10, false);
    f.forget();
    f.ask();
    f.advanceTo("09:00:05");
    EXPECT_EQ(f.cancelled(), Lines{"09:00:05.000 1"});
    ASSERT_EQ(f.taskOperations().size(), 2u);
    for (const auto& operation : f.taskOperations()) {
        EXPECT_EQ(operation.server, operation.key == 9);
        EXPECT_EQ(operation.record.m_nTime, f.loop().nowMicros() / 1000);
    }
    EXPECT_TRUE(f.logged("callcel task and order accountkey A, strategy S"));

    f.advanceTo("09:00:14");
    f.runningOrder(1, vexservice::STATUS_CANCELED);
    f.runningTask(10, false, vexservice::TASK_CANCELED);
    EXPECT_EQ(f.sent(), Lines{}) << "one task is left";
    EXPECT_TRUE(f.logged("A : task or order is running"));
    f.advanceTo("09:00:15");
    f.runningTask(9, true, vexservice::TASK_CANCELED);
    f.manager().tryAutoBalance("A", "S");
    EXPECT_TRUE(f.logged("A : balancing data is not find"));
    f.manager().tryAutoBalance("B", "S");
    EXPECT_TRUE(f.logged("B : balancing data is empty"));
    f.advance(60);
    EXPECT_EQ(f.sent(), Lines{"09:00:15.000 type 1: S buy 300 SH600000"});
}

TEST(AutoBalance, NeverConfirmedItIsSentAfterThirtySecondsAndNotAfterTwentyNine) {
    struct Row {
        double asked;      ///< after 09:00:00; it starts five seconds later
        bool reportComes;  ///< whether a report asks at 34.9 and at 35.0
        const char* sentAt;
    };
    // A start counts from its whole second, and the watchdog ticks a second apart from it.
    const Row rows[] = {
        {0.0, false, "09:00:35.000"}, {0.5, false, "09:00:35.500"}, {0.5, true, "09:00:35.000"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sentAt);
        Started f;
        f.trade(SH, 200, 0);
        f.runningOrder(1);
        f.runningTask(9);
        f.advance(row.asked);
        f.ask();
        f.advance(34.9 - row.asked);
        if (row.reportComes) f.manager().tryAutoBalance("A", "S");
        EXPECT_EQ(f.sent(), Lines{});
        EXPECT_TRUE(f.pending());
        f.advanceTo("09:00:35");
        if (row.reportComes) f.manager().tryAutoBalance("A", "S");
        f.advance(60);
        EXPECT_EQ(f.sent(), Lines{std::string(row.sentAt) + " type 1: S sell 200 SH600000"});
        EXPECT_FALSE(f.pending());
    }
}

TEST(AutoBalance, OneThatIsPendingIsRefusedButOneThatStillWaitsIsNot) {
    Started f;
    f.trade(SH, 200, 0);
    f.runningOrder(1);
    EXPECT_TRUE(f.ask());
    f.advanceTo("09:00:02");
    EXPECT_TRUE(f.ask());  // starts the first at once, and once more five seconds later
    f.settle();
    EXPECT_TRUE(f.pending());
    f.advanceTo("09:00:04");
    EXPECT_FALSE(f.ask());
    EXPECT_TRUE(f.logged("A not find balance data"));

    // The thirty seconds count from the latest start, 09:00:07.
    f.advance(60);
    EXPECT_EQ(f.cancelled(), (Lines{"09:00:02.000 1", "09:00:07.000 1"}));
    EXPECT_EQ(f.sent(), Lines{"09:00:37.000 type 1: S sell 200 SH600000"});
    EXPECT_TRUE(f.ask());
}

TEST(AutoBalance, ASecondPairWithinTheFiveSecondsStartsTheFirstAtOnce) {
    Started f;
    f.trade(SH, 200, 0, "S");
    f.trade(SH, 0, 500, "T");
    f.ask("S");
    f.advanceTo("09:00:03");
    f.ask("T");
    f.advance(60);
    EXPECT_EQ(f.sent(), (Lines{"09:00:03.000 type 1: S sell 200 SH600000",
                               "09:00:08.000 type 1: T buy 500 SH600000"}));
}

TEST(AutoBalance, OneWatchdogServesPairsThatStartedApart) {
    Started f;
    f.trade(SH, 200, 0, "S");
    f.trade(SH, 300, 0, "T");
    f.runningOrder(1, vexservice::STATUS_REPORTED, "S");
    f.runningOrder(2, vexservice::STATUS_PART_SUCC, "T");
    f.manager().runAutoBalanceTimer("A", "S");
    f.advance(2.5);
    f.manager().runAutoBalanceTimer("A", "T");  // in second 2; the ticks stay on whole seconds
    f.advance(60);
    EXPECT_EQ(f.sent(), (Lines{"09:00:30.000 type 1: S sell 200 SH600000",
                               "09:00:32.000 type 1: T sell 300 SH600000"}));
}

TEST(AutoBalance, TheWholeAccountIsBalancedOverItsStrategies) {
    Started f;
    f.trade(SH, 200, 0, "S");
    f.trade(SH, 0, 500, "T");
    f.runningOrder(1, vexservice::STATUS_REPORTED, "S");
    f.runningOrder(2, vexservice::STATUS_REPORTED, "T");
    f.ask("");
    f.advanceTo("09:00:05");
    EXPECT_EQ(f.cancels().size(), 2u);
    f.runningOrder(1, vexservice::STATUS_CANCELED, "S");
    EXPECT_TRUE(f.pending(""));
    f.runningOrder(2, vexservice::STATUS_CANCELED, "T");
    EXPECT_FALSE(f.pending(""));
    EXPECT_EQ(f.sent(), Lines{"09:00:05.000 type 1:  buy 300 SH600000"});
    const auto command = f.commands().at(0).command;
    EXPECT_EQ(std::pair(command.m_nStrategyMarker, command.m_orders.at(0)->m_nStrategyMarker),
              std::pair(0, 0));
}

TEST(AutoBalance, AServiceThatThrowsStallsNobody) {
    Started f;
    f.trade(SH, 200, 0, "S");
    f.trade(SZ, 300, 0, "S");
    f.trade(SH, 0, 100, "T");
    f.runningOrder(1);
    f.runningOrder(2);
    f.runningTask(9);
    f.runningOrder(3, vexservice::STATUS_REPORTED, "T");
    f.onRequest = [] { throw std::runtime_error("gone"); };
    f.manager().runAutoBalanceTimer("A", "S");
    f.manager().runAutoBalanceTimer("A", "T");
    EXPECT_EQ(f.cancels().size(), 3u);
    EXPECT_EQ(f.taskOperations().size(), 1u);
    EXPECT_TRUE(f.logged("gone"));
    f.advanceTo("09:00:30");
    EXPECT_EQ(f.sent(), (Lines{"09:00:30.000 type 1: S sell 200 SH600000",
                               "09:00:30.000 type 1: S sell 300 SZ000001",
                               "09:00:30.000 type 1: T buy 100 SH600000"}));
    EXPECT_FALSE(f.pending("S") || f.pending("T"));
}

TEST(AutoBalance, ADataCenterThatIsBackIsAskedAgain) {
    using namespace vexservice;
    struct Center : TraderCenter {
        IDataCenter* data = TraderCenter::instance()->getDataCenter();
        IFeeLimitService* fees = TraderCenter::instance()->getFeeLimitService();
        bool gone = true;

        IDataCenter* getDataCenter() override {
            return gone ? throw std::runtime_error("gone") : data;
        }
        ITaskCenter* getTaskCenter() override { return nullptr; }
        IFeeLimitService* getFeeLimitService() override { return fees; }
    };
    Started f;
    f.trade(SH, 200, 0);
    const auto center = boost::make_shared<Center>();
    TraderCenter::install(center);
    f.manager().runAutoBalanceTimer("A", "S");
    f.advance(2);
    EXPECT_TRUE(f.pending());
    center->gone = false;
    f.advance(60);
    EXPECT_EQ(f.sent(), Lines{"09:00:30.000 type 1: S sell 200 SH600000"});
    EXPECT_FALSE(f.pending());
}

TEST(AutoBalance, CancellingKnowsPairsThatHaveNothingRunningAnyMore) {
    Started f;
    EXPECT_FALSE(f.manager().cancelAllOrders("A", "S"));
    EXPECT_FALSE(f.manager().cancelAllTasks("A", "S"));
    f.runningOrder(1);
    f.runningTask(9);
    f.runningOrder(1, vexservice::STATUS_SUCCEEDED);
    f.runningTask(9, true, vexservice::TASK_COMPLETED);
    f.forget();
    EXPECT_TRUE(f.manager().cancelAllOrders("A", "S"));
    EXPECT_TRUE(f.manager().cancelAllTasks("A", "S"));
    EXPECT_FALSE(f.manager().cancelAllOrders("A", "T"));
    EXPECT_TRUE(f.cancels().empty() && f.taskOperations().empty());
}

// ------------------------------------------------------------------ account states

TEST(AutoBalance, OnlyStockAndCreditAccountsAreBalanced) {
    struct Row {
        int type;
        const char* command;
    };
    const Row rows[] = {
        {2, "type 1: S sell 200 SH600000"}, {3, "type 8: S sell 200 SH600000"}, {1, ""}, {4, ""}};
    for (const Row& row : rows) {
        for (const bool running : {false, true}) {
            SCOPED_TRACE(fmt::format("type {}, {}", row.type, running ? "watchdog" : "at once"));
            Started f(row.type);
            f.trade(SH, 200, 0);
            if (running) f.runningOrder(1);
            f.forget();
            f.ask();
            f.advanceTo("09:00:34");
            EXPECT_EQ(f.pending(), running);
            f.advance(60);
            EXPECT_FALSE(f.pending());
            const std::string at = running ? "09:00:35.000 " : "09:00:05.000 ";
            EXPECT_EQ(f.sent(), *row.command ? Lines{at + row.command} : Lines{});
            EXPECT_EQ(f.timesLogged("accountkey A, strategy S"), *row.command ? 1 : 0);
            EXPECT_EQ(f.manager().previewBalance("A", "S").refusal,
                      *row.command ? EBalanceRefusal::None : EBalanceRefusal::WrongAccountType);
        }
    }
}

TEST(AutoBalance, WithoutAccountDataOrInfoThePairStaysPending) {
    for (const bool known : {false, true}) {
        SCOPED_TRACE(known ? "no info" : "no data");
        Started f;
        if (known) f.account({.key = "Z", .info = false});
        f.trade(SH, 200, 0);
        f.runningOrder(1);
        EXPECT_TRUE(f.ask("S", "Z"));
        f.advanceTo("09:00:10");
        EXPECT_TRUE(f.logged(known ? "Z : accounntinfo is empty" : "Z : account data is empty"));
        EXPECT_FALSE(f.ask("S", "Z")) << "it is pending";
        EXPECT_EQ(f.manager().previewBalance("Z", "S").refusal,
                  known ? EBalanceRefusal::NoAccountInfo : EBalanceRefusal::NoAccountData);

        // The watchdog passes it over, and does not go on for its sake.
        f.manager().runAutoBalanceTimer("A", "S");
        f.advance(120);
        EXPECT_EQ(f.sent(), Lines{"09:00:40.000 type 1: S sell 200 SH600000"});
        EXPECT_EQ(f.timesLogged(known ? "Z accountinfoPtr is empty" : "Z accountdata is empty"),
                  30);

        // Once the account is there, the next pass settles it.
        f.account({.key = "Z"});
        f.manager().tryAutoBalance("Z", "S");
        EXPECT_FALSE(f.pending("S", "Z"));
        EXPECT_TRUE(f.logged("Z ：trade datas is empty"));
    }
}

// ------------------------------------------------------------ the day and the process

TEST(AutoBalance, ARolloverDropsWhatIsPendingButNotWhatWaits) {
    for (const bool pending : {true, false}) {
        SCOPED_TRACE(pending);
        Started f;
        f.trade(SH, 200, 0);
        f.runningOrder(1);
        f.ask();
        f.advanceTo(pending ? "09:00:10" : "09:00:02");
        EXPECT_EQ(f.pending(), pending);
        f.newTradingDate("20240103");
        EXPECT_FALSE(f.pending());
        f.forget();
        f.advance(120);
        EXPECT_EQ(f.sent(), Lines{});
        EXPECT_EQ(f.logged("A ：trade datas is empty"), !pending) << "started on the new day";
        EXPECT_TRUE(linesOf(f, "onAutoBalanceTimer").empty());
        EXPECT_TRUE(f.ask());
    }
}

TEST(AutoBalance, ARestartForgetsWhatIsPendingOrWaiting) {
    Started f;
    f.trade(SH, 200, 0);
    f.runningOrder(1);
    f.ask();
    f.advanceTo("09:00:10");
    f.ask("T");  // waits for its start
    f.forget();
    f.release();
    f.advance(60);
    EXPECT_TRUE(f.commands().empty() && f.cancels().empty());

    f.init();
    EXPECT_FALSE(f.pending());
    f.ask();
    f.advance(5);
    EXPECT_EQ(f.cancels().size(), 1u);
    f.runningOrder(1, vexservice::STATUS_CANCELED);
    EXPECT_EQ(f.sent(), Lines{"09:01:15.000 type 1: S sell 200 SH600000"});
}

TEST(BalanceTimes, AreKeptOnePerKeyAndWrittenOnlyWhenTheyChange) {
    Started f;
    f.manager().addBalanceTime("A:S", "153000");
    f.manager().addBalanceTime("A:T", "150000");
    f.manager().addBalanceTime("A:S", "143000");
    const std::map<std::string, std::string> kept = {{"A:S", "143000"}, {"A:T", "150000"}};
    EXPECT_EQ(f.manager().getBalanceTime(), kept);
    EXPECT_TRUE(f.manager().deleteBalanceTime("A:S"));
    f.settle();
    std::filesystem::remove((f.dataDir() + "/Balance/historystatdata.csv").toStdString());
    EXPECT_FALSE(f.manager().deleteBalanceTime("A:S"));
    f.settle();
    EXPECT_FALSE(f.file("historystatdata.csv")) << "there is none any more";
    f.manager().addBalanceTime("A:T", "150000");
    f.settle();
    EXPECT_TRUE(f.file("historystatdata.csv"));
}
