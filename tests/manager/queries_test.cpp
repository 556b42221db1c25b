#include "linkage/ledger/daykey.h"
#include "tests/support/fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tests {
namespace {

using Keys = std::set<std::string>;

template <class Leaf>
std::vector<int> keysOf(const std::map<int, Leaf>& byDay) {
    std::vector<int> keys;
    for (const auto& [day, leaf] : byDay) keys.push_back(day);
    return keys;
}

TEST(Queries, MakeTheDaysEntriesOnly) {
    Ready f({}, {});
    auto& manager = f.manager();
    const int day = Fixture::day("20240102");
    EXPECT_EQ(manager.getRunningOrders("A", "S"), 0);
    EXPECT_EQ(manager.getRunningTasks("A", "S"), 0);
    EXPECT_TRUE(manager.getTradeStatDatas("A", "S").empty());
    EXPECT_TRUE(manager.getOrderDetails(day, "SH600000", {"A"}).empty());
    EXPECT_EQ(manager.getBuySellVolumes(day, "SH600000", {"A"}), std::pair(0, 0));
    EXPECT_EQ(manager.getBuySellAmounts(day, "SH600000", {"A"}), std::pair(0.0, 0.0));
    TC::ManagerState state = f.state();
    EXPECT_TRUE(state.orderDetails.empty() && state.buySellVolumes.empty());
    EXPECT_TRUE(state.runningOrders.empty() && state.tradeStatDatas.empty());

    EXPECT_EQ(manager.getStocks(), Keys());
    state = f.state();
    EXPECT_EQ(keysOf(state.orderDetails), std::vector<int>{day});
    EXPECT_EQ(keysOf(state.dealDetails), std::vector<int>{day});
    EXPECT_TRUE(state.orderDetails.at(day).empty());
}

TEST(Queries, VolumesOfAPastDayAreOfReportedDealsOrWithTheOptionOfAllThatAreFiled) {
    for (const bool filed : {false, true}) {
        Ready f({.now = "2024-01-05 10:00:00", .options = {.filedTotals = filed}});
        auto& manager = f.manager();
        f.deal({.key = 7, .tradeDate = "20240104"});
        f.deal({.key = 8});
        const Deal sale{.key = 1, .side = Side::Sell, .volume = 200, .tradeDate = "20240104"};
        f.client().setServerHistory("A", "20240104", {.deals = {f.makeDeal(sale)}});
        manager.requestAccountDeals("A", "20240104", "20240104");
        f.settle();
        const auto volumes = [&](const char* day) {
            return manager.getBuySellVolumes(Fixture::day(day), "SH600000", {"A", "B"});
        };
        EXPECT_EQ(volumes("20240104"), std::pair(100, filed ? 200 : 0));
        EXPECT_EQ(manager.getBuySellAmounts(Fixture::day("20240104"), "SH600000", {"A"}),
                  std::pair(1000.0, filed ? 2000.0 : 0.0));
        EXPECT_EQ(volumes("20240105"), std::pair(100, 0));
        f.newTradingDate("20240108");
        EXPECT_EQ(volumes("20240105"), std::pair(100, 0)) << "reported, and so filed";
    }
}

// The data center of the test keeps all records; so it reports those of old dates at every load.
TEST(Queries, SoManyPastDaysAreKeptAsTheClientAsksFor) {
    for (const int keep : {0, 1, 2}) {
        Ready f({.now = "2024-01-02 10:00:00", .options = {.keepDays = keep}}, {"A", "B"});
        auto& manager = f.manager();
        const Texts dates = {"20240102", "20240103", "20240104", "20240105"};
        std::uint64_t key = 0;
        for (const std::string& date : dates) {
            if (date != dates.front()) f.newTradingDate(date);
            f.deal({.key = ++key, .stock = "SH600000", .volume = 100});
            f.deal({.key = ++key, .stock = "SZ000001", .volume = 100, .strategy = "S"});
            f.order({.key = key});
        }
        const auto daysOf = [&](const char* account) {
            Texts days;
            for (const int day : manager.getFiledDays(account)) days.push_back(TC::dayText(day));
            return days;
        };
        const auto kept = keep == 0 ? dates : Texts(dates.end() - keep - 1, dates.end());
        EXPECT_EQ(daysOf("A"), kept);
        EXPECT_EQ(daysOf("B"), Texts());
        for (const std::string& date : dates) {
            const int sum = std::count(kept.begin(), kept.end(), date) > 0 ? 100 : 0;
            EXPECT_EQ(manager.getBuySellVolumes(Fixture::day(date), "SH600000", {"A"}).first, sum);
            EXPECT_EQ(f.state().dealDetails.count(Fixture::day(date)), sum > 0 ? 1u : 0u);
        }

        // Old deals do not come back as new ones, and an import of an old day is kept.
        f.deal({.key = 1, .stock = "SH600000", .volume = 100, .tradeDate = "20240102"});
        f.deal({.key = 77, .stock = "SH600000", .volume = 500, .tradeDate = "20240102"});
        EXPECT_EQ(f.state().tradeStatDatas.at("A").at("").at("SH600000")->deals().m_nBuyVolume,
                  keep == 0 ? 600 : 100)
            << "key 77 is new where its day is kept";
        EXPECT_EQ(fmt::format("{}", fmt::join(manager.checkIntegrity(), "\n")), "");
    }
}

TEST(Queries, FindAccountsPositionsAndTaskItems) {
    Fixture f;
    f.account({.key = "A", .id = "1001"});
    f.account({.key = "B", .id = "1002"});
    f.account({.key = "C", .id = "1002"});
    f.init();
    auto& manager = f.manager();

    Keys keys = {"Z"};
    EXPECT_TRUE(manager.getAccounts({"1002"}, keys));
    EXPECT_EQ(keys, (Keys{"B", "C", "Z"})) << "added to what is there";
    keys.clear();
    EXPECT_FALSE(manager.getAccounts({"1001", "1003"}, keys));
    EXPECT_EQ(keys, Keys{"A"});

    f.position({.account = "B", .key = 1, .volume = 500, .available = 200});
    f.position({.account = "A", .key = 2, .volume = 300, .available = 300});
    f.position({.account = "A", .key = 3, .stock = "SH600001", .volume = 700});
    QList<QString> ids = {"old"};
    QList<int> volumes;
    QList<int> availables;
    manager.getPositionNumber("SH600000", ids, volumes, availables, {});
    EXPECT_EQ(ids, (QList<QString>{"1001", "1002"}));
    EXPECT_EQ(volumes, (QList<int>{300, 500}));
    EXPECT_EQ(availables, (QList<int>{300, 200}));
    manager.getPositionNumber("SH600000", ids, volumes, availables, {"B", "C"});
    EXPECT_EQ(ids, QList<QString>{"1002"});
    manager.getPositionNumber("SZ000001", ids, volumes, availables, {});
    EXPECT_TRUE(ids.isEmpty() && volumes.isEmpty() && availables.isEmpty());

    const auto task = f.makeTask({.items = {{.stock = "SH600000", .volume = 500, .traded = 200},
                                            {.stock = "SH600001", .volume = 500, .traded = 1},
                                            {.stock = "SH600000", .volume = 500, .traded = 300}}});
    EXPECT_EQ(manager.getTaskItemFinishNumber(task, "SH600000"), 500);
    EXPECT_EQ(manager.getTaskItemFinishNumber(task, "SZ000001"), 0);
    EXPECT_EQ(manager.getTaskItemFinishNumber({}, "SH600000"), 0);
}

TEST(Queries, GiveTradedFiguresOfSeveralAccounts) {
    Ready f({}, {"A", "B", "C"});
    f.deal({.account = "A", .key = 1, .strategy = "S"});
    f.deal({.account = "B", .key = 2, .stock = "SH600001", .strategy = "S"});
    f.deal({.account = "C", .key = 3, .strategy = "T"});
    std::map<std::string, std::map<std::string, boost::shared_ptr<TC::LinkagePeriodExtData>>> out;
    f.manager().getTradeStatDatas(std::list<std::string>{"C", "B"}, "S", out);
    EXPECT_EQ(out.size(), 1u);
    f.manager().getTradeStatDatas(std::list<std::string>{}, "S", out);
    ASSERT_EQ(out.size(), 2u) << "no account is every account";
    EXPECT_EQ(out["A"]["SH600000"], f.manager().getTradeStatDatas("A", "S")["SH600000"]);
    EXPECT_EQ(out["B"].count("SH600001"), 1u);
}

}  // namespace
}  // namespace tests
