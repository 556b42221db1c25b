#include "linkage/balance/balancebook.h"
#include "linkage/store/directorylock.h"
#include "linkage/store/diskfaults.h"
#include "replay/manageraccess.h"
#include "tests/manager/balancing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

using namespace tests;
using namespace vexservice;

namespace {

/// A client with the guard, and its balances as lines.
struct Guarded : Started {
    explicit Guarded(TC::LinkageOptions options = {.guard = true})
        : Started(2, {.options = options}) {}

    void sale(std::uint64_t key, int traded, int status, int command = 0,
              const std::string& strategy = "S", int volume = 1000) {
        order({.key = key,
               .side = Side::Sell,
               .volume = volume,
               .status = status,
               .traded = traded,
               .strategy = strategy,
               .command = command});
    }
    void resultOf(int command, const std::string& error) {
        client().repeatCommandResult(command, error);
        settle();
    }

    /// "1 S ended, replaced by balance 2; sent -1000 filled -400 of 1000 to 1000 remains 600
    /// resting" for each balance.
    std::string book() {
        std::string text;
        for (const TC::BalanceRecord& each : manager().getBalances()) {
            text += fmt::format("{} {} {}", each.number, each.strategy, textOf(each.state));
            if (!each.reason.empty()) text += ", " + each.reason;
            for (const auto& [key, stock] : each.stocks) {
                text += fmt::format("; sent {} filled {} of {} to {}", stock.sent, stock.filled,
                                    stock.least, stock.most);
                if (stock.remains != 0) text += fmt::format(" remains {}", stock.remains);
                if (!stock.reason.empty()) text += ", " + stock.reason;
            }
            text += '\n';
        }
        return text;
    }
};

struct Case {
    const char* name;
    std::function<void(Guarded&)> play;
    const char* book;
    Lines sent;  ///< "S sell 1000"
    TC::LinkageOptions options = {.guard = true};
};

void expectCases(const std::vector<Case>& cases) {
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        Guarded f(each.options);
        f.trade(SH, 1000, 0);
        each.play(f);
        EXPECT_EQ(f.book(), each.book);
        Lines sent;
        for (const std::string& line : f.sent()) {
            sent.push_back(line.substr(line.find(": ") + 2, line.rfind(' ') - line.find(": ") - 2));
        }
        EXPECT_EQ(sent, each.sent);
    }
}

}  // namespace

TEST(Guard, OneBalanceAtATime) {
    const Case cases[] = {
        {"the pair's own is under way",
         [](Guarded& f) {
             EXPECT_TRUE(f.ask());
             EXPECT_FALSE(f.ask());
             f.advance(5);
             f.sale(1, 1000, STATUS_SUCCEEDED, 1);
         },
         "1 S ended; sent -1000 filled -1000 of 1000 to 1000, balanced\n"
         "2 S refused, balance 1 is under way\n",
         {"S sell 1000"}},
        {"the whole account was balanced",
         [](Guarded& f) {
             f.ask("");
             f.ask("S");  // is taken, and refused when its turn comes
             f.advance(5);
             EXPECT_FALSE(f.ask("S"));
             f.resultOf(1, "no such account");
             EXPECT_TRUE(f.ask("S"));
             f.advance(5);
         },
         "1  ended; sent -1000 filled 0 of 1000 to 1000 remains 1000, "
         "refused by the command center: no such account\n"
         "2 S refused, balance 1 balanced the whole account\n"
         "3 S refused, balance 1 balanced the whole account\n"
         "4 S sent; sent -1000 filled 0 of 1000 to 1000\n",
         {" sell 1000", "S sell 1000"}},
        {"a later one takes its place, and cancels what shows up late",
         [](Guarded& f) {
             f.ask();
             f.advance(5);
             f.ask();
             f.advance(5);
             f.sale(1, 300, STATUS_PART_SUCC, 1);
             f.sale(1, 400, STATUS_PART_CANCEL, 1);
             f.sale(2, 600, STATUS_SUCCEEDED, 2, "S", 600);
             EXPECT_EQ(f.cancelled(), Lines{"09:00:10.000 1"});
         },
         "1 S ended, replaced by balance 2; sent -1000 filled -400 of 1000 to 1000 remains 1000, "
         "resting\n"
         "2 S ended; sent -600 filled -600 of 600 to 600, balanced\n",
         {"S sell 1000", "S sell 600"}},
        {"the forms that send at once wait for nobody and replace nobody",
         [](Guarded& f) {
             f.ask();
             TC::ManagerAccess::doStockBalance(f.manager(), "A", "");
             f.advance(5);
             TC::ManagerAccess::doStockBalance(f.manager(), "A", "S");
         },
         "1 S sent; sent -1000 filled 0 of 1000 to 1000\n"
         "2  refused, balance 1 is under way\n"
         "3 S ended; sent 0 filled 0 of 0 to 1000 remains 1000, waiting for open orders\n",
         {"S sell 1000"}},
    };
    expectCases({std::begin(cases), std::end(cases)});
}

TEST(Guard, DecidesOnWhatIsKnown) {
    const Case cases[] = {
        {"a price that cannot be had is asked for again",
         [](Guarded& f) {
             f.client().setFault(paper::EService::Quote, paper::EFault::Throw, 2);
             f.ask();
             f.advance(6);
             EXPECT_EQ(f.timesLogged("the service quote failed"), 2);
             EXPECT_EQ(f.sent(), Lines{});
             f.advance(1);
         },
         "1 S sent; sent -1000 filled 0 of 1000 to 1000\n",
         {"S sell 1000"}},
        {"an order that ended stays so",
         [](Guarded& f) {
             f.sale(1, 0, STATUS_REPORTED);
             f.ask();
             f.advance(5);
             f.sale(1, 400, STATUS_PART_CANCEL);
             f.sale(1, 300, STATUS_PART_SUCC);
             f.accountReady("A");
             f.ask();
             f.advance(5);
         },
         "1 S ended, replaced by balance 2; sent -600 filled 0 of 600 to 600 remains 600, resting\n"
         "2 S cancelling\n",
         {"S sell 600"}},
        {"an order by its number, whatever its texts say",
         [](Guarded& f) {
             f.ask();
             f.advance(5);
             f.sale(1, 0, STATUS_REPORTED, 1, "");
             TC::ManagerAccess::doStockBalance(f.manager(), "A", "S");
         },
         "1 S sent; sent -1000 filled 0 of 1000 to 1000\n"
         "2 S ended; sent 0 filled 0 of 0 to 1000 remains 1000, waiting for open orders\n",
         {"S sell 1000"}},
        {"a task may trade the stock yet",
         [](Guarded& f) {
             f.runningTask(9);
             f.ask();
             f.advance(35);
         },
         "1 S ended; sent 0 filled 0 of 1000 to 1000 remains 1000, task running\n",
         {}},
        {"never in the middle of a load",
         [](Guarded& f) {
             f.sale(1, 1000, STATUS_SUCCEEDED);
             f.deal({.key = 7, .side = Side::Sell, .volume = 1000, .strategy = "S", .order = 1});
             f.forget();
             bool asked = false;
             const boost::signals2::scoped_connection slot =
                 f.manager().sigStatDataChanged.connect([&] {
                     if (std::exchange(asked, true)) return;
                     f.manager().runAutoBalanceTimer("A", "S");
                 });
             f.accountReady("A");
             EXPECT_TRUE(asked);
         },
         "1 S ended; sent 0 filled 0 of 0 to 0, balanced\n",
         {}},
        {"deals of an order may come before its reports",
         [](Guarded& f) {
             f.ask();
             f.advance(5);
             f.deal({.key = 7,
                     .side = Side::Sell,
                     .volume = 400,
                     .strategy = "S",
                     .command = 1,
                     .order = 1});
             TC::ManagerAccess::doStockBalance(f.manager(), "A", "S");
             f.sale(1, 300, STATUS_PART_SUCC, 1);
         },
         "1 S sent; sent -1000 filled -400 of 1000 to 1000\n"
         "2 S ended; sent 0 filled 0 of -400 to 600 remains 600, waiting for open orders\n",
         {"S sell 1000"}},
    };
    expectCases({std::begin(cases), std::end(cases)});
}

TEST(Guard, TellsWhatBecameOfEachOrder) {
    const TC::LinkageOptions twice{.guard = true, .rounds = 2, .roundSeconds = 20};
    const Case cases[] = {
        {"rejected, for it had no price",
         [](Guarded& f) {
             f.ask();
             f.advance(5);
             f.sale(1, 0, STATUS_JUNK, 1);
         },
         "1 S ended; sent -1000 filled 0 of 1000 to 1000 remains 1000, no price\n",
         {"S sell 1000"},
         twice},
        {"rejected",
         [](Guarded& f) {
             f.price({.stock = SH, .last = 10.0});
             f.ask();
             f.advance(5);
             f.sale(1, 0, STATUS_JUNK, 1);
         },
         "1 S ended; sent -1000 filled 0 of 1000 to 1000 remains 1000, rejected\n",
         {"S sell 1000"}},
        {"a second round after so long, a third is not left",
         [](Guarded& f) {
             f.ask();
             f.advance(5);
             f.sale(1, 100, STATUS_PART_SUCC, 1);
             f.advance(20);
             EXPECT_EQ(f.cancelled(), Lines{"09:00:25.000 1"});
             f.sale(1, 400, STATUS_PART_CANCEL, 1);
             f.sale(2, 50, STATUS_PART_SUCC, 2, "S", 600);
             f.advance(20);
             f.sale(2, 200, STATUS_PART_CANCEL, 2, "S", 600);
         },
         "1 S ended; sent -1600 filled -600 of 600 to 600 remains 550, resting\n",
         {"S sell 1000", "S sell 600"},
         twice},
        {"refused, but not once an order came",
         [](Guarded& f) {
             f.ask();
             f.advance(5);
             f.sale(1, 0, STATUS_REPORTED, 1);
             f.resultOf(1, "too late");
             f.sale(1, 300, STATUS_PART_CANCEL, 1);
             f.deal({.key = 7, .volume = 50, .strategy = "S"});
         },
         "1 S ended; sent -1000 filled -300 of 1000 to 1000 remains 700, cancelled\n",
         {"S sell 1000"}},
        {"lost, when a load after a minute knows nothing of it",
         [](Guarded& f) {
             f.client().setFault(paper::EService::CommandCenter, paper::EFault::Lost, 1);
             f.ask();
             f.advance(64);
             f.accountReady("A");
             EXPECT_EQ(f.manager().getBalances().front().state, TC::EBalanceState::Sent);
             f.advance(1);
             f.accountReady("A");
             f.ask();
             f.advance(5);
         },
         "1 S ended; sent -1000 filled 0 of 1000 to 1000 remains 1000, "
         "lost: nothing was heard of the order\n"
         "2 S sent; sent -1000 filled 0 of 1000 to 1000\n",
         {"S sell 1000", "S sell 1000"}},
        {"a trading date ends it",
         [](Guarded& f) {
             f.sale(1, 0, STATUS_REPORTED);
             f.ask();
             f.advance(6);
             f.newTradingDate("20240103");
             f.advance(60);
         },
         "1 S ended, new trading date\n",
         {}},
    };
    expectCases({std::begin(cases), std::end(cases)});
}

TEST(Guard, BalancesHistoryLikewise) {
    Guarded f;
    f.release();
    f.writeFile("balancedata.csv", "");
    f.init();
    f.trade(SH, 500, 0);
    f.manager().addHistoryStat("AS", {.m_strAccountKey = "A", .m_strStrategy = "S"});
    f.manager().addHistoryLinkdata("A", "S");
    f.settle();
    f.forget();
    f.manager().doHistoryBalanceBySignalTask("A", "S");
    f.settle();
    f.order({.key = 1,
             .side = Side::Sell,
             .volume = 500,
             .status = STATUS_PART_SUCC,
             .traded = 300,
             .strategy = "S",
             .tag = "历史配平",
             .command = 1});
    f.deal({.key = 2,
            .side = Side::Sell,
            .volume = 100,
            .strategy = "S",
            .tag = "历史配平",
            .command = 1,
            .order = 1});
    f.manager().doHistoryBalance("A", "S");
    f.settle();
    EXPECT_EQ(f.book(),
              "1 S sent; sent -500 filled -300 of 500 to 500\n"
              "2 S ended; sent 0 filled 0 of 0 to 200 remains 200, waiting for open orders\n");
    EXPECT_EQ(f.manager().previewHistoryBalance("A", "S").stocks.at(0).outcome,
              TC::EBalanceOutcome::Waiting);
    EXPECT_EQ(f.manager().previewBalance("A", "S").stocks.at(0).least, 500);

    // The date that runs is announced again: its deals are no new ones.
    f.newTradingDate("20240102");
    const TC::StockBalance again = f.manager().previewHistoryBalance("A", "S").stocks.at(0);
    EXPECT_EQ(again.least, 0);
    EXPECT_EQ(again.most, 200);
}

// ------------------------------------------------------------------- the book on disk

TEST(GuardBook, ARestartGoesOnWithWhatWasSentAndEndsTheRest) {
    for (const bool running : {false, true}) {
        SCOPED_TRACE(running ? "cancelling" : "asked, sent");
        Guarded f;
        f.trade(SH, 1000, 0);
        if (running) f.sale(1, 0, STATUS_REPORTED);
        f.ask();
        if (running) f.advance(5);
        f.release();
        f.init();
        EXPECT_EQ(f.book(), "1 S ended, restart\n");
        if (running) f.sale(1, 0, STATUS_CANCELED);
        f.advance(60);
        EXPECT_EQ(f.sent(), Lines{});

        f.ask();
        f.advance(5);
        f.release();
        f.order({.key = 3,
                 .side = Side::Sell,
                 .volume = 1000,
                 .status = STATUS_PART_SUCC,
                 .traded = 300,
                 .strategy = "S",
                 .push = false,
                 .command = 1});
        f.init();
        const std::string ended = "1 S ended, restart\n";
        EXPECT_EQ(f.book(), ended + "2 S sent; sent -1000 filled -300 of 1000 to 1000\n");
        f.sale(3, 1000, STATUS_SUCCEEDED, 1);
        EXPECT_EQ(f.book(),
                  ended + "2 S ended; sent -1000 filled -1000 of 1000 to 1000, balanced\n");
        f.ask();
        f.advance(60);
        EXPECT_EQ(f.sent().size(), 1u);
    }
}

TEST(GuardBook, WhatMayHaveBeenSentBeforeACrashIsNotSentTwice) {
    Guarded f;
    f.trade(SH, 1000, 0);
    TC::disk::begin();
    f.onRequest = [&] {
        TC::disk::crash();  // between the line in the book and the command center
        throw std::runtime_error("gone");
    };
    f.ask();
    f.advance(5);
    f.onRequest = {};
    f.release();
    TC::disk::restart();
    f.init();
    EXPECT_EQ(f.book(), "1 S sent; sent -1000 filled 0 of 1000 to 1000\n");
    f.ask();
    f.advance(60);
    EXPECT_EQ(f.book(),
              "1 S ended, replaced by balance 2; sent -1000 filled 0 of 1000 to 1000 "
              "remains 1000, resting\n"
              "2 S ended; sent 0 filled 0 of 0 to 1000 remains 1000, "
              "waiting for open orders\n");
    TC::disk::end();
}

TEST(GuardBook, NothingIsSentWithoutALineOnDisk) {
    using TC::disk::EStep;
    for (const EStep step : {EStep::Open, EStep::Write, EStep::Flush}) {
        // With a short write half a line is left behind.
        for (const bool half : {false, true}) {
            if (half && step != EStep::Write) continue;
            SCOPED_TRACE(testing::Message() << static_cast<int>(step) << half);
            Guarded f;
            f.trade(SH, 1000, 0);
            f.ask();
            const int forever = TC::disk::Fault::FOREVER;
            if (half) TC::disk::fail({.step = step, .times = 1});
            TC::disk::fail({.step = step, .after = half, .times = forever, .error = ENOSPC});
            f.advance(5);
            EXPECT_EQ(f.sent(), Lines{});
            EXPECT_EQ(f.manager().getBalances().front().reason,
                      "nothing was sent: the book of balances cannot be written");
            TC::disk::clearFaults();
            f.ask();
            f.advance(5);
            EXPECT_EQ(f.sent().size(), 1u);
            f.release();
            f.init();
            EXPECT_EQ(f.manager().getBalances().size(), 2u);
            EXPECT_EQ(f.manager().getBalances().front().state, TC::EBalanceState::Ended);
            TC::disk::end();
        }
    }
}

TEST(GuardBook, NobodyBalancesWithABookThatIsAnothersToWrite) {
    Guarded f;
    f.trade(SH, 1000, 0);
    f.release();
    const std::string name = "balances-20240102.jsonl";
    const std::string directory = f.dataDir().toStdString() + "/Balance";
    const std::string far = directory + "/../far.jsonl";
    f.writeFile("../far.jsonl", "");
    std::filesystem::create_symlink("../far.jsonl", directory + "/" + name);
    auto other =
        std::make_unique<TC::CDirectoryLock>(directory, std::make_shared<TC::CDiskFiles>());
    other->take();
    f.init();
    EXPECT_FALSE(f.ask());
    EXPECT_THAT(f.logTexts(), testing::Contains(testing::HasSubstr("another client")));
    other.reset();
    EXPECT_TRUE(f.ask()) << "the book is read when it is free";
    f.settle();
    EXPECT_GT(std::filesystem::file_size(far), 0U) << "where the link leads";

    // One that came and went while the lock was lost.
    std::filesystem::remove(directory + "/.lock");
    f.writeFile(name, "what another wrote\n");
    f.advance(5);
    EXPECT_EQ(f.file(name), "what another wrote\n");
    f.release();
    f.init();
    f.ask();
    std::filesystem::resize_file(far, TC::IFileSystem::MOST_BYTES - 1000);
    f.advance(5);
    EXPECT_EQ(f.sent(), Lines{}) << "no later start could read what grows further";
    std::filesystem::resize_file(far, 3'000'000'000);
    f.release();
    f.init();
    EXPECT_FALSE(f.ask()) << "a part of the book is no book";
}

TEST(GuardBook, ADamagedLastLineCostsThatLine) {
    Guarded f;
    f.trade(SH, 1000, 0);
    f.ask();
    f.advance(5);
    f.release();
    const std::string name = "balances-20240102.jsonl";
    const std::string text = f.file(name).value_or("");
    ASSERT_FALSE(text.empty());
    const std::size_t last = text.rfind('\n', text.size() - 2) + 1;
    f.writeFile(name, text.substr(0, last + (text.size() - last) / 2));
    f.init();
    ASSERT_EQ(f.manager().getBalances().size(), 1u);
    f.ask("T");
    f.release();
    f.init();
    EXPECT_EQ(f.manager().getBalances().size(), 2u) << "the next line begins behind the damage";
}
