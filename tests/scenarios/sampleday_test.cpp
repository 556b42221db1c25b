#include "replay/sampleday.h"
#include "replay/dayreport.h"
#include "tests/support/playing.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

/// The made-up day: the same every time, and it goes through the whole circle.
namespace {

std::string smallDay(std::uint64_t seed) {
    std::string text;
    replay::writeSampleDay(
        {.accounts = 2, .strategies = 2, .stocks = 3, .orders = 400, .seed = seed},
        [&](std::string_view line) { (text += line) += '\n'; });
    return text;
}

TEST(SampleDay, IsTheSameForTheSameSeed) {
    EXPECT_EQ(smallDay(7), smallDay(7));
    EXPECT_NE(smallDay(7), smallDay(8));
}

/// What is left of a strategy at the close has a reason; with it everything that the account
/// bought and sold is accounted for.
TEST(SampleDay, EveryPairIsBalancedOrSaysWhyNot) {
    const tests::ScenarioFolder folder;
    tests::writeText(folder.path("day"), smallDay(1));
    replay::CDayReport report(false);
    replay::COutput nowhere([](std::string_view) {});
    EXPECT_EQ(replay::playFile(folder.path("day"), {}, nowhere, &report), "");
    ASSERT_EQ(report.days().size(), 2u);
    const replay::DayFigures& day = report.days().front();
    EXPECT_EQ(day.date, "20231120");
    ASSERT_EQ(day.balances.size(), 4u);
    std::size_t cancelled = 0;
    std::map<std::string, std::size_t> reasons;
    std::map<std::string, std::int64_t> open;
    for (const replay::BalanceFigures& balance : day.balances) {
        SCOPED_TRACE(balance.pair.first + " " + balance.pair.second);
        EXPECT_GT(balance.number, 0);
        EXPECT_GT(balance.filled(), 0);
        cancelled += balance.cancelledOrders + balance.cancelledTasks;
        for (const replay::Remainder& rest : balance.remains) {
            SCOPED_TRACE(rest.stockKey + ": " + rest.reason);
            open[balance.pair.first] += rest.difference;
            ++reasons[rest.reason];
            EXPECT_TRUE(rest.reason != "less than a lot" || std::abs(rest.difference) < 100);
        }
    }
    EXPECT_FALSE(reasons.empty());
    EXPECT_EQ(reasons.count(""), 0u);
    EXPECT_GT(cancelled, 0u);
    for (const auto& [account, difference] : open) {
        const replay::PairFigures& whole = day.pairs.at({account, ""});
        EXPECT_EQ(whole.bought - whole.sold, difference) << account;
    }
    EXPECT_EQ(report.days().back().date, "20231121");
    EXPECT_FALSE(report.days().back().balances.empty());
    EXPECT_FALSE(report.days().back().historyPairs.empty());
}

}  // namespace
