#include "bench/measure.h"
#include "bench/programs.h"
#include "platform/log.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

namespace {

/// Plays the same million reports in all programs and returns the first difference of their
/// states; if there is one, no number is worth printing.
std::string stateDifference() {
    const bench::Workload day = bench::makeDay({});
    const auto stateAfter = [&day](auto&& program) {
        play(program, day);
        return program.state();
    };
    const TC::ManagerState expected = stateAfter(bench::CTextbookProgram(day));
    const auto differs = [&](const char* name, auto&& program) {
        const std::string difference = textbook::firstDifference(expected, stateAfter(program));
        return difference.empty() ? difference : fmt::format("{}: {}", name, difference);
    };
    std::string difference = differs("the library", bench::CLibraryProgram(day));
    if (difference.empty()) difference = differs("the limit", bench::CLimitProgram(day));
    if (difference.empty()) {
        difference = differs("the interface's own limit", bench::COwnLimitProgram<>(day));
    }
    return difference;
}

/// The machine may have been disturbed. The new figures join those of before, and the output tells
/// what was measured again.
void measureMissedAgain() {
    constexpr int MOST = 2;
    for (int time = 0; time < MOST; ++time) {
        const std::string missed = bench::missedBenchmarks();
        if (missed.empty()) return;
        fmt::print("\nmissed, so measured again: {}\n", missed);
        std::fflush(stdout);
        // A reporter of its own: the default one may be used once only.
        benchmark::ConsoleReporter reporter;
        benchmark::RunSpecifiedBenchmarks(&reporter, missed);
    }
}

/// Whether the first argument is this one, which is then taken out.
bool takeOption(int& argc, char** argv, std::string_view option) {
    if (argc < 2 || argv[1] != option) return false;
    --argc;
    std::rotate(argv + 1, argv + 2, argv + argc + 1);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "Asia/Shanghai", 1);
    // A client that runs for days keeps the pages of its heap. Without this the system would take
    // them back between the runs, and each run would measure how it gets them again.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    const QCoreApplication application(argc, argv);
    g_VexStdLogger.setLevel(ELogLevel::Off);
    if (takeOption(argc, argv, "--guard")) {
        bench::libraryOptions().guard = true;
        fmt::print("with the guard of balances\n");
    }
    if (takeOption(argc, argv, "--stream")) {
        constexpr double USUAL_SECONDS = 10;
        return bench::printStream(argc > 1 ? std::atof(argv[1]) : USUAL_SECONDS) ? 0 : 1;
    }
    const bool parts = takeOption(argc, argv, "--parts");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    const std::string difference = stateDifference();
    if (!difference.empty()) {
        fmt::print(stderr, "the programs disagree; {}\n", difference);
        return 1;
    }
    fmt::print("1,000,000 reports: textbook, library and both limits agree on every figure\n");
    std::fflush(stdout);
    if (parts) {
        bench::printParts();
        return 0;
    }

    // The recorded day comes first: outside the benchmark a program of its own replays it, with a
    // fresh heap.
    bench::addRecordedDay();
    bench::addIntake();
    bench::addRecording();
    bench::addCalculators();
    bench::addQueries();
    bench::addChanges();
    bench::addHistory();
    bench::addLatency();
    bench::addLongDays();
    benchmark::RunSpecifiedBenchmarks();
    measureMissedAgain();
    bench::figures().begin({});
    benchmark::Shutdown();
    return bench::printTable() ? 0 : 1;
}
