#include "lab/run.h"
#include "lab/shrink.h"
#include "platform/log.h"
#include "replay/programversion.h"
#include "replay/times.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>
#include <string_view>
#include <thread>

namespace {

constexpr int VIOLATION = 1;
constexpr int USAGE_ERROR = 2;
constexpr std::uint64_t MOST_JOBS = 256;

constexpr const char* USAGE =
    "usage: linkage-lab [--seeds A-B] [--guard | --no-guard] [--faults LIST] [--jobs N]\n"
    "                   [--scenarios DIR] [--quiet]\n"
    "       linkage-lab --seed N [--trace] [--shrink | --scenario FILE] [...]\n"
    "Plays days drawn from seeds, with faults, against the linkage library and holds its\n"
    "guarded balances to their invariants. With --no-guard it counts the days on which a\n"
    "balance trades too much. --jobs: so many processes share the days; without it as many as\n"
    "the machine has cores.\n"
    "The first days that fail are cut down and written as scenarios for linkage-replay into\n"
    "DIR, or where the program runs. --shrink does so with one day; --scenario writes a day as\n"
    "it is.\n"
    "Late is what answers later than it is asked: reports, completions, cancellations and past\n"
    "days. Prices, instruments, fees and the data center answer in the call: they throw or are\n"
    "empty, never late.\n"
    "LIST: names with commas between them; late=40 sets a rate in percent of the occasions,\n"
    "and \"all,crash=0\" changes one of all. The names:\n";

/// So many failing days are cut down.
constexpr int MOST_SHRUNK = 3;

struct Arguments {
    lab::RunOptions run;
    std::string scenarios = ".";
    std::string scenario;
    bool shrink = false;
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
        } else if (text == "--shrink") {
            arguments.shrink = true;
        } else if (text == "--scenarios" || text == "--scenario") {
            (text == "--scenario" ? arguments.scenario : arguments.scenarios) = next;
            sound = !next.empty();
            ++i;
        } else if (text == "--jobs") {
            std::uint64_t jobs = 0;
            sound = readNumber(next, jobs) && jobs <= MOST_JOBS;
            arguments.run.jobs = static_cast<int>(jobs);
            ++i;
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
        fmt::print(to, "  {:<17}{:>3} %  {}\n", lab::nameOf(fault), lab::Dials::usual()[fault],
                   lab::meaningOf(fault));
    }
}

/// Tells one day; the same bytes every time.
int tellOne(Arguments arguments) {
    arguments.run.jobs = 1;
    arguments.run.scenario = !arguments.scenario.empty();
    const lab::Outcome outcome = lab::runOne(arguments.run.first, arguments.run);
    for (const std::string& line : outcome.trace) fmt::print("{}\n", line);
    for (const std::string& each : outcome.violations) fmt::print("violation: {}\n", each);
    fmt::print("seed {}: {} commands, {} violations{}\n", outcome.seed, outcome.commands,
               outcome.violations.size(), outcome.tooMuch ? ", a balance traded too much" : "");
    if (arguments.run.scenario) {
        const std::string differs = lab::writeScenario(outcome, arguments.scenario);
        fmt::print("{}\n", differs.empty() ? "linkage-replay sends the same orders" : differs);
    }
    const bool fails = !outcome.violations.empty() || outcome.tooMuch;
    if (arguments.shrink && fails) {
        fmt::print("{}", lab::writeShrunk(outcome.seed, arguments.run, arguments.scenarios));
    }
    return outcome.violations.empty() ? 0 : VIOLATION;
}

int runAll(Arguments arguments) {
    arguments.run.trace = false;
    arguments.run.progress = !arguments.quiet && isatty(STDERR_FILENO) != 0;
    const lab::Result result = lab::run(arguments.run);
    fmt::print("{}", lab::textOf(result, arguments.run, !arguments.quiet));
    int left = MOST_SHRUNK;
    for (const auto& [seed, what] : result.violated) {
        if (left-- == 0) break;
        fmt::print("{}", lab::writeShrunk(seed, arguments.run, arguments.scenarios));
    }
    return result.holds() ? 0 : VIOLATION;
}

}  // namespace

int main(int argc, char** argv) {
    if (replay::printsVersion(argc, argv, "linkage-lab")) return 0;
    Arguments arguments;
    arguments.run.jobs = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    if (!readArguments(argc, argv, arguments)) {
        printUsage(stderr);
        return USAGE_ERROR;
    }
    if (arguments.help) {
        printUsage(stdout);
        return 0;
    }
    replay::setTimeZone("Asia/Shanghai");
    g_VexStdLogger.setLevel(ELogLevel::Off);
    try {
        return arguments.one ? tellOne(arguments) : runAll(arguments);
    } catch (const std::exception& fault) {
        fmt::print(stderr, "linkage-lab: {}\n", fault.what());
        return USAGE_ERROR;
    }
}
