#include "linkage/ledger/figurescopy.h"
#include "linkage/ledger/recordscopy.h"
#include "tests/support/fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>

// Copies that are made in slices, while reports, loads, imports and revaluations come between.

namespace tests {
namespace {

constexpr std::size_t ALL = std::numeric_limits<std::size_t>::max();
using Names = std::set<std::string>;

struct NoWatch final : TC::IOrderWatch {
    void onFiled(const TC::OrderPtr&) override {}
    void onRunning(const TC::RunningChange&) override {}
};

std::string textOf(const TC::CLedger::CFiguresCopy& figures) {
    std::string text;
    figures.forEachStock([&](const std::string& stock, const std::optional<double>& price,
                             std::span<const TC::CLedger::CFiguresCopy::Selected> records) {
        text += fmt::format("{} at {}\n", stock, price.value_or(-1.0));
        for (const auto& [value, wide, selected] : records) {
            const TC::EffectiveFigures& own = value.figures;
            text += fmt::format(" {} {} {} {} {} {} {} {}\n", wide, selected, own.buyVolume,
                                own.sellVolume, own.buyAmount, own.sellAmount, value.profit,
                                value.positionValue);
        }
    });
    return text;
}

template <class Ptr>
std::string textOf(TC::CLedger::CRecordsCopy<Ptr>& copy) {
    std::multiset<std::string> lines;
    for (const auto& each : copy.take()) {
        lines.insert(fmt::format("{} {} {} {} {}\n", each.day, *each.account, *each.stock, each.key,
                                 static_cast<const void*>(each.report.get())));
    }
    return fmt::format("{}", fmt::join(lines, ""));
}

/// A ledger to which anything happens.
class CBusyLedger {
public:
    CBusyLedger(Fixture& fixture, int clientType, unsigned seed)
        : ledger(clientType == 3), m_fixture(fixture), m_random(seed) {
        for (const char* const account : {"A", "B"}) ledger.removeAccount(account, TODAY);
    }

    void happen() {
        const unsigned what = number(100);
        if (what < 40) return report(anyOrder());
        if (what < 80) return report(anyDeal());
        const TC::DealPtr deal = m_fixture.makeDeal(anyDeal(OTHER_DATE));
        if (what < 88) {
            ledger.fileDeal(OTHER, any(STOCKS), any(ACCOUNTS), deal);
        } else if (what < 92) {
            ledger.fileOrder(OTHER, any(STOCKS), any(ACCOUNTS), m_fixture.makeOrder(anyOrder()));
        } else if (what < 94) {
            std::set<std::uint64_t> keys{1 + number(20)};
            ledger.removeFiledDeals(OTHER, any(ACCOUNTS), keys);
        } else if (what < 97) {
            ledger.setLatestPrice(any(STOCKS), 9.0 + number(9));
            ledger.revalue({0.1, 0.05});
        } else if (what < 98) {
            ledger.removeAccount(any(ACCOUNTS), TODAY);
        } else {
            ledger.sortGrown(1 + number(3));
        }
    }

    /// All profits after a new price of each stock.
    std::vector<std::string> revalue() {
        for (const std::string& stock : STOCKS) ledger.setLatestPrice(stock, 9.37);
        std::vector<std::string> sums;
        for (const auto& sum : ledger.revalue({0.1, 0.05})) {
            sums.push_back(fmt::format("{} {} {}", sum.account, sum.strategy, sum.profit));
        }
        return sums;
    }

    unsigned number(unsigned below) { return static_cast<unsigned>(m_random() % below); }
    const std::string& any(const std::vector<std::string>& texts) {
        return texts[number(static_cast<unsigned>(texts.size()))];
    }
    /// All, or one.
    Names anyOf(const std::vector<std::string>& texts) {
        return number(2) ? Names() : Names{any(texts)};
    }

    static constexpr int TODAY = 1704124800;  // 2024-01-02
    static constexpr int OTHER = TODAY - 86400;
    static inline const std::string OTHER_DATE = "20240101";
    static inline const std::vector<std::string> ACCOUNTS = {"A", "B"};
    static inline const std::vector<std::string> STRATEGIES = {"", "S", "T"};
    static inline const std::vector<std::string> STOCKS = {"SH600000", "SH600001", "SZ000001"};

    TC::CLedger ledger;

private:
    Order anyOrder() {
        return {.account = any(ACCOUNTS),
                .key = 1 + number(20),
                .stock = any(STOCKS),
                .traded = static_cast<int>(number(100)),
                .strategy = any(STRATEGIES)};
    }
    Deal anyDeal(const std::string& date = {}) {
        return {.account = any(ACCOUNTS),
                .key = 1 + number(20) + (date.empty() ? 20 * m_nDeals++ : 0),
                .stock = any(STOCKS),
                .volume = 1 + static_cast<int>(number(99)),
                .tradeDate = date,
                .strategy = any(STRATEGIES)};
    }
    void report(const Order& order) {
        NoWatch watch;
        ledger.apply(order.account, m_fixture.makeOrder(order), watch);
    }
    void report(const Deal& deal) {
        const TC::DealPtr made = m_fixture.makeDeal(deal);
        ledger.apply(ledger.resolve(deal.account, made));
    }

    Fixture& m_fixture;
    std::mt19937 m_random;
    std::uint64_t m_nDeals = 0;
};

template <class Copy>
void finish(CBusyLedger& busy, Copy& copy) {
    while (!copy.next(1 + busy.number(4))) {
        for (unsigned events = busy.number(3); events > 0; --events) busy.happen();
    }
}

template <class Ptr>
void compareRecords(CBusyLedger& busy,
                    const typename TC::CLedger::CRecordsCopy<Ptr>::Which& which) {
    TC::CLedger::CRecordsCopy<Ptr> slow(busy.ledger, which), quick(busy.ledger, which);
    finish(busy, slow);
    EXPECT_TRUE(quick.next(ALL));
    slow.close();
    quick.close();
    EXPECT_EQ(textOf(slow), textOf(quick));
}

TEST(SlicedCopies, AreOfTheMomentOfTheirLastSlice) {
    for (const int clientType : {1, 3}) {
        Ready f({.clientType = clientType}, {"A", "B"});
        for (unsigned seed = 1; seed <= 150; ++seed) {
            SCOPED_TRACE(fmt::format("client type {}, seed {}", clientType, seed));
            CBusyLedger busy(f, clientType, seed);
            for (int events = 0; events < 60; ++events) busy.happen();

            const Names accounts = busy.anyOf(busy.ACCOUNTS);
            const Names strategies = busy.anyOf(busy.STRATEGIES);
            const Names stocks = busy.anyOf(busy.STOCKS);
            TC::CLedger::CFiguresCopy slow(busy.ledger, accounts, strategies, stocks);
            TC::CLedger::CFiguresCopy quick(busy.ledger, accounts, strategies, stocks);
            finish(busy, slow);
            EXPECT_TRUE(quick.next(ALL));
            for (auto* const copy : {&slow, &quick}) {
                copy->takeNames();
                copy->close();
            }
            busy.happen();
            EXPECT_EQ(textOf(slow), textOf(quick));

            compareRecords<TC::DealPtr>(busy, {accounts, stocks, busy.TODAY, true});
            compareRecords<TC::DealPtr>(busy, {accounts, stocks, busy.TODAY, false});
            compareRecords<TC::OrderPtr>(busy, {accounts, stocks, busy.TODAY, true});
        }
    }
}

// An order that moves to another stock is filed twice; by key the older place counts.
TEST(SlicedCopies, ByKeyAreWhatTheLedgerHasOfTheAccountsDay) {
    Ready f({}, {"A", "B"});
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        CBusyLedger busy(f, 1, seed);
        TC::CLedger::CRecordsCopy<TC::OrderPtr> orders(busy.ledger, {{"A"}, {}, busy.TODAY});
        TC::CLedger::CRecordsCopy<TC::DealPtr> deals(busy.ledger, {{"A"}, {}, busy.TODAY});
        for (int events = 0; events < 100; ++events) busy.happen();
        finish(busy, orders);
        orders.close();
        EXPECT_EQ(orders.takeByRecord(), busy.ledger.accountOrders("A", busy.TODAY));
        finish(busy, deals);
        deals.close();
        EXPECT_EQ(deals.takeByRecord(), busy.ledger.accountDeals("A", busy.TODAY));
    }
}

// New records that are sorted between reports are added up as if the revaluation had sorted them.
TEST(SlicedSorting, ChangesNoSum) {
    Ready f({}, {"A", "B"});
    for (unsigned seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        CBusyLedger busy(f, 1, seed), sorted(f, 1, seed);
        for (int events = 0; events < 80; ++events) {
            busy.happen();
            sorted.happen();
            sorted.ledger.sortGrown(1);
        }
        EXPECT_EQ(sorted.revalue(), busy.revalue());
        EXPECT_FALSE(sorted.ledger.sortGrown(1));
        EXPECT_EQ(sorted.ledger.checkIntegrity(), std::vector<std::string>());
    }
}

TEST(SlicedCopies, WhoIsDisturbedAgainAndAgainCopiesAllAtOnce) {
    Ready f({}, {"A", "B"});
    CBusyLedger busy(f, 1, 7);
    for (int events = 0; events < 200; ++events) busy.happen();
    TC::CLedger::CFiguresCopy copy(busy.ledger, {}, {}, {});
    int slices = 1;
    for (; !copy.next(1); ++slices) busy.ledger.figuresChangedElsewhere();
    copy.close();
    EXPECT_EQ(slices, 4);
}

}  // namespace
}  // namespace tests
