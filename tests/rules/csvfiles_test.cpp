#include "linkage/store/csvfiles.h"

#include <gtest/gtest.h>

#include <limits>

using namespace TC;

TEST(CsvFiles, BalanceRowToTheByte) {
    // Sold stands before bought in the volumes, bought before sold in the amounts.
    EXPECT_EQ(csv::balanceRow("K", "SH600000", {300, 100, 3012.5, 1000.00000000005}, "S"),
              "K,SH600000,100,300,3012.5000000000,1000.0000000001,S\n");
    constexpr int MIN = std::numeric_limits<int>::min();
    EXPECT_EQ(csv::balanceRow("K", "", {MIN, 0, 1e15, -0.25}, ""),
              "K,,0,-2147483648,1000000000000000.0000000000,-0.2500000000,\n");
}

TEST(CsvFiles, ReaderTakesRowsOfTheRightLengthOnly) {
    const std::string row = "K,F,A,N,T,B,S,20240102000000,";
    const std::tuple<const char*, std::string, std::size_t> cases[] = {
        {"nothing", "", 0},
        {"header only", "h\n", 0},
        {"one line, which is the header", row, 0},
        {"no end of the last line", "h\n" + row, 1},
        {"with the balance time", "h\n" + row + "153000\n", 1},
        {"carriage returns", "h\r\n" + row + "\r\n" + row + "\r\n", 2},
        {"blank lines between", "h\n\n" + row + "\n\n", 1},
        {"a comma too many, one too few", "h\nx," + row + "\nK,F,A,N,T,B,S,\n" + row + "\n", 1},
        {"an empty key", "h\n,F,A,N,T,B,S,20240102000000,\n", 1},
    };
    for (const auto& [name, text, rows] : cases) {
        EXPECT_EQ(csv::readStatRows(text).size(), rows) << name;
    }

    const auto read = csv::readStatRows("h\nK,F,A,N,T,B,S,20240102000000,153000\r\n").at(0);
    const TradeStatData& data = read.record;
    EXPECT_EQ(read.key + data.m_strFundAccountId + data.m_strAccountKey + data.m_strAccountName +
                  data.m_strAccountType + data.m_strBroker + data.m_strStrategy + read.stamp +
                  read.balanceTime,
              "KFANTBS20240102000000153000");
    EXPECT_EQ(data.m_nId, -1);

    const auto deals = csv::readDetailRows("h\nK,20240102_1\nK,20240102_2,\n,x\n");
    ASSERT_EQ(deals.size(), 2u);
    EXPECT_EQ(deals[0].tradeKey, "20240102_1");
    EXPECT_EQ(deals[1].key, "");
}

TEST(CsvFiles, NumbersThatAreNoneReadAsNothing) {
    const std::tuple<std::string, const char*, int, double> cases[] = {
        {"100", "12.5000000000", 100, 12.5},
        {"-100", "-1", -100, -1.0},
        {" 7 ", "1e3", 7, 1000.0},
        {"1e3", "", 0, 0.0},
        {"12.5", "x", 0, 0.0},
        {"2147483648", "1.2.3", 0, 0.0},
        {"0x10", "12;5", 0, 0.0},
        {"1", "nan", 1, 0.0},
        {"2", "-inf", 2, 0.0},
        {"3", "1e400", 3, 0.0},
    };
    for (const auto& [sold, amount, soldRead, amountRead] : cases) {
        SCOPED_TRACE(sold);
        const auto rows =
            csv::readBalanceRows("h\nK,SH600000," + sold + ",300," + amount + ",2,ignored\n");
        ASSERT_EQ(rows.size(), 1u);
        const auto& figures = rows[0].figures;
        EXPECT_EQ(std::pair(figures.buyVolume, figures.sellVolume), std::pair(300, soldRead));
        EXPECT_EQ(std::pair(figures.buyAmount, figures.sellAmount), std::pair(amountRead, 2.0));
    }
    EXPECT_TRUE(csv::readBalanceRows("h\n,SH600000,1,1,1,1,d\nK,SH600000,1,1,1,1\n").empty());
}

TEST(CsvFiles, TradeKeysAndBalanceTimes) {
    EXPECT_EQ(csv::tradeKey("20240105", "x_1"), "20240105_x_1");
    const auto times =
        csv::timesByHistoryKey({{"A:B:S", "100000"}, {"AB:S", "110000"}, {"C:", "x"}});
    EXPECT_EQ(times, (std::map<std::string, std::string>{{"ABS", "100000"}, {"C", "x"}}));
}
