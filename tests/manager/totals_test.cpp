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

// Prices whose sums depend on the order in which they are added: that is by account, stock
// and strategy, whatever came first and whatever is selected.
TEST(Totals, areAddedInTheOrderOfTheKeys) {
    Fixture f({.now = "2024-01-02 10:00:00"});
    const Keys accounts = {"A", "B", "C"};
    const Keys stocks = {"SH600000", "SH600001", "SZ000001", "SZ000002"};
    for (const std::string& key : accounts) f.account({.key = key});
    f.init();
    std::mt19937 random(29);
    for (std::uint64_t key = 1; key <= 80; ++key) {
        f.deal({.account = *std::next(accounts.begin(), static_cast<long>(random() % 3)),
                .key = key,
                .stock = *std::next(stocks.begin(), static_cast<long>(random() % 4)),
                .side = random() % 2 ? Side::Buy : Side::Sell,
                .price = 10.0 + 0.01 * static_cast<double>(random() % 100),
                .volume = 1 + static_cast<int>(random() % 999),
                .strategy = std::string(1, static_cast<char>('S' + random() % 4))});
        if (key == 40) f.advance(4);  // some records are in order already
    }
    for (const std::string& stock : stocks) f.price({.stock = stock, .last = 10.37});
    f.advance(4);
    f.deal({.account = "B", .key = 99, .stock = "SH600000", .strategy = "R"});

    const auto records = f.state().tradeStatDatas;
    const auto has = [](const Keys& keys, const std::string& key) {
        return keys.empty() || keys.count(key) > 0;
    };
    const Keys selections[][3] = {
        {{}, {}, {}},
        {{"C", "A"}, {"S", "V"}, {}},
        {{}, {"T", "U", "none"}, {"SZ000001"}},
        {{"B", "none"}, {}, {"SZ000002", "SH600001", "none"}},
        {{}, {"R", "S"}, stocks},
    };
    for (const auto& [ofAccounts, ofStrategies, ofStocks] : selections) {
        Totals sum;
        for (const std::string& account : accounts) {
            for (const std::string& stock : stocks) {
                for (const auto& [strategy, byStock] : records.at(account)) {
                    const auto at = byStock.find(stock);
                    if (strategy.empty() || at == byStock.end() || !has(ofAccounts, account) ||
                        !has(ofStrategies, strategy) || !has(ofStocks, stock)) {
                        continue;
                    }
                    const TC::DealFigures& deals = at->second->deals();
                    sum += {at->second->worth().m_dProfit, at->second->worth().m_dPositionValue,
                            deals.m_dBuyAmount, deals.m_dSellAmount};
                }
            }
        }
        EXPECT_NE(sum, Totals());
        EXPECT_EQ(totalsOf(f, ofAccounts, ofStrategies, ofStocks), sum) << "to the bit";
    }
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

}  // namespace
}  // namespace tests
