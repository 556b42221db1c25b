#include "bench/measure.h"
#include "bench/programs.h"
#include "linkage/record/recordingoptions.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>

// What a recording costs the strand, and how large it grows.

namespace bench {

namespace {

constexpr std::size_t CALLED_TOGETHER = 1024;

/// Seconds of processor time from callback to applied, on one thread. What the recording's own
/// thread does is not in it.
double takeInSeconds(CLibraryProgram& program, const Workload& day) {
    const std::span all(day.reports);
    return seconds([&] {
        for (std::size_t from = 0; from < all.size(); from += CALLED_TOGETHER) {
            const std::size_t count = std::min(CALLED_TOGETHER, all.size() - from);
            for (const Report& report : all.subspan(from, count)) program.callback(report);
            program.world().runToRest();
        }
    });
}

double plainSeconds(const Workload& day) {
    CLibraryProgram program(day);
    return takeInSeconds(program, day);
}

/// Notes the bytes of a report on disk, too. A recording that lacks a report is worth no number.
double recordedSeconds(const Workload& day) {
    const QTemporaryDir folder;
    CLibraryProgram program(day, CWorld::Time::Standing, libraryOptions(),
                            folder.filePath("bench.rec"));
    const double taken = takeInSeconds(program, day);
    program.manager().stopRecording();
    const TC::RecordingState state = program.manager().getRecording().value();
    if (!state.fault.empty() || state.steps < day.reports.size()) {
        throw std::runtime_error(fmt::format("the recording has {} steps for {} reports; {}",
                                             state.steps, day.reports.size(), state.fault));
    }
    figures().note("recording/bytes",
                   static_cast<double>(state.bytes) / static_cast<double>(day.reports.size()));
    return taken;
}

/// What a stream of reports at an even pace came to.
struct Stream {
    double seconds = 0;       ///< that the reports took
    double stopSeconds = 0;   ///< from the last report to the end of the file
    std::size_t reports = 0;  ///< that came
    TC::RecordingState state;
};

/// Calls back so many reports a second, on a thread of its own, while the strand applies them and
/// the recording writes. When all reports of the day are there they come once more.
Stream runStream(const Workload& day, double reportsPerSecond, double length) {
    const QTemporaryDir folder;
    CLibraryProgram program(day, CWorld::Time::Real, libraryOptions(),
                            folder.filePath("bench.rec"));
    Stream stream;
    const auto all = static_cast<std::size_t>(reportsPerSecond * length);
    stream.seconds = wallSeconds([&] {
        const auto begin = std::chrono::steady_clock::now();
        while (stream.reports < all) {
            const double gone =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
            const auto due = std::min(all, static_cast<std::size_t>(gone * reportsPerSecond));
            if (stream.reports == due) std::this_thread::yield();
            for (; stream.reports < due; ++stream.reports) {
                program.callback(day.reports[stream.reports % day.reports.size()]);
            }
        }
        program.waitApplied();
    });
    stream.stopSeconds = wallSeconds([&] { program.manager().stopRecording(); });
    stream.state = program.manager().getRecording().value();
    return stream;
}

}  // namespace

bool printStream(double seconds) {
    constexpr double REPORTS_PER_SECOND = 500'000;
    const Stream stream = runStream(makeDay({}), REPORTS_PER_SECOND, seconds);
    const auto steps = std::min<std::uint64_t>(stream.state.steps, stream.reports);
    fmt::print(
        "{} reports in {:.1f} s, {} steps in the recording, {:.1f} MB, {:.1f} s to its end\n",
        stream.reports, stream.seconds, stream.state.steps,
        static_cast<double>(stream.state.bytes) / 1e6, stream.stopSeconds);
    fmt::print("{}\n", stream.state.fault.empty() ? "nothing is lost"
                                                  : "it ended by itself: " + stream.state.fault);
    return stream.state.fault.empty() && steps == stream.reports;
}

void addRecording() {
    const auto day = std::make_shared<Workload>();
    const auto made = [day]() -> const Workload& {
        if (day->reports.empty()) *day = makeDay({});
        return *day;
    };
    const Size size;
    const auto reports = static_cast<double>(size.orderReports + size.dealReports);
    for (int turn = 0; turn < 6; ++turn) {
        add("report/unrecorded", 2, reports, [made] { return plainSeconds(made()); });
        add("report/recorded", 2, reports, [made] { return recordedSeconds(made()); });
    }
}

}  // namespace bench
