#include "bench/measure.h"
#include "bench/programs.h"
#include "linkage/record/recordingoptions.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

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

}  // namespace

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
