#include "replay/sampleday.h"
#include "replay/dayreport.h"
#include "tests/support/playing.h"

#include <gtest/gtest.h>

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

TEST(SampleDay, PlaysTwiceToTheSameBytes) {
    const tests::ScenarioFolder folder;
    const tests::Played first = folder.play(smallDay(1));
    const tests::Played second = folder.play(smallDay(1));
    EXPECT_EQ(first.fault, "");
    EXPECT_TRUE(first.output == second.output);
}

/// What was bought less what was sold is, at the close, what the balance says remains.
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
    bool cancelled = false;
    for (const auto& [pair, balance] : day.balances) {
        SCOPED_TRACE(pair.first + " " + pair.second);
        const replay::PairFigures& figures = day.pairs.at(pair);
        EXPECT_FALSE(balance.asked.empty());
        EXPECT_GT(balance.sent, 0);
        EXPECT_GT(balance.filled, 0);
        cancelled = cancelled || balance.cancelledOrders + balance.cancelledTasks > 0;
        std::int64_t open = 0;
        for (const std::string& text : balance.remains) {
            open += std::stoll(text.substr(text.find(' ') + 1));
        }
        EXPECT_EQ(figures.bought - figures.sold, open);
    }
    EXPECT_TRUE(cancelled);
    EXPECT_EQ(report.days().back().date, "20231121");
    EXPECT_FALSE(report.days().back().historyBalances.empty());
}

}  // namespace
