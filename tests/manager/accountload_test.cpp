#include "linkage/core/reconciliation.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>

// What loading an account takes in, and what it says of what had been missed.

namespace {

using namespace tests;
using vexservice::STATUS_REPORTED;
using vexservice::STATUS_SUCCEEDED;

std::string said(const TC::Reconciliation& found) {
    std::string text =
        std::string(TC::textOf(found.cause)) + " o" + std::to_string(found.orders.added) + "," +
        std::to_string(found.orders.changed) + "," + std::to_string(found.orders.gone) + " d" +
        std::to_string(found.deals.added) + "," + std::to_string(found.deals.gone);
    for (const auto& [stock, volumes] : found.positions) {
        text += " " + stock + ":" + std::to_string(volumes.first) + "/" +
                std::to_string(volumes.second);
    }
    return text;
}

Texts saidAll(Fixture& f) {
    Texts all;
    for (const auto& each : f.manager().getReconciliations()) all.push_back(said(each));
    return all;
}

int bought(Fixture& f) {
    const auto figures = f.manager().getTradeStatDatas("A", "S");
    const auto at = figures.find("SH600000");
    return at == figures.end() ? 0 : at->second->deals().m_nBuyVolume.get();
}

// A slot hears of the first record while the account is loaded; nobody subscribed yet.
TEST(AccountLoad, TakesInWhatComesBetweenTheReplayAndTheSubscription) {
    Fixture f;
    f.account({.key = "A"});
    f.order({.key = 1, .status = STATUS_REPORTED, .strategy = "S", .push = false});
    f.deal({.key = 1, .volume = 100, .strategy = "S", .push = false});
    f.position({.key = 1, .volume = 100, .push = false});
    f.create();
    int heard = 0;
    f.manager().sigStatDataChanged.connect([&] {
        if (++heard > 1) return;
        f.client().report(
            "A",
            f.makeOrder({.key = 1, .status = STATUS_SUCCEEDED, .traded = 100, .strategy = "S"}));
        f.client().report("A", f.makeOrder({.key = 2, .strategy = "S"}));
        f.client().report("A", f.makeDeal({.key = 2, .volume = 300, .strategy = "S"}));
    });
    f.init();
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1) << "1 is final, 2 runs";
    EXPECT_EQ(f.manager().getOrderDetails(Fixture::day("20240102"), "SH600000", {"A"})["A"].size(),
              2u);
    EXPECT_EQ(bought(f), 400);
    EXPECT_TRUE(f.manager().getReconciliations().empty()) << "nothing was loaded again";
    f.deal({.key = 2, .volume = 300, .strategy = "S"});
    EXPECT_EQ(bought(f), 400) << "counted once";
}

TEST(AccountLoad, SaysWhatHadBeenMissed) {
    Ready f;
    int raised = 0;
    f.manager().sigReconciled.connect([&](const TC::Reconciliation&) { ++raised; });
    f.order({.key = 1, .strategy = "S"});
    f.deal({.key = 1, .volume = 100, .strategy = "S"});
    f.position({.key = 1, .volume = 1100});
    f.manager().requestAccount("A");
    f.settle();
    EXPECT_EQ(saidAll(f), (Texts{"request o0,0,0 d0,0"}))
        << "1,100 with 100 bought: began at 1,000";
    EXPECT_EQ(raised, 0);

    f.order({.key = 1, .status = STATUS_SUCCEEDED, .traded = 100, .strategy = "S", .push = false});
    f.order({.key = 2, .strategy = "S", .push = false});
    f.deal({.key = 2, .side = Side::Sell, .volume = 400, .strategy = "S", .push = false});
    f.forget();
    f.login(true);
    f.position({.key = 1, .volume = 700, .push = false});
    f.accountReady("A");
    EXPECT_EQ(saidAll(f), (Texts{"request o0,0,0 d0,0", "login o1,1,0 d1,0 SH600000:700/1100",
                                 "accountReady o0,0,0 d0,0"}));
    EXPECT_EQ(raised, 1);

    // What belongs to another trade date was not missed; nor is it gone.
    f.newTradingDate("20240103");
    EXPECT_EQ(saidAll(f).back(), "rollover o0,0,0 d0,0");
    f.order({.key = 5, .push = false});
    f.newTradingDate("20240103");
    EXPECT_EQ(saidAll(f).back(), "rollover o1,0,0 d0,0");
}

// Reports that have arrived and wait behind the load were not missed.
TEST(AccountLoad, WhatWaitsToBeHandledWasNotMissed) {
    Ready f;
    f.manager().requestAccount("A");
    f.client().report("A", f.makeOrder({.key = 1, .strategy = "S"}));
    f.client().report("A", f.makeDeal({.key = 1, .strategy = "S"}));
    f.settle();
    EXPECT_EQ(saidAll(f), (Texts{"request o0,0,0 d0,0"}));
    EXPECT_EQ(bought(f), 100);
}

TEST(AccountLoad, AServiceThatFailsCostsOnlyItsPart) {
    using paper::EFault;
    using paper::EService;
    Ready f({}, {"A", "B"});
    f.deal({.key = 1, .strategy = "S"});
    f.order({.key = 1, .strategy = "S", .push = false});
    // The list of accounts is given; the first read of A fails.
    f.manager().requestAccount("A");
    f.client().setFault(EService::AccountData, EFault::Throw, 1);
    f.settle();
    EXPECT_EQ(bought(f), 100) << "a load that fails leaves the account as it was";
    EXPECT_TRUE(f.manager().getReconciliations().empty());
    f.order({.key = 2, .strategy = "S"});
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1) << "still followed";

    f.client().setFault(EService::AccountData, EFault::Throw, 1);
    f.manager().requestAccount("A");
    f.client().setFault(EService::AccountData, EFault::Throw, 1);
    f.accountReady("A");
    f.manager().requestAccount("A");
    f.settle();
    EXPECT_EQ(f.manager().getReconciliations().size(), 1u) << "the third was loaded";
    EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 2);

    // One record whose handling fails does not keep the others away.
    f.release();
    f.account({.key = "B", .fee = vexservice::CStkExchangeRateLimit{0, 5, 0, 0}});
    f.deal({.account = "B", .key = 7, .stock = "SZ000001", .strategy = "S", .push = false});
    f.deal({.account = "B", .key = 8, .strategy = "S", .push = false});
    f.client().setFault(EService::FeeLimits, EFault::Throw, 2);
    f.init();
    EXPECT_EQ(f.manager().getTradeStatDatas("B", "S").count("SH600000"), 1u);
}

TEST(Options, AreTakenBeforeInitAndWithinTheirRange) {
    Fixture f;
    f.create();
    TC::CLinkageManager& manager = f.manager();
    manager.setOptions({.guard = true, .rounds = 3, .roundSeconds = 5});
    for (const TC::LinkageOptions& wrong :
         {TC::LinkageOptions{.rounds = 0}, TC::LinkageOptions{.rounds = 101},
          TC::LinkageOptions{.roundSeconds = 0}, TC::LinkageOptions{.roundSeconds = 86'401}}) {
        f.forget();
        manager.setOptions(wrong);
        EXPECT_EQ(f.logTexts().size(), 1u);
    }
    f.init();
    f.forget();
    manager.setOptions({});
    EXPECT_EQ(f.logTexts().size(), 1u);
    EXPECT_TRUE(manager.options().guard && manager.options().rounds == 3);
}

TEST(Options, KeepBalanceTimesOfPairsWithoutARecord) {
    const TC::LinkageOptions keep{.keepBalanceTimes = true};
    using Times = std::map<std::string, std::string>;
    Fixture f;
    f.create();
    f.manager().setOptions(keep);
    f.init();
    f.manager().addHistoryStat("AT", {.m_strAccountKey = "A", .m_strStrategy = "T"});
    f.manager().addBalanceTime("A:S", "145000");
    f.manager().addBalanceTime("A:T", "145500");
    f.manager().addBalanceTime("line\nend\\n", "000000");
    for (const char* none : {"hhmmss", "240000", "126000", "120060", "12000", "", "1200000"}) {
        f.forget();
        f.manager().addBalanceTime("A:S", none);
        EXPECT_EQ(f.logTexts().size(), 1u) << none;
    }
    const Times all = {{"A:S", "145000"}, {"A:T", "145500"}, {"line\nend\\n", "000000"}};
    EXPECT_EQ(f.manager().getBalanceTime(), all);
    f.manager().finishSaves();
    const auto kept = f.file("balancetimes.txt");

    f.release();
    f.create();
    EXPECT_EQ(f.manager().getBalanceTime(), (Times{{"A:T", "145500"}}));
    f.manager().setOptions(keep);
    EXPECT_EQ(f.manager().getBalanceTime(), all);
    EXPECT_TRUE(f.manager().deleteBalanceTime("A:S"));
    f.release();

    // A file that breaks off costs what broke off.
    f.writeFile("balancetimes.txt", kept->substr(0, kept->size() - 3));
    f.create();
    f.manager().setOptions(keep);
    EXPECT_EQ(f.manager().getBalanceTime(), (Times{{"A:S", "145000"}, {"A:T", "145500"}}));
    f.release();
    f.create();
    f.manager().addBalanceTime("A:S", "hhmmss");
    EXPECT_EQ(f.manager().getBalanceTime().at("A:S"), "hhmmss") << "any text, as always";
}

}  // namespace
