#include "replay/linereader.h"
#include "tests/support/playing.h"

#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <string_view>

/// Recordings against libraries with a fault put in: one line of one rule is another
/// (tests/CMakeLists.txt). The first decision that differs must be found.
namespace {

struct Ended {
    int status;
    std::string output;
};

Ended verify(const std::string& program, const std::string& recording, const std::string& out) {
    const int status = std::system((program + " --verify " + recording + " >" + out).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, tests::readText(out)};
}

/// A line of a recording, and the moment of its step.
struct Found {
    std::size_t number = 0;
    std::string at;
};

/// The first line that has `then`, behind the first one that has `before`.
Found lineWith(const std::string& path, const std::string& before, const std::string& then) {
    replay::CLineReader reader(path);
    Found found;
    bool isBehind = false;
    for (std::string_view line; reader.next(line);) {
        const std::string_view name = "\"at\":\"";
        const std::size_t at = line.find(name);
        if (at != std::string_view::npos) {
            const std::string_view rest = line.substr(at + name.size());
            found.at = rest.substr(0, rest.find('"'));
        }
        found.number = reader.number();
        if (isBehind && line.find(then) != std::string_view::npos) return found;
        isBehind = isBehind || line.find(before) != std::string_view::npos;
    }
    return {};
}

constexpr char DAY[] =
    R"({"do":"config","now":"2024-01-02 09:29:00"})"
    "\n"
    R"({"do":"instrument","market":"SH","code":"600000","reference":10,"limitUp":11,"limitDown":9})"
    "\n"
    R"({"do":"account","key":"A"})"
    "\n"
    R"({"do":"init"})"
    "\n"
    R"({"do":"price","market":"SH","code":"600000","last":10})"
    "\n"
    R"({"do":"deal","account":"A","key":1,"market":"SH","code":"600000","side":"sell","price":10,"volume":350,"strategy":"S"})"
    "\n"
    R"({"do":"advance","seconds":60})"
    "\n"
    R"({"do":"call","op":"runAutoBalance","args":["A","S"]})"
    "\n"
    R"({"do":"advance","seconds":30})"
    "\n"
    R"({"do":"price","market":"SH","code":"600000","last":11})"
    "\n"
    R"({"do":"advance","seconds":30})"
    "\n";

struct WrongRule {
    const char* program;
    std::string before;    ///< stands before the line that is told
    std::string line;      ///< stands in it
    std::string expected;  ///< as the recording says it
    std::string got;
};

void PrintTo(const WrongRule& rule, std::ostream* out) { *out << rule.program; }

class WrongRules : public testing::TestWithParam<WrongRule> {};

TEST_P(WrongRules, AreFoundAtTheFirstDecisionThatDiffers) {
    const WrongRule& wrong = GetParam();
    const tests::ScenarioFolder folder;
    folder.play(DAY, {.record = folder.path("day"), .log = false});
    const Ended right = verify(LINKAGE_REPLAY, folder.path("day"), folder.path("out"));
    EXPECT_EQ(right.status, 0);
    EXPECT_NE(right.output.find(", no difference"), std::string::npos) << right.output;

    const Ended found = verify(wrong.program, folder.path("day"), folder.path("out"));
    EXPECT_EQ(found.status, 1);
    const Found line = lineWith(folder.path("day"), wrong.before, wrong.line);
    ASSERT_NE(line.number, 0u);
    EXPECT_NE(found.output.find(", different at line " + std::to_string(line.number) + ", " +
                                line.at + "\n"),
              std::string::npos)
        << found.output << line.number << line.at;
    EXPECT_NE(found.output.find("\n  expected: " + wrong.expected), std::string::npos)
        << found.output;
    EXPECT_NE(found.output.find("\n  got:      " + wrong.got), std::string::npos) << found.output;
}

INSTANTIATE_TEST_SUITE_P(
    Rules, WrongRules,
    testing::Values(WrongRule{REPLAY_WRONG_LOTS, "orderSetting buy 300 SH600000",
                              "\"out\":\"command\"", "asks: orderSetting buy 300 SH600000\n",
                              "asks: orderSetting buy 350 SH600000\n"},
                    WrongRule{REPLAY_WRONG_SIDE, "orderSetting buy 300 SH600000",
                              "\"out\":\"command\"", "asks: orderSetting buy 300 SH600000\n",
                              "asks: orderSetting sell 300 SH600000\n"},
                    WrongRule{REPLAY_WRONG_LIMITS, "\"last\":11", "figures", "{\"out\":\"figures\"",
                              "{\"out\":\"figures\""}));

}  // namespace
