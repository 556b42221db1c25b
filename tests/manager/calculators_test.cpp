#include "tests/support/fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace tests;

std::vector<SeenSignal> named(const std::vector<SeenSignal>& all, const std::string& name) {
    std::vector<SeenSignal> some;
    std::copy_if(all.begin(), all.end(), std::back_inserter(some),
                 [&](const SeenSignal& each) { return each.name == name; });
    return some;
}

struct Calculators : testing::TestWithParam<int> {
    Ready f{{.clientType = GetParam(), .limitPercent = 12.0, .limitPercentST = 4.0}};
    /// A filled order and its deal. The order has traded twice what the deal tells, so that
    /// figures of the wrong kind show: client type 3 counts orders, the others deals.
    void trade(const Deal& deal) {
        f.order(orderOf(deal, 2 * deal.volume, 2 * deal.volume, vexservice::STATUS_SUCCEEDED));
        f.deal(deal);
    }
    const int m_times = GetParam() == 3 ? 2 : 1;
};

TEST_P(Calculators, PricesPileUpUntilThereIsARecord) {
    f.release();
    f.writeFile("balancedata.csv", "h\nAS,SH600000,100,400,4000,1100,x\n");
    f.init();
    f.manager().historyStatCalculator();  // subscribes, without any record of today
    f.price({.stock = "SH600000", .last = 10.25});
    f.price({.stock = "SH600000", .last = 10.5});
    f.advance(3);
    EXPECT_EQ(f.signalNames(), Texts{"statDataChanged"}) << "of the history alone";
    f.forget();
    f.advance(9);
    EXPECT_TRUE(f.signalNames().empty()) << "no record: nothing to announce";
    const std::map<std::string, double> kept = {{"SH600000", 10.5}};
    EXPECT_EQ(f.state().latestPrices, kept);

    // The quote client has forgotten it: only what piled up can value the record.
    f.price({.stock = "SH600000", .last = std::nullopt, .push = false});
    trade({.key = 1, .strategy = "S"});
    f.forget();
    f.advance(3);
    EXPECT_DOUBLE_EQ(f.manager().getTradeStatDatas("A", "S").at("SH600000")->worth().m_dProfit,
                     50.0 * m_times);
    EXPECT_TRUE(f.state().latestPrices.empty()) << "a pass uses its prices up";
    EXPECT_EQ(f.signalNames(), (Texts{"profitChanged", "profitChanged", "statDataChanged"}));
    f.forget();
    f.advance(3);
    EXPECT_EQ(f.signalNames(), (Texts{"statDataChanged"})) << "a pass without prices";
}

TEST_P(Calculators, MoreHistoryThanAHoldValuesIsValuedWhole) {
    constexpr int KEYS = 450;
    f.release();
    std::string stats = "h\n";
    std::string figures = "h\n";
    for (int key = 0; key < KEYS; ++key) {
        stats += fmt::format("AS{0},id,A,name,2,b,S{0},20240101000000,\n", key);
        figures += fmt::format("AS{},SH600000,100,{},1000,1000,x\n", key, 200 + key);
    }
    f.writeFile("historystatdata.csv", stats);
    f.writeFile("balancedata.csv", figures);
    f.instrument({.stock = "SH600000"});
    f.init();
    f.price({.stock = "SH600000", .last = 10.0, .push = false});
    f.manager().historyStatCalculator();
    const auto valued = f.manager().getHistoryStatData();
    ASSERT_EQ(std::ssize(valued), KEYS);
    for (int key = 0; key < KEYS; ++key) {
        EXPECT_DOUBLE_EQ(valued.at(fmt::format("AS{}", key)).m_dTotalPositionValue,
                         10.0 * (100 + key));
    }
}

// A sum of doubles depends on the order in which they are added. The deals come in another one.
TEST_P(Calculators, MoreNewRecordsThanAHoldSortsAreAddedUpInTheOrderOfTheirStocks) {
    constexpr int STRATEGIES = 30;
    constexpr int STOCKS = 50;
    std::uint64_t key = 0;
    for (int round = 0; round < STOCKS; ++round) {
        const std::string stock = fmt::format("SH6000{:02}", round * 17 % STOCKS);
        f.price({.stock = stock, .last = 10.0, .push = false});
        for (int at = 0; at < STRATEGIES; ++at) {
            trade({.key = ++key,
                   .stock = stock,
                   .price = 10.0 + 0.001 * static_cast<double>(key % 997),
                   .strategy = fmt::format("S{:02}", at)});
        }
    }
    f.forget();
    f.advance(3);
    const auto told = named(f.signals(), "profitChanged");
    ASSERT_EQ(std::ssize(told), STRATEGIES + 1);
    for (const SeenSignal& each : told) {
        double sum = 0.0;
        for (const auto& [stock, record] : f.manager().getTradeStatDatas("A", each.args[1])) {
            sum += record->worth().m_dProfit;
        }
        EXPECT_EQ(std::stod(each.args[2]), sum) << each.args[1];
    }
}

// What the files hold is plain: its figures stand for every client type. What is taken over
// from the day is not: client type 3 counts the orders.
TEST_P(Calculators, HistoryIsRevaluedOnDemandAndItsPricesAnnounced) {
    f.release();
    for (const char* stock : {"SH600000", "SH600001"}) f.instrument({.stock = stock});
    f.writeFile("historystatdata.csv", "h\nAS,id,A,name,2,b,S,20240101000000,\n");
    f.writeFile("balancedata.csv",
                "h\nAS,SH600000,100,400,4000,1100,x\nAS,SH600009,0,700,7000,0,x\n");
    f.init();
    trade({.key = 1,
           .stock = "SH600001",
           .side = Side::Sell,
           .price = 20.0,
           .volume = 50,
           .strategy = "S"});
    f.manager().addHistoryLinkdata("A", "S");
    f.price({.stock = "SH600000", .last = 10.0, .push = false});
    f.price({.stock = "SH600001", .last = 20.0, .push = false});
    const auto stat = [&] {
        f.manager().historyStatCalculator();
        return f.manager().getHistoryStatData().at("AS");
    };
    EXPECT_DOUBLE_EQ(stat().m_dTotalPositionValue, 3000.0 + 1000.0 * m_times);
    EXPECT_EQ(stat().m_nTotalBuyVolume, 400) << "a stock without detail adds nothing";
    EXPECT_EQ(stat().m_nTotalSellVolume, 100 + 50 * m_times);
    const auto records = f.manager().getHistoryLinkageData("AS");
    EXPECT_DOUBLE_EQ(records.at("SH600000")->worth().m_dPositionValue, 3000.0);
    EXPECT_DOUBLE_EQ(records.at("SH600009")->worth().m_dPositionValue, 0.0);
    EXPECT_EQ(f.state().quoteRequests.size(), 3u);
    f.price({.stock = "SH600000", .last = std::nullopt, .push = false});
    EXPECT_DOUBLE_EQ(stat().m_dTotalPositionValue, 1000.0 * m_times);

    f.advance(3);
    f.manager().deleteHistoryLinkageData("AS", "SH600001");
    for (const auto& [stock, times] : {std::pair("SH600000", 2), std::pair("SH600001", 1)}) {
        f.forget();
        f.price({.stock = stock, .last = 10.5});
        f.advance(3);
        const auto changed = named(f.signals(), "statDataChanged");
        EXPECT_EQ(std::ssize(changed), times) << "of the day, and of the history that has it";
        EXPECT_TRUE(f.state().historyPrices.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(ClientTypes, Calculators, testing::Values(1, 3));

}  // namespace
