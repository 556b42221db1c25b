#include "tests/support/fixture.h"

#include <gtest/gtest.h>

namespace {

using namespace tests;
using Texts = std::vector<std::string>;

int count(const Texts& lines, const std::string& wanted) {
    return static_cast<int>(std::count(lines.begin(), lines.end(), wanted));
}

TEST(Lifecycle, RequestsDoNothingBeforeInit) {
    Fixture f;
    f.account({.key = "A"});
    f.order({.account = "A", .strategy = "S", .push = false});
    f.create();
    f.manager().requestAccounts();
    f.manager().requestAccount("A");
    f.advance(10);
    EXPECT_TRUE(f.state().accounts.empty());
    EXPECT_TRUE(f.state().orderDetails.empty());
    f.release();
}

TEST(Lifecycle, SecondInitChangesNothing) {
    Fixture f;
    f.account({.key = "A"});
    f.init();
    f.manager().init();
    f.settle();
    EXPECT_EQ(count(f.logTexts(), "CLinkageManager::doRequestAccounts"), 1);
    f.login(true);
    EXPECT_EQ(count(f.logTexts(), "CLinkageManager::doRequestAccounts"), 2)
        << "one connection to the proxy client";
    f.login(false);
    EXPECT_EQ(count(f.logTexts(), "CLinkageManager::doRequestAccounts"), 2);
}

TEST(Lifecycle, TradeDateByClientType) {
    Fixture standard({.now = "2024-01-02 20:00:00", .tradeDate = "20240103", .userName = "li"});
    standard.init();
    EXPECT_EQ(standard.manager().getTradeDate(), "20240103");
    EXPECT_EQ(standard.state().userData, "li");
    standard.release();
}

TEST(Lifecycle, ClientType3ReadsTheMarketsDateAndFollowsTheUserData) {
    Fixture f({.tradeDate = "20240103", .clientType = 3});
    f.account({.key = "A"});
    f.init();
    EXPECT_EQ(f.manager().getTradeDate(), "20240103");
    EXPECT_EQ(f.state().userData, "");
    const int before = count(f.logTexts(), "CLinkageManager::doRequestAccounts");
    f.userDataChanged();
    EXPECT_EQ(count(f.logTexts(), "CLinkageManager::doRequestAccounts"), before + 1);
}

TEST(Lifecycle, NothingReachesAManagerThatIsGone) {
    Fixture f;
    f.account({.key = "A"});
    f.init();
    f.deal({.account = "A", .strategy = "S"});
    f.manager().runAutoBalance("A", "S");
    f.release();
    f.forget();
    f.order({.account = "A"});
    f.deal({.account = "A", .key = 2});
    f.price({.last = 10.0});
    f.login(true);
    f.newTradingDate("20240103");
    f.advance(60);
    EXPECT_TRUE(f.logTexts().empty());
    EXPECT_TRUE(f.signalNames().empty());
    f.init();
    EXPECT_EQ(f.state().dealDetails.size(), 1u) << "the next manager starts from the data center";
}

// A slot may release the manager from inside one of its own handlers.
TEST(Lifecycle, ReleaseFromASlotEndsAfterTheHandler) {
    Fixture f;
    f.account({.key = "A"});
    f.init();
    f.manager().sigStatDataChanged.connect([&] {
        if (utils::CSingletonT<TC::CLinkageManager>::exists()) {
            utils::CSingletonT<TC::CLinkageManager>::release();
        }
    });
    f.order({.account = "A", .key = 1});
    f.order({.account = "A", .key = 2});
    f.advance(10);
    EXPECT_FALSE(utils::CSingletonT<TC::CLinkageManager>::exists());
}

// What a listener throws is logged; the reports behind it are not lost.
TEST(Lifecycle, ThrowingSlotLosesNoReport) {
    Fixture f;
    f.account({.key = "A"});
    f.init();
    bool thrown = false;
    f.manager().sigStocksChanged.connect([&] {
        if (!std::exchange(thrown, true)) throw std::runtime_error("a listener failed");
    });
    f.order({.account = "A", .key = 1, .stock = "SH600000"});
    f.order({.account = "A", .key = 2, .stock = "SH600001"});
    EXPECT_TRUE(thrown);
    EXPECT_EQ(f.manager().getRunningOrders("A", ""), 2);
    EXPECT_EQ(count(f.logTexts(), "a listener failed"), 1);
}

TEST(Registry, UnknownAndBareAccountsAreSkipped) {
    Fixture f;
    f.account({.key = "A"});
    f.account({.key = "B", .info = false});
    f.init();
    EXPECT_EQ(f.state().accounts.size(), 1u);
    f.forget();
    f.manager().requestAccount("nobody");
    f.accountReady("nobody");
    f.settle();
    EXPECT_TRUE(f.logTexts().empty());
    f.accountReady("A");
    EXPECT_EQ(f.logTexts(), (Texts{"CLinkageManager::slotRefreshAccount, acc:A",
                                   "CLinkageManager::doRequestAccount, acc:A"}));
}

TEST(Registry, SecondRequestRebuildsTheDayAndDeliversOnce) {
    Fixture f;
    f.instrument({.stock = "SH600000", .reference = 10.0});
    f.account({.key = "A"});
    f.account({.key = "B"});
    f.init();
    f.order({.account = "A", .key = 1, .traded = 50, .strategy = "S"});
    f.deal({.account = "A", .key = 9, .volume = 50, .strategy = "S"});
    f.deal({.account = "B", .key = 9, .volume = 70, .strategy = "S"});
    f.position({.account = "A", .key = 3, .volume = 500});
    for (int round = 0; round < 3; ++round) {
        f.manager().requestAccount("A");
        f.settle();
    }
    f.deal({.account = "A", .key = 10, .volume = 20, .strategy = "S"});
    const int day = Fixture::day("20240102");
    EXPECT_EQ(f.manager().getBuySellVolumes(day, "SH600000", {"A"}), std::make_pair(70, 0));
    EXPECT_EQ(f.manager().getBuySellVolumes(day, "SH600000", {"B"}), std::make_pair(70, 0));
    const auto figures = f.manager().getTradeStatDatas("A", "S");
    ASSERT_EQ(figures.count("SH600000"), 1u);
    EXPECT_EQ(figures.at("SH600000")->deals().m_nBuyVolume, 70);
    EXPECT_EQ(figures.at("SH600000")->m_buyVolumes.sum(), 50);
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1);
}

TEST(Registry, HeldRecordsOutliveARequestAndTheManager) {
    Fixture f;
    f.account({.key = "A"});
    f.init();
    f.deal({.account = "A", .key = 1, .volume = 100, .strategy = "S"});
    const auto held = f.manager().getTradeStatDatas("A", "S").at("SH600000");
    f.deal({.account = "A", .key = 2, .volume = 100, .strategy = "S"});
    EXPECT_EQ(held->deals().m_nBuyVolume, 200) << "intake goes on updating the record";
    f.manager().requestAccount("A");
    f.settle();
    f.deal({.account = "A", .key = 3, .volume = 100, .strategy = "S"});
    EXPECT_EQ(held->deals().m_nBuyVolume, 200) << "the day was rebuilt in records of its own";
    EXPECT_EQ(f.manager().getTradeStatDatas("A", "S").at("SH600000")->deals().m_nBuyVolume, 300);
    f.release();
    EXPECT_EQ(held->deals().m_nBuyVolume, 200);
}

TEST(Registry, RolloverReloadsAndKeepsEarlierDays) {
    Fixture f;
    f.account({.key = "A"});
    f.init();
    f.deal({.account = "A", .key = 1, .strategy = "S"});
    f.writeFile("detail.csv", "x\n");
    f.forget();
    f.newTradingDate("20240103", "20240104");
    EXPECT_EQ(f.manager().getTradeDate(), "20240103") << "the data center's date counts";
    EXPECT_FALSE(f.file("detail.csv"));
    const TC::ManagerState state = f.state();
    EXPECT_EQ(state.dealDetails.count(Fixture::day("20240102")), 1u);
    EXPECT_TRUE(state.dealDetails.at(Fixture::day("20240103")).empty());
    EXPECT_TRUE(state.tradeStatDatas.empty());
    EXPECT_TRUE(state.quoteRequests.empty());
    ASSERT_FALSE(f.signals().empty());
    EXPECT_EQ(f.signals().back().name, "newTradingDay") << "after the reload";
}

}  // namespace
