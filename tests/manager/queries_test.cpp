#include "tests/support/fixture.h"

#include <gtest/gtest.h>

namespace tests {
namespace {

using Keys = std::set<std::string>;

template <class Leaf>
std::vector<int> keysOf(const std::map<int, Leaf>& byDay) {
    std::vector<int> keys;
    for (const auto& [day, leaf] : byDay) keys.push_back(day);
    return keys;
}

TEST(Queries, makeTheDaysEntriesOnly) {
    Fixture f;
    f.init();
    auto& manager = f.manager();
    const TC::ManagerState before = f.state();
    const int day = Fixture::day("20240102");
    EXPECT_EQ(manager.getRunningOrders("A", "S"), 0);
    EXPECT_EQ(manager.getRunningTasks("A", "S"), 0);
    EXPECT_TRUE(manager.getTradeStatDatas("A", "S").empty());
    EXPECT_TRUE(manager.getOrderDetails(day, "SH600000", {"A"}).empty());
    EXPECT_TRUE(before.orderDetails.empty() && f.state().orderDetails.empty());
    EXPECT_TRUE(f.state().runningOrders.empty() && f.state().tradeStatDatas.empty());

    EXPECT_EQ(manager.getStocks(), Keys());
    const std::vector<int> days = {day};
    EXPECT_EQ(keysOf(f.state().orderDetails), days);
    EXPECT_EQ(keysOf(f.state().dealDetails), days);
    EXPECT_TRUE(f.state().orderDetails.at(day).empty());
}

TEST(Queries, addBoughtAndSoldOfTheGivenAccounts) {
    Fixture f;
    for (const char* key : {"A", "B"}) f.account({.key = key});
    f.init();
    f.order({.account = "B", .key = 9, .stock = "SH600001"});
    f.deal({.account = "A", .key = 1, .price = 10.5, .volume = 100});
    f.deal({.account = "A", .key = 2, .side = Side::Sell, .price = 11.0, .volume = 300});
    f.deal({.account = "B", .key = 3, .price = 10.25, .volume = 200});
    f.deal({.account = "B", .key = 4, .stock = "SZ000001", .volume = 900});
    EXPECT_EQ(f.manager().getStocks(), (Keys{"SH600000", "SH600001", "SZ000001"}));

    const int today = Fixture::day("20240102");
    struct Case {
        int day;
        const char* stock;
        Keys accounts;
        std::pair<int, int> volumes;
        std::pair<double, double> amounts;
    };
    const Case cases[] = {
        {today, "SH600000", {"A"}, {100, 300}, {1050.0, 3300.0}},
        {today, "SH600000", {"A", "B", "C"}, {300, 300}, {3100.0, 3300.0}},
        {today, "SH600000", {}, {0, 0}, {0.0, 0.0}},
        {today, "SH600001", {"B"}, {0, 0}, {0.0, 0.0}},
        {today, "SH600009", {"A"}, {0, 0}, {0.0, 0.0}},
        {today - 86400, "SH600000", {"A"}, {0, 0}, {0.0, 0.0}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(&each - cases);
        EXPECT_EQ(f.manager().getBuySellVolumes(each.day, each.stock, each.accounts), each.volumes);
        EXPECT_EQ(f.manager().getBuySellAmounts(each.day, each.stock, each.accounts), each.amounts);
    }
}

TEST(Queries, listAccountIdsByKind) {
    Fixture f;
    f.account({.key = "C", .id = "3", .type = 1});
    f.account({.key = "B", .id = "2", .type = 3});
    f.account({.key = "A", .id = "1", .type = 2});
    f.account({.key = "D", .id = "4", .type = 1});
    f.init();
    using Ids = std::list<std::string>;
    EXPECT_EQ(f.manager().getAccountIds(1), (Ids{"3", "4"}));
    for (const int kind : {0, 2, 3}) EXPECT_EQ(f.manager().getAccountIds(kind), (Ids{"1", "2"}));
}

TEST(Queries, giveTheLargestAmplitudeOfASelection) {
    Fixture f;
    f.account({.key = "A"});
    f.account({.key = "B"});
    f.init();
    EXPECT_EQ(f.manager().getDealAmplitude({}, {}), 0.0);
    for (const char* stock : {"SH600000", "SH600001"}) {
        f.instrument({.stock = stock, .reference = 8.0});
    }
    std::uint64_t key = 0;
    const auto trade = [&](const char* account, const char* stock, double order, double deal) {
        ++key;
        f.order({.account = account, .key = key, .stock = stock, .price = order});
        f.deal({.account = account, .key = key, .stock = stock, .price = deal});
    };
    trade("A", "SH600000", 9.0, 8.5);
    trade("A", "SH600000", 7.5, 8.25);
    trade("A", "SH600001", 10.0, 9.0);
    trade("B", "SH600000", 7.0, 6.5);

    struct Case {
        Keys accounts;
        Keys stocks;
        double order;
        double deal;
    };
    const Case cases[] = {
        {{}, {}, 0.25, 0.1875},
        {{"A"}, {"SH600000"}, 0.125, 0.0625},
        {{"A", "B"}, {"SH600000"}, 0.125, 0.1875},
        {{"A"}, {}, 0.25, 0.125},
        {{}, {"SH600001"}, 0.25, 0.125},
        {{"C"}, {}, 0.0, 0.0},
        {{}, {"SZ000001"}, 0.0, 0.0},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(f.manager().getOrderAmplitude(each.accounts, each.stocks), each.order);
        EXPECT_EQ(f.manager().getDealAmplitude(each.accounts, each.stocks), each.deal);
    }
}

TEST(Queries, countOpenLotsAtAPriceLevel) {
    Fixture f;
    f.account({.key = "A"});
    f.account({.key = "B"});
    f.instrument({.stock = "SH600000", .tick = 0.01});
    f.init();
    f.order({.account = "A", .key = 1, .price = 10.0, .volume = 300, .strategy = "S"});
    f.order({.account = "B", .key = 2, .price = 10.004, .volume = 500, .strategy = "S"});
    f.order({.account = "A", .key = 3, .price = 10.01, .volume = 700, .strategy = "S"});
    f.order({.account = "A", .key = 4, .price = 10.0, .volume = 900, .strategy = "T"});
    const auto lots = [&](const char* strategy, double price, double tick) {
        return f.manager().getOrderNumberByPrice(strategy, price, tick);
    };
    EXPECT_EQ(lots("S", 10.0, 0.01), 8);
    EXPECT_EQ(lots("S", 9.996, 0.01), 8) << "rounded to the level";
    EXPECT_EQ(lots("S", 10.01, 0.01), 7);
    EXPECT_EQ(lots("T", 10.0, 0.01), 9);
    EXPECT_EQ(lots("S", 1.0, 0.0), 8) << "no step: thousandths";
    EXPECT_EQ(lots("U", 10.0, 0.01), 0);
    f.order(
        {.account = "A", .key = 1, .price = 10.0, .volume = 300, .status = 54, .strategy = "S"});
    EXPECT_EQ(lots("S", 10.0, 0.01), 5);
}

TEST(Queries, findAccountsPositionsAndTaskItems) {
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

TEST(Queries, giveTradedFiguresOfSeveralAccounts) {
    Fixture f;
    for (const char* key : {"A", "B", "C"}) f.account({.key = key});
    f.init();
    f.deal({.account = "A", .key = 1, .strategy = "S"});
    f.deal({.account = "B", .key = 2, .stock = "SH600001", .strategy = "S"});
    f.deal({.account = "C", .key = 3, .strategy = "T"});
    std::map<std::string, std::map<std::string, boost::shared_ptr<TC::LinkagePeriodExtData>>> out;
    const auto keysOf = [&](const std::list<std::string>& accounts) {
        f.manager().getTradeStatDatas(accounts, "S", out);
        std::string keys;
        for (const auto& [account, stocks] : out) {
            for (const auto& [stock, record] : stocks) keys += account + ":" + stock + " ";
        }
        return keys;
    };
    EXPECT_EQ(keysOf({"C", "A"}), "A:SH600000 ");
    EXPECT_EQ(keysOf({}), "A:SH600000 B:SH600001 ");
    EXPECT_EQ(out["A"]["SH600000"], f.manager().getTradeStatDatas("A", "S")["SH600000"]);
}

}  // namespace
}  // namespace tests
