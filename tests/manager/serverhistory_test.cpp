#include "linkage/store/serverhistory.h"
#include "linkage/core/clinkagemanager.h"
#include "tests/support/fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <functional>
#include <iterator>

using namespace tests;

namespace {

using TC::HistoryDay;
using EState = HistoryDay::EState;

constexpr char RUNNING_DAY[] = "records of the running day come with its reports";
constexpr char SERVICE_FAILED[] = "a service of the client failed";

struct ServerHistory : testing::Test {
    Ready f{{.now = "2024-01-05 10:00:00"}};
    void SetUp() override { f.instrument({.stock = "SH204001", .types = {126}}); }
    TC::CLinkageManager& manager() { return f.manager(); }
    void askDeals(const std::string& first, const std::string& last) {
        f.forget();
        manager().requestAccountDeals("A", first, last);
        f.settle();
    }
    void server(const std::string& day, paper::ServerDay history) {
        f.client().setServerHistory("A", day, std::move(history));
    }
    boost::shared_ptr<vexservice::CDealDetail> deal(std::uint64_t key, const std::string& day,
                                                    const std::string& stock = "SH600000") {
        return f.makeDeal({.key = key, .stock = stock, .tradeDate = day, .strategy = "S"});
    }
    /// "name day account" of each signal.
    Texts done() const {
        Texts texts;
        for (const SeenSignal& each : f.signals()) {
            texts.push_back(each.name + " " + each.args.at(0) + " " + each.args.at(1));
        }
        return texts;
    }
    /// Whether one line was logged, and it says so.
    bool logged(const char* text) const {
        const Texts log = f.logTexts();
        return log.size() == 1 && log[0].find(text) != std::string::npos;
    }
    HistoryDay dayOf(const std::string& day) {
        return manager()
            .getHistoryDay(TC::EHistoryRecords::Deals, "A", Fixture::day(day))
            .value_or(HistoryDay{EState::Failed, -1, "never asked for"});
    }
    /// Of the newest request.
    std::string progress() {
        const auto request = manager().getHistoryRequests().back();
        return fmt::format("{} of {}, {} failed: {}", request.done, request.days, request.failed,
                           request.fault);
    }
    Texts keys(const std::string& day) {
        Texts texts;
        for (const auto& [key, deal] : manager().getAccountDeals("A", Fixture::day(day))) {
            texts.push_back(std::to_string(key));
        }
        return texts;
    }
};

}  // namespace

TEST_F(ServerHistory, FilesWhatIsOfTheDayAndFollowed) {
    server("20240102", {.deals = {deal(1, "20240102"), deal(2, "20240102"), nullptr,
                                  deal(3, "20240102", "SH204001"), deal(4, "20240105")}});
    const auto before = f.state();
    manager().requestAccountDeals("A", "20240102", "20240103");
    EXPECT_TRUE(done().empty()) << "asked later, on the strand";
    f.settle();
    EXPECT_EQ(done(), (Texts{"historyDealsDone 20240102 A", "historyDealsDone 20240103 A"}));
    EXPECT_EQ(keys("20240102"), (Texts{"1", "2"})) << "no excluded stock, no other day";
    const auto after = f.state();
    EXPECT_EQ(after.buySellVolumes, before.buySellVolumes);
    EXPECT_EQ(after.tradeStatDatas, before.tradeStatDatas);
    EXPECT_EQ(after.strategys, before.strategys);
}

TEST_F(ServerHistory, ARepeatedQueryReplacesWhatTheServerFiledAndNothingElse) {
    f.deal({.key = 7, .tradeDate = "20240104"});  // reported, and so counted
    const struct {
        paper::ServerDay answer;
        Texts keys;
    } rows[] = {
        {{.deals = {deal(1, "20240104"), deal(2, "20240104"), deal(7, "20240104")}},
         {"1", "2", "7"}},
        {{.deals = {deal(2, "20240104"), deal(3, "20240104")}}, {"2", "3", "7"}},
        {{.error = "down"}, {"2", "3", "7"}},  // an error takes nothing away
        {{}, {"7"}},
    };
    for (const auto& row : rows) {
        server("20240104", row.answer);
        askDeals("20240104", "20240104");
        EXPECT_EQ(keys("20240104"), row.keys);
    }
    f.deal({.key = 7, .tradeDate = "20240104"});
    EXPECT_EQ(manager().getBuySellVolumes(Fixture::day("20240104"), "SH600000", {"A"}).first, 100);

    f.deal({.key = 2, .tradeDate = "20240104"});
    askDeals("20240104", "20240104");
    EXPECT_EQ(keys("20240104"), (Texts{"2", "7"})) << "it is not the server's any more";

    // Reported and answered under different keys, the same number is one record.
    f.deal({.key = 8, .dealId = "N8", .tradeDate = "20240104"});
    const auto answered = f.makeDeal({.key = 80, .dealId = "N8", .tradeDate = "20240104"});
    const auto later = f.makeDeal({.key = 90, .dealId = "N9", .tradeDate = "20240104"});
    server("20240104", {.deals = {answered, later}});
    askDeals("20240104", "20240104");
    EXPECT_EQ(keys("20240104"), (Texts{"2", "7", "8", "90"}));
    f.deal({.key = 9, .dealId = "N9", .tradeDate = "20240104"});
    EXPECT_EQ(keys("20240104"), (Texts{"2", "7", "8", "9"}));

    // The same for orders, over the limits of small tables.
    std::vector<boost::shared_ptr<vexservice::COrderDetail>> orders;
    for (std::uint64_t key = 1; key <= 500; ++key) {
        orders.push_back(f.makeOrder({.key = key, .tradeDate = "20240103"}));
    }
    for (const std::size_t count : {500u, 123u, 500u, 0u}) {
        server("20240103", {.orders = {orders.end() - static_cast<long>(count), orders.end()}});
        manager().requestAccountOrders("A", "20240103", "20240103");
        f.settle();
        EXPECT_EQ(manager().getAccountOrders("A", Fixture::day("20240103")).size(), count);
    }
}

// Each row is the server's or the calendar's fault with one day; the days around it are asked
// for all the same.
TEST_F(ServerHistory, GoesOnAfterADayThatFailed) {
    using enum HistoryDay::EState;
    const std::string day = "20240103";
    const struct {
        const char* name;
        std::function<void()> fault;
        HistoryDay result;
        double seconds = 0;  ///< until the day ends
    } rows[] = {
        {"refused",
         [&] { server(day, {.error = "no permission"}); },
         {Failed, 0, "error 1 no permission"}},
        {"lost",
         [&] { server(day, {.lost = true}); },
         {Failed, 0, "no answer"},
         TC::CServerHistory::ANSWER_SECONDS},
        {"no trading", [&] { f.client().setTradingDay(day, false); }, {NoTrading, 0, ""}},
        {"no trading, but nobody knows", [&] { server(day, {}); }, {Answered, 0, ""}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        f.client().setTradingDay(day, true);
        row.fault();
        server("20240104", {.deals = {deal(2, "20240104")}});
        askDeals("20240102", "20240105");
        if (row.seconds > 0) {
            f.advance(row.seconds - 0.001);
            EXPECT_EQ(done(), (Texts{"historyDealsDone 20240102 A"}));
            EXPECT_EQ(dayOf(day), (HistoryDay{Waiting}));
            EXPECT_EQ(progress(), "1 of 4, 0 failed: ");
            f.advance(0.001);
        }
        EXPECT_EQ(done(), (Texts{"historyDealsDone 20240102 A", "historyDealsDone 20240103 A",
                                 "historyDealsDone 20240104 A", "historyDealsDone 20240105 A"}));
        EXPECT_EQ(dayOf(day), row.result);
        EXPECT_EQ(dayOf("20240102"), (HistoryDay{Answered}));
        EXPECT_EQ(dayOf("20240104"), (HistoryDay{Answered, 1}));
        EXPECT_EQ(progress(), fmt::format("4 of 4, {} failed: {}", row.result.fault.empty() ? 1 : 2,
                                          RUNNING_DAY));
        EXPECT_EQ(f.logTexts().size(), row.result.fault.empty() ? 1u : 2u);
    }
    EXPECT_EQ(manager().getHistoryDay(TC::EHistoryRecords::Orders, "A", Fixture::day(day)),
              std::nullopt);
}

TEST_F(ServerHistory, AServiceThatThrowsCostsItsDayAndNothingThatIsFiled) {
    server("20240103", {.deals = {deal(1, "20240103")}});
    askDeals("20240103", "20240103");
    using enum paper::EService;
    for (const auto service : {AccountData, History, Calendar}) {
        f.client().setFault(service, paper::EFault::Throw, 1);
        askDeals("20240103", "20240103");
        EXPECT_EQ(done(), (Texts{"historyDealsDone 20240103 A"}));
        EXPECT_EQ(dayOf("20240103").fault, service == Calendar ? "" : SERVICE_FAILED);
        EXPECT_EQ(keys("20240103"), Texts{"1"});
    }
}

/// Keeps the answers of days for later.
struct SlowServer : TC::CTradeClient {
    std::vector<DealsAnswer> asked;
    bool cancelOrder(const boost::shared_ptr<vexservice::COrderDetail>&, QString&, int, QString,
                     const boost::shared_ptr<TC::COrderAuxInfo>&) override {
        return false;
    }
    void queryHistoryOrders(const std::string&, const std::string&, const OrdersAnswer&) override {}
    void queryHistoryDeals(const std::string&, const std::string&,
                           const DealsAnswer& answer) override {
        asked.push_back(answer);
    }
};

TEST_F(ServerHistory, OfTwoQuestionsForADayTheNewerOneCounts) {
    using enum HistoryDay::EState;
    const auto slow = boost::make_shared<SlowServer>();
    utils::CManualSingletonT<TC::CTradeClient>::install(slow);
    const auto answer = [&](std::size_t question, std::uint64_t key) {
        slow->asked.at(question)({}, {deal(key, "20240103")});
        f.settle();
    };
    askDeals("20240103", "20240103");
    askDeals("20240103", "20240103");
    answer(1, 2);
    EXPECT_EQ(dayOf("20240103"), (HistoryDay{Answered, 1}));
    answer(0, 1);
    EXPECT_EQ(keys("20240103"), Texts{"2"}) << "an older answer, later";

    askDeals("20240103", "20240103");
    f.advance(5);
    askDeals("20240103", "20240103");
    answer(3, 4);
    f.advance(5);
    EXPECT_EQ(dayOf("20240103"), (HistoryDay{Answered, 1})) << "the older question was lost";
    answer(2, 3);
    EXPECT_EQ(keys("20240103"), Texts{"4"}) << "too late";

    // A rollover in the middle changes nothing; a day that has become the running one is left to
    // its reports.
    askDeals("20240103", "20240104");
    f.newTradingDate("20240108");
    answer(4, 5);
    EXPECT_EQ(keys("20240103"), Texts{"5"});
    f.newTradingDate("20240104");
    slow->asked.at(5)({}, {deal(6, "20240104")});
    f.settle();
    EXPECT_EQ(dayOf("20240104"), (HistoryDay{Failed, 0, RUNNING_DAY}));
    EXPECT_TRUE(keys("20240104").empty());
    for (const auto& request : manager().getHistoryRequests()) EXPECT_TRUE(request.isOver());
}

TEST_F(ServerHistory, WhatCannotBeAskedIsSaidAndEnded) {
    const struct {
        const char *account, *first, *last, *signal, *why;
    } cases[] = {
        {"none", "20240102", "20240104", "historyOrdersDone 20240102 none", "no such account"},
        {"A", "20240104", "20240102", "historyOrdersDone 20240104 A", "after the last"},
        {"A", "20240104", "20240108", "historyOrdersDone 20240104 A", "not come yet"},
        {"A", "20240104", "20240230", "historyOrdersDone 20240104 A", "no such day"},
        {"A", "19891231", "20240104", "historyOrdersDone 19891231 A", "before any exchange"},
        {"A", "", "20240104", "historyOrdersDone  A", "no such day"},
        {"A", "2024-1-2", "20240104", "historyOrdersDone  A", "no such day"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.account) + " " + each.first + " " + each.last);
        f.forget();
        manager().requestAccountOrders(each.account, each.first, each.last);
        f.settle();
        EXPECT_EQ(done(), (Texts{each.signal}));
        EXPECT_TRUE(logged(each.why)) << f.logTexts().back();
        EXPECT_EQ(progress().find("1 of 1, 1 failed: "), 0u) << progress();
    }
    EXPECT_EQ(manager().requestAccountDeals("A", "20240104", "20240102"), std::size(cases) + 1);
}

TEST_F(ServerHistory, BeforeInitAndAfterReleaseNothingHappens) {
    server("20240104", {.lost = true});
    manager().requestAccountDeals("A", "20240104", "20240104");
    f.release();  // with the deadline running
    f.forget();
    f.advance(30);
    f.create();
    EXPECT_EQ(manager().requestAccountDeals("A", "20240104", "20240104"), 0u);
    f.settle();
    EXPECT_TRUE(manager().getHistoryRequests().empty());
    EXPECT_TRUE(f.signals().empty());
    EXPECT_TRUE(f.logTexts().empty());
}
