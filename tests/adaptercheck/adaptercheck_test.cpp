#include "adaptercheck/cases.h"
#include "adaptercheck/watchdog.h"
#include "tests/adaptercheck/faults.h"

#include <QCoreApplication>
#include <QFile>

#include <gtest/gtest.h>

#include <future>

namespace adaptercheck {

// So that a test prints what it compares.
void PrintTo(EVerdict verdict, std::ostream* out) {
    *out << (verdict == EVerdict::Passed   ? "passed"
             : verdict == EVerdict::Failed ? "failed"
                                           : "skipped");
}

namespace {

constexpr Seconds PATIENCE{5.0};  // enough on a busy machine too

Result runOne(const Case& each, const Factory& factory) {
    return runCase(each, factory, PATIENCE, [] {});
}

TEST(AdapterCheck, ThePaperClientPassesEveryCase) {
    for (const Case& each : allCases()) {
        const Result result = runOne(each, [] { return std::make_unique<CPaperAdapter>(); });
        EXPECT_EQ(result.verdict, EVerdict::Passed) << each.name << ": " << result.reason;
    }
}

/// Delivers on another thread, and never says that nothing more comes.
struct Threaded : CPaperAdapter {
    bool settle() override {
        std::thread([this] {
            try {
                CPaperAdapter::settle();
            } catch (...) {
                // A handler threw; the engine goes on with the next settle().
            }
        }).join();
        return false;
    }
};

TEST(AdapterCheck, AnAdapterWithThreadsOfItsOwnPassesToo) {
    for (const Case& each : allCases()) {
        const Result result = runOne(each, [] { return std::make_unique<Threaded>(); });
        EXPECT_EQ(result.verdict, EVerdict::Passed) << each.name << ": " << result.reason;
    }
}

TEST(AdapterCheck, EachFaultFailsItsCasesAndNoOthers) {
    using namespace faulty;
    std::vector<Fault> faults;
    for (const auto family : {clientFaults, dataCenterFaults, recordFaults, commandFaults,
                              tradeClientFaults, quoteFaults, referenceFaults}) {
        for (Fault& fault : family()) faults.push_back(std::move(fault));
    }
    std::set<int> canFail;
    for (const Fault& fault : faults) {
        for (const Case& each : allCases()) {
            const bool mustFail = fault.fails.count(each.number) > 0;
            if (fault.alone && !mustFail) continue;
            const Result result = runOne(each, fault.factory);
            EXPECT_EQ(result.verdict, mustFail ? EVerdict::Failed : EVerdict::Passed)
                << fault.name << ", " << each.name << ": " << result.reason;
            if (result.verdict == EVerdict::Failed) canFail.insert(each.number);
        }
    }
    for (const Case& each : allCases()) {
        EXPECT_EQ(canFail.count(each.number), 1U) << "no fault fails " << each.name;
    }
}

std::string words(const std::string& text) {
    QString plain = QString::fromStdString(text);
    plain.replace("///<", " ").replace("///", " ");
    return plain.simplified().toStdString();
}

TEST(AdapterCheck, EachSentenceStandsInItsHeader) {
    int before = 0;
    for (const Case& each : allCases()) {
        EXPECT_GT(each.number, std::exchange(before, each.number)) << "numbers rise";
        QFile file(QStringLiteral(LINKAGE_SOURCE_DIR "/platform/") + each.header);
        ASSERT_TRUE(file.open(QFile::ReadOnly)) << each.header;
        EXPECT_NE(words(file.readAll().toStdString()).find(words(each.sentence)), std::string::npos)
            << each.number << ": " << each.sentence;
    }
}

/// Offers its services and nothing else.
struct Bare : CPaperAdapter {
    Facts facts() const override {
        Facts facts;
        facts.market = "SH";
        facts.code = "600000";
        return facts;
    }
    bool place(const OutsideOrder&) override { return false; }
    bool fill(int) override { return false; }
    bool rejectNext() override { return false; }
    bool quote(double) override { return false; }
    bool hold(int) override { return false; }
    bool startTask(bool) override { return false; }
    bool change(EReferenceData) override { return false; }
    bool changeSettings() override { return false; }
    bool beginTradingDate(const std::string&) override { return false; }
    bool login() override { return false; }
    bool disconnect() override { return false; }
    bool initAccount() override { return false; }
    bool refuseNext() override { return false; }
};

TEST(AdapterCheck, WhatIsNotOfferedIsSkippedAndNothingFails) {
    const std::set<int> need = {106, 107, 112, 115, 116, 117, 118, 201, 204, 206, 207, 208, 209,
                                210, 211, 212, 213, 301, 302, 303, 304, 305, 306, 307, 308, 309,
                                310, 401, 402, 403, 404, 405, 406, 407, 408, 409, 410, 411, 412,
                                413, 501, 502, 503, 504, 505, 506, 507, 508, 601, 602, 603, 604,
                                605, 606, 607, 608, 702, 705, 706, 709, 801, 802, 803, 804};
    for (const Case& each : allCases()) {
        const Result result = runOne(each, [] { return std::make_unique<Bare>(); });
        EXPECT_EQ(result.verdict,
                  need.count(each.number) > 0 ? EVerdict::Skipped : EVerdict::Passed)
            << each.name << ": " << result.reason;
    }
}

int runWith(std::vector<const char*> arguments, const Factory& factory) {
    arguments.insert(arguments.begin(), "kit");
    return run(static_cast<int>(arguments.size()), const_cast<char**>(arguments.data()), factory);
}

TEST(AdapterCheck, TheStatusTellsWhetherOneFailed) {
    const Factory paper = [] { return std::make_unique<CPaperAdapter>(); };
    const Factory failing = [] {
        auto made = std::make_unique<faulty::Adapter>();
        made->onLogin = [](auto&) -> bool { throw 7; };
        return made;
    };
    EXPECT_EQ(runWith({"--only", "logins-told,2*"}, paper), 0);
    EXPECT_EQ(runWith({"--only", "115"}, failing), 1);
    for (const char* const wrong : {"nobody", "9*", "115,"}) {
        EXPECT_EQ(runWith({"--only", wrong}, paper), 2) << wrong;
    }
    EXPECT_EQ(runWith({"--patience", "long"}, paper), 2);
    EXPECT_EQ(runWith({"--list"}, [] { return std::unique_ptr<IAdapter>(); }), 0);
}

TEST(AdapterCheckDeathTest, ACaseThatBlocksIsAFailure) {
    const Factory blocking = [] {
        auto made = std::make_unique<faulty::Adapter>();
        made->onLogin = [](auto&) {
            std::promise<bool> never;
            return never.get_future().get();
        };
        return made;
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(runWith({"--only", "115", "--patience", "0"}, blocking), testing::ExitedWithCode(1),
                "");
}

}  // namespace
}  // namespace adaptercheck

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("TZ")) qputenv("TZ", "Asia/Shanghai");
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
