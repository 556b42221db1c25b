#include "tests/support/fixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace tests;
using Texts = std::vector<std::string>;

std::vector<SeenSignal> named(const std::vector<SeenSignal>& all, const std::string& name) {
    std::vector<SeenSignal> some;
    std::copy_if(all.begin(), all.end(), std::back_inserter(some),
                 [&](const SeenSignal& each) { return each.name == name; });
    return some;
}

struct Calculators : testing::TestWithParam<int> {
    Fixture f{{.clientType = GetParam()}};
    void SetUp() override {
        f.account({.key = "A"});
        f.init();
        f.forget();
    }
    double profit(const std::string& strategy, const std::string& stock) {
        return f.manager().getTradeStatDatas("A", strategy).at(stock)->deals().m_dProfit;
    }
    /// A filled order and its deal, so that figures of both kinds agree.
    void trade(std::uint64_t key, const std::string& stock, Side side, double price, int volume,
               const std::string& strategy) {
        f.order({.key = key, .stock = stock, .side = side, .price = price, .volume = volume,
                 .status = 56, .traded = volume, .strategy = strategy});
        f.deal({.key = key, .stock = stock, .side = side, .price = price, .volume = volume,
                .strategy = strategy});
    }
};

TEST_P(Calculators, PricesPileUpUntilThereIsARecord) {
    f.manager().historyStatCalculator();
    f.deal({.key = 1, .volume = 100, .strategy = "S", .tag = "历史配平"});
    f.advance(9);
    EXPECT_TRUE(f.signalNames().empty()) << "no record: nothing to announce";
    trade(2, "SH600000", Side::Buy, 10.0, 100, "S");
    f.price({.stock = "SH600000", .last = 10.5});
    f.forget();
    f.advance(3);
    EXPECT_DOUBLE_EQ(profit("S", "SH600000"), 50.0);
    EXPECT_TRUE(f.state().latestPrices.empty()) << "a pass uses its prices up";
    EXPECT_EQ(f.signalNames(), (Texts{"profitChanged", "profitChanged", "statDataChanged"}));
}

TEST_P(Calculators, StaleRecordCountsAndUntouchedStrategyIsSilent) {
    f.price({.stock = "SH600000", .last = 10.0, .push = false});
    f.price({.stock = "SH600001", .last = 20.0, .push = false});
    trade(1, "SH600000", Side::Buy, 10.0, 100, "S");
    trade(2, "SH600001", Side::Sell, 20.0, 100, "S");
    trade(3, "SH600001", Side::Buy, 20.0, 300, "T");
    f.price({.stock = "SH600000", .last = 11.0});
    f.price({.stock = "SH600001", .last = 19.0});
    f.advance(3);
    EXPECT_DOUBLE_EQ(profit("S", "SH600000"), 100.0);
    EXPECT_DOUBLE_EQ(profit("S", "SH600001"), 100.0);
    EXPECT_DOUBLE_EQ(profit("T", "SH600001"), -300.0);
    f.forget();
    f.price({.stock = "SH600000", .last = 12.0});
    f.advance(3);
    const auto changed = named(f.signals(), "profitChanged");
    ASSERT_EQ(changed.size(), 2u);
    EXPECT_EQ(changed[0].args, (Texts{"A", "", "0"})) << "200 + 100 - 300, in key order";
    EXPECT_EQ(changed[1].args, (Texts{"A", "S", "300"}));
    EXPECT_EQ(changed[0].at, "09:00:06.000");
    f.forget();
    f.advance(3);
    EXPECT_EQ(f.signalNames(), (Texts{"statDataChanged"})) << "a pass without prices";
}

INSTANTIATE_TEST_SUITE_P(ClientTypes, Calculators, testing::Values(1, 3));

TEST(CalculatorLimits, PercentagesComeFromTheUserData) {
    Fixture f({.limitPercent = 10, .limitPercentST = 5});
    for (const char* stock : {"SH600000", "SH6ST000"}) {
        f.instrument({.stock = stock, .reference = 10.0, .limitUp = 11.0, .limitDown = 9.0});
    }
    f.account({.key = "A"});
    f.init();
    f.deal({.key = 1, .stock = "SH600000", .side = Side::Sell, .price = 10, .volume = 100});
    f.deal({.key = 2, .stock = "SH6ST000", .side = Side::Sell, .price = 10, .volume = 100});
    for (const char* stock : {"SH600000", "SH6ST000"}) f.price({.stock = stock, .last = 11.0});
    f.advance(3);
    const auto records = f.manager().getTradeStatDatas("A", "");
    EXPECT_NEAR(records.at("SH600000")->deals().m_dProfit, 1000 - 1210, 1e-9);
    EXPECT_NEAR(records.at("SH6ST000")->deals().m_dProfit, 1000 - 1155, 1e-9);
    EXPECT_NEAR(records.at("SH600000")->deals().m_dPositionValue, 1100, 1e-9);
}

TEST(HistoryCalculator, RevaluesOnDemandAndAnnouncesPrices) {
    Fixture f;
    f.instrument({.stock = "SH600000"});
    f.account({.key = "A"});
    f.writeFile("historystatdata.csv", "h\nAS,id,A,name,2,b,S,20240101000000,\n");
    f.writeFile("balancedata.csv",
                "h\nAS,SH600000,100,400,4000,1100,x\nAS,SH600009,0,700,7000,0,x\n");
    f.init();
    f.price({.stock = "SH600000", .last = 10.0, .push = false});
    f.manager().historyStatCalculator();
    const TC::TradeStatData stat = f.manager().getHistoryStatData().at("AS");
    EXPECT_DOUBLE_EQ(stat.m_dTotalPositionValue, 3000.0);
    EXPECT_EQ(stat.m_nTotalBuyVolume, 400) << "a stock without detail adds nothing";
    EXPECT_EQ(stat.m_nTotalSellVolume, 100);
    EXPECT_EQ(f.state().quoteRequests.size(), 2u);
    f.price({.stock = "SH600000", .last = std::nullopt, .push = false});
    f.manager().historyStatCalculator();
    EXPECT_DOUBLE_EQ(f.manager().getHistoryStatData().at("AS").m_dTotalPositionValue, 0.0);
    f.advance(3);
    f.forget();
    f.price({.stock = "SH600000", .last = 10.5});
    EXPECT_TRUE(f.signalNames().empty());
    f.advance(3);
    EXPECT_EQ(f.signalNames(), (Texts{"statDataChanged"}));
    EXPECT_TRUE(f.state().historyPrices.empty());
}

}  // namespace
