#include "linkage/ledger/types.h"
#include "platform/services/clientconfig.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

/// The paper client and the manager together, where time and reports meet.
namespace {

using tests::Fixture;
using tests::Ready;
using tests::Side;

TEST(PaperCircle, BalancesWhatIsFilledWhileItIsCancelled) {
    Ready f({.now = "2024-01-02 09:30:00", .executes = true});
    f.instrument({.stock = "SH600000"});
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

TEST(PaperCircle, KeepsTodaysOrdersWhenTheSameDateIsAnnouncedAgain) {
    Ready f({.now = "2024-01-02 09:30:00", .executes = true});
    f.send("A", "SH600000", Side::Buy, 100, 10.00, "S");
    f.newTradingDate("20240102");
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1);
    f.price({.stock = "SH600000", .last = 9.9});
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 0);
}

TEST(PaperCircle, CancelsOrdersOfAnAccountWithoutInfo) {
    Ready f({.now = "2024-01-02 09:30:00", .executes = true});
    f.account({.key = "A", .info = false});
    f.send("A", "SH600000", Side::Buy, 100, 10.00, "S");
    EXPECT_TRUE(f.manager().cancelAllOrders("A", "S"));
    f.advance(1);
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 0);
}

TEST(PaperClient, GoesWithItsServicesWhateverIsStillQueued) {
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
