#include "bench/measure.h"

#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <cstdio>
#include <limits>
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

constexpr double NO_BOUND = std::numeric_limits<double>::infinity();

struct Bound {
    std::string what;
    std::string measured;  ///< names of figures
    std::string against;   ///< "": the bound is a figure by itself
    double atMost;         ///< times `against`, or in `unit`
    const char* unit;
    double scale;         ///< by which the figures are multiplied for display
    bool orNext = false;  ///< it is enough when this bound or the next one holds
    bool isMore = false;  ///< `atMost` is what may be more than `against`, in `unit`
};

const std::vector<Bound>& bounds() {
    static const std::vector<Bound> all = {
        {"a report, handed to the handler", "report/library", "report/limit", 2.0, "ns", 1e9, true},
        {"or: the same against the interface's own limit", "report/library", "report/own", 1.25,
         "ns", 1e9},
        {"a report, from callback to applied, one producer", "strand/one", "report/limit", 5.0,
         "ns", 1e9},
        {"what recording adds to a report, callback to applied", "report/recorded",
         "report/unrecorded", 120.0, "ns", 1e9, false, true},
        {"  a report in the recording, on disk", "recording/bytes", "", 40.0, "bytes", 1.0},
        {"a storm from four threads, its log unheard, against silent", "storm/log without appender",
         "storm/silent", 1.1, "ns", 1e9},
        {"a pass with all prices new", "pass/all", "pass/limit", 1.3, "us", 1e6},
        {"a pass with 1 % of the prices new", "pass/one-percent", "pass/all", 0.05, "us", 1e6},
        {"the last of 20,000 deals on one record, against the first", "deals/last thousand",
         "deals/first thousand", 1.2, "ns", 1e9},
        {"16 times as many records, per report", "curve/library x16", "curve/library x1", 1.5, "ns",
         1e9},
        {"memory of a traded-figures record", "bytes/figures library", "bytes/figures limit", 3.0,
         "bytes", 1.0},
        {"memory of an order", "bytes/order library", "bytes/order limit", 3.0, "bytes", 1.0},
        {"memory of a day that is over, against the day as it ran", "days/over", "days/running",
         1.0, "MB", 1e-6},
        {"the last 10 of 30 days that are over, against the first 10", "days/last", "days/first",
         1.1, "MB", 1e-6},
        {"memory of 30 days of which 5 are kept, against 10 days", "days/kept", "days/kept early",
         1.1, "MB", 1e-6},
        {"a report, with changes asked ten times a second, against none", "changes/asked",
         "changes/unasked", 2.5, "ns", 1e9},
        {"  the longest of those answers, which holds the lock", "changes/longest answer", "", 1.0,
         "ms", 1e3},
        {"the recorded day, against parsing it, as time one waits", "day/replay", "day/parse", 2.0,
         "ms", 1e3},
        {"an import of 60,000 rows", "import/60,000 rows", "", 3.3, "s", 60'000},
        {"200,000 reports a second, callback to applied, p99.9", "latency/alone", "", 1.0, "ms",
         1e3},
        {"  with nothing to apply: what the machine takes", "latency/machine", "", NO_BOUND, "ms",
         1e3},
        {"  likewise, beside a thread that counts", "latency/counting", "", NO_BOUND, "ms", 1e3},
        {"  with a screen that asks for all ten times a second", "latency/screen", "", 1.0, "ms",
         1e3},
        {"  with the calculation of the curves", "latency/curves", "", 1.0, "ms", 1e3},
        {"  with an import of 60,000 rows", "latency/import", "", 1.0, "ms", 1e3},
        {"  with saves of 100,000 history rows", "latency/saves", "", 1.0, "ms", 1e3},
        {"  with a pass over 100,000 records", "latency/pass", "", 1.0, "ms", 1e3},
    };
    return all;
}

struct Line {
    std::string measured = "not measured";
    std::string atMost;
    std::string ok;
};

Line lineOf(const Bound& bound) {
    const bool isCompared = !bound.against.empty();
    const bool isRatio = isCompared && !bound.isMore;
    Line line;
    const bool isBound = bound.atMost != NO_BOUND;
    if (isBound) line.atMost = fmt::format("{} {}", bound.atMost, isRatio ? "x" : bound.unit);
    if (!figures().has(bound.measured) || (isCompared && !figures().has(bound.against)))
        return line;
    const double value = figures()[bound.measured];
    const double shown = value * bound.scale;
    double held = shown;
    line.measured = fmt::format("{:.2f} {}", shown, bound.unit);
    if (isRatio) {
        const double base = figures()[bound.against];
        held = value / base;
        line.measured = fmt::format("{:.2f} x ({:.1f} {} / {:.1f})", held, shown, bound.unit,
                                    base * bound.scale);
    } else if (isCompared) {
        const double base = figures()[bound.against] * bound.scale;
        held = shown - base;
        line.measured = fmt::format("{:.1f} {} ({:.1f} - {:.1f})", held, bound.unit, shown, base);
    }
    if (const std::string& details = figures().details(bound.measured); !details.empty()) {
        line.measured += fmt::format(" ({})", details);
    }
    if (isBound) line.ok = held <= bound.atMost ? "yes" : "NO";
    return line;
}

}  // namespace

bool printTable() {
    bool well = true;
    bool former = true;  // whether a bound that is an alternative to this one was missed
    fmt::print("\n{:<60} | {:<52} | {:<8} | ok\n", "what", "measured", "at most");
    for (const Bound& bound : bounds()) {
        const Line line = lineOf(bound);
        const bool missed = line.ok == "NO" && former;
        well = well && (!missed || bound.orNext);
        former = !bound.orNext || missed;
        fmt::print("{:<60} | {:<52} | {:<8} | {}\n", bound.what, line.measured, line.atMost,
                   line.ok);
    }
    std::fflush(stdout);
    return well;
}

}  // namespace bench
