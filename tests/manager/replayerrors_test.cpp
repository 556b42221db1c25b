#include "tests/support/playing.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <vector>

/// Lines that cannot be used: what is said of each, and that everything before it counts.
namespace {

constexpr const char* START = R"({"do":"config","now":"2024-01-02 09:30:00"}
# a comment, and a blank line

{"do":"account","key":"A"}
{"do":"create"}
{"do":"call","op":"getTradeDate"}
)";
constexpr const char* START_OUTPUT =
    R"({"at":"09:30:00.000","op":"getTradeDate","out":"result","value":""})"
    "\n";
constexpr int BAD_LINE = 7;

TEST(ReplayErrors, EachBadLineIsNamedAndEndsThePlay) {
    const tests::ScenarioFolder folder;
    const std::string where = folder.path("in.jsonl") + ":" + std::to_string(BAD_LINE) + ": ";
    std::ifstream rows(LINKAGE_SOURCE_DIR "/tests/data/replay-errors.txt");
    std::string line, fault;
    std::getline(rows, line);  // what the file is
    int count = 0;
    for (; std::getline(rows, line) && std::getline(rows >> std::ws, fault); ++count) {
        SCOPED_TRACE(line);
        const tests::Played played = folder.play(START + line + "\n" + START);
        std::string said = played.fault;
        if (fault.ends_with("...")) said = said.substr(0, (where + fault).size() - 3) + "...";
        EXPECT_EQ(said, where + fault);
        EXPECT_EQ(played.output, START_OUTPUT);
    }
    EXPECT_EQ(count, 52) << "the file was read to its end";
}

TEST(ReplayErrors, NothingHappensBeforeTheConfigOrWithoutAManager) {
    const tests::ScenarioFolder folder;
    const std::string config = R"({"do":"config","now":"2024-01-02 09:30:00")";
    const std::string dump = "{\"do\":\"dump\"}";
    std::vector<std::pair<std::string, std::string>> rows = {
        {R"({"do":"init"})", R"(:1: "init" before "config")"},
        {config + "}\n" + dump, R"(:2: "dump" without a manager)"},
        {config + "}\n{\"do\":\"create\"}\n{\"do\":\"release\"}\n" + dump,
         R"(:4: "dump" without a manager)"},
        {R"({"do":"config","now":"2024-01-02"})",
         R"(:1: field "now": "2024-01-02" is no date and time)"}};
    rows.push_back(
        {config + ",\"options\":{\"rounds\":0}}",
         R"(:1: field "options.rounds": number out of range: 0 is not within 1 to 100)"});
    // The C library would read an offset with the other sign, and nothing as UTC.
    for (const std::string zone : {"Mars/Olympus", "UTC+08:00", "UTC-05:00", ""}) {
        rows.push_back({config + ",\"timeZone\":\"" + zone + "\"}",
                        ":1: field \"timeZone\": \"" + zone + "\" is unknown"});
    }
    for (const auto& [lines, fault] : rows) {
        EXPECT_EQ(folder.play(lines).fault, folder.path("in.jsonl") + fault);
    }
    EXPECT_EQ(folder.play("").fault, "");
}

/// A recording that broke off, or was damaged, is played up to there.
TEST(ReplayErrors, WhatStandsBeforeTheFaultOfACompressedFileIsPlayed) {
    const tests::ScenarioFolder folder;
    std::string text = START;
    for (int i = 0; i < 20'000; ++i) {
        text += R"({"do":"call","op":"isAlreadyAdd","args":[")" + std::to_string(i * i) + "\"]}\n";
    }
    const std::string path = folder.path("day.gz");
    const std::string packed = tests::packed(text);
    // Behind the ten bytes of a gzip header, no block begins like this.
    const std::string damaged =
        tests::packed(text.substr(0, text.size() / 2)) + packed.substr(0, 10) + "\xFF\xFF";
    struct File {
        const char* name;
        std::string bytes;
        bool complete;
        const char* fault;  // after the line's number; "" for none
    };
    const File rows[] = {
        {"whole", packed, true, ""},
        {"two in a row", tests::packed(text.substr(0, 5000)) + tests::packed(text.substr(5000)),
         true, ""},
        {"cut in the middle", packed.substr(0, packed.size() / 2), false, "unexpected end of file"},
        {"cut in the check sum", packed.substr(0, packed.size() - 3), true,
         "unexpected end of file"},
        {"damaged", damaged, false, "invalid block type"},
    };
    const std::string whole = folder.play(text).output;
    for (const File& row : rows) {
        SCOPED_TRACE(row.name);
        tests::writeText(path, row.bytes);
        const tests::Played played = tests::playFile(path);
        const auto lines = std::count(played.output.begin(), played.output.end(), '\n');
        EXPECT_TRUE(whole.starts_with(played.output));
        EXPECT_EQ(played.output == whole, row.complete);
        EXPECT_GT(lines, 5000);
        const std::string where = path + ":" + std::to_string(lines + BAD_LINE - 1);
        const std::string fault = *row.fault ? where + ": compressed data: " + row.fault : "";
        EXPECT_EQ(played.fault.substr(0, fault.size()), fault);
        EXPECT_EQ(played.fault.empty(), fault.empty());
    }
}

TEST(ReplayErrors, AByteOrderMarkIsNoFault) {
    const tests::ScenarioFolder folder;
    EXPECT_EQ(folder.play(std::string("\xEF\xBB\xBF") + START).output, START_OUTPUT);
    EXPECT_NE(folder.play(std::string(START) + "\xEF\xBB\xBF{\"do\":\"dump\"}").fault, "");
}

TEST(ReplayErrors, ScenariosAreNotOverwrittenByTheirJournal) {
    const tests::ScenarioFolder folder;
    const std::string path = folder.path("in.jsonl");
    const std::string link = folder.path("link");
    tests::writeText(path, START);
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    EXPECT_EQ(tests::playFile(path, {.journal = link}).fault,
              path + ": the journal would overwrite it");
    EXPECT_EQ(tests::readText(path), START);
}

TEST(ReplayDays, ReachInto2106) {
    const tests::ScenarioFolder folder;
    for (const std::string day : {"20380120", "21060206"}) {
        const std::string date = day.substr(0, 4) + "-" + day.substr(4, 2) + "-" + day.substr(6);
        const auto played = folder.play(R"({"do":"config","now":")" + date + R"( 09:30:00"}
{"do":"account","key":"A"}
{"do":"init"}
{"do":"order","account":"A","key":1,"market":"SH","code":"1","side":"buy","price":1,"volume":100,"status":50}
{"do":"dump"}
{"do":"call","op":"getAccountOrders","args":["A",")" +
                                        day + "\"]}\n");
        EXPECT_EQ(played.fault, "");
        EXPECT_NE(played.output.find("\"orderDetails\":{\"" + day + "\":{\"SH1\""),
                  std::string::npos);
        EXPECT_NE(played.output.find("\"value\":{\"1\":"), std::string::npos) << "found by day";
    }
}

}  // namespace
