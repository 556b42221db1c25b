#include "linkage/stats/periodpoint.h"
#include "replay/manageraccess.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <functional>
#include <random>

namespace tests {
namespace {

using Curve = std::map<int, TC::PeriodPoint>;

const std::string DAY = "20240102";

double liveProfit(Fixture& f, const std::string& account, const std::string& strategy) {
    double sum = 0.0;
    for (const auto& [stock, record] : f.manager().getTradeStatDatas(account, strategy)) {
        sum += record->worth().m_dProfit;
    }
    return sum;
}

TEST(PeriodCurves, FollowAStrategyThroughTheDay) {
    Fixture f({.now = "2024-01-02 09:29:55"});
    f.instrument({.stock = "SH600000", .reference = 9.5});
    paper::Account account{.key = "A"};
    account.fee.emplace().m_dMinimum = 1.0;
    f.account(account);
    f.init();
    f.deal({.key = 1, .price = 10.0, .volume = 300, .time = "092500", .strategy = "S"});
    EXPECT_TRUE(f.manager().getPeriodCurve("A", "S").empty()) << "no calculation has run";

    f.manager().startProfitCalculator();
    f.advanceTo("09:31:00");
    f.deal({.key = 2, .side = Side::Sell, .price = 11.0, .volume = 100, .strategy = "S"});
    f.bars("SH600000", DAY, {{"0931", 10.5}, {"0932", 10.75}, {"0933", 99.0}});
    f.price({.last = 10.25});
    f.advanceTo("09:32:15");

    const Curve expected = {
        {565, {300 * 10.0 - 3000 - 1, 300 * 10.0, 300, 0, 3000, 0, 1}},
        {571, {200 * 10.5 - 1900 - 2, 200 * 10.5, 300, 100, 3000, 1100, 2}},
        {572, {200 * 10.75 - 1900 - 2, 200 * 10.75, 300, 100, 3000, 1100, 2}},
        {573, {200 * 10.25 - 1900 - 2, 200 * 10.25, 300, 100, 3000, 1100, 2}},
    };
    EXPECT_EQ(f.manager().getPeriodCurve("A", "S"), expected);
    EXPECT_EQ(f.manager().getPeriodCurve("A", ""), expected) << "the account as a whole";
    EXPECT_TRUE(f.manager().getPeriodCurve("A", "T").empty());
    EXPECT_TRUE(f.manager().getPeriodCurve("B", "S").empty());
    const auto record = f.manager().getTradeStatDatas("A", "S").at("SH600000");
    EXPECT_EQ(record->m_dCloseValue, 200 * 10.75);

    f.advanceTo("09:33:15");
    EXPECT_EQ(f.manager().getPeriodCurve("A", "S").at(573).positionValue, 200 * 99.0)
        << "the bar, once it is complete";
}

/// The price at which each minute of an open position of 100 shares is valued.
std::map<int, double> pricesOf(Fixture& f) {
    std::map<int, double> prices;
    for (const auto& [minute, point] : f.manager().getPeriodCurve("A", "S")) {
        prices[minute] = point.positionValue / 100;
    }
    return prices;
}

TEST(PeriodCurves, KeepTheLivePriceOfAMinuteUntilItsBarComes) {
    using Prices = std::map<int, double>;
    Ready f({.now = "2024-01-02 10:00:02"});
    f.instrument({.stock = "SH600000", .reference = 8.0});
    f.price({.last = 10.25, .push = false});
    f.manager().startProfitCalculator();
    f.deal({.key = 1, .price = 10.0, .strategy = "S"});
    f.advanceTo("10:01:30");
    f.price({.last = 10.5});
    f.advanceTo("10:03:30");
    f.price({.last = 11.0});
    f.price({.last = std::nullopt});
    f.advanceTo("10:04:30");
    EXPECT_EQ(pricesOf(f),
              (Prices{{601, 10.25}, {602, 10.5}, {603, 10.5}, {604, 11.0}, {605, 11.0}}));
    f.bars("SH600000", DAY, {{"1002", 10.75}, {"1004", 10.0}});
    f.advanceTo("10:05:30");
    EXPECT_EQ(
        pricesOf(f),
        (Prices{{601, 10.25}, {602, 10.75}, {603, 10.75}, {604, 10.0}, {605, 10.0}, {606, 11.0}}));

    // The next start knows no live prices of before; then the bars of a service that was late.
    f.release();
    f.init();
    f.manager().startProfitCalculator();
    f.advanceTo("15:39:50");
    Prices prices = pricesOf(f);
    EXPECT_EQ(prices.at(601), 10.0) << "its own deal, not yesterday's close";
    EXPECT_EQ(prices.at(602), 10.75);
    f.bars("SH600000", DAY, {{"1001", 10.5}, {"1459", 12.0}});
    f.advanceTo("15:50:00");
    prices = pricesOf(f);
    EXPECT_EQ(prices.at(601), 10.5);
    EXPECT_EQ(prices.at(899), 12.0);
}

TEST(PeriodCurves, StayAsTheyWereWhileTheAccountIsLoadedAgain) {
    Ready f({.now = "2024-01-02 10:00:02"}, {"A", "B"});
    f.manager().startProfitCalculator();
    f.price({.last = 10.25, .push = false});
    f.deal({.account = "A", .key = 1, .strategy = "S"});
    f.deal({.account = "B", .key = 2, .strategy = "S"});
    const std::pair<const char*, std::function<void()>> loads[] = {
        {"login", [&] { f.login(true); }},
        {"account ready", [&] { f.accountReady("A"); }},
        {"the same date again", [&] { f.newTradingDate("20240102"); }},
        {"login, quotes fail",
         [&] {
             f.client().setFault(paper::EService::Quote, paper::EFault::Throw, 2);
             f.login(true);
         }},
    };
    f.advanceTo("10:03:02");
    for (const auto& [name, load] : loads) {
        SCOPED_TRACE(name);
        const Curve before = f.manager().getPeriodCurve("A", "S");
        EXPECT_GT(before.size(), 3u);
        load();
        EXPECT_EQ(f.manager().getPeriodCurve("A", "S"), before);
        f.advance(10);
        EXPECT_EQ(f.manager().getPeriodCurve("A", "S"), before) << "the run after it";
        f.advance(50);
        EXPECT_EQ(f.manager().getPeriodCurve("A", "S").size(), before.size() + 1);
    }
    // What has gone goes with the next run.
    f.deal({.account = "A", .key = 1, .time = "100230", .strategy = "T"});
    f.advance(10);
    EXPECT_EQ(f.manager().getPeriodCurve("A", "").begin()->first, 601);
    f.accountReady("A");
    f.advance(10);
    EXPECT_EQ(f.manager().getPeriodCurve("A", "").begin()->first, 603);
    EXPECT_TRUE(f.manager().getPeriodCurve("A", "S").empty());
}

TEST(PeriodCurves, AreComputedEveryTenSecondsWhileASwitchIsOn) {
    Fixture f({.now = "2024-01-02 10:00:02"});
    f.account({.key = "A"});
    auto& manager = f.manager();
    manager.startBalanceCalculator();  // the client may be early
    f.init();
    std::uint64_t key = 0;
    const auto dealIsSeenAfter = [&](double seconds) {
        f.deal({.key = ++key, .volume = 100, .time = "100001", .strategy = "S"});
        f.advance(seconds);
        const Curve curve = manager.getPeriodCurve("A", "S");
        return curve.count(601) > 0 && curve.begin()->second.buyVolume == 100 * std::int64_t(key);
    };
    f.advanceTo("10:01:05");
    EXPECT_TRUE(dealIsSeenAfter(10));
    manager.startProfitCalculator();
    manager.stopBalanceCalculator();
    EXPECT_TRUE(dealIsSeenAfter(10)) << "the other switch is on";
    manager.stopProfitCalculator();
    EXPECT_FALSE(dealIsSeenAfter(30)) << "both are off";

    manager.startProfitCalculator();
    manager.stopProfitCalculator();
    manager.startProfitCalculator();
    f.advance(3);
    manager.stopProfitCalculator();
    manager.startBalanceCalculator();
    EXPECT_TRUE(dealIsSeenAfter(10)) << "switched off and on between two runs";
    EXPECT_TRUE(dealIsSeenAfter(10));
}

TEST(PeriodCurves, EndInTheLiveProfitToTheBit) {
    for (const int clientType : {1, 3}) {
        Ready f({.now = "2024-01-02 10:00:02", .clientType = clientType});
        f.manager().startProfitCalculator();
        const std::vector<std::string> stocks = {"SZ000001", "SH600000", "SH6ST001"};
        std::uint64_t key = 0;
        for (const std::string& stock : stocks) {
            f.instrument({.stock = stock, .reference = 9.01, .limitUp = 10.13, .limitDown = 8.11});
            for (const Side side : {Side::Buy, Side::Sell, Side::Sell}) {
                Deal deal{.key = ++key, .stock = stock, .side = side};
                deal.price = 9.03 + 0.01 * static_cast<double>(key);
                deal.volume = 100 * static_cast<int>(key);
                deal.time = key % 4 ? "100001" : "";
                deal.strategy = "S";
                f.deal(deal);
                f.order(orderOf(deal, 2000, deal.volume + 100, vexservice::STATUS_PART_SUCC));
            }
        }
        for (const double price : {9.07, 10.13, 8.11}) {
            for (const std::string& stock : stocks) f.price({.stock = stock, .last = price});
            f.advance(20);
            for (const std::string strategy : {"S", ""}) {
                const Curve curve = f.manager().getPeriodCurve("A", strategy);
                ASSERT_FALSE(curve.empty());
                EXPECT_EQ(curve.rbegin()->second.profit, liveProfit(f, "A", strategy))
                    << clientType << " '" << strategy << "' at " << price;
                EXPECT_NE(curve.rbegin()->second.profit, 0.0);
            }
        }
        const Curve curve = f.manager().getPeriodCurve("A", "S");
        const std::int64_t timed = 100 * (1 + 7);
        EXPECT_EQ(curve.at(601).buyVolume, timed) << "minutes know deals with a time";
        EXPECT_EQ(curve.rbegin()->second.buyVolume, clientType == 3 ? timed + 700 : timed + 400);
    }
}

TEST(PeriodCurves, EndWithTheDay) {
    Ready f({.now = "2024-01-02 10:00:02"});
    f.manager().startProfitCalculator();
    f.deal({.key = 1, .strategy = "S"});
    f.bars("SH600000", DAY, {{"0942", 13.0}, {"1001", 14.0}});
    f.advanceTo("10:02:30");
    EXPECT_EQ(f.manager().getPeriodCurve("A", "S").size(), 3u);
    f.advanceTo("2024-01-03 09:00:00");
    f.newTradingDate("20240103");
    f.advanceTo("09:40:30");
    EXPECT_TRUE(f.manager().getPeriodCurve("A", "S").empty());
    f.deal({.key = 3, .strategy = "S"});
    f.bars("SH600000", "20240103", {{"0941", 12.0}});
    f.bars("SH600000", DAY, {{"0941", 13.0}});
    f.advanceTo("09:41:30");
    const Curve next = f.manager().getPeriodCurve("A", "S");
    EXPECT_EQ(next.size(), 2u);
    EXPECT_EQ(next.at(581).positionValue, 1200.0);
    EXPECT_EQ(next.at(582).positionValue, 1200.0) << "yesterday's bar of the minute is gone";
    EXPECT_EQ(f.manager().getTradeStatDatas("A", "S").at("SH600000")->m_dCloseValue, 1200.0);
}

/// Keeps the answers of bars for later.
struct SlowQuotes : TC::CQuoteClient {
    std::vector<std::pair<std::string, BarsAnswer>> asked;  ///< by day
    boost::shared_ptr<vexservice::CPriceData> getStockPrice(const QString&) override { return {}; }
    boost::shared_ptr<TC::CQuoteRequest> request(const QString&,
                                                 const TC::CQuoteRequest::Callback&) override {
        return boost::make_shared<TC::CQuoteRequest>();
    }
    void queryMinuteBars(const QString&, const std::string& day,
                         const BarsAnswer& answer) override {
        asked.emplace_back(day, answer);
    }
};

TEST(PeriodCurves, TakeNoBarsOfTheDayBefore) {
    Ready f({.now = "2024-01-02 10:00:02"});
    const auto quotes = boost::make_shared<SlowQuotes>();
    utils::CManualSingletonT<TC::CQuoteClient>::install(quotes);
    f.manager().startProfitCalculator();
    f.deal({.key = 1, .strategy = "S"});
    f.advanceTo("10:02:30");
    f.advanceTo("2024-01-03 09:00:00");
    f.newTradingDate("20240103");
    f.advanceTo("09:40:30");
    f.deal({.key = 2, .strategy = "S"});
    f.advanceTo("09:41:30");
    const auto valueAfter = [&](const std::string& day) {
        const auto asked = quotes->asked;
        for (const auto& [of, answer] : asked) {
            if (of == day) answer({{581, 13.0}});
        }
        f.advanceTo(day == DAY ? "09:41:45" : "09:42:00");
        return f.manager().getPeriodCurve("A", "S").at(581).positionValue;
    };
    EXPECT_NE(valueAfter(DAY), 1300.0) << "answered only now";
    EXPECT_EQ(valueAfter("20240103"), 1300.0);
}

/// What happens in half an hour, as actions that may come in any order.
std::vector<std::function<void(Fixture&)>> arrivals() {
    std::vector<std::function<void(Fixture&)>> all;
    const std::vector<std::string> stocks = {"SH600000", "SH600001", "SZ000001"};
    const std::vector<std::string> strategies = {"S", "T", ""};
    std::mt19937 random(3);
    for (std::uint64_t key = 1; key <= 40; ++key) {
        Deal deal;
        deal.key = key;
        deal.account = random() % 3 ? "A" : "B";
        deal.stock = stocks[random() % 3];
        deal.strategy = strategies[random() % 3];
        deal.side = random() % 2 ? Side::Buy : Side::Sell;
        deal.price = 10.0 + 0.25 * static_cast<double>(random() % 8);
        deal.volume = 100 * (1 + static_cast<int>(random() % 9));
        deal.time = std::to_string(100000 + random() % 15 * 100 + random() % 60);
        all.push_back([deal](Fixture& f) { f.deal(deal); });
    }
    for (std::size_t at = 0; at < 2; ++at) {  // the third stock has neither bars nor a price
        const std::string stock = stocks[at];
        all.push_back([stock](Fixture& f) { f.price({.stock = stock, .last = 11.25}); });
        for (int minute = 1; minute <= 42; ++minute) {  // live prices depend on when they came
            const std::string time = std::to_string(1000 + minute);
            const double close = 10.0 + 0.25 * static_cast<double>(random() % 8);
            all.push_back([=](Fixture& f) { f.bars(stock, DAY, {{time, close}}); });
        }
    }
    all.push_back([](Fixture& f) { f.manager().startProfitCalculator(); });
    all.push_back([](Fixture& f) { f.accountReady("A"); });
    return all;
}

TEST(PeriodCurves, AreTheSameInWhateverOrderThingsArrive) {
    std::map<std::pair<std::string, std::string>, Curve> expected;
    auto all = arrivals();
    std::mt19937 random(5);
    for (int round = 0; round < 12; ++round) {
        Ready f({.now = "2024-01-02 10:00:00"}, {"A", "B"});
        for (const char* stock : {"SH600000", "SH600001", "SZ000001"}) {
            f.instrument({.stock = stock, .reference = 10.0, .limitUp = 11.25, .limitDown = 9.0});
        }
        for (const auto& arrive : all) {
            arrive(f);
            if (round > 0) f.advance(static_cast<double>(random() % 15));
        }
        f.advanceTo("10:40:00");
        f.manager().startProfitCalculator();
        f.advanceTo("10:42:30");
        for (const std::string account : {"A", "B"}) {
            for (const std::string strategy : {"S", "T", ""}) {
                const Curve curve = f.manager().getPeriodCurve(account, strategy);
                if (round == 0) {
                    expected[{account, strategy}] = curve;
                    EXPECT_GT(curve.size(), 30u);
                }
                EXPECT_EQ(curve, (expected[{account, strategy}]))
                    << "round " << round << " " << account << " " << strategy;
            }
        }
        std::shuffle(all.begin(), all.end(), random);
    }
}

// ------------------------------------------------------------- runs in several slices

/// A day with so many stocks that a run takes several turns of the strand. The calculators' timers
/// fall on the same moments every half minute, so a slot can look in between.
struct ManyStocks : testing::Test {
    static constexpr int STOCKS = 600;
    static constexpr int LOOKS = 120;  ///< more than a run has turns
    Ready f{{.now = "2024-01-02 10:00:02"}, {"A", "B"}};
    std::uint64_t key = 0;
    std::vector<std::string> seen;      ///< at each turn, without repetitions
    std::function<void()> inTheMiddle;  ///< once, in a later turn of a run

    void SetUp() override {
        f.manager().startProfitCalculator();
        f.manager().sigStatDataChanged.connect([this] {
            if (f.now() == "10:01:02.000" && std::exchange(m_nLooks, 0) > 0) look(LOOKS);
        });
        dealAll("100001");
        f.advanceTo("10:00:40");
        ASSERT_EQ(pictures(), "600 600");
        f.advanceTo("10:00:55");
        dealAll("100031");
    }

    /// A hundred shares of each stock for each account.
    void dealAll(const std::string& time) {
        for (int stock = 0; stock < STOCKS; ++stock) {
            for (const char* account : {"A", "B"}) report(account, stock, time);
        }
        f.settle();
    }
    void report(const std::string& account, int stock, const std::string& time) {
        Deal deal{.account = account, .key = ++key, .strategy = "S"};
        deal.stock = "SH" + std::to_string(600000 + stock);
        deal.time = time;
        f.client().report(account, f.makeDeal(deal));
    }
    /// How many hundred shares the accounts' curves have in their first minute.
    std::string pictures() {
        std::string text;
        for (const std::string account : {"A", "B"}) {
            const Curve whole = f.manager().getPeriodCurve(account, "");
            const Curve own = f.manager().getPeriodCurve(account, "S");
            const auto bought = [](const Curve& curve) {
                return curve.empty() ? 0 : curve.begin()->second.buyVolume / 100;
            };
            EXPECT_EQ(bought(whole), bought(own));
            text += (text.empty() ? "" : " ") + std::to_string(bought(whole));
        }
        return text;
    }
    /// Looks at so many turns of the strand.
    void look(int turns) {
        if (turns == 0) return;
        const std::string now = pictures();
        if (seen.empty() || seen.back() != now) seen.push_back(now);
        if (turns == LOOKS - 3 && inTheMiddle) inTheMiddle();
        if (!f.hasManager()) return;
        TC::ManagerAccess::post(f.manager(), [this, turns] { look(turns - 1); });
    }

private:
    int m_nLooks = 1;
};

TEST_F(ManyStocks, AreSeenTogether) {
    // The minutes of the run before stay until all are renewed.
    int turns = 0;
    inTheMiddle = [&] { turns = static_cast<int>(seen.size()); };
    f.advanceTo("10:01:02");
    EXPECT_EQ(seen, (Texts{"600 600", "1200 1200"}));
    EXPECT_EQ(turns, 1) << "the run took more turns than were looked at";
}

TEST_F(ManyStocks, ARunThatWasOvertakenByDealsIsOfOneMoment) {
    inTheMiddle = [&] {
        for (const int stock : {0, STOCKS - 1}) {
            for (const char* account : {"A", "B"}) report(account, stock, "100059");
        }
    };
    f.advanceTo("10:01:02");
    EXPECT_EQ(seen, (Texts{"600 600", "1202 1202"}));
}

TEST_F(ManyStocks, WhoAsksInTheMiddleOfARunHasItsCurvesAtOnce) {
    inTheMiddle = [&] {
        f.manager().stopProfitCalculator();
        f.manager().startBalanceCalculator();
        EXPECT_EQ(pictures(), "1200 1200");
    };
    f.advanceTo("10:01:02");
    report("A", 1, "100045");
    f.settle();
    f.advanceTo("10:01:11");
    EXPECT_EQ(pictures(), "1200 1200");
    f.advanceTo("10:01:12");
    EXPECT_EQ(pictures(), "1201 1200") << "and the next run comes in its turn";
}

TEST_F(ManyStocks, AnAccountThatIsLoadedInTheMiddleIsRenewedWithItsRun) {
    inTheMiddle = [&] { f.manager().requestAccount("A"); };
    f.advanceTo("10:01:02");
    EXPECT_EQ(seen, (Texts{"600 600", "1200 1200"}));
}

TEST_F(ManyStocks, ANewTradingDateEndsTheRunOfTheOldOne) {
    inTheMiddle = [&] { f.client().newTradingDate("20240103", "20240103"); };
    f.advanceTo("10:01:02");
    EXPECT_EQ(seen, (Texts{"600 600", "0 0"}));
    f.advanceTo("2024-01-03 10:00:02");
    report("A", 1, "100001");
    f.settle();
    f.advance(10);
    EXPECT_EQ(pictures(), "1 0");
}

TEST_F(ManyStocks, AReleaseInTheMiddleOfARunEndsIt) {
    inTheMiddle = [&] { utils::CSingletonT<TC::CLinkageManager>::release(); };
    f.advanceTo("10:01:02");
    EXPECT_FALSE(f.hasManager());
}

}  // namespace
}  // namespace tests
