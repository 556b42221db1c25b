#include "replay/cut.h"
#include "replay/linereader.h"
#include "tests/support/playing.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

/// Smaller recordings of a part of one.
namespace {

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& path, std::string_view with) {
    Lines lines;
    replay::CLineReader reader(path);
    for (std::string_view line; reader.next(line);) {
        if (line.find(with) != std::string_view::npos) lines.emplace_back(line);
    }
    return lines;
}

constexpr std::string_view MARK = "\"out\":";
constexpr std::string_view OF_B = "\"account\":\"B\"";

/// Two accounts that trade the same stocks, each with a balance: that of A waits at 09:31:02, that
/// of B begins in between, so both share the timer. The deal 77 of A is reported twice, with
/// another volume.
std::string dayText(bool guard) {
    const auto deal = [](const std::string& account, int volume) {
        return R"({"do":"deal","account":")" + account +
               R"(","key":77,"market":"SH","code":"600001","side":"sell","price":20,"volume":)" +
               std::to_string(volume) + ",\"strategy\":\"grid\"}\n";
    };
    const auto send = [](const std::string& account, const std::string& code, int volume) {
        return R"({"do":"send","account":")" + account + R"(","market":"SH","code":")" + code +
               R"(","side":"buy","price":21,"volume":)" + std::to_string(volume) +
               ",\"strategy\":\"grid\"}\n";
    };
    return R"({"do":"config","now":"2024-01-02 09:29:00","exchange":"paper","options":{"guard":)" +
           std::string(guard ? "true" : "false") + R"(}}
{"do":"instrument","market":"SH","code":"600000","reference":20}
{"do":"instrument","market":"SH","code":"600001","reference":20}
{"do":"instrument","market":"SH","code":"600002","reference":20}
{"do":"account","key":"A","fee":{"rate":0.0003,"minimum":5,"transfer":0,"stamp":0.001}}
{"do":"account","key":"B","fee":{"rate":0.0003,"minimum":5,"transfer":0,"stamp":0.001}}
{"do":"price","market":"SH","code":"600000","last":20,"asks":[[20,9000]],"bids":[[19.9,9000]]}
{"do":"price","market":"SH","code":"600001","last":20,"asks":[[20,9000]],"bids":[[19.9,9000]]}
{"do":"price","market":"SH","code":"600002","last":20,"asks":[[20,9000]],"bids":[[19.9,9000]]}
{"do":"init"}
{"do":"call","op":"startProfitCalculator"}
{"do":"advance","to":"2024-01-02 09:30:00"}
)" + send("B", "600000", 300) +
           send("A", "600000", 500) + send("B", "600002", 300) + deal("A", 200) + deal("B", 300) +
           R"({"do":"advance","to":"2024-01-02 09:30:59"}
{"do":"call","op":"runAutoBalance","args":["B","grid"]}
{"do":"advance","to":"2024-01-02 09:31:00"}
{"do":"call","op":"runAutoBalance","args":["A","grid"]}
{"do":"advance","to":"2024-01-02 09:31:02"}
{"do":"price","market":"SH","code":"600000","last":20.1,"asks":[[20.1,9000]],"bids":[[20,9000]]}
{"do":"price","market":"SH","code":"600002","last":20.1,"asks":[[20.1,9000]],"bids":[[20,9000]]}
)" + deal("B", 500) +
           deal("A", 300) + R"({"do":"advance","to":"2024-01-02 09:31:20"}
)" + send("B", "600000", 700) +
           R"({"do":"login","ok":true}
{"do":"call","op":"requestAccountDeals","args":["B","20231228","20231229"]}
{"do":"advance","to":"2024-01-02 09:32:00"}
)" + send("A", "600001", 100) +
           R"({"do":"call","op":"runAutoBalance","args":["B",""]}
{"do":"call","op":"runAutoBalance","args":["A","grid"]}
{"do":"advance","to":"2024-01-02 09:33:00"}
{"do":"newTradingDate","date":"20240103"}
{"do":"advance","to":"2024-01-02 09:33:10"}
)";
}

class Cut : public testing::TestWithParam<std::tuple<bool, bool>> {
protected:
    /// `first`: lines that are played before the recording begins.
    void record(std::size_t first) {
        ASSERT_EQ(folder
                      .play(dayText(std::get<0>(GetParam())),
                            {.record = folder.path("day"), .recordFrom = first})
                      .fault,
                  "");
    }
    void SetUp() override { record(std::get<1>(GetParam()) ? 17 : 0); }

    replay::RecordingVerdict whole() const { return replay::verifyRecording(folder.path("day")); }
    replay::RecordingVerdict cut(const replay::CutOptions& options,
                                 const std::string& from = "day") {
        fs::remove(folder.path("part"));
        const auto copy = replay::cutRecording(folder.path(from), folder.path("part"), options);
        EXPECT_EQ(copy.fault, "");
        EXPECT_FALSE(copy.verdict.difference || copy.verdict.breaksOff);
        return copy.verdict;
    }
    Lines marks(const std::string& name = "part") const { return linesOf(folder.path(name), MARK); }

    tests::ScenarioFolder folder;
};

const char* const MOMENTS[] = {"2024-01-02 09:29:30", "2024-01-02 09:30:00",
                               "2024-01-02 09:31:02", "2024-01-02 09:31:04.500000",
                               "2024-01-02 09:31:30", "2024-01-02 09:32:00",
                               "2024-01-02 09:33:05"};

/// The moment behind.
std::string behind(const std::string& moment) {
    return moment.size() > 19 ? moment.substr(0, 20) + "500001" : moment + ".000001";
}

// Nothing is lost between two parts, and each mark is the recording's.
TEST_P(Cut, TwoPartsAreTheDay) {
    const auto day = whole();
    const Lines expected = marks("day");
    ASSERT_EQ(expected.size(), day.marks);
    for (const char* const moment : MOMENTS) {
        SCOPED_TRACE(moment);
        const bool hasFirst = !std::get<1>(GetParam()) || moment > std::string("2024-01-02 09:31");
        std::uint64_t steps = 0;
        Lines both;
        if (hasFirst) {
            steps = cut({.to = moment}).steps;
            both = marks();
        }
        steps += cut({.from = behind(moment)}).steps;
        const Lines second = marks();
        both.insert(both.end(), second.begin(), second.end());
        EXPECT_EQ(steps, day.steps);
        EXPECT_TRUE(both == expected);
    }
}

TEST_P(Cut, ABalanceThatWaitsGoesOnInTheCopyAndInACopyOfIt) {
    const auto sends = [&](const std::string& name) {
        Lines sent = linesOf(folder.path(name), "\"out\":\"command\"");
        std::erase_if(sent, [](const auto& line) { return line.find(OF_B) != line.npos; });
        return sent;
    };
    cut({.from = "2024-01-02 09:31:02.000001", .to = "2024-01-02 09:31:59"});
    const Lines sent = sends("part");
    ASSERT_FALSE(sent.empty());
    fs::rename(folder.path("part"), folder.path("first"));
    const std::string from = "2024-01-02 09:31:03";
    cut({.from = from, .to = "2024-01-02 09:31:30"}, "first");
    const Lines twice = marks();
    EXPECT_EQ(sends("part"), sent);
    cut({.from = from, .to = "2024-01-02 09:31:30"});
    EXPECT_TRUE(marks() == twice);
    cut({.from = from, .to = "2024-01-02 09:31:30", .accounts = {"A"}}, "first");
    EXPECT_EQ(sends("part"), sent);
}

// That the copy shows A as the recording does is proven by the cut itself.
TEST_P(Cut, OtherAccountsAreLeftOut) {
    const auto day = whole();
    for (const std::string from : {"", "2024-01-02 09:30:30", "2024-01-02 09:31:02.000001"}) {
        SCOPED_TRACE(from);
        const auto part = cut({.from = from, .accounts = {"A"}});
        EXPECT_LT(part.steps, day.steps);
        EXPECT_GT(part.marks, 5u);
        EXPECT_FALSE(linesOf(folder.path("part"), "\"account\":\"A\"").empty());
        for (const std::string kind : {"order", "deal"}) {
            Lines others = linesOf(folder.path("part"), R"({"do":")" + kind + R"(","account":"B")");
            std::erase_if(others,
                          [](const auto& line) { return line.find("\"at\":") == line.npos; });
            EXPECT_EQ(others, Lines());
        }
        // Nobody but B asked for its price, and that had not been asked for before the part.
        if (!from.empty() || std::get<1>(GetParam())) continue;
        EXPECT_EQ(linesOf(folder.path("part"), R"("price","market":"SH","code":"600002")"),
                  Lines());
    }
    EXPECT_EQ(cut({.accounts = {"A", "B"}}).steps, day.steps);
}

/// Balances of two accounts whose rounds go on side by side, while little by little is traded.
std::string roundsText() {
    std::string text = R"({"do":"config","now":"2024-01-02 09:30:00","exchange":"paper",)"
                       R"("options":{"guard":true,"rounds":3,"roundSeconds":20}}
{"do":"account","key":"A"}
{"do":"account","key":"B"}
)";
    const std::string codes[] = {"600000", "600001", "600002"};
    const auto price = [](const std::string& code, int tenths, int volume) {
        const auto level = [&](int at) {
            return "[[" + std::to_string(at / 10) + '.' + std::to_string(at % 10) + ',' +
                   std::to_string(volume) + "]]";
        };
        return R"({"do":"price","market":"SH","code":")" + code + R"(","last":20,"asks":)" +
               level(tenths) + ",\"bids\":" + level(tenths - 1) + "}\n";
    };
    for (const std::string& code : codes) {
        text += R"({"do":"instrument","market":"SH","code":")" + code + "\",\"reference\":20}\n" +
                price(code, 200, 9000);
    }
    text += "{\"do\":\"init\"}\n";
    for (const std::string account : {"A", "B"}) {
        for (const std::string& code : codes) {
            text += R"({"do":"send","account":")" + account + R"(","market":"SH","code":")" + code +
                    R"(","side":"buy","price":21,"volume":600,"strategy":"grid"})" + '\n';
        }
    }
    for (int turn = 0; turn < 30; ++turn) {
        text += "{\"do\":\"advance\",\"seconds\":3}\n";
        for (int at = turn % 2; at < 3; at += 2) {
            text += price(codes[at], 200 + (turn * 7 + at * 3) % 5 - 2, 100);
        }
        if (turn != 1 && turn != 3) continue;
        text += R"({"do":"call","op":"runAutoBalance","args":[")" +
                std::string(turn == 1 ? "A" : "B") + "\",\"grid\"]}\n";
    }
    return text;
}

TEST(CutRounds, BalancesOfOneAccountDoNotDependOnThoseOfAnother) {
    const tests::ScenarioFolder folder;
    ASSERT_EQ(folder.play(roundsText(), {.record = folder.path("day")}).fault, "");
    ASSERT_GT(linesOf(folder.path("day"), "\"out\":\"command\"").size(), 10u);
    for (const std::string account : {"A", "B"}) {
        const auto copy =
            replay::cutRecording(folder.path("day"), folder.path(account), {.accounts = {account}});
        EXPECT_EQ(copy.fault, "");
    }
}

INSTANTIATE_TEST_SUITE_P(GuardAndMiddle, Cut, testing::Combine(testing::Bool(), testing::Bool()));

class CutRefused : public testing::Test {
protected:
    tests::ScenarioFolder folder;
};

TEST_F(CutRefused, SaysWhyAndLeavesNoFile) {
    ASSERT_EQ(folder.play(dayText(true), {.record = folder.path("day")}).fault, "");
    tests::writeText(folder.path("there"), "x");
    std::string changed;
    for (const std::string& line : linesOf(folder.path("day"), "{")) changed += line + '\n';
    const std::string cancelled = "\"to\":\"lot SH600001\",\"is\":100";
    const std::size_t at = changed.find(cancelled);
    ASSERT_NE(at, changed.npos);
    changed.replace(at, cancelled.size(), "\"to\":\"lot SH600001\",\"is\":200");
    tests::writeText(folder.path("changed"), changed);
    struct Row {
        std::string file;
        replay::CutOptions options;
        std::string copy;
        std::string fault;
    };
    const Row rows[] = {
        {"day", {.from = "2024-01-02 10:00:00"}, "part", "no whole step at or behind --from"},
        {"day", {.to = "2024-01-02 09:00:00"}, "part", "no whole step from --from to --to"},
        {"day",
         {.from = "2024-01-02 09:32:00", .to = "2024-01-02 09:31:00"},
         "part",
         "--to: 2024-01-02 09:31:00 is before --from"},
        {"day", {.from = "09:32"}, "part", "--from: \"09:32\" is no date and time"},
        {"day", {.to = "2024-01-02 09:32:00.5"}, "part", "is no date and time"},
        {"day", {.accounts = {"A", "C"}}, "part", "--account: \"C\" is no account of "},
        {"day", {}, "there", "it is there already"},
        {"none", {}, "part", "No such file or directory"},
        {"in.jsonl", {}, "part", ":1: is no recording: \"recorded\" is missing"},
        {"changed", {}, "part", "the library does something else than the recording says"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const auto copy =
            replay::cutRecording(folder.path(row.file), folder.path(row.copy), row.options);
        EXPECT_NE(copy.fault.find(row.fault), std::string::npos) << copy.fault;
        EXPECT_FALSE(fs::exists(folder.path("part")) || fs::exists(folder.path("part.part")));
    }
    EXPECT_EQ(tests::readText(folder.path("there")), "x");
}

// A recording whose client was killed: the copy ends behind its last whole step.
TEST_F(CutRefused, AFileThatBreaksOffIsCutUpToItsLastWholeStep) {
    ASSERT_EQ(folder.play(dayText(false), {.record = folder.path("day")}).fault, "");
    const std::string packed = tests::readText(folder.path("day"));
    tests::writeText(folder.path("torn"), packed.substr(0, packed.size() * 2 / 3));
    const auto torn = replay::verifyRecording(folder.path("torn"));
    ASSERT_TRUE(torn.breaksOff);
    const auto copy = replay::cutRecording(folder.path("torn"), folder.path("part"), {});
    EXPECT_EQ(copy.fault, "");
    EXPECT_FALSE(copy.verdict.difference || copy.verdict.breaksOff);
    EXPECT_EQ(copy.verdict.steps, torn.steps - 1);
}

}  // namespace
