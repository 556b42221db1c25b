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

/// Plays the same million reports in all three programs and returns the first difference of their
/// states; if there is one, no number is worth printing.
std::string stateDifference() {
    const bench::Workload day = bench::makeDay({});
    const auto stateAfter = [&day](auto&& program) {
        play(program, day);
        return program.state();
    };
    const TC::ManagerState expected = stateAfter(bench::CTextbookProgram(day));
    const std::string library =
        textbook::firstDifference(expected, stateAfter(bench::CLibraryProgram(day)));
    if (!library.empty()) return "the library: " + library;
    const std::string limit =
        textbook::firstDifference(expected, stateAfter(bench::CLimitProgram(day)));
    return limit.empty() ? "" : "the limit: " + limit;
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
    if (argc > 1 && std::string_view(argv[1]) == "--guard") {
        bench::libraryOptions().guard = true;
        fmt::print("with the guard of balances\n");
        --argc;
        std::rotate(argv + 1, argv + 2, argv + argc + 1);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    const std::string difference = stateDifference();
    if (!difference.empty()) {
        fmt::print(stderr, "the three programs disagree; {}\n", difference);
        return 1;
    }
    fmt::print("1,000,000 reports: textbook, library and limit agree on every figure\n");
    std::fflush(stdout);

    // The recorded day comes first: outside the benchmark a program of its own replays it, with a
    // fresh heap.
    bench::addRecordedDay();
    bench::addIntake();
    bench::addCalculators();
    bench::addQueries();
    bench::addHistory();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return bench::printTable() ? 0 : 1;
}
