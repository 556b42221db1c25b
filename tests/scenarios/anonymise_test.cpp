#include "replay/anonymise.h"
#include "linkage/store/import/readers.h"
#include "linkage/store/import/statement.h"
#include "replay/anonymousstatement.h"
#include "replay/linereader.h"
#include "replay/scenarioline.h"
#include "tests/support/playing.h"

#include <QByteArray>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/// Recordings without names.
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t SEED = 20240102;

std::string readFile(const std::string& path) {
    std::string text;
    replay::CLineReader reader(path);
    for (std::string_view line; reader.next(line);) {
        text += line;
        text += '\n';
    }
    return text;
}

/// The text, and behind it what lies in base64 in it.
std::string withFiles(const std::string& text) {
    static const QRegularExpression packed(QStringLiteral("\"([A-Za-z0-9+/]{8,}={0,2})\""));
    std::string all = text;
    auto found = packed.globalMatch(QString::fromStdString(text));
    while (found.hasNext()) {
        all += QByteArray::fromBase64(found.next().captured(1).toLatin1()).toStdString() + '\n';
    }
    return all;
}

TEST(Anonymise, AliasesKeepLengthOrderAndCommonBeginnings) {
    const std::vector<std::string> names = {"",        "10",     "1001234",  "1001235", "1009",
                                            "A",       "AB",     "AB_12",    "AC",      "Zz",
                                            "acc_001", "acc_01", "华泰_001", "华泰_002"};
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
        SCOPED_TRACE(seed);
        replay::CAliases aliases;
        for (const std::string& name : names) aliases.add(name);
        aliases.keepBehind("A", "Both");
        aliases.draw(seed);
        const auto common = [](const std::string& a, const std::string& b) {
            return std::mismatch(a.begin(),
                                 a.begin() + static_cast<long>(std::min(a.size(), b.size())),
                                 b.begin())
                       .first -
                   a.begin();
        };
        for (const std::string& a : names) {
            EXPECT_EQ(aliases.of(a).size(), a.size());
            for (const std::string& b : names) {
                EXPECT_EQ(aliases.of(a) < aliases.of(b), a < b) << a << ' ' << b;
                if (a.empty() || b.empty() || a.front() < 0) continue;
                EXPECT_EQ(common(aliases.of(a), aliases.of(b)), common(a, b)) << a << ' ' << b;
            }
        }
        // Where a strategy and another key meet behind a key, they go on meeting.
        EXPECT_EQ(aliases.of("AB").substr(1), "B");
    }
}

// ------------------------------------------------------------------------ recordings

// The copy is played and compared with the recording by anonymise itself.
std::uint64_t recordAndCopy(const fs::path& scenario, std::size_t from) {
    SCOPED_TRACE(scenario.filename().string() + " from " + std::to_string(from));
    const tests::ScenarioFolder folder;
    tests::playFile(scenario / "input.jsonl", {.record = folder.path("day"), .recordFrom = from});
    std::uint64_t steps = 0;
    for (std::size_t number = 1; fs::exists(replay::numberedName(folder.path("day"), number));
         ++number) {
        const auto copy = replay::anonymise(replay::numberedName(folder.path("day"), number),
                                            folder.path("copy" + std::to_string(number)), SEED);
        EXPECT_EQ(copy.fault, "");
        EXPECT_FALSE(copy.verdict.difference || copy.verdict.breaksOff);
        steps += copy.verdict.steps;
    }
    return steps;
}

TEST(Anonymise, CopiesOfAllScenariosArePlayedAsTheRecordingsAre) {
    std::uint64_t steps = 0;
    std::uint64_t stepsOfMiddles = 0;
    for (const auto& entry : fs::directory_iterator(LINKAGE_SOURCE_DIR "/tests/scenarios")) {
        if (!fs::exists(entry.path() / "input.jsonl")) continue;
        steps += recordAndCopy(entry.path(), 0);
        for (const std::size_t from : {8, 30, 70, 130}) {
            stepsOfMiddles += recordAndCopy(entry.path(), from);
        }
    }
    EXPECT_GT(steps, 300u);
    EXPECT_GT(stepsOfMiddles, 300u);
}

const std::vector<std::string> NAMES = {"2____88001234____hq",
                                        "2____88001235____hq",
                                        "88001234",
                                        "88001235",
                                        "张三丰",
                                        "欧阳明月",
                                        "远山证券",
                                        "北河证券",
                                        "wangwu88"};

/// A day on which names stand everywhere where they can.
struct TellingDay {
    TellingDay() {
        const std::string balance = folder.path("data") + "/Balance/";
        fs::create_directories(balance + "imports");
        tests::writeText(balance + "historystatdata.csv",
                         "key\n2____88001234____hqgrid,88001234,2____88001234____hq,张三丰,2,"
                         "远山证券,grid,20240101153000,145000\nhalf,88001234\n");
        tests::writeText(balance + "balancedata.csv",
                         "key\n2____88001234____hqgrid,SH600000,100,0,0,1000,20240101\n");
        tests::writeText(balance + "detail.csv",
                         "key\n2____88001234____hqgrid,20240102_88001234-7\n");
        tests::writeText(balance + "notes.txt", "88001234 is 张三丰\n");
        tests::writeText(
            balance + "imports/import-000001.jsonl",
            R"({"import":1,"path":"/home/wangwu88/88001234.csv","time":"20240101160000"})"
            "\n"
            R"({"account":"2____88001234____hq","key":"8000000000000001","day":"20231229",)"
            R"("market":"SH","code":"600000","side":48,"volume":100,"price":10,"number":"7",)"
            R"("amount":1000,"time":"100000"})"
            "\n");
        tests::writeText(
            folder.path("statement.csv"),
            "客户,资金账号,股东代码,成交编号,成交日期,证券代码,买卖,成交价格,成交数量\n"
            "张三丰,88001234,A700123456,11,20231228,600000,买入,10,100\n"
            "张三丰,88001234,A700123456,12,20231228,600000,卖出,10,100\n");
    }

    /// `from`: how many lines are played before the recording begins.
    std::string record(std::size_t from = 0) {
        const auto played = folder.play(text(), {.dataDir = folder.path("data"),
                                                 .record = folder.path("day"),
                                                 .recordFrom = from,
                                                 .log = false});
        EXPECT_EQ(played.fault, "");
        return folder.path("day");
    }

    std::string text() const {
        const std::string first = R"("account":"2____88001234____hq")";
        const std::string trade = first + R"(,"market":"SH","code":"600000","price":10,)";
        const std::string call = R"({"do":"call","op":")";
        const std::string pair = R"(["2____88001234____hq","grid"])";
        return R"({"do":"config","now":"2024-01-02 09:10:00","userName":"wangwu88",)"
               R"("options":{"guard":true,"keepBalanceTimes":true}})"
               "\n"
               R"({"do":"instrument","market":"SH","code":"600000","reference":10})"
               "\n"
               R"({"do":"account","key":"2____88001234____hq","id":"88001234","name":"张三丰",)"
               R"("broker":"远山证券","fee":{"rate":0.0003,"minimum":5}})"
               "\n"
               R"({"do":"account","key":"2____88001235____hq","id":"88001235","name":"欧阳明月",)"
               R"("broker":"北河证券"})"
               "\n"
               R"({"do":"init"})"
               "\n"
               R"({"do":"price","market":"SH","code":"600000","last":10})"
               "\n"
               R"({"do":"order",)" +
               trade +
               R"("key":1,"side":"buy","volume":300,"status":56,"traded":300,"amount":3000,)"
               R"("sysId":"88001234-1","strategy":"grid"})"
               "\n"
               R"({"do":"deal",)" +
               trade +
               R"("key":1,"side":"buy","volume":300,"dealId":"88001234-7","order":1,)"
               R"("strategy":"grid"})"
               "\n"
               R"({"do":"order",)" +
               trade +
               R"("key":2,"side":"buy","volume":100,"status":57,"strategy":"of-88001235",)"
               R"("remark":"资金账号88001234(张三丰)资金不足"})"
               "\n"
               R"({"do":"fault","service":"commandCenter","kind":"throw","times":1})"
               "\n" +
               call + R"(addBalanceTime","args":["2____88001235____hq:grid","145500"]})" + "\n" +
               call + R"(addHistoryStat","args":["2____88001235____hqgrid",{"accountKey":)" +
               R"("2____88001235____hq","accountName":"欧阳明月","broker":"北河证券",)" +
               R"("fundAccountId":"88001235","strategy":"grid","buyVolume":100}]})" + "\n" +
               R"({"do":"fault","service":"accountData","kind":"throw","times":1})" + "\n" + call +
               R"(requestAccount","args":["2____88001235____hq"]})" + "\n" + call +
               R"(requestAccountDeals","args":["2____88001235____hq","20231228","20231229"]})" +
               "\n" + call + R"(cancelTask","args":[1,"by wangwu88"]})" + "\n" + call +
               R"(importData","args":[")" + folder.path("statement.csv") + R"("]})" + "\n" + call +
               R"(runAutoBalance","args":)" + pair + "}\n" +
               R"({"do":"advance","seconds":30})"
               "\n" +
               R"({"do":"task","key":3,"status":1,"items":[{"account":"2____88001234____hq",)" +
               R"("market":"SH","code":"600000","volume":100}],"command":{"user":"wangwu88",)" +
               R"("tradeDate":"20240102","strategy":"grid"}})" + "\n" + call +
               R"(runAutoBalance","args":)" + pair + "}\n" +
               R"({"do":"advance","seconds":90})"
               "\n";
    }

    tests::ScenarioFolder folder;
};

void expectNoNames(const std::string& before, const std::string& after) {
    for (const std::string& name : NAMES) {
        EXPECT_NE(before.find(name), std::string::npos) << name;
        EXPECT_EQ(after.find(name), std::string::npos) << name;
    }
    EXPECT_EQ(after.find("A700123456"), std::string::npos);
}

std::size_t linesOf(const std::string& path) {
    replay::CLineReader reader(path);
    for (std::string_view line; reader.next(line);) {
    }
    return reader.number();
}

TEST(Anonymise, NoNameIsLeftInACopyNorInTheFilesInIt) {
    TellingDay day;
    const std::string recording = day.record();
    const auto copy = replay::anonymise(recording, day.folder.path("copy"), SEED);
    ASSERT_EQ(copy.fault, "");
    EXPECT_FALSE(copy.verdict.difference || copy.verdict.breaksOff);
    const std::string text = readFile(day.folder.path("copy"));
    const std::string after = withFiles(text);
    expectNoNames(withFiles(readFile(recording)), after);
    EXPECT_EQ(after.find("notes.txt"), std::string::npos);
    // What tells of no account is there.
    for (const char* const left : {"\"grid\"", "资金不足", "\"command\"", "SH600000", "145500"}) {
        EXPECT_NE(after.find(left), std::string::npos) << left;
    }
    // Lines keep their numbers.
    EXPECT_EQ(linesOf(recording), linesOf(day.folder.path("copy")));
    // Another seed, other aliases.
    ASSERT_EQ(replay::anonymise(recording, day.folder.path("other"), SEED + 1).fault, "");
    EXPECT_NE(readFile(day.folder.path("other")), text);
}

// The recording begins at each line behind the start: each time other work waits.
TEST(Anonymise, NoNameIsLeftInACopyThatBeginsInTheMiddle) {
    const std::size_t lines = [] {
        const std::string text = TellingDay().text();  // with the line of the configuration
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }();
    for (std::size_t from = 5; from + 1 < lines; ++from) {
        SCOPED_TRACE(from);
        TellingDay day;
        const std::string recording = day.record(from);
        const auto copy = replay::anonymise(recording, day.folder.path("copy"), SEED);
        ASSERT_EQ(copy.fault, "");
        EXPECT_FALSE(copy.verdict.difference || copy.verdict.breaksOff);
        EXPECT_GT(copy.verdict.steps, 10u);
        const std::string text = readFile(day.folder.path("copy"));
        expectNoNames(withFiles(readFile(recording)), withFiles(text));
        EXPECT_NE(text.find("\"picture\""), std::string::npos);
        EXPECT_NE(text.find("\"grid\""), std::string::npos);
    }
}

TEST(Anonymise, ARecordingThatBreaksOffOrDiffersIsCopiedAsItIs) {
    TellingDay day;
    std::string text = readFile(day.record());
    const std::string cut = day.folder.path("cut");
    tests::writeText(cut, text.substr(0, text.rfind('\n', text.size() * 2 / 3) + 1));
    const auto torn = replay::anonymise(cut, cut + ".copy", SEED);
    EXPECT_EQ(torn.fault, "");
    EXPECT_TRUE(torn.verdict.breaksOff);

    const std::string lot = R"("to":"lot SH600000","is":100)";
    const std::size_t at = text.find(lot);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, lot.size(), R"("to":"lot SH600000","is":200)");
    const std::string changed = day.folder.path("changed");
    tests::writeText(changed, text);
    const auto other = replay::anonymise(changed, changed + ".copy", SEED);
    EXPECT_EQ(other.fault, "");
    EXPECT_TRUE(other.verdict.difference);
}

// What a later recorder writes may name accounts: nothing is guessed.
TEST(Anonymise, WhatIsNotKnownIsRefusedWithItsLineAndNothingIsWritten) {
    TellingDay day;
    const std::string whole = readFile(day.record());
    const std::string config = whole.substr(0, whole.find('\n') + 1);
    const std::string path = day.folder.path("changed");
    const std::pair<std::string, std::string> rows[] = {
        {R"({"do":"owners","account":"88001234"})", "\"owners\""},
        {R"({"do":"work","name":"x","step":1,"index":1,"whose":"88001234"})", "\"whose\""},
        {R"({"do":"answer","call":1,"to":"ownerOf 88001234","is":1})", "\"ownerOf\""},
        {R"({"do":"answer","call":1,"to":"fee SH600000 x","is":{"of":1,"payer":"88001234"}})",
         "\"payer\""},
        {R"({"do":"call","op":"follow","args":["88001234"]})", "\"follow\""},
        {R"({"do":"answer","call":1,"to":"account 77","is":null})", "hash 77"},
        {R"({"out":"letter","text":"88001234"})", "\"letter\""},
        {R"({"do":"writeFile","name":".commit","base64":"eA=="})", "was broken off"},
        {R"({"do":"picture","at":"x","state":{"owners":[["88001234",1]]},"left":[]})",
         "\"owners\""},
        {R"({"do":"picture","at":"x","state":{"ledger":{"stocks":[{"by":"88001234"}]}},"left":[]})",
         "\"by\""},
        {R"({"do":"picture","at":"x","state":{},"left":[{"name":"tell","number":1,)"
         R"("with":["88001234"]}]})",
         "\"tell\""},
        {R"({"do":"picture","at":"x","state":{},"left":[{"name":"refile","number":1,)"
         R"("with":["A","88001234"]}]})",
         "\"refile\""},
        {R"({"do":"call",)", "is not a JSON object"},
    };
    for (const auto& [line, why] : rows) {
        SCOPED_TRACE(line);
        tests::writeText(path, config + line + "\n");
        const auto copy = replay::anonymise(path, day.folder.path("copy"), SEED);
        EXPECT_EQ(copy.fault.find(path + ":2: "), 0u) << copy.fault;
        EXPECT_NE(copy.fault.find(why), std::string::npos) << copy.fault;
        EXPECT_FALSE(fs::exists(day.folder.path("copy")));
        EXPECT_FALSE(fs::exists(day.folder.path("copy.part")));
    }
    tests::writeText(day.folder.path("copy"), "mine");
    EXPECT_NE(replay::anonymise(day.folder.path("day"), day.folder.path("copy"), SEED).fault, "");
    EXPECT_EQ(tests::readText(day.folder.path("copy")), "mine");
}

// ------------------------------------------------------------------------ statements

// Of every kind of file the same rows are read.
TEST(Anonymise, StatementsKeepTheirRowsAndNothingElse) {
    int rows = 0;
    for (const auto& entry : fs::directory_iterator(LINKAGE_SOURCE_DIR "/tests/data/import")) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with("deals") && !name.starts_with("orders")) continue;
        SCOPED_TRACE(name);
        const QByteArray bytes = QByteArray::fromStdString(tests::readText(entry.path()));
        replay::CNames names;
        replay::anonymousStatement(bytes, "20991231", names);
        names.draw(SEED);
        const QByteArray copy = replay::anonymousStatement(bytes, "20991231", names);
        using namespace TC::statement;
        const auto of = [](const QByteArray& file) {
            return readStatement(readBytes(file), "20991231");
        };
        const Statement before = of(bytes);
        const Statement after = of(copy);
        ASSERT_EQ(after.deals.size(), before.deals.size());
        ASSERT_EQ(after.orders.size(), before.orders.size());
        for (std::size_t at = 0; at < before.deals.size(); ++at) {
            EXPECT_EQ(after.deals[at].record->recordKey(), before.deals[at].record->recordKey());
            const QString account = before.deals[at].fundAccount;
            EXPECT_TRUE(account.isEmpty() || after.deals[at].fundAccount != account);
        }
        rows += static_cast<int>(before.deals.size() + before.orders.size());
    }
    EXPECT_GT(rows, 10);
    replay::CNames names;
    EXPECT_EQ(replay::anonymousStatement("no statement of 张三丰", "20240102", names), "");
}

TEST(Anonymise, AStatementWhoseRowsWouldChangeIsRefused) {
    // Its number has an account's ID in it, and rows are known by their numbers.
    const QByteArray bytes(
        "成交编号,成交日期,证券代码,买卖,成交价格,成交数量\n88001234,20231228,600000,买入,10,"
        "100\n");
    replay::CNames names;
    names(replay::EText::Name, "88001234");
    names.draw(SEED);
    EXPECT_THROW(replay::anonymousStatement(bytes, "20240102", names), replay::LineError);
}

}  // namespace
