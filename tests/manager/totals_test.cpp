#include "tests/support/fixture.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace tests {
namespace {

using Keys = std::set<std::string>;

/// All that the totals say of a selection, today.
struct Totals {
    double profit = 0.0, balance = 0.0, bought = 0.0, sold = 0.0;

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

// Prices whose sums depend on the order in which they are added: that is by account, stock
// and strategy, whatever came first and whatever is selected.
TEST(Totals, AreTheSumsOfTheRecordsInTheOrderOfTheKeys) {
    const Keys accounts = {"A", "B", "C"};
    const Keys strategies = {"R", "S", "T", "U", "V"};
    const Keys stocks = {"SH600000", "SH600001", "SZ000001", "SZ000002"};
    std::mt19937 random(29);
    const auto any = [&](const Keys& keys) {
        return *std::next(keys.begin(), static_cast<long>(random() % keys.size()));
    };
    const auto has = [](const Keys& keys, const std::string& key) {
        return keys.empty() || keys.count(key) > 0;
    };
    for (const int clientType : {1, 3}) {
        Ready f({.clientType = clientType}, {"A", "B", "C"});
        f.instrument({.stock = "SH600001", .limitUp = 10.37, .limitDown = 9.0});
        for (std::uint64_t key = 1; key <= 80; ++key) {
            const Deal deal{.account = any(accounts),
                            .key = key,
                            .stock = any(stocks),
                            .side = random() % 2 ? Side::Buy : Side::Sell,
                            .price = 10.0 + 0.01 * static_cast<double>(random() % 100),
                            .volume = 1 + static_cast<int>(random() % 999),
                            .strategy = any(strategies)};
            f.deal(deal);
            f.order(orderOf(deal, 2000, deal.volume / 2, vexservice::STATUS_PART_SUCC));
            if (key == 40) f.advance(4);  // some records are in order already
        }
        for (const std::string& stock : stocks) f.price({.stock = stock, .last = 10.37});
        f.advance(4);
        f.deal({.account = "B", .key = 99, .strategy = "Q"});

        std::map<std::array<std::string, 3>, boost::shared_ptr<TC::LinkagePeriodExtData>> records;
        for (const auto& [account, ofAccount] : f.state().tradeStatDatas) {
            for (const auto& [strategy, byStock] : ofAccount) {
                if (strategy.empty()) continue;
                for (const auto& [stock, record] : byStock) {
                    records[{account, stock, strategy}] = record;
                }
            }
        }
        for (int round = 0; round < 40; ++round) {
            SCOPED_TRACE(round);
            Keys ofAccounts, ofStrategies, ofStocks;
            for (int count = round % 4; count > 0; --count) ofAccounts.insert(any(accounts));
            for (int count = round % 3; count > 0; --count) ofStrategies.insert(any(strategies));
            for (int count = round % 5; count > 0; --count) ofStocks.insert(any(stocks));
            Totals sum;
            for (const auto& [key, record] : records) {
                const auto& [account, stock, strategy] = key;
                if (!has(ofAccounts, account) || !has(ofStrategies, strategy)) continue;
                if (!has(ofStocks, stock)) continue;
                const auto traded = TC::effectiveFigures(*record, clientType == 3);
                sum += {record->worth().m_dProfit, record->worth().m_dPositionValue,
                        traded.buyAmount, traded.sellAmount};
            }
            EXPECT_EQ(totalsOf(f, ofAccounts, ofStrategies, ofStocks), sum) << "to the bit";
        }
        EXPECT_GT(totalsOf(f, {}, {}, {}).balance, 0.0);
    }
}

// What belongs to no strategy has no record where strategies trade the stock too: it is
// valued as the records are, by the last pass of the day.
TEST(Totals, StayAtThePriceOfTheLastPass) {
    Ready f;
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

TEST(Totals, OfDaysHaveEachDealOnceAndNoneThatBalancedHistory) {
    Ready f;
    f.deal({.key = 1, .volume = 300, .strategy = "S"});
    f.deal({.key = 2, .side = Side::Sell, .price = 11.0, .volume = 100});
    f.deal({.key = 3, .volume = 100, .strategy = "S", .tag = "历史配平"});
    f.deal({.key = 4, .volume = 50, .tradeDate = "20240101", .strategy = "S"});
    const auto amounts = [&] { return f.manager().getTotalBuySellAmounts({}, {}, {}, false); };
    using Days = std::map<int, std::pair<double, double>>;
    const int day = Fixture::day("20240102");
    EXPECT_EQ(amounts(), (Days{{day, {3500.0, 1100.0}}})) << "it is in the figures of today";
    f.newTradingDate("20240103");
    EXPECT_EQ(amounts().at(day), std::pair(3000.0, 1100.0));
    for (const auto& [accounts, stocks] : {std::pair<Keys, Keys>{{"B"}, {}}, {{}, {"SZ000001"}}}) {
        EXPECT_EQ(f.manager().getTotalBuySellAmounts(accounts, {}, stocks, false).count(day), 0u);
    }
}

}  // namespace
}  // namespace tests
