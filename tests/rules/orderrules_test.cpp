#include "paper/orderrules.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <string>

/// What the client fills in as the price of an order.
namespace {

using namespace vexservice;

CPriceData quote(double last, std::vector<CPriceLevel> asks, std::vector<CPriceLevel> bids) {
    CPriceData data;
    data.m_strStockKey = "SH600000";
    data.m_dLastPrice = last;
    data.m_asks = std::move(asks);
    data.m_bids = std::move(bids);
    return data;
}

// Ten levels a side around a last price of 10.00: asks from 10.01 up, bids from 9.99 down.
CPriceData tenLevels() {
    std::vector<CPriceLevel> asks;
    std::vector<CPriceLevel> bids;
    for (int level = 1; level <= 10; ++level) {
        asks.push_back({(1000 + level) / 100.0, 100});
        bids.push_back({(1000 - level) / 100.0, 100});
    }
    return quote(10.0, asks, bids);
}

TEST(OrderPrice, FollowsThePriceType) {
    const CPriceData full = tenLevels();
    const CPriceData shallow = quote(10.0, {{10.01, 100}}, {{9.99, 100}});
    const CPriceData askless = quote(11.0, {}, {{11.0, 500}});
    const CPriceData silent = quote(CPriceData::UNKNOWN, {}, {});
    const CPriceData bookOnly = quote(CPriceData::UNKNOWN, {{10.01, 100}}, {});
    std::vector<std::tuple<const char*, const CPriceData*, int, double, double>> rows = {
        {"last price", &full, 5, 10.0, 10.0},
        {"the setting's price", &full, 11, 7.5, 7.5},
        {"market", &full, 12, 0.0, 0.0},
        {"own side", &full, 13, 9.99, 10.01},
        {"opposite side", &full, 14, 10.01, 9.99},
        {"ask level not there", &shallow, 3, 10.0, 10.0},
        {"bid level not there", &shallow, 39, 10.0, 10.0},
        {"no ask at the limit", &askless, 14, 11.0, 11.0},
        {"own side without asks", &askless, 13, 11.0, 11.0},
        {"nothing known", &silent, 14, 0.0, 0.0},
        {"last price not known", &silent, 5, 0.0, 0.0},
        {"book without last", &bookOnly, 14, 10.01, 0.0},
        {"never quoted", nullptr, 14, 0.0, 0.0},
        {"the setting's price, never quoted", nullptr, 11, 7.5, 7.5},
    };
    for (const int type : {15, 29, 40}) rows.push_back({"no such type", &full, type, 0.0, 0.0});
    // Near asks run downwards from 4, far ones and the bids upwards.
    for (int level = 1; level <= 10; ++level) {
        const double ask = (1000 + level) / 100.0;
        const double bid = (1000 - level) / 100.0;
        rows.push_back({"ask", &full, level <= 5 ? 5 - level : 24 + level, ask, ask});
        rows.push_back({"bid", &full, level <= 5 ? 5 + level : 29 + level, bid, bid});
    }
    for (const auto& [name, data, number, buys, sells] : rows) {
        SCOPED_TRACE(std::string(name) + ", type " + std::to_string(number));
        const auto type = static_cast<EPriceType>(number);
        EXPECT_DOUBLE_EQ(paper::priceByType(data, type, true, 7.5), buys);
        EXPECT_DOUBLE_EQ(paper::priceByType(data, type, false, 7.5), sells);
    }
}

TEST(ProtectivePrice, IsTwoPercentBeyondTheBestPriceOnTheTickWithinTheLimits) {
    const auto book = [](double ask, double bid) {
        return quote(10.0, {{ask, 100}}, {{bid, 100}});
    };
    struct Row {
        const char* name;
        CPriceData quote;
        bool buys;
        double tick, down, up;
        double expected;
    };
    const Row rows[] = {
        // 10.03 x 1.02 = 10.2306; 9.97 x 0.98 = 9.7706
        {"down to the tick", book(10.03, 9.9), true, 0.01, 0, 0, 10.23},
        {"up to the tick", book(10.1, 9.97), false, 0.01, 0, 0, 9.77},
        // 10.25 x 1.02 = 10.455 and 10.25 x 0.98 = 10.045, halfway between two ticks
        {"tie of a buy goes up", book(10.25, 9.9), true, 0.01, 0, 0, 10.46},
        {"tie of a sell goes up", book(10.3, 10.25), false, 0.01, 0, 0, 10.05},
        // 1.234 x 1.02 = 1.25868
        {"tick of a fund", book(1.234, 1.233), true, 0.001, 0, 0, 1.259},
        // 10.03 x 1.02 = 10.2306 lies between 10.2 and 10.25
        {"wide tick", book(10.03, 9.9), true, 0.05, 0, 0, 10.25},
        {"upper limit", book(10.9, 10.8), true, 0.01, 9.0, 11.0, 11.0},
        {"lower limit", book(9.2, 9.1), false, 0.01, 9.0, 11.0, 9.0},
        {"buy from last", quote(10.0, {}, {{9.9, 100}}), true, 0.01, 0, 0, 10.20},
        {"sell from last", quote(10.0, {{10.1, 100}}, {}), false, 0.01, 0, 0, 9.80},
        {"no price at all", quote(CPriceData::UNKNOWN, {}, {}), true, 0.01, 9.0, 11.0, 0.0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        paper::Instrument instrument;
        instrument.tick = row.tick;
        instrument.limitDown = row.down;
        instrument.limitUp = row.up;
        EXPECT_DOUBLE_EQ(paper::protectivePrice(&row.quote, row.buys, instrument), row.expected);
    }
    EXPECT_EQ(paper::protectivePrice(nullptr, true, {}), 0.0);
}

TEST(OrderRules, TakeTickAndLimitsFromTheStockOfTheQuote) {
    auto instruments = std::make_shared<paper::CInstruments>();
    paper::Instrument instrument;
    instrument.market = "SH";
    instrument.code = "600000";
    instrument.limitUp = 10.1;
    instrument.detail = false;
    instruments->set(instrument);
    paper::COrderRules rules(instruments);
    const auto data = boost::make_shared<CPriceData>(tenLevels());
    EXPECT_DOUBLE_EQ(rules.getPriceForOrder(data, PRTP_MARKET, OPT_BUY), 10.1);
    // 9.99 x 0.98 = 9.7902
    EXPECT_DOUBLE_EQ(rules.getPriceForOrder(data, PRTP_MARKET, OPT_SELL), 9.79);
    EXPECT_DOUBLE_EQ(rules.getPriceForOrder(data, PRTP_COMPETE, OPT_SELL), 9.99);
    EXPECT_EQ(rules.getPriceForOrder({}, PRTP_MARKET, OPT_BUY), 0.0);

    CCodeOrderParam order;
    rules.orderSettingToParam({PRTP_FIX, 9.5}, order, OPT_BUY, 100, 0.0, data);
    EXPECT_EQ(order.m_ePriceType, PRTP_FIX);
    EXPECT_DOUBLE_EQ(order.m_dPrice, 9.5);
    rules.orderSettingToParam({PRTP_HANG, 9.5}, order, OPT_SELL, 100, 0.0, data);
    EXPECT_EQ(order.m_ePriceType, PRTP_HANG);
    EXPECT_DOUBLE_EQ(order.m_dPrice, 10.01);
}

TEST(OrderRules, LeaveATimeRangeOfOneDayAndOpenAnyOther) {
    paper::COrderRules rules(std::make_shared<paper::CInstruments>());
    using Range = std::pair<int, int>;
    const std::pair<Range, Range> rows[] = {
        {{34200, 54000}, {34200, 54000}}, {{0, 86400}, {0, 86400}}, {{0, 0}, {0, 0}},
        {{54000, 34200}, {0, 0}},         {{-1, 34200}, {0, 0}},    {{0, 86401}, {0, 0}}};
    for (const auto& [range, fixed] : rows) {
        CCodeOrderParam order;
        std::tie(order.m_nValidFrom, order.m_nValidTo) = range;
        rules.fixTimeRange(order);
        EXPECT_EQ(Range(order.m_nValidFrom, order.m_nValidTo), fixed) << range.first;
    }
}

}  // namespace
