#include "linkage/stats/curvedata.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

namespace TC {
namespace {

struct MinuteDeal {
    int minute;  ///< 0: no readable time
    int volume;  ///< negative: sold
    double price;
    double commission = 0.0;
};

/// One stock with its deals, closes and prices in the form that curves are made of.
struct CStock {
    std::map<int, LinkagePeriodTradeData> minutes;
    PeriodTotals totals;
    std::map<int, double> closes;
    std::map<int, double> seen;
    std::map<int, double> traded;
    CurveStock curve;

    explicit CStock(const std::vector<MinuteDeal>& deals, std::map<int, double> prices = {})
        : closes(std::move(prices)) {
        EffectiveFigures& now = curve.figures;
        for (const MinuteDeal& deal : deals) {
            const int volume = std::abs(deal.volume);
            LinkagePeriodTradeData& minute = minutes[deal.minute];
            (deal.volume > 0 ? minute.m_nBuyVolume : minute.m_nSellVolume) += volume;
            (deal.volume > 0 ? minute.m_dBuyAmount : minute.m_dSellAmount) += volume * deal.price;
            minute.m_dCommission += deal.commission;
            (deal.volume > 0 ? now.buyVolume : now.sellVolume) += volume;
            (deal.volume > 0 ? now.buyAmount : now.sellAmount) += volume * deal.price;
            curve.commission += deal.commission;
        }
        minutes.erase(0);
    }

    const CurveStock& ready() {
        totals = totalsOf(minutes);
        curve.totals = &totals;
        curve.closes = &closes;
        curve.seen = &seen;
        curve.traded = &traded;
        return curve;
    }
};

CCurveData::StockParts partsOf(const CCurveData& curves, const std::string& stock) {
    return CCurveData::CPartsFinder(curves, "A", "").find(stock);
}

TEST(PeriodCurve, HasAPointForEachTradingMinuteAndForDealsOutsideTradingHours) {
    using Minutes = std::vector<int>;
    const std::tuple<const char*, Minutes, int, Minutes> cases[] = {
        {"nothing traded", {}, 600, {}},
        {"no readable time", {0}, 602, {602}},
        {"no readable time, before the first minute", {0}, 0, {}},
        {"call auction before the first minute", {565}, 0, {565}},
        {"call auction, then trading", {565, 570}, 572, {565, 570, 571, 572}},
        {"over the pause", {689}, 782, {689, 690, 781, 782}},
        {"during the pause", {688}, 690, {688, 689, 690}},
        {"a deal in the pause shows at the next point", {689, 720}, 781, {689, 690, 781}},
        {"deals ahead of the clock", {600, 603}, 601, {600, 601, 602, 603}},
        {"deals after the close", {899, 905}, 900, {899, 900, 905}},
        {"a late time does not fill the day", {600, 905}, 601, {600, 601, 905}},
    };
    for (const auto& [name, trades, running, expected] : cases) {
        SCOPED_TRACE(name);
        std::vector<MinuteDeal> deals;
        for (const int minute : trades) deals.push_back({minute, 100, 10.0});
        CStock stock(deals, {{571, 10.0}});
        const auto curve = periodCurve({stock.ready()}, running);
        Minutes minutes;
        for (const auto& [minute, point] : curve) minutes.push_back(minute);
        EXPECT_EQ(minutes, expected);
        if (curve.empty()) continue;
        EXPECT_EQ(curve.rbegin()->second.buyVolume, 100 * std::ssize(deals));
    }
}

TEST(PeriodCurve, ValuesMinutesBeforeTheFirstCloseAsWellAsItCan) {
    using Values = std::map<int, double>;
    const std::tuple<const char*, double, Values, std::optional<double>, Values> cases[] = {
        {"yesterday's close", 9.0, {{602, 11.0}}, 12.0, {{601, -100}, {602, 100}, {603, 200}}},
        {"no reference: the first close", 0, {{602, 11}}, 12, {{601, 100}, {602, 100}, {603, 200}}},
        {"no bars: yesterday's close", 9.0, {}, 12.0, {{601, -100}, {602, -100}, {603, 200}}},
        {"only a price", 0.0, {}, 12.0, {{601, 200}, {602, 200}, {603, 200}}},
        {"no price: the last close", 9.0, {{602, 11}}, {}, {{601, -100}, {602, 100}, {603, 100}}},
        {"never quoted: not valued", 9.0, {}, {}, {{601, 0}, {602, 0}, {603, 0}}},
    };
    for (const auto& [name, reference, closes, latest, expected] : cases) {
        CStock stock({{601, 100, 10.0}}, closes);
        stock.curve.rule.reference = reference;
        stock.curve.latest = latest;
        Values profits;
        for (const auto& [minute, point] : periodCurve({stock.ready()}, 603)) {
            profits[minute] = point.profit;
        }
        EXPECT_EQ(profits, expected) << name;
    }
}

TEST(PeriodCurve, ValuesAMinuteAtThePriceThatHeldThen) {
    using Prices = std::map<int, double>;
    struct Case {
        const char* name;
        std::vector<MinuteDeal> deals;
        Prices closes;
        Prices seen;
        Prices expected;
    };
    const MinuteDeal first{601, 100, 10.0};
    const Case cases[] = {
        {"the last live price",
         {first},
         {},
         {{601, 10.5}, {603, 11}},
         {{601, 10.5}, {602, 10.5}, {603, 11}}},
        {"bars before live prices",
         {first},
         {{602, 10.2}},
         {{601, 10.5}, {602, 10.6}, {603, 11}},
         {{601, 10.5}, {602, 10.2}, {603, 11}}},
        {"the newer of both",
         {first},
         {{603, 9}},
         {{602, 10.5}},
         {{601, 10}, {602, 10.5}, {603, 9}}},
        {"own deals, until a price is seen",
         {first, {601, 100, 11}, {602, 200, 12}},
         {},
         {{603, 9}},
         {{601, 10.5}, {602, 12}, {603, 9}}},
        {"deals do not hide a live price",
         {first, {602, 100, 12}},
         {},
         {{601, 10.5}},
         {{601, 10.5}, {602, 10.5}}},
        {"the auction's deals",
         {{565, 100, 10}},
         {},
         {{565, 10.4}, {572, 11}},
         {{565, 10}, {571, 10}, {572, 11}}},
        {"the auction's bar", {{565, 100, 10}}, {{565, 10.1}}, {}, {{565, 10.1}, {571, 10.1}}},
        {"the auction without deals", {{570, 100, 10}}, {}, {{565, 9.9}}, {{570, 9.9}, {571, 9.9}}},
        {"the closing auction",
         {{899, 100, 10}, {900, 100, 12}, {906, 100, 12}},
         {},
         {{899, 11}, {900, 11}},
         {{899, 11}, {900, 12}}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        CStock stock(each.deals, each.closes);
        stock.seen = each.seen;
        stock.curve.rule.reference = 7.0;
        stock.curve.latest = 8.0;
        CCurveData curves;
        curves.beginRun();
        curves.renewTotals("A", "s",
                           {{"", std::make_shared<PeriodTotals>(totalsOf(stock.minutes))}});
        curves.renewTraded("s");
        curves.endRun();
        stock.traded = *partsOf(curves, "s").traded;
        Prices prices;
        for (const auto& [minute, point] :
             periodCurve({stock.ready()}, each.expected.rbegin()->first + 1)) {
            const auto open = static_cast<double>(point.buyVolume);
            prices[minute] = point.positionValue / open;
            EXPECT_DOUBLE_EQ(point.profit, point.positionValue - point.buyAmount);
        }
        EXPECT_EQ(prices.rbegin()->second, 8.0) << "the present";
        prices.erase(std::prev(prices.end()));
        EXPECT_EQ(prices, each.expected);
    }
}

// Each point worked out apart: walk all deals and search the price for every minute. Deals
// without a time count in the last one. At a limit, what is open against it is valued half
// the price further.
TEST(PeriodCurve, AgreesWithAWalkOverAllDealsForEachMinute) {
    std::mt19937 random(7);
    const auto below = [&](int bound) { return static_cast<int>(random() % bound); };
    for (int round = 0; round < 60; ++round) {
        std::vector<std::vector<MinuteDeal>> deals(1 + below(4));
        std::vector<CStock> stocks;
        for (auto& own : deals) {
            for (int count = below(12); count > 0; --count) {
                own.push_back({below(8) ? 571 + below(60) : 0,
                               (below(2) ? 100 : -100) * (1 + below(9)), 10.0 + below(8) * 0.25,
                               below(4) * 0.5});
            }
            CStock& stock = stocks.emplace_back(own);
            stock.curve.rule = {DayLimits{11.75, 10.0}, 0.5, 9.5};
            stock.curve.latest = 10.0 + below(8) * 0.25;
            for (int minute = 571; minute < 640; ++minute) {
                if (below(3)) stock.closes[minute] = 10.0 + below(8) * 0.25;
                if (minute > 590 && below(2)) stock.seen[minute] = 10.0 + below(8) * 0.25;
                if (below(9) == 0) stock.traded[minute] = 10.0 + below(8) * 0.25;
            }
            if (below(2)) {
                auto& closes = stock.closes;
                closes.erase(closes.begin(), closes.lower_bound(600 + below(30)));
            }
        }
        std::vector<CurveStock> rows;
        for (CStock& stock : stocks) rows.push_back(stock.ready());
        const auto curve = periodCurve(rows, 640);
        for (const auto& [minute, point] : curve) {
            const bool last = minute == curve.rbegin()->first;
            PeriodPoint expected;
            for (std::size_t at = 0; at < deals.size(); ++at) {
                double price = 9.5;
                for (const auto& [end, mean] : stocks[at].traded) {
                    if (end <= minute) price = mean;
                }
                auto known = stocks[at].closes;
                known.insert(stocks[at].seen.begin(), stocks[at].seen.end());
                for (const auto& [end, close] : known) {
                    if (end <= minute) price = close;
                }
                if (last) price = *stocks[at].curve.latest;
                int net = 0;
                for (const MinuteDeal& deal : deals[at]) {
                    if (deal.minute > minute || (deal.minute == 0 && !last)) continue;
                    const int volume = std::abs(deal.volume);
                    const bool buys = deal.volume > 0;
                    (buys ? expected.buyVolume : expected.sellVolume) += volume;
                    (buys ? expected.buyAmount : expected.sellAmount) += volume * deal.price;
                    expected.commission += deal.commission;
                    expected.profit -= deal.volume * deal.price + deal.commission;
                    net += deal.volume;
                }
                const bool further = (price == 11.75 && net < 0) || (price == 10.0 && net > 0);
                expected.profit += net * price + (further ? std::abs(net) * price * -0.5 : 0.0);
                expected.positionValue += std::abs(net) * price;
            }
            ASSERT_EQ(point, expected) << "round " << round << " minute " << minute;
        }
    }
}

TEST(PeriodMinutes, CountAsADayOfTrading) {
    int counted = 0;
    int newest = 0;
    for (int minute = 0; minute < 1440; ++minute) {
        if (isTradingMinute(minute)) ++counted, newest = minute;
        ASSERT_EQ(countTradingMinutes(minute), counted) << minute;
        ASSERT_EQ(tradingMinuteAt(minute), newest) << minute;
    }
    EXPECT_EQ(counted, 240);
}

TEST(LivePrices, BelongToTheMinuteWhoseTradesTheyTell) {
    constexpr std::int64_t MIDNIGHT = 1'704'124'800;  // of 2024-01-02 in Shanghai
    // Second of the day and minute: the evening before, an auction that may still change, the
    // auction, before the opening, opened, a minute's end, pause, afternoon, closed, the next day.
    const std::pair<std::int64_t, int> cases[] = {
        {-3600, 0},   {33840, 0},   {33900, 565}, {34200, 565}, {34201, 571},
        {34260, 571}, {43200, 690}, {46801, 781}, {57600, 900}, {122400, 0}};
    for (const auto& [second, minute] : cases) {
        CCurveData curves;
        curves.newDay("20240102");
        curves.notePrice("s", 0.0, (MIDNIGHT + second) * 1'000'000);
        EXPECT_EQ(partsOf(curves, "s").seen, nullptr) << "no price";
        curves.notePrice("s", 10.0, (MIDNIGHT + second) * 1'000'000 + 999'999);
        const auto seen = partsOf(curves, "s").seen;
        EXPECT_EQ(seen ? seen->begin()->first : 0, minute) << second;
        curves.newDay("20240102");
        EXPECT_EQ(partsOf(curves, "s").seen, seen) << "the same day";
        if (seen) {
            const auto taken = *seen;
            curves.notePrice("s", 11.0, (MIDNIGHT + second) * 1'000'000 + 999'999);
            EXPECT_EQ(*seen, taken) << "what was taken never changes";
            EXPECT_NE(*partsOf(curves, "s").seen, taken);
        }
        curves.newDay("20240103");
        EXPECT_EQ(partsOf(curves, "s").seen, nullptr);
    }
}

TEST(PeriodMinutes, FollowTheClockOnTheTradeDateOnly) {
    const std::tuple<const char*, int, int> cases[] = {
        {"20240102092500", 565, 0},   {"20240102093000", 570, 0},    {"20240102093001", 570, 571},
        {"20240102093100", 571, 571}, {"20240102113001", 690, 690},  {"20240102130000", 780, 690},
        {"20240102130001", 780, 781}, {"20240102150001", 900, 900},  {"20240102233000", 1410, 900},
        {"20240101140000", 0, 0},     {"20240103080000", 1440, 900},
    };
    for (const auto& [now, finished, running] : cases) {
        const DayMoment moment = dayMoment(now, "20240102");
        EXPECT_EQ(std::pair(moment.finished, moment.running), std::pair(finished, running)) << now;
    }
}

TEST(MinuteBars, AreAskedForWhenAMinuteHasEndedAndAgainWhileAnyIsMissing) {
    const std::string stock = "SH600000";
    CCurveData curves;
    const auto asked = [&](int finished, int running, std::int64_t seconds) {
        const auto due = curves.takeDueStocks({finished, running}, seconds * 1'000'000);
        return due == std::vector{stock};
    };
    EXPECT_FALSE(asked(573, 574, 0)) << "nothing is followed";
    curves.renewTotals("A", stock, {});
    EXPECT_FALSE(asked(570, 0, 0)) << "no minute has ended";
    EXPECT_TRUE(asked(573, 574, 600));
    EXPECT_FALSE(asked(573, 574, 610)) << "asked a moment ago";
    EXPECT_TRUE(asked(573, 574, 660)) << "no answer";
    EXPECT_TRUE(curves.addBars(stock, 573, {{571, 10.0}, {573, 10.5}}));
    EXPECT_FALSE(asked(573, 574, 670));
    EXPECT_TRUE(asked(573, 574, 720)) << "572 is missing";
    EXPECT_TRUE(asked(574, 575, 722)) << "574 has ended";
    EXPECT_TRUE(curves.addBars(stock, 574, {{572, 10.25}, {574, 10.5}}));
    EXPECT_FALSE(asked(574, 575, 999)) << "complete";
    for (const int finished : {900, 929}) {
        EXPECT_TRUE(asked(finished, 900, finished * 60));
        curves.addBars(stock, finished, {});
    }
    // A service that is late is asked on and on, but less and less often.
    std::int64_t second = 930 * 60;
    for (const int wait : {60, 120, 240, 480, 960, 1920, 3600, 3600}) {
        EXPECT_TRUE(asked(1440, 900, second));
        curves.addBars(stock, 1440, {});
        EXPECT_FALSE(asked(1440, 900, second + std::min(2 * wait, 3600) - 1)) << wait;
        second += std::min(2 * wait, 3600);
    }
    EXPECT_TRUE(asked(1440, 900, second));
    EXPECT_TRUE(curves.addBars(stock, 1440, {{899, 10.0}}));
    EXPECT_TRUE(asked(1440, 900, second + 60)) << "more may be there now";
    std::vector<CMinuteBar> all;
    all.reserve(330);
    for (int minute = 571; minute <= 900; ++minute) all.push_back({minute, 10.0});
    curves.addBars(stock, 1440, all);
    EXPECT_FALSE(asked(1440, 900, 2 * second)) << "complete";
    curves.newDay("20240103");
    EXPECT_FALSE(asked(575, 576, 9999)) << "another day";
}

TEST(MinuteBars, KeepTheNewestAnswerAndNoUnfinishedMinute) {
    CCurveData curves;
    EXPECT_FALSE(curves.addBars("SH600000", 573, {{571, 10.0}})) << "not followed";
    curves.renewTotals("A", "SH600000", {});
    EXPECT_TRUE(curves.addBars("SH600000", 573, {{571, 10.0}, {573, 10.5}, {574, 9.0}}));
    EXPECT_FALSE(curves.addBars("SH600000", 573, {{571, 10.0}, {572, 0.0}})) << "nothing new";
    EXPECT_TRUE(curves.addBars("SH600000", 574, {{573, 10.75}})) << "corrected";
    EXPECT_TRUE(curves.addBars("SH600000", 572, {{573, 8.0}, {571, 8.0}, {572, 10.25}}))
        << "an old answer fills gaps";
    ASSERT_NE(curves.findCloses("SH600000"), nullptr);
    EXPECT_EQ(*curves.findCloses("SH600000"),
              (std::map<int, double>{{571, 10.0}, {572, 10.25}, {573, 10.75}}));
}

}  // namespace
}  // namespace TC
