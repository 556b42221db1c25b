#include "tests/support/playing.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

/// A file is read ahead of the play, a pipe is not; what is played and told is the same.
namespace {

constexpr int LINES = 12'000;  // several times what may wait

const std::string CONFIG = "{\"do\":\"config\",\"now\":\"2024-01-02 09:30:00\"}\n";
const std::string START = CONFIG + "{\"do\":\"account\",\"key\":\"A\"}\n{\"do\":\"init\"}\n";
constexpr int START_LINES = 3;

std::string callLine(int number) {
    return R"({"do":"call","op":"isAlreadyAdd","args":["account )" + std::to_string(number) +
           "\"]}\n";
}

std::string callLines(int from, int to) {
    std::string text;
    for (int number = from; number < to; ++number) text += callLine(number);
    return text;
}

/// The arguments of all calls, as they are when the play comes to them.
class CArguments final : public replay::IReplayWatcher {
public:
    void before(const replay::Event& event, replay::CSession&) override {
        const auto* const call = std::get_if<replay::CallEvent>(&event);
        if (call && call->args) texts.push_back(simdjson::minify(*call->args));
    }

    std::vector<std::string> texts;
};

class CPipe {
public:
    CPipe() {
        if (pipe2(m_ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    }
    ~CPipe() {
        close(m_ends[0]);
        end();
    }
    CPipe(const CPipe&) = delete;
    CPipe& operator=(const CPipe&) = delete;

    std::string path() const { return "/dev/fd/" + std::to_string(m_ends[0]); }
    void write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t count = ::write(m_ends[1], text.data(), text.size());
            if (count <= 0) throw std::runtime_error("the pipe takes nothing");
            text.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    void end() {
        if (m_ends[1] >= 0) close(m_ends[1]);
        m_ends[1] = -1;
    }

private:
    int m_ends[2] = {-1, -1};
};

struct Whole {
    std::string output, fault, journal;
    std::vector<std::string> arguments;

    bool operator==(const Whole&) const = default;
};

Whole playWhole(const tests::ScenarioFolder& folder, const std::string& path) {
    CArguments arguments;
    const std::string journal = folder.path("journal");
    const tests::Played played = tests::playFile(path, {.journal = journal}, &arguments);
    const std::string fault =
        played.fault.empty() ? played.fault : played.fault.substr(path.size());
    return {played.output, fault, tests::readText(journal), arguments.texts};
}

Whole playPiped(const tests::ScenarioFolder& folder, const std::string& text) {
    CPipe pipe;
    // The writer holds the reading end too, so a play that ends early leaves it nobody to wait for.
    std::jthread writer([&] {
        pipe.write(text);
        pipe.end();
    });
    Whole whole = playWhole(folder, pipe.path());
    std::string rest(1 << 16, '\0');
    const int left = open(pipe.path().c_str(), O_RDONLY | O_CLOEXEC);
    while (read(left, rest.data(), rest.size()) > 0) {
    }
    close(left);
    return whole;
}

TEST(ReadAhead, AFileIsPlayedAsAPipeIs) {
    const std::string calls = callLines(0, LINES);
    const std::string packed = tests::packed(START + calls);
    const std::string longLine =
        "{\"do\":\"file\",\"name\":\"" + std::string(400'000, 'x') + "\"}\n";
    struct Row {
        const char* what;
        std::string text;
        int calls;
        std::string fault;
    };
    const int bad = START_LINES + LINES + 1;
    const std::string at = ":" + std::to_string(bad) + ": ";
    const Row rows[] = {
        {"nothing", "", 0, ""},
        {"the config alone", CONFIG, 0, ""},
        {"a first line that is none", "[]\n" + START, 0, ":1: a line must be a JSON object"},
        {"many lines", START + calls, LINES, ""},
        {"an end without a line end", START + calls.substr(0, calls.size() - 1), LINES, ""},
        {"a line that cannot be parsed", START + calls + "{\"do\":\"crahs\"}\n" + calls, LINES,
         at + "unknown \"do\": \"crahs\""},
        {"a line that cannot be played", START + calls + "{\"do\":\"login\"}\n{\"do\":\"dump\"}\n",
         LINES, at + "missing field \"ok\""},
        {"a line that fails while it is played",
         START + calls + "{\"do\":\"accountReady\",\"account\":\"A\"}\n" + CONFIG + calls, LINES,
         ":" + std::to_string(bad + 1) + ": a second \"config\""},
        {"long lines", START + longLine + longLine + calls, LINES, ""},
        {"a compressed file", packed, LINES, ""},
    };
    const tests::ScenarioFolder folder;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        tests::writeText(folder.path("file"), row.text);
        const Whole played = playWhole(folder, folder.path("file"));
        EXPECT_EQ(played.fault, row.fault);
        ASSERT_EQ(played.arguments.size(), static_cast<std::size_t>(row.calls));
        for (int call = 0; call < row.calls; ++call) {
            const std::string own = "[\"account " + std::to_string(call) + "\"]";
            ASSERT_EQ(played.arguments[static_cast<std::size_t>(call)], own);
        }
        EXPECT_TRUE(played == playPiped(folder, row.text));
    }
}

TEST(ReadAhead, ADamagedFileIsPlayedUpToTheFault) {
    const tests::ScenarioFolder folder;
    const std::string packed = tests::packed(START + callLines(0, LINES));
    // Behind the ten bytes of a gzip header, no block begins like this.
    const std::string damaged = packed + packed.substr(0, 10) + "\xFF\xFF";
    tests::writeText(folder.path("file"), damaged);
    const Whole played = playWhole(folder, folder.path("file"));
    EXPECT_EQ(played.arguments.size(), static_cast<std::size_t>(LINES));
    EXPECT_EQ(played.fault, ":" + std::to_string(START_LINES + LINES + 1) +
                                ": compressed data: invalid block type");
    EXPECT_TRUE(played == playPiped(folder, damaged));
}

/// Whoever looks on fails in the middle, while the reading thread waits for room.
TEST(ReadAhead, APlayThatFailsEndsTheReading) {
    class CFailing final : public replay::IReplayWatcher {
    public:
        explicit CFailing(int line) : m_left(line) {}
        void before(const replay::Event&, replay::CSession&) override {
            if (--m_left == 0) throw std::runtime_error("the disk is full");
        }

    private:
        int m_left;
    };
    const tests::ScenarioFolder folder;
    const std::string text = START + callLines(0, LINES);
    for (const int line : {1, 2, 3, 128, 129, 130, LINES, LINES + START_LINES}) {
        SCOPED_TRACE(line);
        CFailing watcher(line);
        EXPECT_THROW(folder.play(text, {}, &watcher), std::runtime_error);
    }
    EXPECT_EQ(folder.play(text).fault, "");
    replay::COutput full([](std::string_view) { throw std::runtime_error("the disk is full"); });
    EXPECT_THROW(replay::playFile(folder.path("in.jsonl"), {}, full), std::runtime_error);
}

/// A line is written when the one before it was played, so nothing may wait for a second one.
TEST(ReadAhead, APipeIsPlayedAsItComes) {
    class CWriting final : public replay::IReplayWatcher {
    public:
        explicit CWriting(CPipe& pipe) : m_pipe(pipe) { m_pipe.write(CONFIG); }
        void after(const replay::Event&, replay::CSession&) override {
            constexpr int MANY = 300;
            if (++played < MANY) {
                m_pipe.write("{\"do\":\"advance\",\"seconds\":1}\n");
            } else {
                m_pipe.end();
            }
        }

        int played = 0;

    private:
        CPipe& m_pipe;
    };
    CPipe pipe;
    CWriting watcher(pipe);
    EXPECT_EQ(tests::playFile(pipe.path(), {}, &watcher).fault, "");
    EXPECT_EQ(watcher.played, 300);
}

}  // namespace
