#include "linkage/balance/guardrule.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace TC;

namespace {

GuardOrder order(bool buys, std::int64_t volume, std::int64_t traded, bool runs,
                 std::int64_t dealt = -1, std::int64_t counted = 0,
                 const std::string& strategy = "S") {
    return {.strategy = strategy,
            .buys = buys,
            .runs = runs,
            .named = dealt >= 0,
            .volume = volume,
            .traded = traded,
            .dealt = dealt >= 0 ? dealt : 0,
            .counted = counted};
}

constexpr bool BUY = true;
constexpr bool SELL = false;
constexpr bool RUNS = true;
constexpr bool ENDED = false;

}  // namespace

TEST(GuardRule, CountsWhatWasTradedAndWhatIsOpen) {
    struct Row {
        const char* name;
        GuardInput input;
        std::int64_t bought, sold, least, most;
    };
    const Row rows[] = {
        {"report ahead of its deals",
         {.orders = {order(SELL, 1000, 1000, ENDED, 300)}},
         0,
         1000,
         -1000,
         -1000},
        {"deals ahead of their report",
         {.orders = {order(SELL, 1000, 300, RUNS, 700)}},
         0,
         700,
         -1000,
         -700},
        {"deals of an order without any report",
         {.orders = {order(BUY, 0, 0, ENDED, 200)}},
         200,
         0,
         200,
         200},
        {"deals that name no order are those of the orders that no deal names",
         {.orders = {order(BUY, 500, 500, ENDED), order(BUY, 400, 100, RUNS)},
          .deals = {{"S", BUY, 450}}},
         600,
         0,
         600,
         900},
        {"or more than those",
         {.orders = {order(BUY, 500, 100, ENDED)}, .deals = {{"S", BUY, 450}}},
         450,
         0,
         450,
         450},
        {"strategies stand apart",
         {.orders = {order(BUY, 500, 500, ENDED, -1, 0, "T")}, .deals = {{"S", BUY, 450}}},
         950,
         0,
         950,
         950},
        {"an order that ended has nothing open",
         {.orders = {order(SELL, 1000, 200, ENDED)}, .unheard = {{SELL, 300}, {BUY, -5}}},
         0,
         200,
         -500,
         -200},
        {"the history record holds counted deals already",
         {.bought = 500,
          .sold = 100,
          .orders = {order(SELL, 400, 300, RUNS, 100, 100)},
          .deals = {{"S", SELL, 60, true}}},
         500,
         300,
         100,
         200},
        {"64 bits",
         {.orders = {order(BUY, 0, 2'000'000'000, ENDED, 0),
                     order(BUY, 0, 2'000'000'000, ENDED, 0)}},
         4'000'000'000,
         0,
         4'000'000'000,
         4'000'000'000},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const GuardVolumes got = guardVolumes(row.input);
        EXPECT_EQ(got.bought, row.bought);
        EXPECT_EQ(got.sold, row.sold);
        EXPECT_EQ(got.least(), row.least);
        EXPECT_EQ(got.most(), row.most);
    }
}

TEST(GuardRule, SendsWhatIsUnequalHoweverOpenOrdersEnd) {
    using enum EBalanceOutcome;
    constexpr auto SignalTask = EBalanceForm::SignalTask;
    constexpr auto Grouped = EBalanceForm::Grouped;
    struct Row {
        GuardVolumes volumes;
        EBalanceForm form;
        EBalanceOutcome outcome;
        std::int64_t volume;  ///< a sale is negative
    };
    const Row rows[] = {
        {{1000, 0, 0, 0}, SignalTask, Order, -1000},
        {{1000, 0, 0, 350}, SignalTask, Order, -600},
        {{1000, 0, 500, 0}, SignalTask, Order, -1000},
        {{1000, 0, 0, 1000}, SignalTask, Waiting, 0},
        {{0, 1000, 950, 700}, SignalTask, BelowLot, 0},
        {{0, 1000, 300, 0}, SignalTask, Order, 700},
        {{1050, 1000, 0, 0}, SignalTask, Order, -50},
        {{1050, 1000, 0, 0}, Grouped, BelowLot, 0},
        {{700, 700, 100, 100}, SignalTask, Balanced, 0},
        {{1000, 0, 0, 0, true}, SignalTask, TaskRunning, 0},
        {{5'000'000'000, 0, 0, 0}, SignalTask, Order, -2'147'483'600},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.volumes.least() << " to " << row.volumes.most());
        const auto got = decideGuarded(row.volumes, BalanceLot{}, row.form);
        EXPECT_EQ(got.outcome, row.outcome);
        if (row.outcome != Order) continue;
        const std::int64_t sign = got.side == vexservice::OPT_BUY ? 1 : -1;
        EXPECT_EQ(sign * got.volume, row.volume);
    }
    EXPECT_EQ(decideGuarded({1, 0, 0, 0}, {}, SignalTask).outcome, NoInstrument);
}
