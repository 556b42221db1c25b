#include "bench/measure.h"

#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <set>
#include <utility>
#include <vector>

namespace bench {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void CFigures::begin(const std::string& name) {
    const auto groupOf = [](const std::string& of) { return of.substr(0, of.find('/')); };
    if (groupOf(name) != groupOf(m_running) && m_release) std::exchange(m_release, nullptr)();
    m_running = name;
}

void add(const std::string& name, int repetitions, double items, std::function<double()> body) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [name, items, body = std::move(body)](benchmark::State& state) {
                                     for (auto _ : state) {
                                         figures().begin(name);
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

    bool isCompared() const { return !against.empty(); }
    bool isRatio() const { return isCompared() && !isMore; }
};

/// What a bound holds: of a figure by itself the least of all repetitions, what the machine can do
/// when nothing disturbs it. Two figures are measured in turns. Each is compared with its
/// neighbour, so that a slow minute of the machine slows both, and the median counts.
struct Held {
    double value;
    double against = 0.0;
    double held;
};

Held heldOf(const Bound& bound) {
    const std::vector<double>& values = figures().values(bound.measured);
    if (!bound.isCompared()) {
        const double least = *std::min_element(values.begin(), values.end()) * bound.scale;
        return {.value = least, .held = least};
    }
    const std::vector<double>& others = figures().values(bound.against);
    std::vector<double> compared;
    for (std::size_t at = 0; at < std::min(values.size(), others.size()); ++at) {
        compared.push_back(bound.isRatio() ? values[at] / others[at]
                                           : (values[at] - others[at]) * bound.scale);
    }
    return {median(values) * bound.scale, median(others) * bound.scale, median(compared)};
}

const std::vector<Bound>& bounds() {
    static const std::vector<Bound> all = {
        {"a report, handed to the handler", "report/library", "report/limit", 2.0, "ns", 1e9, true},
        {"or: the same against the interface's own limit", "report/library", "report/own", 1.25,
         "ns", 1e9},
        {"a report, from callback to applied, one producer", "strand/one", "report/limit", 2.5,
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
    bool isMissed = false;  ///< and no alternative holds
};

Line lineOf(const Bound& bound) {
    Line line;
    const bool isBound = bound.atMost != NO_BOUND;
    if (isBound)
        line.atMost = fmt::format("{} {}", bound.atMost, bound.isRatio() ? "x" : bound.unit);
    if (!figures().has(bound.measured)) return line;
    if (bound.isCompared() && !figures().has(bound.against)) return line;
    const auto [value, against, held] = heldOf(bound);
    if (bound.isRatio()) {
        line.measured =
            fmt::format("{:.2f} x ({:.1f} {} / {:.1f})", held, value, bound.unit, against);
    } else if (bound.isCompared()) {
        line.measured =
            fmt::format("{:.1f} {} ({:.1f} - {:.1f})", held, bound.unit, value, against);
    } else {
        line.measured = fmt::format("{:.2f} {}", held, bound.unit);
    }
    if (const std::string& details = figures().details(bound.measured); !details.empty()) {
        line.measured += fmt::format(" ({})", details);
    }
    if (isBound) {
        line.isMissed = held > bound.atMost;
        line.ok = line.isMissed ? "NO" : "yes";
    }
    return line;
}

std::vector<Line> linesOf(const std::vector<Bound>& all) {
    std::vector<Line> lines;
    lines.reserve(all.size());
    for (const Bound& bound : all) lines.push_back(lineOf(bound));
    for (std::size_t at = 0; at + 1 < all.size(); ++at) {
        if (!all[at].orNext || (lines[at].isMissed && lines[at + 1].isMissed)) continue;
        lines[at].isMissed = lines[at + 1].isMissed = false;
    }
    return lines;
}

}  // namespace

std::string missedBenchmarks() {
    const std::vector<Line> lines = linesOf(bounds());
    std::set<std::string> sources;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        if (!lines[at].isMissed) continue;
        for (const std::string& figure : {bounds()[at].measured, bounds()[at].against}) {
            if (!figure.empty()) sources.insert(figures().source(figure));
        }
    }
    if (sources.empty()) return {};
    return fmt::format("^({})/iterations", fmt::join(sources, "|"));
}

bool printTable() {
    bool well = true;
    fmt::print("\n{:<60} | {:<52} | {:<8} | ok\n", "what", "measured", "at most");
    const std::vector<Line> lines = linesOf(bounds());
    for (std::size_t at = 0; at < lines.size(); ++at) {
        const Line& line = lines[at];
        well = well && !line.isMissed;
        fmt::print("{:<60} | {:<52} | {:<8} | {}\n", bounds()[at].what, line.measured, line.atMost,
                   line.ok);
    }
    std::fflush(stdout);
    return well;
}

}  // namespace bench
