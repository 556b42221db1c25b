#include "linkage/core/types.h"
#include "platform/services/clientconfig.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <algorithm>

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

TEST(PaperCircle, announcesLoginsAccountsAndChangesOfUserData) {
    Fixture f({.clientType = 3});
    f.account({.key = "A"});
    f.account({.key = "silent", .info = false});
    f.init();
    const std::string all = "CLinkageManager::doRequestAccounts";
    const std::string one = "CLinkageManager::slotRefreshAccount, acc:A";
    const auto count = [&](const std::string& text) {
        const auto texts = f.logTexts();
        f.forget();
        return std::count(texts.begin(), texts.end(), text);
    };
    EXPECT_EQ(count(all), 1);
    f.login(false);
    EXPECT_EQ(count(all), 0);
    f.login(true);
    EXPECT_EQ(count(all), 1);
    f.userDataChanged();
    EXPECT_EQ(count(all), 1);
    f.accountReady("A");
    EXPECT_EQ(count(one), 1);
    f.accountReady("stranger");
    EXPECT_TRUE(f.log().empty());
    f.newTradingDate("20240103", "20240104");
    EXPECT_EQ(count(all), 1);
    EXPECT_EQ(f.manager().getTradeDate(), "20240103");
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
