#include "platform/services/quoteclient.h"
#include "platform/services/tradercenter.h"
#include "tests/support/fixture.h"

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace {

using namespace tests;

struct Intake : testing::Test {
    Fixture f;
    void SetUp() override {
        f.instrument({.stock = "SH600000", .reference = 10.0});
        f.account(
            {.key = "A", .fee = vexservice::CStkExchangeRateLimit{0.0003, 5, 0.00001, 0.001}});
        f.init();
        f.forget();
    }
};

TEST_F(Intake, NotificationsInOrderAndOnlyForNews) {
    f.order({.key = 1, .strategy = "S"});
    EXPECT_EQ(f.signalNames(), (Texts{"stocksChanged", "strategysChanged", "statDataChanged"}));
    f.forget();
    f.order({.key = 1, .status = 56, .traded = 100, .strategy = "S"});
    EXPECT_TRUE(f.signalNames().empty()) << "client type 1: an old order announces nothing";
    f.deal({.key = 1, .strategy = "T"});
    EXPECT_EQ(f.signalNames(), (Texts{"strategysChanged", "stocksChanged", "statDataChanged"}));
    f.forget();
    f.deal({.key = 1, .strategy = "T"});
    EXPECT_EQ(f.signalNames(), (Texts{"statDataChanged"})) << "a deal always does";
}

TEST_F(Intake, AHistoryBalanceIsFiledAndNothingElse) {
    const Deal deal{.key = 3, .volume = 100, .strategy = "S", .tag = "历史配平"};
    f.deal(deal);
    EXPECT_TRUE(f.signalNames().empty());
    EXPECT_EQ(f.manager().getBuySellVolumes(Fixture::day("20240102"), "SH600000", {"A"}).first,
              100);
    f.deal(deal);
    EXPECT_EQ(f.signalNames(), (Texts{"statDataChanged"})) << "a repeated report does";
    EXPECT_TRUE(f.state().tradeStatDatas.empty() && f.state().periodTrades.empty());
    f.deal({.key = 4, .volume = 100, .tag = "历史配平"});
    EXPECT_EQ(f.state().tradeStatDatas.size(), 1u) << "without a strategy it is an ordinary deal";
}

TEST_F(Intake, CommissionHasAMinimumAndSellersPayTheStamp) {
    f.deal({.key = 1, .price = 10.0, .volume = 1000});
    f.deal({.key = 2, .side = Side::Sell, .price = 20.0, .volume = 1000});
    // max(3, 5) + 0.1 bought; max(6, 5) + 0.2 + 20 sold
    EXPECT_DOUBLE_EQ(f.manager().getTradeStatDatas("A", "").at("SH600000")->deals().m_dCommission,
                     5.1 + 26.2);
}

TEST_F(Intake, UnknownPriceStillOpensTheSubscription) {
    f.deal({.key = 1});
    EXPECT_TRUE(f.state().latestPrices.empty());
    f.price({.last = std::nullopt});
    EXPECT_EQ(f.logTexts().back(), "pricedata is InvalidValue");
    f.price({.last = 9.9});
    EXPECT_DOUBLE_EQ(f.state().latestPrices.at("SH600000"), 9.9);
    EXPECT_DOUBLE_EQ(f.state().historyPrices.at("SH600000"), 9.9);
}

// A quote client that has no subscription to give at first.
struct BusyQuotes : TC::CQuoteClient {
    int asked = 0;
    boost::shared_ptr<vexservice::CPriceData> getStockPrice(const QString&) override { return {}; }
    boost::shared_ptr<TC::CQuoteRequest> request(const QString&,
                                                 const TC::CQuoteRequest::Callback&) override {
        if (++asked < 2) return {};
        return boost::make_shared<TC::CQuoteRequest>();
    }
    void queryMinuteBars(const QString&, const std::string&, const BarsAnswer&) override {}
};

TEST_F(Intake, SubscriptionThatWasRefusedIsAskedForAgain) {
    const auto quotes = boost::make_shared<BusyQuotes>();
    utils::CManualSingletonT<TC::CQuoteClient>::install(quotes);
    f.deal({.key = 1});
    EXPECT_TRUE(f.state().quoteRequests.empty());
    f.deal({.key = 2});
    f.deal({.key = 3});
    EXPECT_EQ(f.state().quoteRequests.size(), 1u);
    EXPECT_EQ(quotes->asked, 2);
}

enum EGone { None, Data, NoData, Fees, NoFees };

// A center that throws, or is without a part of its own.
struct GoneCenter : vexservice::TraderCenter {
    vexservice::IDataCenter* data = instance()->getDataCenter();
    vexservice::IFeeLimitService* fees = instance()->getFeeLimitService();
    EGone gone = None;

    vexservice::IDataCenter* getDataCenter() override { return part(data, Data, NoData); }
    vexservice::ITaskCenter* getTaskCenter() override { return nullptr; }
    vexservice::IFeeLimitService* getFeeLimitService() override { return part(fees, Fees, NoFees); }

private:
    template <class Part>
    Part* part(Part* real, EGone throws, EGone null) const {
        if (gone == throws) throw std::runtime_error("gone");
        return gone == null ? nullptr : real;
    }
};

// The deal counts without its commission, which comes later; what is behind it goes on.
TEST_F(Intake, ADealWhoseFeeOrAccountFailsCountsAndIsNamed) {
    const auto center = boost::make_shared<GoneCenter>();
    vexservice::TraderCenter::install(center);
    const auto figures = [&](const std::string& stock) -> const auto& {
        return f.manager().getTradeStatDatas("A", "").at(stock)->deals();
    };
    std::uint64_t key = 0;
    for (const EGone gone : {Data, NoData, Fees, NoFees}) {
        SCOPED_TRACE(gone);
        const std::string stock = "SH60000" + std::to_string(++key);
        center->gone = gone;
        f.forget();
        f.deal({.key = key, .stock = stock, .price = 10.0, .volume = 1000});
        f.order({.key = key});
        EXPECT_EQ(figures(stock).m_nBuyVolume, 1000);
        EXPECT_DOUBLE_EQ(figures(stock).m_dCommission, 0.0);
        EXPECT_EQ(f.manager().getRunningOrders("A", ""), static_cast<int>(key));
        const Texts log = f.logTexts();
        EXPECT_TRUE(std::count(log.begin(), log.end(),
                               fmt::format("account A, deal {}: the commission is not known yet",
                                           key)) == 1);
        center->gone = None;
        f.advance(20);
        EXPECT_EQ(figures(stock).m_nBuyVolume, 1000);
        EXPECT_DOUBLE_EQ(figures(stock).m_dCommission, 5.1);  // max(3, 5) + 0.1
    }
}

// Each running set goes by the report that it holds, and asks for a balance at its end.
TEST_F(Intake, OrderLinesOfEachRunningSet) {
    struct Row {
        int status, traded;
        const char* strategy;
        std::size_t lines;
    };
    const Row rows[] = {
        {50, 0, "S", 2},    // new in both sets
        {50, 0, "S", 0},    // the same again
        {50, 0, "T", 1},    // new in T's
        {55, 100, "T", 2},  // progress in both
        {50, 0, "S", 1},    // as S's set still has it
        {56, 100, "S", 4},  // the end in both, each with its line on balances
        {56, 100, "S", 0},  // neither has it any more
    };
    for (const Row& row : rows) {
        f.forget();
        f.order({.key = 1, .status = row.status, .traded = row.traded, .strategy = row.strategy});
        EXPECT_EQ(f.logTexts().size(), row.lines) << row.strategy << row.status;
    }
}

// A set is made by what runs, and stays, empty, when the last one has ended.
TEST_F(Intake, RunningSetsAreMadeByWhatRuns) {
    f.task({.key = 1, .status = 7, .strategy = "S"});
    EXPECT_TRUE(f.state().runningTasks.empty());
    for (const int status : {1, 12}) f.task({.key = 2, .status = status, .strategy = "S"});
    const decltype(TC::ManagerState::runningTasks)::mapped_type ended = {{"", {}}, {"S", {}}};
    EXPECT_EQ(f.state().runningTasks.at("A"), ended);
}

TEST_F(Intake, TasksPassTheirFilters) {
    f.account({.key = "B"});
    struct Row {
        const char* name;
        Task task;
        bool taken;
    };
    const Row rows[] = {
        {"running", {.key = 1, .strategy = "S"}, true},
        {"no command record", {.key = 2, .command = false}, false},
        {"another user", {.key = 3, .user = "wang"}, false},
        {"another day", {.key = 4, .tradeDate = "20240101"}, false},
        {"kind 1", {.key = 5, .kind = 1}, true},
        {"kind 2", {.key = 6, .kind = 2}, false},
        {"no items", {.key = 7, .items = {}}, false},
    };
    for (const Row& row : rows) {
        f.task(row.task);
        const auto details = f.manager().getTaskDetails("SH600000", {"A"});
        const bool taken = details.count("A") && details.at("A").count(row.task.key);
        EXPECT_EQ(taken, row.taken) << row.name;
    }
    f.task({.key = 8, .items = {{.stock = "SH600001"}, {.stock = "SH600002"}}, .strategy = "S"});
    EXPECT_EQ(f.state().taskDetails.size(), 3u) << "a task stands under each of its stocks";
    EXPECT_EQ(f.manager().getRunningTasks("A", "S"), 2);
    EXPECT_EQ(f.manager().getRunningTasks("A", ""), 3);
    f.forget();
    for (const int status : {7, 12}) f.task({.key = 1, .status = status, .strategy = "S"});
    f.task({.key = 8, .status = 11, .items = {{.stock = "SH600001"}}, .strategy = "S"});
    EXPECT_EQ(f.logTexts(), (Texts{"A : balancing data is empty"})) << "the last of the strategy";
    f.task({.key = 5, .status = 9, .kind = 1});
    EXPECT_EQ(f.logTexts().size(), 2u) << "and the last of the account";
}

TEST(IntakeOfClientType3, NamelessTasksAndTheEndOfTheAccountsLastOrder) {
    Ready f({.clientType = 3});
    f.task({.key = 1, .user = "trader"});
    f.task({.key = 2, .user = ""});
    EXPECT_EQ(f.manager().getTaskDetails("SH600000", {"A"}).at("A").size(), 1u);
    EXPECT_EQ(f.manager().getRunningTasks("A", ""), 1);
    f.order({.key = 1, .strategy = "S"});
    f.forget();
    f.order({.key = 1, .status = 54, .strategy = "S"});
    EXPECT_EQ(f.signalNames(), (Texts{"statDataChanged"}));
}

TEST(Positions, ReportsOfOneStockBecomeOneRecordPerAccount) {
    Ready f({}, {"A", "B"});
    const auto only = [&](const std::string& account) {
        const auto records = f.state().positions["SH600000"][account];
        EXPECT_EQ(records.size(), 1u);
        return *records.begin()->second;
    };
    f.position({.key = 5, .volume = 100, .available = 100, .cost = 14.0});
    f.position({.account = "B", .key = 5, .volume = 700});
    f.position({.key = 9, .volume = 300, .cost = 10.0});
    f.position({.key = 2, .volume = 400, .available = 40, .cost = 11.0});  // no second record
    for (int repeat = 0; repeat < 3; ++repeat) {
        f.position({.key = 9, .volume = 300, .cost = 10.0});
        EXPECT_EQ(only("A").recordKey(), 5u);
        EXPECT_EQ(only("A").m_nVolume, 800);
        EXPECT_EQ(only("A").m_nAvailable, 140);
        EXPECT_DOUBLE_EQ(only("A").m_dCost, 11.0);  // (1400 + 3000 + 4400) / 800
        EXPECT_EQ(only("B").m_nVolume, 700);
    }

    f.position({.key = 9, .volume = 0});  // sold
    EXPECT_EQ(only("A").m_nVolume, 500);
    f.accountReady("A");  // built up anew, from the newest reports alone
    EXPECT_EQ(only("A").m_nVolume, 500);
    EXPECT_EQ(only("A").recordKey(), 5u);
    EXPECT_EQ(only("B").m_nVolume, 700);
}

TEST(Positions, RepurchasesAndSubscriptionsAreNotHeld) {
    Ready f;
    f.instrument({.stock = "SH204001", .types = {126}});
    f.instrument({.stock = "SH730000", .types = {100017}});
    f.instrument({.stock = "SH600000", .types = {1172}});
    for (const char* stock : {"SH204001", "SH730000", "SH600000"}) {
        f.position({.stock = stock, .volume = 100});
    }
    const auto positions = f.state().positions;
    ASSERT_EQ(positions.size(), 1u);
    EXPECT_EQ(positions.begin()->first, "SH600000");
}

}  // namespace
