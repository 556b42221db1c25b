#include "bench/measure.h"

#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <cstdio>
#include <vector>

namespace bench {

void add(const std::string& name, int repetitions, double items, std::function<double()> body) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [name, items, body = std::move(body)](benchmark::State& state) {
                                     for (auto _ : state) {
                                         const double taken = body();
                                         state.SetIterationTime(taken);
                                         figures().note(name, taken / items);
                                         state.counters["ns_per_item"] = taken / items * 1e9;
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(repetitions)
        ->DisplayAggregatesOnly(true)
        ->Unit(benchmark::kMillisecond);
}

namespace {

struct Bound {
    std::string what;
    std::string measured;  ///< names of figures
    std::string against;   ///< "": the bound is a figure by itself
    double atMost;         ///< times `against`, or in `unit`
    const char* unit;
    double scale;  ///< by which the figures are multiplied for display
};

const std::vector<Bound>& bounds() {
    static const std::vector<Bound> all = {
        {"a report, handed to the handler", "report/library", "report/limit", 3.0, "ns", 1e9},
        {"a report, from callback to applied, one producer", "strand/one", "report/limit", 5.0,
         "ns", 1e9},
        {"a storm from four threads, its log unheard, against silent", "storm/log without appender",
         "storm/silent", 1.1, "ns", 1e9},
        {"a pass with all prices new", "pass/all", "pass/limit", 2.0, "us", 1e6},
        {"a pass with 1 % of the prices new", "pass/one-percent", "pass/all", 0.05, "us", 1e6},
        {"the last of 20,000 deals on one record, against the first", "deals/last thousand",
         "deals/first thousand", 1.2, "ns", 1e9},
        {"16 times as many records, per report", "curve/library x16", "curve/library x1", 1.5, "ns",
         1e9},
        {"memory of a traded-figures record", "bytes/figures library", "bytes/figures limit", 3.0,
         "bytes", 1.0},
        {"memory of an order", "bytes/order library", "bytes/order limit", 3.0, "bytes", 1.0},
        {"the recorded day, against parsing it", "day/replay", "day/parse", 3.0, "ms", 1e3},
        {"an import of 60,000 rows", "import/60,000 rows", "", 3.3, "s", 60'000},
    };
    return all;
}

struct Line {
    std::string measured = "not measured";
    std::string atMost;
    std::string ok;
};

Line lineOf(const Bound& bound) {
    const bool isRatio = !bound.against.empty();
    Line line;
    line.atMost = fmt::format("{} {}", bound.atMost, isRatio ? "x" : bound.unit);
    if (!figures().has(bound.measured) || (isRatio && !figures().has(bound.against))) return line;
    const double value = figures()[bound.measured];
    const double shown = value * bound.scale;
    double held = shown;
    line.measured = fmt::format("{:.2f} {}", shown, bound.unit);
    if (isRatio) {
        const double base = figures()[bound.against];
        held = value / base;
        line.measured = fmt::format("{:.2f} x ({:.1f} {} / {:.1f})", held, shown, bound.unit,
                                    base * bound.scale);
    }
    line.ok = held <= bound.atMost ? "yes" : "NO";
    return line;
}

}  // namespace

bool printTable() {
    bool well = true;
    fmt::print("\n{:<60} | {:<38} | {:<8} | ok\n", "what", "measured", "at most");
    for (const Bound& bound : bounds()) {
        const Line line = lineOf(bound);
        well = well && line.ok != "NO";
        fmt::print("{:<60} | {:<38} | {:<8} | {}\n", bound.what, line.measured, line.atMost,
                   line.ok);
    }
    std::fflush(stdout);
    return well;
}

}  // namespace bench
