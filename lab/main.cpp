#include "lab/run.h"
#include "platform/log.h"
#include "replay/times.h"

#include <QCoreApplication>

#include <fmt/format.h>

#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <exception>
#include <string_view>

namespace {

constexpr int VIOLATION = 1;
constexpr int USAGE_ERROR = 2;

constexpr const char* USAGE =
    "usage: linkage-lab [--seeds A-B] [--guard | --no-guard] [--faults LIST] [--quiet]\n"
    "       linkage-lab --seed N [--trace] [...]\n"
    "Plays days drawn from seeds, with faults, against the linkage library and holds its\n"
    "guarded balances to their invariants. With --no-guard it counts the days on which a\n"
    "balance trades too much. LIST: names with commas between them; late=40 sets a rate in\n"
    "percent, and \"all,crash=0\" changes one of all. The names:\n";

struct Arguments {
    lab::RunOptions run;
    bool one = false;
    bool quiet = false;
    bool help = false;
};

bool readNumber(std::string_view text, std::uint64_t& number) {
    const char* const end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && at == end && number > 0;
}

bool readSeeds(std::string_view text, lab::RunOptions& run) {
    const std::size_t dash = text.find('-');
    if (dash == std::string_view::npos) return false;
    return readNumber(text.substr(0, dash), run.first) &&
           readNumber(text.substr(dash + 1), run.last) && run.first <= run.last;
}

bool readFaults(std::string_view text, lab::RunOptions& run) {
    const auto dials = lab::Dials::parse(text);
    if (dials) run.dials = *dials;
    return dials.has_value();
}

/// False when they cannot be understood.
bool readArguments(int argc, char** argv, Arguments& arguments) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view text = argv[i];
        const std::string_view next = i + 1 < argc ? argv[i + 1] : "";
        bool sound = true;
        if (text == "--guard" || text == "--no-guard") {
            arguments.run.guard = text == "--guard";
        } else if (text == "--trace") {
            arguments.run.trace = true;
        } else if (text == "--quiet") {
            arguments.quiet = true;
        } else if (text == "--help") {
            arguments.help = true;
        } else if (text == "--seeds") {
            sound = readSeeds(next, arguments.run);
            ++i;
        } else if (text == "--seed") {
            sound = readNumber(next, arguments.run.first);
            arguments.run.last = arguments.run.first;
            arguments.one = true;
            ++i;
        } else {
            sound = text == "--faults" && readFaults(next, arguments.run);
            ++i;
        }
        if (!sound) return false;
    }
    return true;
}

void printUsage(std::FILE* to) {
    fmt::print(to, "{}", USAGE);
    for (std::size_t at = 0; at < lab::FAULT_COUNT; ++at) {
        const auto fault = static_cast<lab::EFault>(at);
        fmt::print(to, "  {:<15}{:>3} %  {}\n", lab::nameOf(fault), lab::Dials::usual()[fault],
                   lab::meaningOf(fault));
    }
}

/// Tells one day; the same bytes every time.
int tellOne(const Arguments& arguments) {
    const lab::Outcome outcome = lab::runOne(arguments.run.first, arguments.run);
    for (const std::string& line : outcome.trace) fmt::print("{}\n", line);
    for (const std::string& each : outcome.violations) fmt::print("violation: {}\n", each);
    fmt::print("seed {}: {} commands, {} violations{}\n", outcome.seed, outcome.commands,
               outcome.violations.size(), outcome.tooMuch ? ", a balance traded too much" : "");
    return outcome.violations.empty() ? 0 : VIOLATION;
}

int runAll(Arguments arguments) {
    arguments.run.trace = false;
    arguments.run.progress = !arguments.quiet && isatty(STDERR_FILENO) != 0;
    const lab::Result result = lab::run(arguments.run);
    fmt::print("{}", lab::textOf(result, arguments.run, !arguments.quiet));
    return result.violations == 0 ? 0 : VIOLATION;
}

}  // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    if (!readArguments(argc, argv, arguments)) {
        printUsage(stderr);
        return USAGE_ERROR;
    }
    if (arguments.help) {
        printUsage(stdout);
        return 0;
    }
    const QCoreApplication application(argc, argv);
    replay::setTimeZone("Asia/Shanghai");
    g_VexStdLogger.setSilent(true);
    try {
        return arguments.one ? tellOne(arguments) : runAll(arguments);
    } catch (const std::exception& fault) {
        fmt::print(stderr, "linkage-lab: {}\n", fault.what());
        return USAGE_ERROR;
    }
}
