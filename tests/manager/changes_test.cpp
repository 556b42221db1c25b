#include "linkage/ledger/ledger.h"
#include "tests/support/changemirror.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>

// What getChanges tells beside orders, deals and figures, which the random days hold to the
// textbook.

namespace {

using namespace tests;

void ask(TC::CLedger& ledger, TC::ChangeCursor& cursor, CChangeMirror& mirror,
         std::size_t most = 1000) {
    TC::LinkageChanges changes;
    ledger.changesSince(cursor, most, changes);
    mirror.take(changes);
}

}  // namespace

TEST(Changes, NothingIsToldTwiceAndAnAnswerIsBounded) {
    Ready f;
    for (std::uint64_t key = 1; key <= 500; ++key) f.order({.key = key, .strategy = "S"});
    CChangeMirror mirror(100);
    int answers = 1;
    for (; mirror.ask(f.manager()); ++answers) {
        EXPECT_LE(mirror.last.size(), 105u);
        EXPECT_EQ(mirror.last.everything, answers == 1);
    }
    EXPECT_GE(answers, 5);
    EXPECT_EQ(mirror.orders.size(), 500u);

    EXPECT_FALSE(mirror.ask(f.manager()));
    EXPECT_EQ(mirror.last.size(), 0u);

    for (int times = 0; times < 3; ++times) f.order({.key = 7, .traded = 10, .strategy = "S"});
    f.order({.key = 9, .traded = 20, .strategy = "S"});
    EXPECT_FALSE(mirror.ask(f.manager()));
    EXPECT_EQ(mirror.last.orders.size(), 2u);
    EXPECT_EQ(mirror.last.pairs.size(), 2u) << "the strategy and the account as a whole";
    EXPECT_EQ(mirror.last.figures.size(), 2u);
}

TEST(Changes, AReaderWhoComesTooLateOrFromElsewhereIsToldEverything) {
    Ready f;
    TC::CLedger ledger(false);
    ledger.setLatestPrice("SH600000", 10.0);
    ledger.setLatestPrice("SZ000001", 10.0);
    TC::ChangeCursor slow, quick;
    CChangeMirror slowOne, quickOne;
    ask(ledger, slow, slowOne);
    ask(ledger, quick, quickOne);
    const auto changeOften = [&](std::size_t times) {
        for (std::size_t at = 0; at < times; ++at) {
            ledger.setLatestPrice("SH600000", 10.0 + 0.01 * static_cast<double>(at));
            ask(ledger, quick, quickOne);
        }
    };
    changeOften(TC::ledger::CChangeJournal::ROOM);
    std::size_t told = 0;
    do {
        ask(ledger, slow, slowOne);
        told += slowOne.last.stocks.size();
        EXPECT_FALSE(slowOne.last.everything) << "just in time";
    } while (slowOne.last.more);
    EXPECT_EQ(told, 1u);
    EXPECT_EQ(slowOne.stocks.at("SH600000").lastPrice, quickOne.stocks.at("SH600000").lastPrice);

    changeOften(TC::ledger::CChangeJournal::ROOM + 1);
    ask(ledger, slow, slowOne);
    EXPECT_TRUE(slowOne.last.everything);
    EXPECT_EQ(slowOne.last.stocks.size(), 2u);
    EXPECT_EQ(slowOne.stocks.at("SH600000").lastPrice, quickOne.stocks.at("SH600000").lastPrice);

    TC::LinkageChanges ofManager = f.manager().getChanges(slow);
    EXPECT_TRUE(ofManager.everything) << "the cursor is of another ledger";
}

// Reads one record at a time, so that what goes and what comes lie in different answers.
TEST(Changes, ImportsOfTheRunningDayComeAndGo) {
    Fixture f;
    f.account({.key = "A", .id = "10001"});
    f.init();
    CChangeMirror mirror(1);
    const auto import = [&](const char* rows) {
        f.writeFile("statement.csv", std::string("资金账号,成交日期,证券代码,买卖,价格,数量,"
                                                 "成交编号\n") +
                                         rows);
        return f.manager().importData(f.dataDir() + "/Balance/statement.csv").number;
    };
    const auto seen = [&] {
        mirror.catchUp(f.manager());
        std::string text;
        for (const auto& [key, deal] : mirror.deals) text += deal->m_bImported ? 'i' : 'r';
        return text;
    };
    EXPECT_EQ(seen(), "");
    import("10001,20240102,600000,买入,10,100,1\n10001,20231229,600000,买入,10,100,2\n");
    EXPECT_EQ(seen(), "i") << "the deal of the day before is not of the day";
    f.deal({.key = 1, .dealId = "1"});
    EXPECT_EQ(seen(), "r");
    const int second = import("10001,20240102,600000,买入,10,100,3\n");
    EXPECT_EQ(seen().size(), 2u);
    EXPECT_TRUE(f.manager().undoImport(second));
    EXPECT_EQ(seen(), "r");

    const int third = import("10001,20240102,600000,买入,10,100,3\n");
    f.manager().undoImport(third);
    import("10001,20240102,600000,买入,10,100,3\n");
    EXPECT_EQ(seen().size(), 2u) << "it went and came back";
    f.newTradingDate("20240103");
    EXPECT_EQ(seen(), "");
}

TEST(Changes, TasksAreToldWithTheirPairsAndForgottenWithTheDay) {
    Ready f;
    CChangeMirror mirror;
    mirror.catchUp(f.manager());
    f.task({.key = 1, .strategy = "S"});
    mirror.catchUp(f.manager());
    ASSERT_EQ(mirror.tasks.size(), 1u);
    EXPECT_EQ(mirror.pairs.at({"A", "S"}).runningTasks, 1);
    EXPECT_EQ(mirror.pairs.at({"A", ""}).runningTasks, 1);

    f.task({.key = 1, .status = vexservice::TASK_COMPLETED, .strategy = "S"});
    mirror.catchUp(f.manager());
    EXPECT_EQ(mirror.last.tasks.size(), 1u);
    EXPECT_EQ(mirror.pairs.at({"A", "S"}).runningTasks, 0);

    f.newTradingDate("20240103");
    mirror.catchUp(f.manager());
    EXPECT_TRUE(mirror.tasks.empty());
}

TEST(Changes, ABalanceIsToldAtEveryStepOfItsLife) {
    Ready f({.options = {.guard = true}});
    CChangeMirror mirror;
    f.instrument({.reference = 10.0});
    f.price({.last = 10.0});
    f.deal({.volume = 300, .strategy = "S"});
    mirror.catchUp(f.manager());
    EXPECT_TRUE(mirror.balances.empty());

    ASSERT_TRUE(f.manager().runAutoBalance("A", "S"));
    f.settle();
    mirror.catchUp(f.manager());
    EXPECT_EQ(mirror.balances.at(1).state, TC::EBalanceState::Asked);
    mirror.catchUp(f.manager());
    EXPECT_TRUE(mirror.last.balances.empty());

    f.advance(6);
    mirror.catchUp(f.manager());
    EXPECT_EQ(mirror.balances.at(1).state, TC::EBalanceState::Sent);
    EXPECT_EQ(mirror.balances.at(1).stocks.at("SH600000").sent, -300);

    f.release();
    f.init();
    mirror.catchUp(f.manager());
    EXPECT_TRUE(mirror.last.balances.size() == 1) << "read from the book of the day";
}
