#include "replay/eventparser.h"
#include "replay/operations.h"
#include "replay/recordingplayer.h"
#include "replay/replay.h"
#include "tests/support/playing.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

/// Every folder beside this file is a scenario and what it must print.
namespace {

namespace fs = std::filesystem;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) all.push_back(line);
    return all;
}

std::vector<fs::path> folders() {
    std::vector<fs::path> all;
    for (const auto& entry : fs::directory_iterator(LINKAGE_SOURCE_DIR "/tests/scenarios")) {
        if (fs::exists(entry.path() / "input.jsonl")) all.push_back(entry.path());
    }
    return all;
}

/// Records a scenario from an event on and plays the recordings: each manager has one of its own,
/// FILE, FILE.2 ... Gives how many steps these have.
std::uint64_t recordAndVerify(const fs::path& folder, std::size_t from) {
    SCOPED_TRACE(folder.filename().string() + " from " + std::to_string(from));
    const QTemporaryDir directory;
    replay::ReplayOptions options;
    options.record = directory.path().toStdString() + "/day.rec";
    options.recordFrom = from;
    replay::COutput output([](std::string_view) {});
    replay::playFile(folder / "input.jsonl", options, output);
    std::uint64_t steps = 0;
    for (std::size_t number = 1; fs::exists(replay::numberedName(options.record, number));
         ++number) {
        const auto verdict = replay::verifyRecording(replay::numberedName(options.record, number));
        EXPECT_EQ(verdict.fault, "");
        EXPECT_FALSE(verdict.breaksOff);
        EXPECT_FALSE(verdict.difference)
            << "line " << verdict.difference->line << ", expected " << verdict.difference->expected
            << ", got " << verdict.difference->got;
        steps += verdict.steps;
    }
    return steps;
}

TEST(Scenarios, RecordedAreVerifiedWithoutADifference) {
    std::uint64_t steps = 0;
    for (const fs::path& folder : folders()) steps += recordAndVerify(folder, 0);
    EXPECT_GT(steps, 300u);
}

// What a picture lacks shows in what the rest of the scenario does.
TEST(Scenarios, RecordedFromAnyMiddleAreVerifiedWithoutADifference) {
    std::uint64_t steps = 0;
    for (const fs::path& folder : folders()) {
        for (std::size_t from = 1; from < 200; from += 1 + from / 4) {
            steps += recordAndVerify(folder, from);
        }
    }
    EXPECT_GT(steps, 1000u);
}

TEST(Scenarios, PrintWhatIsExpected) {
    const auto all = folders();
    ASSERT_FALSE(all.empty());
    for (const fs::path& folder : all) {
        SCOPED_TRACE(folder.filename().string());
        const tests::Played played = tests::playFile(folder / "input.jsonl");
        EXPECT_EQ(played.fault, "");
        const std::string expected = tests::readText(folder / "expected.jsonl");
        if (played.output == expected) continue;
        const auto got = lines(played.output);
        const auto wanted = lines(expected);
        for (std::size_t i = 0; i < std::max(got.size(), wanted.size()); ++i) {
            const std::string left = i < got.size() ? got[i] : "(nothing)";
            const std::string right = i < wanted.size() ? wanted[i] : "(nothing)";
            EXPECT_EQ(left, right) << "output line " << i + 1;
            if (left != right) break;
        }
        EXPECT_TRUE(played.output == expected);
    }
}

template <std::size_t... I>
std::vector<std::string_view> eventNames(std::index_sequence<I...>) {
    return {replay::eventName(replay::Event(std::in_place_index<I>))...};
}

TEST(Scenarios, HaveEveryLineAndOperation) {
    std::string all;
    for (const fs::path& folder : folders()) all += tests::readText(folder / "input.jsonl");
    for (const auto family :
         {replay::actionOperations(), replay::queryOperations(), replay::reportOperations()}) {
        for (const replay::Operation& operation : family) {
            const std::string call = "\"op\":\"" + std::string(operation.name) + "\"";
            EXPECT_NE(all.find(call), std::string::npos) << call;
        }
    }
    constexpr std::make_index_sequence<std::variant_size_v<replay::Event>> KINDS;
    for (const std::string_view name : eventNames(KINDS)) {
        EXPECT_NE(all.find("{\"do\":\"" + std::string(name) + "\""), std::string::npos) << name;
    }
}

/// Reports in a row are handed over together; that must not be seen.
TEST(Scenarios, PrintTheSameWhenTheLibraryRestsAfterEachReport) {
    const tests::ScenarioFolder folder;
    for (const fs::path& scenario : folders()) {
        SCOPED_TRACE(scenario.filename().string());
        std::string apart;
        for (const std::string& line : lines(tests::readText(scenario / "input.jsonl"))) {
            apart += line + '\n';
            const bool report =
                line.starts_with("{\"do\":\"order\"") || line.starts_with("{\"do\":\"deal\"");
            if (report) apart += "{\"do\":\"advance\",\"seconds\":0}\n";
        }
        EXPECT_EQ(folder.play(apart).output, tests::readText(scenario / "expected.jsonl"));
    }
}

TEST(Scenarios, AJournalGivesTheSameOutputAgain) {
    const tests::ScenarioFolder folder;
    for (const fs::path& scenario : folders()) {
        SCOPED_TRACE(scenario.filename().string());
        const std::string journal = folder.path("journal.jsonl");
        const auto first = tests::playFile(scenario / "input.jsonl", {.journal = journal});
        EXPECT_EQ(tests::playFile(journal).output, first.output);
    }
}

TEST(Scenarios, AJournalCarriesTheFilesThatWereThere) {
    const tests::ScenarioFolder folder;
    const std::string dir = folder.path("data");
    const std::string config = "{\"do\":\"config\",\"now\":\"2024-01-02 09:00:00\"}\n";
    folder.play(config +
                    "{\"do\":\"writeFile\",\"name\":\"historystatdata.csv\","
                    "\"text\":\"h\\nBT,88,B,n,3,br,T,20240101000000,145000\\n\"}\n",
                {.dataDir = dir});
    const auto second =
        folder.play(config + "{\"do\":\"create\"}\n{\"do\":\"call\",\"op\":\"getBalanceTime\"}\n",
                    {.dataDir = dir, .journal = folder.path("journal.jsonl")});
    EXPECT_NE(second.output.find("145000"), std::string::npos);
    EXPECT_EQ(tests::playFile(folder.path("journal.jsonl")).output, second.output);
}

}  // namespace
