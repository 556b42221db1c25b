#include "linkage/core/clinkagemanager.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/diskfaults.h"
#include "linkage/store/fileencoding.h"
#include "tests/support/fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <thread>

using namespace tests;

namespace {

const std::string STAT_HEADER =
    "key,资金账号ID,账号key值,账号名称,账号类型,经纪公司,策略名称,添加日期,配平时间,\n";
const std::string BALANCE_HEADER = "key,股票代码,卖量,买量,买额,卖额,添加日期\n";
const std::string DETAIL_HEADER = "账号策略,交易key,\n";

using Manager = utils::CSingletonT<TC::CLinkageManager>;

TC::TradeStatData stat(const std::string& account, const std::string& strategy) {
    TC::TradeStatData data;
    data.m_strAccountKey = account;
    data.m_strFundAccountId = "8800";
    data.m_strAccountName = "张三";
    data.m_strAccountType = "2";
    data.m_strBroker = "某证券";
    data.m_strStrategy = strategy;
    data.m_nTotalBuyVolume = 300;
    return data;
}

/// Bought 300 for 3000 by orders, of which 200 for 2002 are known as deals.
void trade(Fixture& f) {
    f.instrument({.stock = "SH600000"});
    f.account({.key = "A"});
    f.init();
    f.order({.volume = 300, .status = 56, .traded = 300, .strategy = "S"});
    f.deal({.price = 10.01, .volume = 200, .strategy = "S"});
    f.manager().addHistoryStat("AS", stat("A", "S"));
    f.manager().addHistoryLinkdata("A", "S");
}

/// A deal of the strategy that balances history.
Deal balancing(std::uint64_t key) {
    return {.key = key, .side = Side::Sell, .volume = 10, .strategy = "S", .tag = "历史配平"};
}

bool logged(const Fixture& f, const std::string& part) {
    return fmt::format("{}", fmt::join(f.logTexts(), "\n")).find(part) != std::string::npos;
}

struct SaveFiles : testing::TestWithParam<int> {};

}  // namespace

TEST_P(SaveFiles, BothWritersToTheByteAndBackThroughARestart) {
    Fixture f({.now = "2024-01-02 14:00:00", .clientType = GetParam()});
    trade(f);
    f.settle();
    EXPECT_FALSE(f.file("historystatdata.csv")) << "carrying over writes no file";

    f.manager().writedata(false);
    f.settle();
    const std::string row = "AS,8800,A,张三,2,某证券,S,20240102000000,";
    const std::string figures = GetParam() == 3 ? "0,300,3000.0000000000,0.0000000000"
                                                : "0,200,2002.0000000000,0.0000000000";
    const std::string balance = BALANCE_HEADER + "AS,SH600000," + figures + ",20240102000000\n";
    EXPECT_EQ(f.file("historystatdata.csv"), STAT_HEADER + row + "\n");
    EXPECT_EQ(f.file("balancedata.csv"), balance);
    EXPECT_EQ(f.file("detail.csv"), DETAIL_HEADER);

    f.manager().writedata(true);
    f.settle();
    EXPECT_EQ(f.file("historystatdata.csv"),
              STAT_HEADER + "AS,8800,A,张三,2,某证券,S,20240102140000,\n");

    f.manager().addBalanceTime("A:S", "103000");
    f.settle();
    EXPECT_EQ(f.file("historystatdata.csv"), STAT_HEADER + row + "103000\n");
    EXPECT_EQ(f.file("detail.csv"), DETAIL_HEADER);

    f.release();
    f.init();
    const TC::ManagerState state = f.state();
    EXPECT_EQ(state.balanceTimes, (TC::ByText<std::string>{{"A:S", "103000"}}));
    const TC::TradeStatData& loaded = state.historyStatData.at("AS");
    EXPECT_EQ(loaded.m_nId, -1);
    EXPECT_EQ(loaded.m_strAccountName, "张三");
    EXPECT_EQ(loaded.m_strBroker, "某证券");
    EXPECT_EQ(loaded.m_nTotalBuyVolume, 0) << "the file has no totals";
    EXPECT_TRUE(state.alreadyAddedKeys.empty());
    const auto record = state.historyLinkageData.at("AS").at("SH600000");
    EXPECT_TRUE(record->m_bPlain);
    EXPECT_EQ(record->deals().m_nBuyVolume, GetParam() == 3 ? 300 : 200);

    f.manager().writedata(false);
    f.settle();
    EXPECT_EQ(f.file("balancedata.csv"), balance) << "loaded figures are written as they stand";

    // Writer 1 loses the balance times of the file, and only of the file.
    f.manager().deleteHistoryAlreadyBalancedata();
    f.settle();
    EXPECT_EQ(f.file("historystatdata.csv"), STAT_HEADER) << "0 bought, 0 sold: balanced";
    EXPECT_EQ(f.manager().getBalanceTime().size(), 1u);
}
INSTANTIATE_TEST_SUITE_P(ClientTypes, SaveFiles, testing::Values(1, 3));

TEST(SaveFilesOnce, StampsOfTheFileDecideWhatIsAlreadyAdded) {
    Fixture f({.now = "2024-01-05 16:00:00"});
    f.writeFile("historystatdata.csv", STAT_HEADER + "N,,A,,,,N,20240105152959,\n" +
                                           "Y,,A,,,,Y,20240105153000,093000\n" +
                                           "L,,A,,,,L,20240106000000,\n");
    f.create();
    EXPECT_EQ(f.state().alreadyAddedKeys, (std::set<std::string>{"L", "Y"}));
    EXPECT_EQ(f.manager().getBalanceTime(),
              (std::map<std::string, std::string>{{"A:Y", "093000"}}));
}

TEST(SaveFilesOnce, DetailKeepsTodaysDealsAndTheRolloverRemovesIt) {
    Fixture f({.now = "2024-01-05 10:00:00"});
    f.writeFile("detail.csv",
                DETAIL_HEADER + "AS,20240104_1\nAS,20240105_2\nAS,nothing\nAT,20240105_1_3\n");
    f.init();
    EXPECT_EQ(f.state().writtenTradeKeys.at("AS").size(), 3u);
    f.manager().writedata(false);
    f.settle();
    EXPECT_EQ(f.file("detail.csv"), DETAIL_HEADER + "AS,20240105_2\nAT,20240105_1_3\n");

    f.manager().writedata(false);  // still waiting when the day changes, or not
    f.newTradingDate("20240108");
    EXPECT_TRUE(f.state().writtenTradeKeys.empty());
    const auto detail = f.file("detail.csv");
    EXPECT_TRUE(!detail || *detail == DETAIL_HEADER) << *detail;
}

TEST(SaveFilesOnce, TheSystemPage) {
    Fixture f({.now = "2024-01-02 14:00:00", .fileEncoding = "GBK"});
    trade(f);
    f.manager().writedata(false);
    f.settle();
    const std::string row = "AS,8800,A,张三,2,某证券,S,20240102000000,\n";
    const auto gbk = [](const std::string& text) {
        return TC::encodeText(text, TC::EFileEncoding::Gbk);
    };
    EXPECT_EQ(f.file("historystatdata.csv"), gbk(STAT_HEADER + row));
    EXPECT_NE(gbk(STAT_HEADER), STAT_HEADER);
}

TEST(SaveFilesOnce, ReleaseFinishesWhatWasAskedForEvenFromASlotUnderTheLock) {
    Fixture f({.now = "2024-01-02 14:00:00"});
    trade(f);
    constexpr unsigned DEALS = 1000;
    for (unsigned each = 1; each <= DEALS; ++each) {
        f.client().report("A", f.makeDeal(balancing(100 + each)));
    }
    f.settle();
    f.release();
    const std::string detail = f.file("detail.csv").value();
    EXPECT_EQ(std::count(detail.begin(), detail.end(), '\n'), DEALS + 1);
    EXPECT_EQ(f.file("balancedata.csv"),
              BALANCE_HEADER +
                  "AS,SH600000,10000,200,2002.0000000000,100000.0000000000,20240102000000\n");

    f.create();
    std::filesystem::remove((f.dataDir() + "/Balance/detail.csv").toStdString());
    f.manager().sigHistoryCleared.connect([&] {
        f.manager().writedata(false);
        Manager::release();
        EXPECT_TRUE(f.file("detail.csv")) << "on disk when release() returns";
    });
    f.manager().deleteAllHisTorydata();
    EXPECT_FALSE(f.hasManager());
    EXPECT_EQ(f.file("balancedata.csv"), BALANCE_HEADER);
}

TEST(SaveFilesOnce, AFailedSaveIsTriedAgainAfterHalfAMinute) {
    Fixture f({.now = "2024-01-02 14:00:00"});
    trade(f);
    TC::disk::fail({.times = TC::disk::Fault::FOREVER, .error = ENOSPC});
    f.manager().writedata(false);
    f.advance(29);
    EXPECT_FALSE(logged(f, "No space left")) << "it may be over in a moment";
    f.advance(2);
    EXPECT_TRUE(logged(f, "No space left"));
    TC::disk::end();
    f.loop().setSettle({});  // nobody finishes; the timer alone does it
    f.advance(28);
    EXPECT_FALSE(f.file("balancedata.csv"));
    f.advance(2);
    for (int turn = 0; turn < 10'000'000 && !f.file("balancedata.csv"); ++turn) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(f.file("balancedata.csv"));
}

TEST(SaveFilesOnce, MidnightBeforeTheRolloverCountsNoDealTwice) {
    Fixture f({.now = "2024-01-05 23:50:00"});
    trade(f);
    f.deal(balancing(11));
    f.advance(1200);
    f.deal(balancing(12));
    EXPECT_EQ(f.file("detail.csv"), DETAIL_HEADER) << "the calendar decides what it holds";
    f.release();
    f.init();
    EXPECT_EQ(f.state().historyLinkageData.at("AS").at("SH600000")->deals().m_nSellVolume, 20)
        << "the data center reported both once more";
    f.newTradingDate("20240106");
    f.release();
    f.init();
    EXPECT_TRUE(f.state().writtenTradeKeys.empty());
}

TEST(SaveFilesOnce, NamesThatBreakRowsAreLeftOutAndLogged) {
    Fixture f({.now = "2024-01-02 14:00:00"});
    trade(f);
    f.manager().addHistoryStat("A,B", stat("A", ",B"));
    f.manager().addHistoryStat("A\nX,8800,X,n,2,b,S,20240102000000,", {});
    f.manager().addHistoryStat("A\xFF", stat("A", "\xFF"));
    TC::TradeStatData odd = stat("A", "T");
    odd.m_strAccountName = "one,\r\nAX,SH600000,0,1000000";
    f.manager().addHistoryStat("AT", odd);
    f.manager().addBalanceTime("A:T", "10,00\n00");
    f.manager().writedata(false);
    f.manager().writeBlanaceTime();
    f.settle();
    EXPECT_EQ(f.file("historystatdata.csv"),
              STAT_HEADER + "AS,8800,A,张三,2,某证券,S,20240102000000,\n" +
                  "AT,8800,A,one，  AX，SH600000，0，1000000,2,某证券,T,20240102000000,"
                  "10，00 00\n");
    EXPECT_TRUE(logged(f, "no file can hold such a name : A，B|A|，B"));
}

TEST(SaveFilesOnce, PairsWithOneHistoryKeyAreToldApart) {
    for (const bool guard : {false, true}) {
        Fixture f({.now = "2024-01-02 14:00:00", .options = {.guard = guard}});
        f.instrument({.stock = "SH600000"});
        for (const char* account : {"88", "881"}) f.account({.key = account});
        f.init();
        Deal second{.account = "88", .key = 2, .volume = 500, .strategy = "15"};
        f.deal({.account = "881", .key = 1, .volume = 300, .strategy = "5"});
        f.deal(second);
        f.manager().addHistoryStat("8815", stat("881", "5"));
        f.manager().addHistoryLinkdata("881", "5");
        f.manager().addHistoryStat("8815", stat("88", "15"));
        f.manager().addHistoryLinkdata("88", "15");
        f.manager().addBalanceTime("88:15", "103000");
        f.manager().writedata(false);
        f.manager().writeBlanaceTime();
        f.release();
        f.init();
        EXPECT_TRUE(f.manager().getBalanceTime().empty()) << "the row is the other pair's";
        second.key = 3;
        second.side = Side::Sell;
        second.tag = "历史配平";
        f.deal(second);
        EXPECT_TRUE(logged(f, "account 88, strategy 15 refused"));
        f.manager().doHistoryBalance("88", "15");
        EXPECT_TRUE(f.commands().empty()) << "not to balance what another account has bought";
        f.manager().doHistoryBalance("881", "5");
        ASSERT_EQ(f.commands().size(), 1U);
        EXPECT_EQ(f.commands()[0].command.m_orders[0]->m_nVolume, 300);
    }
}
