#include "paper/commandcenter.h"
#include "tests/rules/papermarket.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>

/// The matching engine of the paper exchange, seen through its reports.
namespace {

using namespace tests;

struct Quote {
    double last;
    Levels asks, bids;
};

TEST(PaperExchange, MatchesAnArrivingOrderWithTheBook) {
    constexpr EPriceType FIX = PRTP_FIX;
    constexpr EPriceType MARKET = PRTP_MARKET;
    const Levels bids = {{10.00, 200}, {9.99, 400}};
    const Quote full = {10, {{10.01, 300}, {10.02, 500}, {10.05, 1000}}, bids};
    const Quote bidsOnly = {10, {}, bids};
    const Quote noBook = {10, {}, {}};
    const Quote silent = {CPriceData::UNKNOWN, {}, {}};
    const Quote emptyLevels = {10, {{0, 0}}, {{9.9, 0}}};
    // What is said follows "o1:49:0 o1:50:0".
    using Row = std::tuple<const char*, Quote, bool, std::int64_t, double, EPriceType, std::string>;
    const Row rows[] = {
        {"within a level", full, BUY, 200, 10.01, FIX, " d1:200@10.01 o1:56:200"},
        {"two levels, rest stands", full, BUY, 1000, 10.02, FIX,
         " d1:300@10.01 o1:55:300 d2:500@10.02 o1:55:800"},
        {"better than its price", full, BUY, 800, 10.04, FIX,
         " d1:300@10.01 o1:55:300 d2:500@10.02 o1:56:800"},
        {"sell two levels", full, SELL, 600, 9.99, FIX,
         " d1:200@10 o1:55:200 d2:400@9.99 o1:56:600"},
        {"below the asks", full, BUY, 100, 10.0, FIX, ""},
        {"above the bids", full, SELL, 100, 10.01, FIX, ""},
        {"market takes all levels", full, BUY, 1800, 0, MARKET,
         " d1:300@10.01 o1:55:300 d2:500@10.02 o1:55:800 d3:1000@10.05 o1:56:1800"},
        {"rest of a market order is cancelled", full, SELL, 700, 0, MARKET,
         " d1:200@10 o1:55:200 d2:400@9.99 o1:55:600 o1:53:600"},
        {"market without other side", bidsOnly, BUY, 700, 0, MARKET, " o1:54:0"},
        {"protected market order stands", full, BUY, 500, 10.01, MARKET, " d1:300@10.01 o1:55:300"},
        {"own side of the book only", bidsOnly, BUY, 100, 10.5, FIX, ""},
        {"no book, price reached", noBook, BUY, 5000, 10.0, FIX, " d1:5000@10 o1:56:5000"},
        {"no book, better than last", noBook, SELL, 5000, 9.5, FIX, " d1:5000@10 o1:56:5000"},
        {"no book, price not reached", noBook, BUY, 100, 9.99, FIX, ""},
        {"no book, market", noBook, BUY, 100, 0, MARKET, " o1:54:0"},
        {"nothing known", silent, BUY, 100, 10.5, FIX, ""},
        {"empty levels are no book", emptyLevels, BUY, 100, 10.0, FIX, " d1:100@10 o1:56:100"},

        {"at the upper limit", silent, BUY, 100, 11.0, FIX, ""},
        {"above the upper limit", silent, BUY, 100, 11.01, FIX, " o1:57:0"},
        {"at the lower limit", silent, SELL, 100, 9.0, FIX, ""},
        {"below the lower limit", silent, SELL, 100, 8.99, FIX, " o1:57:0"},
        {"protected beyond the limit", silent, BUY, 100, 11.01, MARKET, " o1:57:0"},
        {"no price", silent, BUY, 100, 0.0, PRTP_COMPETE, " o1:57:0"},
        {"negative price", silent, BUY, 100, -1.0, FIX, " o1:57:0"},
        {"no volume", silent, BUY, 0, 10.0, FIX, " o1:57:0"},
        {"volume beyond an order's", silent, SELL, 3'000'000'000, 10.0, FIX, " o1:57:0"},
    };
    for (const auto& [name, quote, buys, volume, price, type, said] : rows) {
        SCOPED_TRACE(name);
        Market market;
        market.limits(9.0, 11.0);
        market.price(quote.last, quote.asks, quote.bids);
        EXPECT_EQ(market.send(buys, volume, price, type), "o1:49:0 o1:50:0" + said);
    }
}

TEST(PaperExchange, CountsTheLargestAmountThereCanBe) {
    Market market;
    market.price(1e8);
    market.send(BUY, std::numeric_limits<int>::max(), 1e8);
    EXPECT_DOUBLE_EQ(market.orders[1].m_dTradedAmount, 2147483647e8);
    EXPECT_DOUBLE_EQ(market.deals.at(0).m_dAmount, 2147483647e8);
}

TEST(PaperExchange, ServesRestingOrdersOldestFirstFromWhatAPriceEventOffers) {
    Market market;
    market.send(BUY, 500, 10.00);
    market.send(BUY, 300, 10.05);
    market.send(SELL, 100, 10.50);
    EXPECT_EQ(market.price(10.0, {{10.00, 600}, {10.04, 100}}),
              "d1:500@10 o1:56:500 d2:100@10 o2:55:100 d3:100@10.04 o2:55:200");
    EXPECT_EQ(market.send(BUY, 100, 10.05), "o4:49:0 o4:50:0") << "what was taken stays taken";
    EXPECT_EQ(market.price(10.5, {}, {{10.50, 100}}), "d4:100@10.5 o3:56:100");
    EXPECT_EQ(market.price(10.0, {{10.01, 150}}), "d5:100@10.01 o2:56:300 d6:50@10.01 o4:55:50");
    EXPECT_DOUBLE_EQ(market.orders[2].m_dTradedAmount, 1000.0 + 1004.0 + 1001.0);
    EXPECT_EQ(market.deals.back().m_strTradeTime, "093000");
    EXPECT_DOUBLE_EQ(market.deals.back().m_dAmount, 500.5);
}

TEST(PaperExchange, AnswersACancelAfterOneSecondUnlessTheOrderIsFinal) {
    Market market;
    for (int order = 1; order <= 3; ++order) market.send(BUY, 500, 10.00);
    market.price(10.0, {{10.00, 700}});
    for (const int order : {2, 3, 3, 1}) market.cancel(order);
    EXPECT_EQ(market.advance(0.999999), "") << "not before the second is over";
    EXPECT_EQ(market.advance(0.000001), "o2:53:200 o3:54:0") << "once each, not the filled one";
    market.cancel(1);
    market.send(SELL, 100, 10.1);
    market.cancel(4);
    market.advance(0.5);
    EXPECT_EQ(market.price(10.1, {}, {{10.1, 100}}), "d3:100@10.1 o4:56:100");
    EXPECT_EQ(market.advance(10), "") << "filled while the cancel was under way";
    EXPECT_EQ(market.price(10.0, {{9.0, 9999}}), "") << "a cancelled order trades no more";
}

TEST(PaperExchange, CancelsOrdersThatOnlyTheDataCenterKnows) {
    Market market;
    const auto report = [&](std::uint64_t key, EEntrustStatus status, int traded) {
        auto order = boost::make_shared<COrderDetail>();
        order->m_nRecordKey = key;
        order->m_eStatus = status;
        order->m_nVolume = 500;
        order->m_nTradedVolume = traded;
        market.dataCenter->report("A", DATA_ORDER, order, false);
    };
    report(1, STATUS_REPORTED, 0);
    report(7, STATUS_PART_SUCC, 200);
    report(8, STATUS_SUCCEEDED, 500);
    for (const std::uint64_t key : {1, 7, 8, 9}) market.cancel(key);
    report(11, STATUS_REPORTED, 0);
    market.exchange->cancel("", 11);  // without account info nobody says whose it is
    market.exchange->cancel("", 12);
    EXPECT_EQ(market.advance(1), "o1:54:0 o7:53:200 o11:54:0");
    EXPECT_EQ(market.send(BUY, 100, 10.0), "o2:49:0 o2:50:0") << "key 1 is taken";
}

TEST(PaperExchange, MakesTheOrdersOfACommandWithItsStrategies) {
    Market market;
    paper::CCommandCenter center(market.loop.service(), market.exchange, market.tasks, nullptr);
    const auto order = boost::make_shared<CCodeOrderParam>();
    order->m_pAccountInfo = market.dataCenter->account("A")->getAccountInfo();
    order->m_stock = {"SH", "600000"};
    order->m_eOperationType = OPT_SELL;
    order->m_nVolume = 100;
    order->m_dPrice = 10.0;
    order->m_strStrategyName = "first";
    order->m_strStrategyName2 = "second";
    const auto command = boost::make_shared<COrderComandParam>();
    command->m_strStrategyName = "S";
    command->m_strStrategyName2 = "历史配平";
    command->m_orders = {order, order};
    market.exchange->submit({"A", "SH", "600000", BUY, 100, PRTP_FIX, 9.0});  // waits
    std::vector<std::string> told;
    const auto completion = [&](const utils::VexError& error, int number) {
        told.push_back(std::to_string(number) + (error.isOk() ? "" : " refused") + " after " +
                       std::to_string(market.orders.size()));
    };
    center.createCommand(command, completion, true, 0);
    EXPECT_EQ(market.orders.size() + told.size(), 0u) << "the caller may hold locks";
    EXPECT_EQ(market.said(), "o1:49:0 o1:50:0 o2:49:0 o2:50:0 o3:49:0 o3:50:0");
    EXPECT_TRUE(center.repeatResult(1, "no"));
    EXPECT_FALSE(center.repeatResult(0, "") || center.repeatResult(2, ""));
    EXPECT_EQ(market.price(10.0), "d1:100@10 o2:56:100 d2:100@10 o3:56:100");
    EXPECT_EQ(told, (std::vector<std::string>{"1 after 1", "1 refused after 3"}))
        << "the number before any report of the command's orders";
    EXPECT_EQ(market.deals[1].m_nOrderKey, 3u);
    EXPECT_EQ(market.deals[1].m_pCommand->m_nCommand, 1);
    EXPECT_EQ(market.orders[2].m_eDirection, ENTRUST_SELL);
    const auto& carrier = *market.orders[2].m_pCommand;
    EXPECT_EQ(carrier.m_strStrategyName + "/" + carrier.m_strStrategyName2 + "/" + carrier.m_strTag,
              "first/second/历史配平");
}

TEST(PaperExchange, RejectsAndIsSilentWhenTold) {
    Market market;
    market.exchange->rejectNext("A", 1);
    EXPECT_EQ(market.send(BUY, 100, 10.0), "o1:49:0 o1:50:0 o1:57:0");
    EXPECT_EQ(market.send(BUY, 100, 10.0), "o2:49:0 o2:50:0");
    EXPECT_EQ(market.send(BUY, 100, 9.0), "o3:49:0 o3:50:0");
    market.exchange->beSilent(5);
    EXPECT_EQ(market.send(SELL, 200, 11.0), "");
    market.cancel(2);
    market.cancel(3);
    EXPECT_EQ(market.advance(4), "");
    EXPECT_EQ(market.price(10.0), "d1:100@10 o2:56:100") << "what rests is matched all the same";
    EXPECT_EQ(market.advance(1), "o4:49:0 o4:50:0 o3:54:0");
    market.cancel(4);
    EXPECT_EQ(market.advance(1), "o4:54:0");
}

TEST(PaperExchange, ForgetsWorkingOrdersAndTasksWhenATradeDateBegins) {
    Market market;
    market.send(BUY, 500, 10.00);
    market.startTask(300, 3, 30);
    market.cancel(1);
    market.dataCenter->beginTradingDate("20240103");
    market.exchange->beginTradingDate();
    EXPECT_EQ(market.price(10.0, {{9.0, 100'000}}), "");
    EXPECT_EQ(market.advance(60), "");
    EXPECT_EQ(market.send(BUY, 100, 10.00), "o2:49:0 o2:50:0 d1:100@9 o2:56:100");
    EXPECT_EQ(market.orders[2].m_strTradeDate, "20240103");
}

// Whatever happens: an order's deals add up to what it reports, nothing trades beyond
// an order's price or volume or beyond what a quote offered, nothing follows a final
// report, and a cancelled day ends with nothing running.
TEST(PaperExchange, KeepsItsBooksWithAnySeed) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        Market market;
        std::mt19937 random(seed);
        const auto upTo = [&](int most) { return static_cast<int>(random() % unsigned(most + 1)); };
        std::map<std::uint64_t, EEntrustStatus> last;
        market.dataCenter->subscribe("A", DATA_ORDER, "", [&](auto&, auto& data) {
            const auto& order = static_cast<const COrderDetail&>(*data);
            const auto before = last.find(order.recordKey());
            EXPECT_TRUE(before == last.end() || isRunningStatus(before->second));
            last[order.recordKey()] = order.m_eStatus;
            EXPECT_LE(order.m_nTradedVolume, order.m_nVolume);
        });
        long long offered = 0;
        for (int step = 0; step < 60; ++step) {
            const double middle = 10 + upTo(20) / 100.0;
            switch (upTo(3)) {
                case 0: {
                    const Levels asks = {{middle, upTo(3) * 100}, {middle + 0.01, upTo(500)}};
                    const Levels bids = {{middle - 0.01, upTo(500)}, {middle - 0.02, 1}};
                    for (const auto* side : {&asks, &bids}) {
                        for (const CPriceLevel& level : *side) offered += level.m_nVolume;
                    }
                    market.price(middle, asks, bids);
                    break;
                }
                case 1:
                    market.startTask(1 + upTo(900), 1 + upTo(5), upTo(20), true);
                    break;
                case 2:
                    if (!last.empty()) market.cancel(1 + random() % last.size());
                    break;
                default:
                    market.send(upTo(1) == 1, 1 + upTo(900), upTo(4) ? middle : 0,
                                upTo(4) ? PRTP_FIX : PRTP_MARKET);
            }
            market.loop.advanceSeconds(upTo(30) / 10.0);
        }
        for (const auto& [key, status] : last) market.cancel(key);
        std::vector<boost::shared_ptr<IData>> known;
        market.dataCenter->getGlobalAccountData()->getVector(DATA_TASK, known);
        for (const auto& task : known)
            market.tasks->operateServerTask("task_" + task->getKey(), {});
        market.loop.advanceSeconds(1);
        long long dealt = 0;
        double dealtAmount = 0.0;
        for (const CDealDetail& deal : market.deals) {
            dealt += deal.m_nVolume;
            dealtAmount += deal.m_dAmount;
        }
        EXPECT_LE(dealt, offered);
        for (const auto& [key, order] : market.orders) {
            EXPECT_FALSE(isRunningStatus(order.m_eStatus)) << key;
            dealt -= order.m_nTradedVolume;
            dealtAmount -= order.m_dTradedAmount;
            if (order.m_dPrice <= 0) continue;
            const double atPrice = order.m_nTradedVolume * order.m_dPrice;
            const double over = order.m_dTradedAmount - atPrice;
            EXPECT_LT(order.m_eDirection == ENTRUST_BUY ? over : -over, 1e-6) << key;
        }
        EXPECT_EQ(dealt, 0);
        EXPECT_NEAR(dealtAmount, 0.0, 1e-6);
    }
}

}  // namespace
