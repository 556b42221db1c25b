#include "tests/support/fixture.h"

#include <QMetaMethod>
#include <QPointer>

#include <gtest/gtest.h>

namespace {

using namespace tests;
using Manager = utils::CSingletonT<TC::CLinkageManager>;

int count(const Texts& lines, const std::string& wanted) {
    return static_cast<int>(std::count(lines.begin(), lines.end(), wanted));
}

TEST(Lifecycle, RequestsDoNothingBeforeInit) {
    Fixture f;
    f.account({.key = "A"});
    f.order({.strategy = "S", .push = false});
    f.create();
    f.manager().requestAccounts();
    f.manager().requestAccount("A");
    EXPECT_FALSE(f.manager().runAutoBalance("A", "S"));
    f.manager().runAutoBalanceTimer("A", "S");
    f.advance(60);
    EXPECT_TRUE(f.state().accounts.empty() && f.state().orderDetails.empty());
    EXPECT_TRUE(f.commands().empty());
    f.release();
}

TEST(Lifecycle, SecondInitChangesNothing) {
    Fixture f;
    f.init();
    f.manager().init();
    const auto requests = [&] { return count(f.logTexts(), "CLinkageManager::doRequestAccounts"); };
    f.settle();
    EXPECT_EQ(requests(), 1);
    f.login(true);
    EXPECT_EQ(requests(), 2) << "one connection to the proxy client";
    f.login(false);
    EXPECT_EQ(requests(), 2);
}

TEST(Lifecycle, QtSurfaceInItsOrder) {
    const QMetaObject& type = TC::CLinkageManager::staticMetaObject;
    Texts methods;
    for (int at = type.methodOffset(); at < type.methodCount(); ++at) {
        methods.push_back(type.method(at).methodSignature().toStdString());
    }
    EXPECT_EQ(
        methods,
        (Texts{"sigCancelTask(int,QString)", "sigHistoryDealsDone(QDateTime,std::string)",
               "sigHistoryOrdersDone(QDateTime,std::string)", "slotNewTradingDate(std::string)",
               "slotProxyLoginStatus(TC::EProxyConnectionStatus,QString)",
               "slotRefreshAccount(vexservice::CAccountInfo)"}));
}

TEST(Lifecycle, TradeDateAndUserDataByClientType) {
    for (const int type : {1, 3}) {
        Ready f({.tradeDate = "20240103", .clientType = type, .userName = "li"});
        EXPECT_EQ(f.manager().getTradeDate(), "20240103");
        EXPECT_EQ(f.state().userData, type == 3 ? "" : "li");
        f.userDataChanged();
        EXPECT_EQ(count(f.logTexts(), "CLinkageManager::doRequestAccounts"), type == 3 ? 1 : 0);
    }
}

// With release(), or because its last holder let it go.
TEST(Lifecycle, NothingReachesAManagerThatIsGone) {
    for (const bool released : {true, false}) {
        Ready f;
        f.deal({.strategy = "S"});
        f.manager().runAutoBalance("A", "S");
        released ? f.release() : Manager::install({});
        f.forget();
        f.order({});
        f.deal({.key = 2});
        f.price({.last = 10.0});
        f.login(true);
        f.newTradingDate("20240103");
        f.advance(60);
        EXPECT_TRUE(f.logTexts().empty());
        EXPECT_TRUE(f.signalNames().empty());
        f.init();
        EXPECT_EQ(f.state().dealDetails.size(), 1u) << "the next one starts from the data center";
    }
}

// A slot may release the manager from inside one of its own handlers.
TEST(Lifecycle, ReleaseFromASlotEndsAfterTheHandler) {
    Ready f;
    const QPointer<TC::CLinkageManager> manager = &f.manager();
    manager->sigStatDataChanged.connect([&] {
        Manager::release();
        EXPECT_TRUE(manager) << "its handler is still at work";
    });
    for (const std::uint64_t key : {1u, 2u}) {
        f.client().report("A", f.makeOrder({.key = key}));
    }
    f.settle();
    EXPECT_TRUE(manager.isNull());
    EXPECT_FALSE(Manager::exists());
    EXPECT_EQ(count(f.signalNames(), "statDataChanged"), 1) << "nobody waits for the second";
}

// What a listener throws is logged; nothing is lost but its own turn.
TEST(Lifecycle, ThrowingSlotsStopNothing) {
    Fixture f;
    f.account({.key = "A"});
    f.order({.key = 1, .stock = "SH600000", .strategy = "S", .push = false});
    f.order({.key = 2, .stock = "SH600001", .strategy = "S", .push = false});
    f.create();
    f.manager().sigStocksChanged.connect([] { throw std::runtime_error("a listener failed"); });
    f.manager().sigStatDataChanged.connect([] { throw 5; });
    f.manager().sigProfitChanged.connect(
        [](const std::string&, const std::string&, double) { throw std::runtime_error("no"); });
    f.manager().m_sigNewTradingDay.connect([](const std::string&) { throw 6; });
    f.init();
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 2) << "the replay went on";
    EXPECT_EQ(count(f.logTexts(), "a listener failed"), 2);
    f.deal({.key = 9, .strategy = "S"});
    EXPECT_EQ(f.manager().getTradeStatDatas("A", "S").at("SH600000")->deals().m_nBuyVolume, 100)
        << "and the account was subscribed";
    for (const double last : {10.0, 11.0}) {
        f.forget();
        f.price({.last = last});
        f.advance(3);
        EXPECT_EQ(f.signalNames(), (Texts{"profitChanged", "profitChanged", "statDataChanged"}));
    }
    f.newTradingDate("20240103");
    EXPECT_EQ(f.signalNames().back(), "newTradingDay");
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

TEST(Registry, HeldRecordsOutliveARequestAndTheManager) {
    Ready f;
    const auto bought = [](const auto& record) { return record->deals().m_nBuyVolume.get(); };
    const auto record = [&] { return f.manager().getTradeStatDatas("A", "S").at("SH600000"); };
    f.deal({.key = 1, .strategy = "S"});
    const auto held = record();
    f.deal({.key = 2, .strategy = "S"});
    EXPECT_EQ(bought(held), 200) << "intake goes on updating the record";
    f.accountReady("A");
    f.deal({.key = 3, .strategy = "S"});
    EXPECT_EQ(bought(held), 200) << "the day was rebuilt in records of its own";
    EXPECT_EQ(bought(record()), 300);
    f.release();
    EXPECT_EQ(bought(held), 200);
}

TEST(Registry, RolloverReloadsAndKeepsEarlierDays) {
    Ready f;
    f.deal({.key = 1, .strategy = "S"});
    f.task({.key = 1, .strategy = "S"});
    f.forget();
    f.newTradingDate("20240103", "20240104");
    EXPECT_EQ(f.manager().getTradeDate(), "20240103") << "the data center's date counts";
    const TC::ManagerState state = f.state();
    EXPECT_EQ(state.dealDetails.count(Fixture::day("20240102")), 1u);
    EXPECT_TRUE(state.dealDetails.at(Fixture::day("20240103")).empty());
    EXPECT_TRUE(state.tradeStatDatas.empty() && state.quoteRequests.empty());
    EXPECT_TRUE(state.taskDetails.empty() && state.runningTasks.empty());
    EXPECT_EQ(f.signalNames().back(), "newTradingDay") << "after the reload";
    f.task({.key = 2});
    f.forget();
    f.task({.key = 2, .status = 7});
    EXPECT_EQ(f.logTexts(), (Texts{"A : balancing data is empty"})) << "tasks are followed anew";
}

}  // namespace
