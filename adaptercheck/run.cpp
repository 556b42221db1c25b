#include "adaptercheck/cases.h"
#include "adaptercheck/watchdog.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace adaptercheck {

namespace {

constexpr int FAILURE = 1;
constexpr int USAGE_ERROR = 2;
/// A case that does not go on for twice as long as patience, and this, is taken for blocked.
constexpr Seconds BLOCKED{1.0};

constexpr const char* USAGE =
    "[--list] [--only CASE[,CASE...]] [--patience SECONDS]\n"
    "Holds an adapter to the contracts of the services. Each case has a new adapter, and holds "
    "one\n"
    "sentence.\n"
    "  --list      the cases with their sentences, without running them\n"
    "  --only      some cases, by number or name; \"2*\" is all whose number or name begins so\n"
    "  --patience  how long an answer may take (5); an adapter that says that nothing is pending\n"
    "              is not waited for\n";

struct Arguments {
    std::vector<std::string> only;
    Seconds patience{5.0};
    bool list = false;
    bool help = false;
};

/// Every text between commas.
std::vector<std::string> split(std::string_view texts) {
    std::vector<std::string> parts;
    while (true) {
        const std::size_t comma = texts.find(',');
        parts.emplace_back(texts.substr(0, comma));
        if (comma == std::string_view::npos) return parts;
        texts.remove_prefix(comma + 1);
    }
}

std::optional<Arguments> readArguments(int argc, char** argv) {
    Arguments arguments;
    for (int at = 1; at < argc; ++at) {
        const std::string_view text = argv[at];
        const std::string_view next = at + 1 < argc ? argv[at + 1] : "";
        if (text == "--list") {
            arguments.list = true;
        } else if (text == "--help") {
            arguments.help = true;
        } else if (text == "--only" && !next.empty()) {
            arguments.only = split(next);
            ++at;
        } else if (text == "--patience") {
            double seconds = -1.0;
            const auto [end, error] =
                std::from_chars(next.data(), next.data() + next.size(), seconds);
            const bool whole = error == std::errc() && end == next.data() + next.size();
            if (!whole || !(seconds >= 0.0 && seconds <= 3600.0)) return std::nullopt;
            arguments.patience = Seconds(seconds);
            ++at;
        } else {
            return std::nullopt;
        }
    }
    return arguments;
}

bool matches(const Case& each, const std::string& wanted) {
    const std::string number = std::to_string(each.number);
    if (wanted.empty() || wanted.back() != '*') return wanted == number || wanted == each.name;
    const std::string begin = wanted.substr(0, wanted.size() - 1);
    return number.rfind(begin, 0) == 0 ||
           std::string_view(each.name).substr(0, begin.size()) == begin;
}

/// The cases that were asked for; nothing when a text names none.
std::optional<std::vector<Case>> chosen(const std::vector<std::string>& only) {
    const std::vector<Case> all = allCases();
    if (only.empty()) return all;
    std::vector<Case> cases;
    for (const Case& each : all) {
        const auto wants = [&](const std::string& text) { return matches(each, text); };
        if (std::any_of(only.begin(), only.end(), wants)) cases.push_back(each);
    }
    for (const std::string& text : only) {
        const auto is = [&](const Case& each) { return matches(each, text); };
        if (std::none_of(cases.begin(), cases.end(), is)) return std::nullopt;
    }
    return cases;
}

void printSentence(const Case& each) {
    fmt::print("        \"{}\"\n        platform/{}\n", each.sentence, each.header);
}

void printRow(const Case& each, const Result& result) {
    constexpr std::array<const char*, 3> WORDS = {"passed", "FAILED", "skipped"};
    fmt::print("{:>5}  {:<20}  {:<7}  {}\n", each.number, each.name,
               WORDS.at(static_cast<std::size_t>(result.verdict)), result.reason);
    if (result.verdict == EVerdict::Failed) printSentence(each);
    std::fflush(stdout);
}

class CTable {
public:
    void add(const Case& each, const Result& result) {
        printRow(each, result);
        ++m_counts.at(static_cast<std::size_t>(result.verdict));
    }
    /// Returns the program's status.
    int end(std::size_t asked) const {
        const auto [passed, failed, skipped] = m_counts;
        fmt::print("{} passed, {} failed, {} skipped", passed, failed, skipped);
        const std::size_t ran = passed + failed + skipped;
        if (ran < asked) fmt::print(", {} not run", asked - ran);
        fmt::print("\n");
        std::fflush(stdout);
        return failed > 0 ? FAILURE : 0;
    }

private:
    std::array<std::size_t, 3> m_counts{};
};

}  // namespace

int run(int argc, char** argv, const Factory& factory) {
    const auto arguments = readArguments(argc, argv);
    const auto cases = arguments ? chosen(arguments->only) : std::nullopt;
    if (!cases || arguments->help) {
        fmt::print(cases ? stdout : stderr, "usage: {} {}", argc > 0 ? argv[0] : "", USAGE);
        return cases ? 0 : USAGE_ERROR;
    }
    if (arguments->list) {
        for (const Case& each : *cases) {
            fmt::print("{:>5}  {}\n", each.number, each.name);
            printSentence(each);
        }
        return 0;
    }
    CTable table;
    for (const Case& each : *cases) {
        CWatchdog watchdog(2 * arguments->patience + BLOCKED, [&] {
            // Whoever holds the case's thread does not give it back, so nothing can be taken down.
            table.add(each, {EVerdict::Failed, "it does not come back"});
            table.end(cases->size());
            std::_Exit(FAILURE);
        });
        const Result result = runCase(each, factory, arguments->patience, [&] { watchdog.beat(); });
        watchdog.stop();
        table.add(each, result);
    }
    return table.end(cases->size());
}

}  // namespace adaptercheck
