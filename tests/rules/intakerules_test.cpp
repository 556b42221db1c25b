#include "linkage/core/inbox.h"
#include "linkage/ledger/orderrule.h"
#include "linkage/ledger/profitrule.h"
#include "platform/utils/numberformat.h"
#include "platform/utils/stringmapsum.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

namespace {

using namespace TC;

TEST(OpenLots, CountByStatusAndRemainder) {
    const std::tuple<const char*, int, int, int, int> rows[] = {
        {"half a lot over", 50, 150, 0, 2},  // 150/100 + 0.5 = 2.0
        {"just under half", 50, 149, 0, 1},  // 1.99
        {"partly filled", 55, 1000, 300, 7},
        {"nothing remains yet still reported", 55, 100, 100, 1},
        {"more traded than ordered", 50, 100, 300, 1},
        {"waiting to be reported", 49, 1000, 0, 0},
        {"cancel pending", 52, 1000, 0, 0},
        {"filled", 56, 1000, 1000, 0},
        {"largest", 50, std::numeric_limits<int>::max(), 0, 21474836},  // ….47 + 0.5
    };
    for (const auto& [name, status, volume, traded, lots] : rows) {
        EXPECT_EQ(openLots(status, volume, traded, 100), lots) << name;
    }
}

TEST(PriceLevel, RoundsToTicksAndStaysInRange) {
    using Int = std::numeric_limits<int>;
    const std::tuple<double, double, int> rows[] = {
        {10.01, 0.01, 1001},
        {10.014, 0.01, 1001},
        {10.016, 0.01, 1002},
        {0.0, 0.01, 0},
        {-0.02, 0.01, -1},   // -2 + 0.5 loses its fraction towards zero
        {10.0, 0.0, 10000},  // no step at all counts as 0.001
        {1e12, 0.01, Int::max()},
        {-1e12, 0.01, Int::min()},
        {std::numeric_limits<double>::quiet_NaN(), 0.01, 0},
    };
    for (const auto& [price, step, level] : rows) {
        EXPECT_EQ(priceLevel(price, step), level) << price << " by " << step;
    }
}

TEST(DealMinute, EndsAtOrAfterTheDeal) {
    for (const auto& [time, minute] :
         {std::pair{93000, 570}, {93001, 571}, {92500, 565}, {145959, 900}, {0, -1}}) {
        EXPECT_EQ(dealMinute(time), minute) << time;
    }
}

TEST(TimeNumber, ReadsWhatAtoiReads) {
    using namespace std::string_literals;
    for (const auto& [text, number] : {std::pair{"093001"s, 93001},
                                       {"93001"s, 93001},
                                       {" 93001"s, 93001},
                                       {"-93001"s, -93001},
                                       {"09:300"s, 9},
                                       {"09300x"s, 9300},
                                       {"0930010"s, 930010},
                                       {"0930\0001"s, 930},
                                       {""s, 0}}) {
        EXPECT_EQ(timeNumber(text), number) << text;
    }
}

TEST(Profit, AtAndBesideTheLimits) {
    struct Row {
        const char* name;
        double price;
        int net;
        double bought, sold, commission, profit;
    };
    const DayLimits limits{11, 9};
    const Row rows[] = {
        {"limit-up, short: 11 + 1.1 = 12.1", 11, -100, 0, 1000, 0, -210},
        {"limit-up, long: at the price", 11, 100, 1000, 0, 0, 100},
        {"limit-down, long of one: 9 - 0.9 = 8.1", 9, 1, 9, 0, 0, -0.9},
        {"limit-down, short: at the price", 9, -100, 0, 1000, 0, 100},
        {"limit-down, nothing open", 9, 0, 1000, 1100, 2, 98},
        {"near limit-down", 9 + 0.9e-5, 1, 0, 0, 0, (9 + 0.9e-5) * 0.9},
        {"not so near", 9 + 1.2e-5, 1, 0, 0, 0, 9 + 1.2e-5},
        {"near limit-up", 11 - 0.9e-5, -1, 0, 0, 0, -(11 - 0.9e-5) * 1.1},
        {"not so near", 11 - 1.2e-5, -1, 0, 0, 0, -(11 - 1.2e-5)},
    };
    for (const Row& row : rows) {
        const ValuePrices values = valuePrices(row.price, &limits, 0.1);
        const double profit = profitOf(row.net, row.bought, row.sold, row.commission, values);
        EXPECT_NEAR(profit, row.profit, 1e-9) << row.name;
    }
    EXPECT_DOUBLE_EQ(profitOf(-100, 0, 1000, 0, valuePrices(11, nullptr, 0.1)), -100)
        << "without instrument detail there is no limit";
    for (const char* stock : {"SZST0001", "ST600000", "SH6000ST"}) {
        EXPECT_TRUE(isSpecialTreatment(stock)) << stock;
    }
    for (const char* stock : {"SZ000001", "S"}) EXPECT_FALSE(isSpecialTreatment(stock)) << stock;
}

TEST(RecordSums, SetAndNeverAdd) {
    constexpr int MOST = std::numeric_limits<int>::max();
    utils::TStringMapSum<int> volumes;
    for (const int traded : {100, MOST, MOST, MOST - 250}) volumes.update(7, traded);
    volumes.update(8, 50);
    EXPECT_EQ(volumes.sum(), MOST - 200);
}

// Amounts that come and go leave nothing behind, in whatever order.
TEST(RecordSums, KeepAmountsExactly) {
    std::mt19937 random(5);
    std::vector<double> values(200);
    for (double& value : values) value = (random() % 1'000'000'000) / 100.0;
    utils::TStringMapSum<double> forwards, backwards;
    for (int round = 0; round < 50; ++round) {
        for (std::size_t at = 0; at < values.size(); ++at) {
            forwards.update(at, values[(at + round) % values.size()]);
            backwards.update(values.size() - at, (random() % 1'000'000'000) / 300.0);
        }
    }
    for (std::size_t at = 0; at < values.size(); ++at) {
        forwards.update(at, values[at]);
        backwards.update(values.size() - at, values[at]);
    }
    EXPECT_EQ(forwards.sum(), backwards.sum());
    for (std::size_t at = 0; at < values.size(); ++at) forwards.update(at, 0.0);
    EXPECT_EQ(forwards.sum(), 0.0);

    utils::TStringMapSum<double> spoiled;
    spoiled.update(1, 10.5);
    spoiled.update(2, std::numeric_limits<double>::infinity());
    EXPECT_EQ(spoiled.sum(), 10.5);
    for (const std::uint64_t key : {3u, 4u}) spoiled.update(key, 1e308);
    EXPECT_EQ(spoiled.sum(), 10.5) << "their sum is no number";
    spoiled.update(3, 0.0);
    spoiled.update(4, 0.0);
    spoiled.update(2, 1.0);
    EXPECT_EQ(spoiled.sum(), 11.5);
}

TEST(Inbox, KeepsNotTheRoomOfAStorm) {
    CInbox inbox;
    std::vector<InboxItem> batch;
    const auto storm = [&](std::size_t reports) {
        for (std::size_t each = 0; each < reports; ++each) inbox.push("A", InboxItem::Work());
        return inbox.take(batch) ? batch.size() : 0;
    };
    constexpr std::size_t LARGE = 10 * CInbox::KEPT_ROOM;
    EXPECT_EQ(storm(LARGE), LARGE);
    EXPECT_EQ(storm(LARGE), LARGE);
    for (int each = 0; each < 3; ++each) EXPECT_EQ(storm(10), 10u);
    EXPECT_EQ(storm(0), 0u);
    EXPECT_LE(batch.capacity(), CInbox::KEPT_ROOM);
}

TEST(NumberTexts, ByFlags) {
    using namespace utils;
    EXPECT_EQ(formatDoubleNumber(0.1, FORMAT_NUMBER_SHORTEST), "0.1");
    EXPECT_EQ(formatDoubleNumber(-1234567.891, FORMAT_NUMBER_GROUPED), "-1,234,567.89");
    EXPECT_EQ(formatDoubleNumber(5.0, FORMAT_NUMBER_SIGNED), "+5.00");
    EXPECT_EQ(formatDoubleNumber(std::numeric_limits<double>::infinity()), "--");
    EXPECT_EQ(formatIntNumber(std::numeric_limits<long long>::min()), "-9223372036854775808");
}

}  // namespace
