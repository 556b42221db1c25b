#include "linkage/core/clinkagemanager.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace tests;

namespace {

TC::TradeStatData totals(std::int64_t bought, std::int64_t sold, double paid = 0.0,
                         double taken = 0.0) {
    TC::TradeStatData data;
    data.m_nId = 42;
    data.m_nTotalBuyVolume = bought;
    data.m_nTotalSellVolume = sold;
    data.m_dTotalBuyAmount = paid;
    data.m_dTotalSellAmount = taken;
    return data;
}

struct HistoryStore : testing::Test {
    Ready f;
    void SetUp() override {
        f.instrument({.stock = "SH600000"});
        f.instrument({.stock = "SZ000001"});
        f.instrument({.stock = "SZ000002", .detail = false});
    }
    TC::CLinkageManager& manager() { return f.manager(); }
    TC::LinkagePeriodExtData& history(const std::string& stock = "SH600000") {
        return *manager().getHistoryLinkageData("AS").at(stock);
    }
    /// A deal of the strategy that balances history.
    Deal balancing(std::uint64_t key, Side side, int volume) {
        return {.key = key, .side = side, .volume = volume, .strategy = "S", .tag = "历史配平"};
    }
};

}  // namespace

TEST_F(HistoryStore, StatisticsMergeByAddingFourFigures) {
    TC::TradeStatData first = totals(100, 50, 1000.5, 500.25);
    first.m_strStrategy = "S";
    manager().addHistoryStat("AS", first);
    TC::TradeStatData second = totals(10, 5, 0.5, 0.25);
    second.m_strStrategy = "other";
    second.m_dTotalPositionValue = 9.0;
    manager().setHistoryStatDataId("AS", 7);
    manager().setHistoryStatDataId("none", 7);
    manager().addHistoryStat("AS", second);
    EXPECT_EQ(f.logTexts(),
              (Texts{"[CLinkageManager::addHistoryStat]:new：key:AS,m_nTotalBuyVolume：100, "
                     "m_nTotalSellVolume:50 ",
                     "[CLinkageManager::addHistoryStat]: key:AS,m_nTotalBuyVolume：110, "
                     "m_nTotalSellVolume:55"}));
    ASSERT_EQ(manager().getHistoryStatData().size(), 1u);
    TC::TradeStatData kept = totals(0, 0);
    ASSERT_TRUE(manager().historyBalance("AS", kept));
    EXPECT_EQ(kept.m_nId, 7);
    EXPECT_EQ(kept.m_nTotalBuyVolume, 110);
    EXPECT_EQ(kept.m_dTotalBuyAmount, 1001.0);
    EXPECT_EQ(kept.m_dTotalSellAmount, 500.5);
    EXPECT_EQ(kept.m_dTotalPositionValue, 0.0);
    EXPECT_EQ(kept.m_strStrategy, "S");
    EXPECT_TRUE(manager().isAlreadyAdd("AS"));
    f.newTradingDate("20240103");
    EXPECT_FALSE(manager().isAlreadyAdd("AS"));
    EXPECT_EQ(manager().getHistoryStatData().size(), 1u);
}

TEST_F(HistoryStore, CarriesUnequalStocksOverAsTheRecordsThatTheyAre) {
    f.deal({.key = 1, .volume = 300, .strategy = "S"});
    f.deal({.key = 2, .side = Side::Sell, .volume = 100, .strategy = "S"});
    f.deal({.key = 3, .stock = "SZ000001", .price = 5.0, .strategy = "S"});
    f.deal({.key = 4, .stock = "SZ000001", .side = Side::Sell, .strategy = "S"});
    f.deal({.key = 5, .stock = "SZ000002", .strategy = "S"});
    f.forget();
    manager().addHistoryLinkdata("A", "S");
    EXPECT_EQ(f.logTexts(),
              (Texts{"[CLinkageManager::addHistoryLinkdata]:new:key:AS,stock: SH600000 "
                     ",sellVolume：100, buyVolume:300"}))
        << "equal volumes and stocks without detail stay behind";
    const auto today = manager().getTradeStatDatas("A", "S").at("SH600000");
    EXPECT_EQ(manager().getHistoryLinkageData("AS").at("SH600000"), today);

    f.forget();
    manager().addHistoryLinkdata("A", "S");
    EXPECT_EQ(f.logTexts(), (Texts{"[CLinkageManager::addHistoryLinkdata]:key:AS,stock: SH600000 "
                                   ",sellVolume：200, buyVolume:600"}))
        << "the shared record was added to itself";
    EXPECT_EQ(today->deals().m_dBuyAmount, 6000.0);
    EXPECT_EQ(today->deals().m_dSellAmount, 2000.0);
    EXPECT_TRUE(manager().getHistoryLinkageData("A").empty());
}

TEST_F(HistoryStore, Deletions) {
    manager().addHistoryStat("equal", totals(5, 5));
    manager().addHistoryStat("open", totals(5, 6));
    f.deal({.key = 1, .volume = 300, .strategy = "S"});
    manager().addHistoryLinkdata("A", "S");
    f.forget();
    manager().deleteHistoryAlreadyBalancedata();
    EXPECT_EQ(f.logTexts(), (Texts{"Delete history already balanced data : equal"}));
    ASSERT_EQ(manager().getHistoryStatData().size(), 1u);
    EXPECT_EQ(manager().getHistoryStatData().count("open"), 1u);

    manager().deleteHistoryLinkageData("AS", "none");
    EXPECT_EQ(manager().getHistoryLinkageData("AS").size(), 1u);
    manager().deleteHistoryLinkageData("AS", "SH600000");
    f.settle();
    EXPECT_EQ(f.state().historyLinkageData.at("AS").size(), 0u) << "the key stays";
    EXPECT_EQ(f.file("balancedata.csv"), "key,股票代码,卖量,买量,买额,卖额,添加日期\n");

    f.deal(balancing(9, Side::Sell, 100));
    manager().addBalanceTime("A:S", "100000");
    f.settle();
    manager().deleteAllHisTorydata();
    const TC::ManagerState state = f.state();
    EXPECT_TRUE(state.historyStatData.empty() && state.historyLinkageData.empty());
    EXPECT_TRUE(state.alreadyAddedKeys.empty());
    EXPECT_EQ(state.writtenTradeKeys.size(), 1u);
    EXPECT_EQ(state.balanceTimes.size(), 1u);
    EXPECT_FALSE(f.file("historystatdata.csv") || f.file("balancedata.csv"));
    EXPECT_EQ(f.file("detail.csv"), "账号策略,交易key,\nAS,20240102_9\n");
}

TEST_F(HistoryStore, FiguresWithoutRoomAreRefused) {
    constexpr int MOST = std::numeric_limits<int>::max();
    f.deal({.key = 1, .volume = MOST - 5, .amount = 1.0, .strategy = "S"});
    f.deal({.key = 2, .stock = "SZ000001", .volume = MOST, .amount = 1.0, .strategy = "S"});
    f.deal({.key = 3, .stock = "SZ000001", .volume = 1000, .amount = 1.0, .strategy = "S"});
    manager().addHistoryLinkdata("A", "S");
    manager().addHistoryLinkdata("A", "S");
    f.deal(balancing(4, Side::Buy, 10));
    EXPECT_EQ(history().deals().m_nBuyVolume, MOST - 5) << "neither doubled nor wrapped";
    EXPECT_EQ(manager().getHistoryLinkageData("AS").size(), 1u) << "what ran over is not known";

    constexpr auto FULL = std::numeric_limits<std::int64_t>::max();
    manager().addHistoryStat("AS", totals(FULL, 0));
    manager().addHistoryStat("AS", totals(1, 0));
    manager().addHistoryStat("AT", totals(0, 0, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(manager().getHistoryStatData().at("AS").m_nTotalBuyVolume, FULL);
    EXPECT_EQ(manager().getHistoryStatData().size(), 1u);
    const Texts log = f.logTexts();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](auto& line) { return line.find("refused") != line.npos; }),
              5);
}

TEST_F(HistoryStore, ABalancingDealMovesItsStockOnceAndMakesNone) {
    f.deal({.key = 1, .volume = 300, .strategy = "S"});
    manager().addHistoryLinkdata("A", "S");
    manager().writedata(false);
    f.release();
    f.advance(86400);
    f.newTradingDate("20240103");
    f.init();
    manager().addHistoryStat("AS", totals(300, 0));
    f.forget();
    f.deal(balancing(7, Side::Sell, 200));
    EXPECT_EQ(f.signalNames(), Texts{});
    f.deal(balancing(7, Side::Sell, 200));
    EXPECT_EQ(history().deals().m_nSellVolume, 200);
    EXPECT_EQ(history().deals().m_dSellAmount, 2000.0);
    EXPECT_EQ(history().deals().m_nBuyVolume, 300);
    EXPECT_EQ(manager().getHistoryStatData().at("AS").m_nTotalSellVolume, 200);
    EXPECT_EQ(manager().getHistoryStatData().at("AS").m_dTotalSellAmount, 2000.0);

    Deal other = balancing(8, Side::Sell, 100);
    other.stock = "SZ000001";
    f.deal(other);
    EXPECT_EQ(manager().getHistoryLinkageData("AS").size(), 1u);

    // The data center reports the deals again after the restart.
    f.release();
    f.init();
    EXPECT_EQ(history().deals().m_nSellVolume, 200);
    f.deal(balancing(9, Side::Buy, 100));
    EXPECT_EQ(history().deals().m_nBuyVolume, 400);
    EXPECT_EQ(f.state().writtenTradeKeys.at("AS"),
              (std::set<std::string>{"20240103_7", "20240103_8", "20240103_9"}));
}

TEST(HistoryStoreType3, ABalancingDealMovesTheFiguresThatCount) {
    Ready f({.clientType = 3});
    f.instrument({.stock = "SH600000"});
    f.order({.volume = 300, .status = 56, .traded = 300, .strategy = "S"});
    f.manager().addHistoryLinkdata("A", "S");
    f.deal({.key = 2, .side = Side::Sell, .volume = 100, .strategy = "S", .tag = "历史配平"});
    const auto record = f.manager().getHistoryLinkageData("AS").at("SH600000");
    EXPECT_EQ(TC::effectiveFigures(*record, true).net(), 200);
    EXPECT_EQ(TC::effectiveFigures(*record, true).sellAmount, 1000.0);

    // Summed figures are added to the plain ones, which do not count here.
    f.manager().addHistoryLinkdata("A", "S");
    EXPECT_EQ(record->deals().m_nBuyVolume, 300);
    EXPECT_EQ(TC::effectiveFigures(*record, true).net(), 200);
}

TEST_F(HistoryStore, RunningOrdersAndTasksThatBalanceHistory) {
    // Orders of S, T and all, tasks of S and all.
    const auto running = [&] {
        const auto orders = [&](auto* of) { return manager().getHistoryRunningOrders("A", of); };
        const auto tasks = [&](auto* of) { return manager().getHistoryRunningTasks("A", of); };
        return std::vector<int>{orders("S"), orders("T"), orders(""), tasks("S"), tasks("")};
    };
    f.order({.key = 1, .status = 56, .strategy = "S", .tag = "历史配平"});
    EXPECT_TRUE(f.state().historyOrders.empty()) << "a final order that never ran";
    f.order({.key = 1, .strategy = "S", .tag = "历史配平"});
    f.order({.key = 2, .strategy2 = "T", .tag = "历史配平"});
    f.order({.key = 2, .status = 55, .traded = 50, .strategy2 = "T", .tag = "历史配平"});
    f.order({.key = 3, .tag = "历史配平"});
    f.task({.key = 4, .strategy = "S", .tag = "历史配平"});
    EXPECT_EQ(running(), (std::vector<int>{1, 1, 3, 1, 1}));
    EXPECT_EQ(manager().getRunningOrders("A", "") + manager().getRunningTasks("A", ""), 0);

    f.order({.key = 2, .status = 53, .strategy2 = "T", .tag = "历史配平"});
    f.task({.key = 4, .status = 7, .strategy = "S", .tag = "历史配平"});
    EXPECT_EQ(running(), (std::vector<int>{1, 0, 2, 0, 0}));
    EXPECT_EQ(manager().getHistoryRunningOrders("B", "S"), 0);
    f.newTradingDate("20240103");  // yesterday's orders will never be reported again
    EXPECT_EQ(running(), (std::vector<int>{0, 0, 0, 0, 0}));
}
