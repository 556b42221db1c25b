#include "replay/dayreport.h"
#include "replay/recordingplayer.h"
#include "tests/support/playing.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <string>

/// How the tables of a day tell of balances.
namespace {

using replay::BalanceFigures;

std::string textOfRecording(const std::string& path) {
    replay::CDayReport report(false);
    replay::CRecordingPlayer player(path, {.passesDifferences = true, .watcher = &report});
    player.playToEnd();
    report.finished();
    EXPECT_EQ(player.verdict().fault + replay::differenceText(player.verdict()), "");
    return replay::reportText(report.days());
}

/// A recording of the day must tell the same as the day, unless `recordsAll` is false.
std::vector<replay::DayFigures> daysOf(const std::string& lines, const char* options = "{}",
                                       bool recordsAll = true) {
    const tests::ScenarioFolder folder;
    tests::writeText(folder.path("day"),
                     "{\"do\":\"config\",\"now\":\"2024-01-02 09:30:00\",\"exchange\":\"paper\","
                     "\"scheduler\":true,\"options\":" +
                         std::string(options) +
                         "}\n"
                         "{\"do\":\"instrument\",\"market\":\"SH\",\"code\":\"600000\"}\n"
                         "{\"do\":\"account\",\"key\":\"A\"}\n"
                         "{\"do\":\"account\",\"key\":\"F\",\"type\":4}\n"
                         "{\"do\":\"init\"}\n" +
                         lines);
    replay::CDayReport report(false);
    replay::COutput nowhere([](std::string_view) {});
    EXPECT_EQ(replay::playFile(folder.path("day"), {.record = folder.path("recording")}, nowhere,
                               &report),
              "");
    const std::string recorded = textOfRecording(folder.path("recording"));
    if (recordsAll) {
        EXPECT_EQ(recorded, replay::reportText(report.days()));
    }
    return report.days();
}

std::string book(int asks, int bids) {
    const auto side = [](const char* name, double price, int volume) {
        return volume ? fmt::format(",\"{}\":[[{},{}]]", name, price, volume) : std::string();
    };
    return "{\"do\":\"price\",\"market\":\"SH\",\"code\":\"600000\",\"last\":10" +
           side("asks", 10.0, asks) + side("bids", 9.99, bids) + "}\n";
}

std::string send(const char* account, const char* strategy, const char* side, int volume,
                 double price) {
    return fmt::format(
        "{{\"do\":\"send\",\"account\":\"{}\",\"strategy\":\"{}\",\"side\":\"{}\","
        "\"volume\":{},\"price\":{},\"market\":\"SH\",\"code\":\"600000\"}}\n",
        account, strategy, side, volume, price);
}

std::string call(const char* op, const char* account, const char* strategy) {
    return fmt::format("{{\"do\":\"call\",\"op\":\"{}\",\"args\":[\"{}\",\"{}\"]}}\n", op, account,
                       strategy);
}

std::string advance(int seconds) {
    return fmt::format("{{\"do\":\"advance\",\"seconds\":{}}}\n", seconds);
}

/// "asked at, cancelled, orders: sent/filled; remains"
std::string textOf(const BalanceFigures& balance) {
    std::string text = fmt::format("{}, {}, {}: {}/{};", balance.asked,
                                   balance.cancelledOrders + balance.cancelledTasks, balance.orders,
                                   balance.sent(), balance.filled());
    for (const replay::Remainder& rest : balance.remains) {
        text += fmt::format(" {}{:+} {}", rest.stockKey, rest.difference, rest.reason);
    }
    return text;
}

TEST(DayReport, SaysHowEachBalanceWent) {
    const char* const TIMED =
        "{\"do\":\"call\",\"op\":\"addBalanceTime\",\"args\":[\"A:odd\",\"093100\"]}\n";
    struct Row {
        const char* name;
        std::string lines;
        replay::PairKey pair;
        const char* text;
    };
    const std::string open = book(100'000, 100'000);
    const Row rows[] = {
        {"at its time, an odd lot over",
         open + send("A", "odd", "buy", 1050, 10.0) + TIMED + advance(120),
         {"A", "odd"},
         "09:31:00, 0, 1: 1000/1000; SH600000+50 rounded to whole lots"},
        {"less than a lot",
         open + send("A", "S", "sell", 50, 9.99) + call("runAutoBalance", "A", "S") + advance(60),
         {"A", "S"},
         "09:30:00, 0, 0: 0/0; SH600000-50 less than a lot"},
        {"its own cancellation counts, the user's does not",
         open + send("A", "S", "buy", 100, 9.0) + call("cancelAllOrders", "A", "S") + advance(2) +
             send("A", "S", "buy", 300, 10.0) + send("A", "S", "buy", 100, 9.0) +
             call("runAutoBalance", "A", "S") + advance(60),
         {"A", "S"},
         "09:30:02, 1, 1: 300/300;"},
        {"nobody buys",
         open + send("A", "S", "buy", 300, 10.0) + book(1000, 0) +
             call("runAutoBalance", "A", "S") + advance(60),
         {"A", "S"},
         "09:30:00, 0, 1: 300/0; SH600000+300 not filled"},
        {"traded afterwards",
         open + send("A", "S", "buy", 300, 10.0) + call("runAutoBalance", "A", "S") + advance(60) +
             send("A", "S", "buy", 500, 10.0),
         {"A", "S"},
         "09:30:00, 0, 1: 300/300; SH600000+500 not balanced"},
        {"the whole account",
         open + send("A", "S", "buy", 300, 10.0) + send("A", "T", "buy", 200, 9.0) +
             call("runAutoBalance", "A", "") + advance(60),
         {"A", ""},
         "09:30:00, 1, 1: 300/300;"},
        {"an account that is not balanced",
         open + send("F", "S", "buy", 300, 10.0) + call("runAutoBalance", "F", "S") + advance(60),
         {"F", "S"},
         "09:30:00, 0, 0: 0/0; +0 accounts of this type are not balanced"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        // Which orders a command of a whole account made, only the paper exchange tells.
        const auto days = daysOf(row.lines, "{}", !row.pair.second.empty());
        ASSERT_EQ(days.size(), 1u);
        ASSERT_EQ(days[0].balances.size(), 1u);
        EXPECT_EQ(days[0].balances[0].pair, row.pair);
        EXPECT_FALSE(days[0].balances[0].history);
        EXPECT_EQ(textOf(days[0].balances[0]), row.text);
        const std::string table = replay::reportText(days);
        EXPECT_EQ(table.find("A        (all)     09:30:00") != std::string::npos,
                  row.pair.second.empty());
    }
}

TEST(DayReport, TellsBalancesOfEarlierDaysApart) {
    for (const char* const options : {"{}", "{\"guard\":true}"}) {
        const auto days = daysOf(book(100'000, 100'000) + send("A", "S", "buy", 300, 10.0) +
                                     call("addHistoryLinkdata", "A", "S") +
                                     call("doHistoryBalance", "A", "S") + advance(1),
                                 options);
        ASSERT_EQ(days.size(), 1u);
        ASSERT_EQ(days[0].balances.size(), 1u);
        EXPECT_TRUE(days[0].balances[0].history);
        EXPECT_EQ(textOf(days[0].balances[0]).substr(0, 23), "09:30:00, 0, 1: 300/300");
        const replay::PairFigures& sold = days[0].historyPairs.at({"A", "S"});
        EXPECT_EQ(fmt::format("{} {} {} {}", sold.orders, sold.deals, sold.sold, sold.sellAmount),
                  "1 1 300 2997");
        EXPECT_EQ(days[0].pairs.at({"A", "S"}).orders, 1u);
    }
}

/// With the guard each balance has its row, as the book tells it.
TEST(DayReport, ReadsTheBookOfBalances) {
    const std::string bought = book(100'000, 100'000) + send("A", "S", "buy", 1050, 10.0);
    const std::string ask = call("runAutoBalance", "A", "S");
    const auto days = daysOf(
        bought + ask + ask + advance(10) + "{\"do\":\"reject\",\"account\":\"A\",\"times\":1}\n" +
            send("A", "S", "buy", 200, 11.5) + send("A", "S", "buy", 200, 10.0) +
            "{\"do\":\"reject\",\"account\":\"A\",\"times\":1}\n" + ask + advance(10) +
            book(500, 0) + ask + advance(10),
        "{\"guard\":true}");
    ASSERT_EQ(days.size(), 1u);
    std::string text;
    for (const BalanceFigures& each : days[0].balances) {
        text += fmt::format("{} {} {}\n", each.number, each.state, textOf(each));
    }
    EXPECT_EQ(text,
              "1 ended 09:30:00, 0, 1: 1000/1000; SH600000+50 less than a lot\n"
              "2 refused 09:30:00, 0, 0: 0/0; +0 balance 1 is under way\n"
              "3 ended 09:30:10, 0, 1: 200/0; SH600000+250 rejected: the broker rejects it\n"
              "4 sent 09:30:20, 0, 1: 200/0; SH600000+250 resting\n");
}

}  // namespace
