#include "linkage/balance/balancerule.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

using namespace TC;
using vexservice::OPT_BUY;
using vexservice::OPT_SELL;

namespace {

constexpr int MAX = std::numeric_limits<int>::max();
constexpr int MIN = std::numeric_limits<int>::min();

/// What a form decides: to buy (+) or sell (-) so much, or one of the reasons.
constexpr int BALANCED = 0;
constexpr int BELOW = MIN;
constexpr int NO_INSTRUMENT = MIN + 1;
constexpr int buy(int volume) { return volume; }
constexpr int sell(int volume) { return -volume; }

int decided(int bought, int sold, std::optional<BalanceLot> lot, EBalanceForm form) {
    const auto got = decideBalance({bought, sold}, lot, form);
    if (got.outcome == EBalanceOutcome::Balanced) return BALANCED;
    if (got.outcome == EBalanceOutcome::BelowLot) return BELOW;
    if (got.outcome == EBalanceOutcome::NoInstrument) return NO_INSTRUMENT;
    EXPECT_TRUE(got.side == OPT_BUY || got.side == OPT_SELL);
    return got.side == OPT_BUY ? buy(got.volume) : sell(got.volume);
}

struct Row {
    const char* name;
    int bought, sold, unit;
    bool anyVolume;
    int signalTask, grouped, groupedHistory;
};

}  // namespace

TEST(BalanceRule, EveryFormDecidesAsWorkedByHand) {
    const std::vector<Row> rows = {
        // name, bought, sold, unit, any volume, per stock, grouped, grouped history
        {"nothing traded", 0, 0, 100, false, BALANCED, BALANCED, BALANCED},
        {"equal", 1300, 1300, 100, false, BALANCED, BALANCED, BALANCED},
        {"short by two lots and a half", 1000, 1250, 100, false, buy(200), buy(200), buy(250)},
        {"long by two lots and a half", 1250, 1000, 100, false, sell(200), sell(200), sell(250)},
        {"long by half a lot", 1050, 1000, 100, false, sell(50), BELOW, BELOW},
        {"short by half a lot", 1000, 1050, 100, false, BELOW, BELOW, BELOW},
        {"one share below a lot, short", 0, 99, 100, false, BELOW, BELOW, BELOW},
        {"one share below a lot, long", 99, 0, 100, false, sell(99), BELOW, BELOW},
        {"exactly a lot, short", 0, 100, 100, false, buy(100), buy(100), buy(100)},
        {"exactly a lot, long", 100, 0, 100, false, sell(100), sell(100), sell(100)},
        {"one share above a lot", 0, 101, 100, false, buy(100), buy(100), buy(101)},
        {"lots of 200", 0, 450, 200, false, buy(400), buy(400), buy(450)},

        {"any volume, short", 0, 150, 100, true, buy(150), buy(150), buy(150)},
        {"any volume, long", 333, 0, 200, true, sell(333), sell(333), sell(333)},
        {"any volume below a lot, short", 0, 199, 200, true, BELOW, BELOW, BELOW},
        {"any volume below a lot, long", 199, 0, 200, true, sell(199), BELOW, BELOW},

        {"no unit counts as one", 0, 7, 0, false, buy(7), buy(7), buy(7)},
        {"nor a negative one", 7, 0, -100, false, sell(7), sell(7), sell(7)},

        // 2^31 - 1 = 2147483647 = 21474836 lots and 47
        {"all bought", MAX, 0, 100, false, sell(2147483600), sell(2147483600), sell(MAX)},
        {"all sold", 0, MAX, 100, false, buy(2147483600), buy(2147483600), buy(MAX)},
        {"all sold, any volume", 0, MAX, 100, true, buy(MAX), buy(MAX), buy(MAX)},
        {"equal at the limit", MAX, MAX, 100, false, BALANCED, BALANCED, BALANCED},
        {"a share apart at the limit", MAX, MAX - 1, 100, false, sell(1), BELOW, BELOW},
        {"a lot larger than the difference", 0, MAX - 1, MAX, false, BELOW, BELOW, BELOW},
        {"the greatest lot", MAX, 0, MAX, false, sell(MAX), sell(MAX), sell(MAX)},

        // Differences that leave 32 bits: 2^31 - 1 + 50 wraps to -(2^31 - 49) = -2147483599.
        // The side follows the figures, but in history the wrapped difference.
        {"wrapped, long", MAX, -50, 100, false, sell(2147483500), sell(2147483500),
         buy(2147483599)},
        {"wrapped, short", -50, MAX, 100, false, buy(2147483500), buy(2147483500),
         sell(2147483599)},
        {"wrapped to a difference without a size", MAX, -1, 100, false, BELOW, BELOW, BELOW},
        {"the same, short", MIN, 0, 1, true, BELOW, BELOW, BELOW},
        {"wrapped all the way round", MAX, MIN, 1, false, sell(1), sell(1), buy(1)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto by = [&row](EBalanceForm form) {
            return decided(row.bought, row.sold, BalanceLot{row.unit, row.anyVolume}, form);
        };
        EXPECT_EQ(by(EBalanceForm::SignalTask), row.signalTask);
        EXPECT_EQ(by(EBalanceForm::Grouped), row.grouped);
        EXPECT_EQ(by(EBalanceForm::GroupedHistory), row.groupedHistory);
    }
}

TEST(BalanceRule, WithoutInstrumentDetailOnlyBalancedStocksAreDecided) {
    for (const auto form :
         {EBalanceForm::SignalTask, EBalanceForm::Grouped, EBalanceForm::GroupedHistory}) {
        EXPECT_EQ(decided(500, 500, {}, form), BALANCED);
        EXPECT_EQ(decided(500, 400, {}, form), NO_INSTRUMENT);
        EXPECT_EQ(decided(50, 0, {}, form), NO_INSTRUMENT);
    }
}
