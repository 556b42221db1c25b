#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "replay/manageraccess.h"
#include "tests/support/fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

using namespace tests;
using TC::EBalanceOutcome;
using TC::EBalanceRefusal;
using TC::ManagerAccess;
using Lines = std::vector<std::string>;

namespace {

const std::string SH = "SH600000";
const std::string SZ = "SZ000001";

/// A started client at 09:00:00 with two stocks, and an account of the given type.
struct Started : Fixture {
    explicit Started(int type = 2, Settings settings = {}) : Fixture(std::move(settings)) {
        instrument({.stock = SH});
        instrument({.stock = SZ});
        account({.key = "A", .id = "id-A", .type = type});
        init();
    }

    void trade(const std::string& stock, int bought, int sold, const std::string& strategy = "S") {
        for (const auto& [side, volume] :
             {std::pair(Side::Buy, bought), std::pair(Side::Sell, sold)}) {
            if (volume == 0) continue;
            deal({.key = ++m_nKey,
                  .stock = stock,
                  .side = side,
                  .volume = volume,
                  .strategy = strategy});
        }
    }

    void runningOrder(std::uint64_t key, int status = vexservice::STATUS_REPORTED,
                      const std::string& strategy = "S") {
        order({.key = key, .status = status, .strategy = strategy});
    }

    void runningTask(std::uint64_t key, bool server = true, int status = vexservice::TASK_RUNNING) {
        task({.key = key, .status = status, .strategy = "S", .server = server});
    }

    bool ask(const std::string& strategy = "S", const std::string& account = "A") {
        return manager().runAutoBalance(account, strategy);
    }

    bool pending(const std::string& strategy = "S", const std::string& account = "A") {
        const auto starts = state().autoBalanceStarts;
        const auto at = starts.find(account);
        return at != starts.end() && at->second.count(strategy) > 0;
    }

    /// "09:00:05.000 type 1: S sell 200 SH600000" for each command.
    Lines sent() const {
        Lines lines;
        for (const auto& [at, command] : commands()) {
            std::string line = fmt::format("{} type {}: {}", at, command.m_nCommandType,
                                           command.m_strStrategyName);
            for (const auto& order : command.m_orders) {
                line += fmt::format(
                    " {} {} {}{}", order->m_eOperationType == vexservice::OPT_BUY ? "buy" : "sell",
                    order->m_nVolume, order->m_stock.m_strMarket, order->m_stock.m_strCode);
            }
            lines.push_back(line);
        }
        return lines;
    }

    bool logged(const std::string& text) const { return timesLogged(text) > 0; }
    long timesLogged(const std::string& text) const {
        const auto texts = logTexts();
        return std::count(texts.begin(), texts.end(), text);
    }

private:
    std::uint64_t m_nKey = 1000;
};

/// Log lines of one operation.
Lines linesOf(const Fixture& f, const std::string& operation) {
    Lines lines;
    for (const auto& line : f.log()) {
        if (line.operation == "TC::CLinkageManager::" + operation) lines.push_back(line.text);
    }
    return lines;
}

}  // namespace

// ------------------------------------------------------------- asking and waiting

TEST(AutoBalance, WithNothingRunningItIsSentFiveSecondsAfterTheRequest) {
    Started f;
    f.trade(SH, 1250, 1000);
    f.forget();
    EXPECT_TRUE(f.ask());
    EXPECT_FALSE(f.pending());
    f.advance(4.999);
    EXPECT_EQ(f.sent(), Lines{});
    f.advance(60);
    EXPECT_EQ(f.sent(), Lines{"09:00:05.000 type 1: S sell 200 SH600000"});
    EXPECT_FALSE(f.pending());
    EXPECT_TRUE(f.cancels().empty());
}

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
    ASSERT_EQ(f.cancels().size(), 1u);
    EXPECT_EQ(f.cancels()[0].at, "09:00:05.000");
    EXPECT_EQ(f.cancels()[0].key, 1u);
    ASSERT_EQ(f.taskOperations().size(), 2u);
    for (const auto& operation : f.taskOperations()) {
        EXPECT_EQ(operation.server, operation.key == 9);
        EXPECT_EQ(operation.record.m_eOperation, vexservice::TASK_OP_TERMINATE);
        EXPECT_EQ(operation.record.m_strOperator, "trader");
        EXPECT_EQ(operation.record.m_strRemark, "trader终止任务");
        EXPECT_EQ(operation.record.m_nTime, f.loop().nowMicros() / 1000);
    }
    EXPECT_TRUE(f.logged("callcel task and order accountkey A, strategy S"));

    f.advanceTo("09:00:14");
    f.runningTask(9, true, vexservice::TASK_CANCELED);
    f.runningTask(10, false, vexservice::TASK_CANCELED);
    EXPECT_EQ(f.sent(), Lines{});
    EXPECT_TRUE(f.logged("A : task or order is running"));
    f.advanceTo("09:00:15");
    f.runningOrder(1, vexservice::STATUS_CANCELED);
    EXPECT_EQ(f.sent(), Lines{"09:00:15.000 type 1: S buy 300 SH600000"});
    EXPECT_FALSE(f.pending());

    f.manager().tryAutoBalance("A", "S");
    EXPECT_TRUE(f.logged("A : balancing data is not find"));
    f.manager().tryAutoBalance("B", "S");
    EXPECT_TRUE(f.logged("B : balancing data is empty"));
    f.advance(60);
    EXPECT_EQ(f.sent().size(), 1u);
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
        f.forget();
        f.ask();
        f.advanceTo("09:00:34");
        f.advance(0.9);
        if (row.reportComes) f.manager().tryAutoBalance("A", "S");
        EXPECT_EQ(f.sent(), Lines{});
        EXPECT_TRUE(f.pending());
        f.advanceTo("09:00:35");
        if (row.reportComes) f.manager().tryAutoBalance("A", "S");
        f.advance(60);
        EXPECT_EQ(f.sent(), Lines{std::string(row.sentAt) + " type 1: S sell 200 SH600000"});
        EXPECT_FALSE(f.pending());
        EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1);
    }
}

TEST(AutoBalance, OneThatIsPendingIsRefusedButOneThatStillWaitsIsNot) {
    Started f;
    f.trade(SH, 200, 0);
    f.runningOrder(1);
    f.forget();
    EXPECT_TRUE(f.ask());
    f.advanceTo("09:00:02");
    EXPECT_TRUE(f.ask());  // starts the first at once, and once more five seconds later
    f.settle();
    EXPECT_TRUE(f.pending());
    ASSERT_EQ(f.cancels().size(), 1u);
    EXPECT_EQ(f.cancels()[0].at, "09:00:02.000");
    f.advanceTo("09:00:04");
    EXPECT_FALSE(f.ask());
    EXPECT_TRUE(f.logged("A not find balance data"));
    const auto starts = f.state().autoBalanceStarts;
    f.settle();
    EXPECT_EQ(f.state().autoBalanceStarts, starts);

    // The thirty seconds count from the latest start, 09:00:07.
    f.advanceTo("09:00:36");
    EXPECT_EQ(f.cancels().size(), 2u);
    EXPECT_EQ(f.sent(), Lines{});
    f.advanceTo("09:00:37");
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

TEST(AutoBalance, BeforeInitNothingStarts) {
    Fixture f;
    f.account({.key = "A"});
    f.create();
    EXPECT_FALSE(f.manager().runAutoBalance("A", "S"));
    f.manager().runAutoBalanceTimer("A", "S");
    f.advance(60);
    EXPECT_TRUE(f.commands().empty());
    EXPECT_FALSE(f.manager().cancelAllOrders("A", "S"));
    EXPECT_FALSE(f.manager().cancelAllTasks("A", "S"));
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
    EXPECT_TRUE(f.cancels().empty());
    EXPECT_TRUE(f.taskOperations().empty());
    f.manager().cancelTask(7, "why");
    ASSERT_EQ(f.signalNames(), Lines{"cancelTask"});
    EXPECT_EQ(f.signals()[0].args, (Lines{"7", "why"}));
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
        f.forget();
        EXPECT_TRUE(f.ask("S", "Z"));
        f.advanceTo("09:00:10");
        EXPECT_TRUE(f.logged(known ? "Z : accounntinfo is empty" : "Z : account data is empty"));
        EXPECT_TRUE(f.pending("S", "Z"));
        EXPECT_FALSE(f.ask("S", "Z"));
        EXPECT_EQ(f.manager().previewBalance("Z", "S").refusal,
                  known ? EBalanceRefusal::NoAccountInfo : EBalanceRefusal::NoAccountData);

        // The watchdog passes it over, and does not go on for its sake.
        f.manager().runAutoBalanceTimer("A", "S");
        f.advance(120);
        EXPECT_EQ(f.sent(), Lines{"09:00:40.000 type 1: S sell 200 SH600000"});
        EXPECT_EQ(f.timesLogged(known ? "Z accountinfoPtr is empty" : "Z accountdata is empty"),
                  30);
        EXPECT_TRUE(f.pending("S", "Z"));

        // Once the account is there, the next pass settles it.
        f.account({.key = "Z"});
        f.manager().tryAutoBalance("Z", "S");
        EXPECT_FALSE(f.pending("S", "Z"));
        EXPECT_TRUE(f.logged("Z ：trade datas is empty"));
    }
}

// ------------------------------------------------------------ the day and the process

TEST(AutoBalance, ARolloverDropsWhatIsPending) {
    Started f;
    f.trade(SH, 200, 0);
    f.runningOrder(1);
    f.ask();
    f.advanceTo("09:00:10");
    ASSERT_TRUE(f.pending());
    f.newTradingDate("20240103");
    EXPECT_FALSE(f.pending());
    f.forget();
    f.advance(120);
    EXPECT_EQ(f.sent(), Lines{});
    EXPECT_TRUE(linesOf(f, "onAutoBalanceTimer").empty());
    EXPECT_TRUE(f.ask());
}

TEST(AutoBalance, ARestartForgetsWhatIsPendingOrWaiting) {
    Started f;
    f.trade(SH, 200, 0);
    f.runningOrder(1);
    f.ask();
    f.advanceTo("09:00:10");
    ASSERT_TRUE(f.pending());
    f.ask("T");  // waits for its start
    f.forget();
    f.release();
    f.advance(60);
    EXPECT_TRUE(f.commands().empty());
    EXPECT_TRUE(f.cancels().empty());

    f.init();
    EXPECT_FALSE(f.pending());
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1);
    f.ask();
    f.advance(5);
    EXPECT_EQ(f.cancels().size(), 1u);
    f.runningOrder(1, vexservice::STATUS_CANCELED);
    EXPECT_EQ(f.sent(), Lines{"09:01:15.000 type 1: S sell 200 SH600000"});
}

TEST(BalanceTimes, AreKeptOnePerKey) {
    Started f;
    f.manager().addBalanceTime("A:S", "153000");
    f.manager().addBalanceTime("A:T", "150000");
    f.manager().addBalanceTime("A:S", "143000");
    EXPECT_EQ(f.manager().getBalanceTime(),
              (std::map<std::string, std::string>{{"A:S", "143000"}, {"A:T", "150000"}}));
    EXPECT_TRUE(f.manager().deleteBalanceTime("A:S"));
    EXPECT_FALSE(f.manager().deleteBalanceTime("A:S"));
    EXPECT_EQ(f.state().balanceTimes, (std::map<std::string, std::string>{{"A:T", "150000"}}));
}

// -------------------------------------------------------------------- the four forms

namespace {

/// Every case of a stock in one pair, in stock key order.
struct Cases : Started {
    explicit Cases(int type = 2) : Started(type) {
        instrument({.stock = "SH600001", .name = "equal"});
        instrument({.stock = "SH600002", .name = "short"});
        instrument({.stock = "SH600003", .name = "odd", .unit = 200});
        instrument({.stock = "SH600004", .name = "below"});
        instrument({.stock = "SH600005", .name = "detail", .detail = true});
        instrument({.stock = "SH688001", .name = "any", .types = {1172}});
        instrument({.stock = "SZ300001", .name = "any too", .types = {1173}});
        trade("SH600001", 700, 600);
        trade("SH600002", 1000, 1250);
        trade("SH600003", 1050, 1000);
        trade("SH600004", 1000, 1050);
        trade("SH600005", 300, 0);
        trade("SH688001", 0, 150);
        trade("SZ300001", 350, 100);
        manager().addHistoryLinkdata("A", "S");
        trade("SH600001", 0, 100);  // history holds the same record, which is balanced now
        instrument({.stock = "SH600005", .detail = false});
        forget();
    }
};

const Lines PER_STOCK = {
    "09:00:00.000 type 1: S buy 200 SH600002", "09:00:00.000 type 1: S sell 50 SH600003",
    "09:00:00.000 type 1: S buy 150 SH688001", "09:00:00.000 type 1: S sell 250 SZ300001"};

std::string orderLine(const std::string& stock, int bought, int sold) {
    return fmt::format("account [id-A] strategy [S] stock [{}] [buynum({}) - sellnum({})]", stock,
                       bought, sold);
}

}  // namespace

TEST(BalanceForms, PerStockSendsOddLotsAndSaysWhatItDoes) {
    Cases f;
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", "S");
    EXPECT_EQ(f.sent(), PER_STOCK);
    EXPECT_EQ(linesOf(f, "doStockBalanceBySignalTask"),
              (Lines{"start：A ", "stock SH600001 balance volume is zero",
                     orderLine("SH600002", 1000, 1250), orderLine("SH600003", 1050, 1000),
                     "stock SH600005 CInstrumentDetailPtr is empty", orderLine("SH688001", 0, 150),
                     orderLine("SZ300001", 350, 100)}));
    f.forget();
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", "unknown");
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "Z", "S");
    f.account({.key = "Z", .info = false});
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "Z", "S");
    EXPECT_EQ(f.logTexts(),
              (Lines{"start：A ", "A ：trade datas is empty", "start：Z ",
                     "Z : accountData is empty", "start：Z ", "Z : accountinfoPtr is empty"}));
}

TEST(BalanceForms, GroupedSendsWholeLotsInOneCommandAndSaysNothing) {
    Cases f;
    ManagerAccess::doStockBalance(f.manager(), "A", "S");
    ManagerAccess::doStockBalance(f.manager(), "A", "unknown");
    ManagerAccess::doStockBalance(f.manager(), "Z", "S");
    EXPECT_EQ(f.sent(), Lines{"09:00:00.000 type 4: S buy 200 SH600002 buy 150 SH688001 "
                              "sell 250 SZ300001"});
    EXPECT_TRUE(f.log().empty());
}

TEST(BalanceForms, HistoryPerStockRoundsLikeTodayAndCarriesItsTag) {
    Cases f;
    f.manager().doHistoryBalanceBySignalTask("A", "S");
    EXPECT_EQ(f.sent(), PER_STOCK);
    EXPECT_EQ(
        linesOf(f, "doHistoryBalanceBySignalTask"),
        (Lines{"balance start", "stock:SH600001 nDelta is nzero", orderLine("SH600002", 1000, 1250),
               orderLine("SH600003", 1050, 1000), "instrumentDetailPtr is empty SH600005",
               orderLine("SH688001", 0, 150), orderLine("SZ300001", 350, 100)}));
    for (const auto& sent : f.commands()) {
        EXPECT_EQ(sent.command.m_strStrategyName2, "历史配平");
        EXPECT_EQ(sent.command.m_orders[0]->m_strStrategyName2, "S");
    }
    f.forget();
    f.manager().doHistoryBalanceBySignalTask("A", "unknown");
    f.manager().doHistoryBalanceBySignalTask("Z", "S");
    f.account({.key = "Z", .info = false});
    f.manager().doHistoryBalanceBySignalTask("Z", "S");
    f.account({.key = "Z", .type = 4});
    f.manager().doHistoryBalanceBySignalTask("Z", "S");
    EXPECT_EQ(f.logTexts(),
              (Lines{"balance start", "attountket:A strategy: unknown not find balance data",
                     "balance start", "account data is empty", "balance start",
                     "accountinfo is empty", "balance start", "wrong brokertype 4"}));
}

TEST(BalanceForms, HistoryGroupedSendsExactVolumesFromOneLotOn) {
    Cases f;
    f.manager().doHistoryBalance("A", "S");
    EXPECT_EQ(f.sent(), Lines{"09:00:00.000 type 4: S buy 250 SH600002 buy 150 SH688001 "
                              "sell 250 SZ300001"});
    EXPECT_EQ(f.commands()[0].command.m_strStrategyName2, "历史配平");
    EXPECT_TRUE(f.log().empty());

    Cases other(4);
    other.manager().doHistoryBalance("A", "S");
    EXPECT_TRUE(other.commands().empty());
    EXPECT_TRUE(other.log().empty());
    EXPECT_EQ(other.manager().previewHistoryBalance("A", "S").refusal,
              EBalanceRefusal::WrongAccountType);
}

TEST(BalanceForms, CommandsAndOrdersAreFilledInFull) {
    for (const std::string strategy : {"S", ""}) {
        Started f;
        f.trade(SH, 200, 0);
        ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", strategy);
        ManagerAccess::doStockBalance(f.manager(), "A", strategy);
        const int marker = strategy.empty() ? 0 : 9;
        const auto commands = f.commands();
        ASSERT_EQ(commands.size(), 2u);
        for (const auto& [at, command] : commands) {
            EXPECT_EQ(command.m_bGroup, command.m_nCommandType == 4);
            EXPECT_FALSE(command.m_bFurther);
            EXPECT_EQ(command.m_strStrategyName, strategy);
            EXPECT_EQ(command.m_strStrategyName2, strategy);
            EXPECT_EQ(command.m_nStrategyMarker, marker);
            ASSERT_EQ(command.m_orders.size(), 1u);
            const auto& order = *command.m_orders[0];
            EXPECT_EQ(order.m_pAccountInfo->getKey(), "A");
            EXPECT_EQ(order.m_nOrderKind, 49);
            EXPECT_EQ(order.m_strStrategyName, strategy);
            EXPECT_EQ(order.m_strStrategyName2, strategy);
            EXPECT_EQ(order.m_nStrategyMarker, marker);
        }
    }
}

// ---------------------------------------------------------------- prices and preview

TEST(BalancePrices, FollowTheSettingsAndTheRegistrationRule) {
    using namespace vexservice;
    struct Row {
        const char* name;
        int type;
        bool rules;
        EPriceType priceType;
        double sh;
        double sz;
    };
    // Both stocks are to be sold; best bid 10.00, best ask 10.02, last 10.01.
    const Row rows[] = {{"best of the other side", 2, true, PRTP_COMPETE, 10.0, 10.0},
                        {"best of the own side", 3, true, PRTP_HANG, 10.02, 10.02},
                        {"fixed", 2, true, PRTP_FIX, 9.87, 9.87},
                        {"market", 2, false, PRTP_MARKET, 0.0, 0.0},
                        {"market, protected", 3, true, PRTP_MARKET, 9.8, 0.0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Started f(row.type, {.registRules = row.rules});
        for (const auto& stock : {SH, SZ}) {
            f.price({.stock = stock, .last = 10.01, .asks = {{10.02, 100}}, .bids = {{10.0, 100}}});
            f.trade(stock, 200, 0);
        }
        // The block of the other account type must not be used.
        f.tradeSetting(row.type == 3 ? 1 : 2, PRTP_BUY5);
        f.tradeSetting(row.type == 3 ? 2 : 1, row.priceType, 9.87);
        const auto plan = f.manager().previewBalance("A", "S");
        ASSERT_EQ(plan.stocks.size(), 2u);
        ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", "S");
        const auto commands = f.commands();
        ASSERT_EQ(commands.size(), 2u);
        for (std::size_t at = 0; at < 2; ++at) {
            const auto& order = *commands[at].command.m_orders[0];
            EXPECT_EQ(order.m_ePriceType, row.priceType);
            EXPECT_DOUBLE_EQ(order.m_dPrice, at == 0 ? row.sh : row.sz);
            EXPECT_EQ(plan.stocks[at].priceType, row.priceType);
            EXPECT_EQ(plan.stocks[at].price, order.m_dPrice);
        }
    }
}

TEST(BalancePreview, ShowsEachStocksOrderOrReasonAndSendsNothing) {
    Cases f;
    using enum EBalanceOutcome;
    struct Row {
        const char* stock;
        int difference;
        EBalanceOutcome perStock;
        EBalanceOutcome grouped;
        int volume[4];  ///< today, grouped, history, grouped history
    };
    const Row rows[] = {{"SH600001", 0, Balanced, Balanced, {}},
                        {"SH600002", -250, Order, Order, {200, 200, 200, 250}},
                        {"SH600003", 50, Order, BelowLot, {50, 0, 50, 0}},
                        {"SH600004", -50, BelowLot, BelowLot, {}},
                        {"SH600005", 300, NoInstrument, NoInstrument, {}},
                        {"SH688001", -150, Order, Order, {150, 150, 150, 150}},
                        {"SZ300001", 250, Order, Order, {250, 250, 250, 250}}};
    const auto& manager = f.manager();
    const TC::BalancePlan plans[] = {
        manager.previewBalance("A", "S"), manager.previewBalance("A", "S", true),
        manager.previewHistoryBalance("A", "S"), manager.previewHistoryBalance("A", "S", true)};
    for (std::size_t form = 0; form < 4; ++form) {
        const auto& plan = plans[form];
        EXPECT_EQ(plan.refusal, EBalanceRefusal::None);
        ASSERT_EQ(plan.stocks.size(), std::size(rows));
        for (std::size_t at = 0; at < std::size(rows); ++at) {
            SCOPED_TRACE(fmt::format("{} in form {}", rows[at].stock, form));
            const auto& stock = plan.stocks[at];
            EXPECT_EQ(stock.stockKey, rows[at].stock);
            EXPECT_EQ(stock.difference, rows[at].difference);
            EXPECT_EQ(stock.bought - stock.sold, rows[at].difference);
            EXPECT_EQ(stock.outcome, form % 2 ? rows[at].grouped : rows[at].perStock);
            EXPECT_EQ(stock.volume, rows[at].volume[form]);
        }
    }
    EXPECT_EQ(manager.previewBalance("A", "unknown").refusal, EBalanceRefusal::NoFigures);
    EXPECT_EQ(manager.previewHistoryBalance("Z", "S").refusal, EBalanceRefusal::NoAccountData);
    EXPECT_TRUE(f.commands().empty());
    EXPECT_TRUE(f.log().empty());
}

TEST(BalanceParams, TradeParameterIsStrictJsonOfTexts) {
    Fixture f;
    EXPECT_EQ(f.manager().genTradeParam("600000", 11, 10.5, 200),
              R"({ "stockcode" : "600000", "pricetype" : "11", "price" : "10.5", "vol" : "200" })");
    EXPECT_EQ(f.manager().genTradeParam("中\"", 5, 0.1 + 0.2, -1),
              R"({ "stockcode" : "中\"", "pricetype" : "5", "price" : "0.30000000000000004", )"
              R"("vol" : "-1" })");
}
