#include "tests/support/playing.h"

#include <QProcess>

#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

/// The programs as they are called: exit status, standard output, standard error.
namespace {

const std::string START =
    "{\"do\":\"config\",\"now\":\"2024-01-02 09:30:00\"}\n"
    "{\"do\":\"init\"}\n"
    "{\"do\":\"call\",\"op\":\"getTradeDate\"}\n";
const std::string TRADE_DATE =
    "{\"at\":\"09:30:00.000\",\"op\":\"getTradeDate\",\"out\":\"result\",\"value\":\"20240102\"}\n";

struct Ended {
    int status;
    std::string output, errors;
};

struct Programs : testing::Test {
    Programs() {
        tests::writeText(path("good"), START);
        tests::writeText(path("bad"),
                         START + "\n# next\n{\"do\":\"call\",\"op\":\"none\"}\n" + START);
    }

    std::string path(const std::string& name) const { return folder.path(name); }

    /// Words that begin with "@" are files of the folder.
    Ended run(std::string command, const std::string& input = {}) const {
        for (std::size_t at = 0; (at = command.find('@', at)) != std::string::npos;) {
            command.replace(at, 1, path("x").substr(0, path("x").size() - 1));
        }
        tests::writeText(path("in"), input);
        const std::string whole =
            command + " <" + path("in") + " >" + path("out") + " 2>" + path("err");
        const int status = std::system(whole.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, tests::readText(path("out")),
                tests::readText(path("err"))};
    }

    tests::ScenarioFolder folder;
};

TEST_F(Programs, ReplayTellsHowItEndedAndWhere) {
    struct Row {
        const char* arguments;
        int status;
        int results;  ///< how often the trade date is printed, and nothing else
        std::string errors;
    };
    const Row rows[] = {
        {"--no-log @good", 0, 1, ""},
        {"--no-log -", 0, 1, ""},
        {"--no-log -- @good @good", 0, 2, ""},
        {"--no-log @bad", 2, 1, path("bad") + ":6: unknown \"op\": \"none\"\n"},
        {"--no-log @good @bad @good", 2, 2, path("bad") + ":6: unknown \"op\": \"none\"\n"},
        {"--no-log @none", 2, 0, path("none") + ": No such file or directory\n"},
        {"--no-log @good @good --journal @good", 2, 0,
         path("good") + ": the journal would overwrite it\n"},
        {"--no-log --journal @none/x @good", 2, 0, "cannot be written"},
        {"--data-dir", 2, 0, "usage: linkage-replay "},
        {"--interactive @good", 2, 0, "usage: linkage-replay "},
        {"--anonymise @good", 2, 0, "usage: linkage-replay "},
        {"--anonymise @good --into @x @good", 2, 0, "usage: linkage-replay "},
        {"--anonymise @good --into @x", 2, 0,
         path("good") + ":1: is no recording: \"recorded\" is missing\n"},
        {"--cut @good", 2, 0, "usage: linkage-replay "},
        {"--cut @good --anonymise @good --into @x", 2, 0, "usage: linkage-replay "},
        {"--anonymise @good --account A --into @x", 2, 0, "usage: linkage-replay "},
        {"--cut @good --from 10:00 --into @x", 2, 0, "--from: \"10:00\" is no date and time\n"},
        {"--other @good", 2, 0, "usage: linkage-replay "},
        {"", 2, 0, "usage: linkage-replay "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.arguments);
        const Ended ended = run(LINKAGE_REPLAY " " + std::string(row.arguments), START);
        EXPECT_EQ(ended.status, row.status);
        std::string output;
        for (int i = 0; i < row.results; ++i) output += TRADE_DATE;
        EXPECT_EQ(ended.output, output);
        if (row.errors.empty()) {
            EXPECT_EQ(ended.errors, "");
        } else {
            EXPECT_NE(ended.errors.find(row.errors), std::string::npos) << ended.errors;
        }
    }
    EXPECT_EQ(run("( " LINKAGE_REPLAY " @good >/dev/full )").status, 1);
    const Ended homeless = run("TMPDIR=/proc " LINKAGE_REPLAY " @good");
    EXPECT_EQ(homeless.status, 1);
    EXPECT_NE(homeless.errors.find("no temporary directory"), std::string::npos);
    EXPECT_TRUE(run(LINKAGE_REPLAY " --help").output.starts_with("usage: linkage-replay "));
}

TEST_F(Programs, ReplayAnswersEachLineBeforeItReadsTheNext) {
    QProcess replay;
    replay.start(QStringLiteral(LINKAGE_REPLAY),
                 {QStringLiteral("--interactive"), QStringLiteral("--no-log")});
    ASSERT_TRUE(replay.waitForStarted());
    const auto answer = [&](const std::string& line) {
        replay.write((line + "\n").c_str());
        QByteArray text;
        while (text != "\n" && !text.endsWith("\n\n") && replay.waitForReadyRead(60'000)) {
            text += replay.readAllStandardOutput();
        }
        return text.toStdString();
    };
    const auto end = [](std::string text) { return std::move(text) + "\n"; };
    EXPECT_EQ(answer(R"({"do":"config","now":"2024-01-02 09:30:00"})"), "\n");
    EXPECT_EQ(answer(R"({"do":"init"})"), "\n");
    EXPECT_EQ(answer("# has no answer\n"
                     R"({"do":"call","op":"getTradeDate"})"),
              end(TRADE_DATE));
    // A report is answered as well, although reports may be handed over many at a time.
    EXPECT_EQ(answer(R"({"do":"account","key":"A"})"), "\n");
    EXPECT_EQ(answer(R"({"do":"accountReady","account":"A"})"), "\n");
    EXPECT_NE(answer(R"({"do":"order","account":"A","key":1,"market":"SH","code":"600000",)"
                     R"("side":"buy","price":10,"volume":100,"status":50,"strategy":"s"})"),
              "\n");
    EXPECT_EQ(answer(R"({"do":"call","op":"none"})"), "");
    ASSERT_TRUE(replay.state() == QProcess::NotRunning || replay.waitForFinished());
    EXPECT_EQ(replay.exitCode(), 2);
    EXPECT_EQ(replay.readAllStandardError().toStdString(), "-:8: unknown \"op\": \"none\"\n");
}

TEST_F(Programs, ReplayWritesAJournalForEachScenario) {
    const std::string other =
        "{\"do\":\"config\",\"now\":\"2024-01-03 10:00:00\"}\n{\"do\":\"create\"}\n";
    tests::writeText(path("other"), other);
    EXPECT_EQ(run(LINKAGE_REPLAY " --journal @j @good @other").status, 0);
    EXPECT_EQ(tests::readText(path("j")), START);
    EXPECT_EQ(tests::readText(path("j.2")), other);
    EXPECT_EQ(run(LINKAGE_REPLAY " @j @j.2").output,
              run(LINKAGE_REPLAY " @good").output + run(LINKAGE_REPLAY " @other").output);
    EXPECT_EQ(run(LINKAGE_REPLAY " --journal @j @bad").status, 2);
    EXPECT_EQ(tests::readText(path("j")), START) << "without the line that could not be used";
}

TEST_F(Programs, ReplayRecordsAndVerifies) {
    EXPECT_EQ(run(LINKAGE_REPLAY " --record @r @good").status, 0);
    const Ended same = run(LINKAGE_REPLAY " --verify @r");
    EXPECT_EQ(same.status, 0);
    EXPECT_NE(same.output.find("no difference\n"), std::string::npos) << same.output;
    EXPECT_EQ(run(LINKAGE_REPLAY " --record-from 1 @good").status, 2);
    EXPECT_EQ(run(LINKAGE_REPLAY " --record @r --record-from x @good").status, 2);
    // Another manager's recording stays.
    EXPECT_EQ(run(LINKAGE_REPLAY " --record @r @good").status, 2);
    const Ended none = run(LINKAGE_REPLAY " --verify @good");
    EXPECT_EQ(none.status, 2);
    EXPECT_NE(none.errors.find("is no recording"), std::string::npos) << none.errors;
}

TEST_F(Programs, DayEndsWithTables) {
    const Ended good = run(LINKAGE_DAY " @good");
    EXPECT_EQ(good.status, 0);
    EXPECT_NE(good.output.find("20240102"), std::string::npos);
    const Ended bad = run(LINKAGE_DAY " @bad");
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.errors, path("bad") + ":6: unknown \"op\": \"none\"\n");
    EXPECT_EQ(run(LINKAGE_REPLAY " --record @r @good").status, 0);
    const Ended recorded = run(LINKAGE_DAY " @r");
    EXPECT_EQ(recorded.status, 0) << recorded.errors;
    EXPECT_EQ(recorded.output, good.output);
    // Of one that breaks off, what there is.
    const std::string bytes = tests::readText(path("r"));
    tests::writeText(path("torn"), bytes.substr(0, bytes.size() - 20));
    const Ended torn = run(LINKAGE_DAY " @torn");
    EXPECT_EQ(torn.status, 0);
    EXPECT_EQ(torn.errors, path("torn") + ": the recording breaks off\n");
    EXPECT_NE(torn.output.find("20240102"), std::string::npos);
    EXPECT_EQ(run(LINKAGE_DAY " --help").status, 0);
    EXPECT_EQ(run(LINKAGE_DAY).status, 2);
}

}  // namespace
