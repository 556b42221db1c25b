#include "tests/support/fixture.h"

#include <gtest/gtest.h>

#include <random>

namespace tests {
namespace {

using Keys = std::set<std::string>;

const std::string DAY = "20240102";

/// All that the totals say of a selection, today.
struct Totals {
    double profit = 0.0;
    double balance = 0.0;
    double bought = 0.0;
    double sold = 0.0;

    bool operator==(const Totals&) const = default;
    Totals& operator+=(const Totals& other) {
        profit += other.profit;
        balance += other.balance;
        bought += other.bought;
        sold += other.sold;
        return *this;
    }
};

std::ostream& operator<<(std::ostream& out, const Totals& totals) {
    return out << totals.profit << " " << totals.balance << " " << totals.bought << " "
               << totals.sold;
}

Totals totalsOf(Fixture& f, const Keys& accounts, const Keys& strategies, const Keys& stocks) {
    const int today = Fixture::day(f.manager().getTradeDate());
    const auto& manager = f.manager();
    const auto amounts = manager.getTotalBuySellAmounts(accounts, strategies, stocks, true);
    EXPECT_EQ(amounts.size(), 1u);
    return {manager.getTotalProfits(accounts, strategies, stocks, true).at(today),
            manager.getTotalBalances(accounts, strategies, stocks, true).at(today),
            amounts.at(today).first, amounts.at(today).second};
}

// Prices and volumes are such that sums are exact in whatever order they are added.
TEST(Totals, addUpOverAnyPartition) {
    std::mt19937 random(17);
    const Keys all[3] = {{"A", "B", "C"}, {"", "S", "T", "U"}, {"SH600000", "SH600001", "SZ1"}};
    for (const int clientType : {1, 3}) {
        Fixture f({.now = "2024-01-02 10:00:00", .clientType = clientType, .limitPercent = 12.5});
        for (const std::string& key : all[0]) f.account({.key = key});
        f.init();
        f.instrument({.stock = "SH600001", .reference = 10.0, .limitUp = 11.0, .limitDown = 9.0});
        const auto any = [&](const Keys& keys) {
            return *std::next(keys.begin(), static_cast<long>(random() % keys.size()));
        };
        for (std::uint64_t key = 1; key <= 60; ++key) {
            const std::string account = any(all[0]);
            const std::string strategy = any(all[1]);
            const std::string stock = any(all[2]);
            const Side side = random() % 2 ? Side::Buy : Side::Sell;
            const int volume = 100 * (1 + static_cast<int>(random() % 9));
            const double price = 10.0 + 0.25 * static_cast<double>(random() % 8);
            f.deal({.account = account,
                    .key = key,
                    .stock = stock,
                    .side = side,
                    .price = price,
                    .volume = volume,
                    .strategy = strategy});
            f.order({.account = account,
                     .key = key,
                     .stock = stock,
                     .side = side,
                     .price = price,
                     .volume = volume,
                     .status = 55,
                     .traded = volume / 2,
                     .strategy = strategy});
        }
        for (const std::string& stock : all[2]) f.price({.stock = stock, .last = 11.0});
        f.advance(4);

        const Totals whole = totalsOf(f, {}, {}, {});
        EXPECT_GT(whole.balance, 0.0);
        EXPECT_EQ(totalsOf(f, all[0], all[1], all[2]), whole);
        for (int round = 0; round < 40; ++round) {
            // A random part of each dimension, cut in two along one of them.
            Keys selection[3];
            for (int which = 0; which < 3; ++which) {
                for (const std::string& key : all[which]) {
                    if (random() % 3) selection[which].insert(key);
                }
            }
            const int cut = round % 3;
            Keys halves[2];
            for (const std::string& key : selection[cut].empty() ? all[cut] : selection[cut]) {
                halves[random() % 2].insert(key);
            }
            if (halves[0].empty() || halves[1].empty()) continue;
            Totals sum;
            for (const Keys& half : halves) {
                Keys part[3] = {selection[0], selection[1], selection[2]};
                part[cut] = half;
                sum += totalsOf(f, part[0], part[1], part[2]);
            }
            EXPECT_EQ(sum, totalsOf(f, selection[0], selection[1], selection[2]))
                << "client type " << clientType << " round " << round;
        }
    }
}

TEST(Totals, areTheSumsOfTheRecordsAsTheyStand) {
    Fixture f({.now = "2024-01-02 10:00:00"});
    f.account({.key = "A"});
    f.init();
    f.deal({.key = 1, .price = 10.07, .volume = 300, .strategy = "S"});
    f.deal({.key = 2,
            .stock = "SH600001",
            .side = Side::Sell,
            .price = 7.01,
            .volume = 100,
            .strategy = "S"});
    f.deal({.key = 3, .side = Side::Sell, .price = 10.11, .volume = 100, .strategy = "T"});
    EXPECT_EQ(totalsOf(f, {}, {}, {}).profit, 0.0) << "not valued yet";
    f.price({.last = 10.13});
    f.price({.stock = "SH600001", .last = 6.97});
    f.advance(3);

    const auto records = [&](const std::string& strategy) {
        Totals sum;
        for (const auto& [stock, record] : f.manager().getTradeStatDatas("A", strategy)) {
            const TC::DealFigures& deals = record->deals();
            sum += {record->worth().m_dProfit, record->worth().m_dPositionValue, deals.m_dBuyAmount,
                    deals.m_dSellAmount};
        }
        return sum;
    };
    EXPECT_EQ(totalsOf(f, {}, {"S"}, {}), records("S")) << "to the bit, in stock-key order";
    EXPECT_EQ(totalsOf(f, {"A"}, {"T"}, {"SH600000"}), records("T"));
    EXPECT_EQ(totalsOf(f, {}, {""}, {}), Totals()) << "every deal has a strategy";
    EXPECT_EQ(totalsOf(f, {"B"}, {}, {}), Totals());
    const Totals whole = totalsOf(f, {}, {}, {});
    EXPECT_NEAR(whole.profit, records("").profit, 1e-9);
    EXPECT_NEAR(whole.balance, 10.13 * (300 + 100) + 6.97 * 100, 1e-9) << "not netted";

    f.price({.last = 10.17});
    EXPECT_EQ(totalsOf(f, {}, {}, {}), whole) << "the next pass values them";
    f.deal({.key = 4, .stock = "SZ000001", .volume = 100});
    f.price({.stock = "SZ000001", .last = 10.5});
    f.advance(3);
    EXPECT_EQ(totalsOf(f, {}, {""}, {}), (Totals{50.0, 1050.0, 1000.0, 0.0}));
}

// What belongs to no strategy has no record where strategies trade the stock too: it is
// valued as the records are, by the last pass of the day.
TEST(Totals, stayAtThePriceOfTheLastPass) {
    Fixture f({.now = "2024-01-02 09:30:00"});
    f.account({.key = "A"});
    f.init();
    f.price({.last = 10.0});
    f.deal({.key = 1, .price = 10.0, .volume = 100, .strategy = "S"});
    f.deal({.key = 2, .price = 10.0, .volume = 100});
    f.advance(4);
    f.price({.last = 11.0});
    EXPECT_EQ(totalsOf(f, {}, {}, {}).profit, 0.0);
    f.advance(4);
    EXPECT_EQ(totalsOf(f, {}, {}, {}).profit, 200.0);
    f.price({.last = 0.0});
    f.advance(4);
    EXPECT_EQ(totalsOf(f, {}, {""}, {}).profit, -1000.0) << "0 is a price";

    f.price({.last = std::nullopt, .push = false});
    f.newTradingDate("20240103");
    f.deal({.key = 3, .price = 10.0, .volume = 100, .strategy = "S"});
    f.deal({.key = 4, .price = 10.0, .volume = 100});
    f.advance(4);
    EXPECT_EQ(totalsOf(f, {}, {}, {}).profit, 0.0) << "yesterday's price values nothing today";
}

TEST(Totals, haveTheDealsOfEarlierDays) {
    Fixture f({.now = "2024-01-02 10:00:00"});
    f.account({.key = "A"});
    f.init();
    f.deal({.key = 1, .price = 10.0, .volume = 300, .strategy = "S"});
    f.deal({.key = 2, .side = Side::Sell, .price = 11.0, .volume = 100});
    f.deal({.key = 3, .price = 12.0, .volume = 100, .strategy = "S", .tag = "历史配平"});
    f.newTradingDate("20240103");
    f.deal({.key = 4, .price = 13.0, .volume = 100, .strategy = "S"});

    using Days = std::map<int, std::pair<double, double>>;
    const int first = Fixture::day(DAY);
    const int today = Fixture::day("20240103");
    const auto amounts = [&](const Keys& strategies, bool todayOnly) {
        return f.manager().getTotalBuySellAmounts({}, strategies, {}, todayOnly);
    };
    EXPECT_EQ(amounts({}, false), (Days{{first, {3000, 1100}}, {today, {1300, 0}}}));
    EXPECT_EQ(amounts({"S"}, false), (Days{{first, {3000, 0}}, {today, {1300, 0}}}));
    EXPECT_EQ(amounts({""}, false), (Days{{first, {0, 1100}}, {today, {0, 0}}}));
    EXPECT_EQ(amounts({}, true), (Days{{today, {1300, 0}}}));
    EXPECT_EQ(f.manager().getTotalProfits({}, {}, {}, false).size(), 1u);
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
