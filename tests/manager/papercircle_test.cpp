#include "linkage/core/types.h"
#include "platform/services/clientconfig.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

/// The paper client and the manager together: from a strategy's trades to its balance.
namespace {

using tests::Fixture;
using tests::Side;

TEST(PaperCircle, balancesAStrategyAtItsTimeThroughTheExchange) {
    Fixture f({.now = "2024-01-02 09:30:00", .executes = true, .scheduler = true});
    f.instrument({.stock = "SH600000", .reference = 10.0});
    f.account({.key = "A"});
    f.init();
    f.price(
        {.stock = "SH600000", .last = 10.0, .asks = {{10.00, 100'000}}, .bids = {{9.99, 100'000}}});
    f.send("A", "SH600000", Side::Buy, 1000, 10.00, "S");
    f.send("A", "SH600000", Side::Buy, 500, 9.50, "S");
    f.startTask("A", "SH600000", Side::Buy, 400, 4, 600, "S");
    f.manager().addBalanceTime("A:S", "093100");
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1);
    EXPECT_EQ(f.manager().getRunningTasks("A", "S"), 1);
    f.advanceTo("09:31:04");
    EXPECT_TRUE(f.cancels().empty());
    f.advanceTo("09:31:05");
    ASSERT_EQ(f.cancels().size(), 1u);
    EXPECT_EQ(f.cancels()[0].key, 2u);
    ASSERT_EQ(f.taskOperations().size(), 1u);
    EXPECT_TRUE(f.taskOperations()[0].server);
    f.advanceTo("09:31:30");
    ASSERT_EQ(f.commands().size(), 1u);
    EXPECT_EQ(f.commands()[0].at, "09:31:06.000");
    const auto& order = *f.commands()[0].command.m_orders.at(0);
    EXPECT_EQ(order.m_eOperationType, vexservice::OPT_SELL);
    EXPECT_EQ(order.m_nVolume, 1100);
    EXPECT_DOUBLE_EQ(order.m_dPrice, 9.99);
    EXPECT_EQ(f.manager().getRunningOrders("A", ""), 0);
    EXPECT_EQ(f.manager().getRunningTasks("A", ""), 0);
    const auto bought = f.manager().getBuySellVolumes(Fixture::day("20240102"), "SH600000", {"A"});
    EXPECT_EQ(bought, std::pair(1100, 1100));
    f.advanceTo("09:40:00");
    EXPECT_EQ(f.commands().size(), 1u) << "a time is served once";
}

TEST(PaperCircle, startsPairsOfOneTimeOneAfterTheOther) {
    Fixture f({.now = "2024-01-02 09:30:00", .executes = true, .scheduler = true});
    f.account({.key = "A"});
    f.init();
    for (const char* strategy : {"S", "T", "U"}) {
        f.manager().addBalanceTime(std::string("A:") + strategy, "093100");
    }
    f.advanceTo("09:32:00");
    // The manager has one start timer: who asks next starts who waits.
    std::vector<std::string> starts;
    for (const auto& line : f.log()) {
        if (line.text == "start：A ") starts.push_back(line.at);
    }
    EXPECT_EQ(starts, (std::vector<std::string>{"09:31:00.000", "09:31:00.000", "09:31:05.000"}));
}

TEST(PaperCircle, balancesWhatIsFilledWhileItIsCancelled) {
    Fixture f({.now = "2024-01-02 09:30:00", .executes = true});
    f.instrument({.stock = "SH600000"});
    f.account({.key = "A"});
    f.init();
    f.price({.stock = "SH600000", .last = 10.0, .bids = {{9.99, 1000}}});
    f.send("A", "SH600000", Side::Buy, 500, 9.99, "S");
    f.manager().runAutoBalance("A", "S");
    f.advance(5.5);
    ASSERT_EQ(f.cancels().size(), 1u);
    f.price({.stock = "SH600000", .last = 9.99, .asks = {{9.99, 300}}, .bids = {{9.98, 1000}}});
    EXPECT_TRUE(f.commands().empty()) << "200 are still on their way";
    f.advance(60);
    ASSERT_EQ(f.commands().size(), 1u);
    EXPECT_EQ(f.commands()[0].at, "09:30:06.000");
    EXPECT_EQ(f.commands()[0].command.m_orders.at(0)->m_nVolume, 300);
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 0);
    const auto traded = f.manager().getBuySellVolumes(Fixture::day("20240102"), "SH600000", {"A"});
    EXPECT_EQ(traded, std::pair(300, 300));
}

TEST(PaperCircle, keepsTodaysOrdersWhenTheSameDateIsAnnouncedAgain) {
    Fixture f({.now = "2024-01-02 09:30:00", .executes = true});
    f.account({.key = "A"});
    f.init();
    f.send("A", "SH600000", Side::Buy, 100, 10.00, "S");
    f.newTradingDate("20240102");
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1);
    f.price({.stock = "SH600000", .last = 9.9});
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 0);
}

TEST(PaperCircle, cancelsOrdersOfAnAccountWithoutInfo) {
    Fixture f({.now = "2024-01-02 09:30:00", .executes = true});
    f.account({.key = "A"});
    f.init();
    f.account({.key = "A", .info = false});
    f.send("A", "SH600000", Side::Buy, 100, 10.00, "S");
    EXPECT_TRUE(f.manager().cancelAllOrders("A", "S"));
    f.advance(1);
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 0);
}

TEST(PaperClient, goesWithItsServicesWhateverIsStillQueued) {
    paper::CVirtualLoop loop(1'704'168'000'000'000);
    paper::ClientConfig config;
    config.tradeDate = "20240102";
    config.executes = true;
    config.scheduler = true;
    {
        paper::CPaperClient client(loop.service(), config);
        paper::Account account;
        account.key = "A";
        client.setAccount(account);
        client.send("A", "SH", "600000", true, 100, 10.0, "S", "");
        client.startTask("A", "SH", "600000", true, 100, 10, 60, "S", true);
        const auto order = boost::make_shared<vexservice::COrderDetail>();
        order->m_nRecordKey = 1;
        order->m_pAccountInfo = client.accountInfo("A");
        QString error;
        utils::CManualSingletonT<TC::CTradeClient>::instance()->cancelOrder(order, error, -1, {},
                                                                            {});
    }
    EXPECT_FALSE(utils::CSingletonT<TC::CUserConfig>::exists());
    EXPECT_THROW(TC::getDataDir(), utils::ServiceMissing);
    loop.advanceSeconds(120);
}

}  // namespace
