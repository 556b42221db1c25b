#include "lab/days.h"
#include "lab/shrink.h"

#include <QDir>
#include <QFileInfo>

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace lab {

namespace {

constexpr char MEMORY[] = "/dev/shm";
constexpr long PROGRESS = 50;

QString directoryTemplate() {
    const QString memory = QString::fromLatin1(MEMORY);
    const QString place = QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
    return place + QStringLiteral("/linkage-lab-XXXXXX");
}

std::unique_ptr<QCoreApplication> makeApplication() {
    static int count = 1;
    static char name[] = "linkage-lab";
    static char* names[] = {name, nullptr};
    if (QCoreApplication::instance()) return {};
    return std::make_unique<QCoreApplication>(count, names);
}

Usage usage() {
    long size = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    std::error_code error;
    const std::filesystem::directory_iterator open("/proc/self/fd", error);
    const auto descriptors = error ? 0 : std::distance(begin(open), end(open));
    return {resident * (sysconf(_SC_PAGESIZE) / 1024), static_cast<int>(descriptors)};
}

void add(const Outcome& outcome, Result& result) {
    ++result.days;
    result.commands += outcome.commands;
    if (outcome.uncertain) ++result.uncertain;
    if (outcome.tooMuch && result.tooMuch++ == 0) result.firstTooMuch = outcome.seed;
    for (std::size_t at = 0; at < FAULT_COUNT; ++at) result.faults[at] += outcome.faults[at];
    for (const auto& [ending, count] : outcome.endings) result.endings[ending] += count;
    if (outcome.violations.empty()) return;
    ++result.violations;
    result.violated[outcome.seed] = outcome.violations.front();
    if (result.violated.size() > Result::MOST_KEPT) {
        result.violated.erase(std::prev(result.violated.end()));
    }
}

double secondsNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

}  // namespace

// --------------------------------------------------------------------------- days

CDays::CDays(const RunOptions& options)
    : m_options(options), m_pApplication(makeApplication()), m_directory(directoryTemplate()) {
    if (m_directory.isValid()) return;
    throw std::runtime_error("no directory can be made: " +
                             m_directory.errorString().toStdString());
}

Outcome CDays::play(const Plan& plan) {
    CDay day(plan, {.guard = m_options.guard,
                    .trace = m_options.trace,
                    .scenario = m_options.scenario,
                    .directory = m_directory.path().toStdString()});
    return day.play();
}

Result CDays::playAll(std::uint64_t from, std::uint64_t step,
                      const std::function<void(const Result&)>& look) {
    Result result;
    Usage before;
    for (std::uint64_t seed = from; seed <= m_options.last; seed += step) {
        add(play(seed), result);
        if (result.days == Result::WARM) before = usage();
        look(result);
    }
    if (result.days >= 2 * Result::WARM) {
        const Usage after = usage();
        result.growth = {after.kilobytes - before.kilobytes,
                         after.descriptors - before.descriptors};
        result.measured = true;
    }
    return result;
}

void addTo(Result& sum, const Result& part) {
    sum.days += part.days;
    sum.commands += part.commands;
    sum.uncertain += part.uncertain;
    sum.tooMuch += part.tooMuch;
    if (part.firstTooMuch != 0) {
        sum.firstTooMuch = sum.firstTooMuch == 0 ? part.firstTooMuch
                                                 : std::min(sum.firstTooMuch, part.firstTooMuch);
    }
    for (std::size_t at = 0; at < FAULT_COUNT; ++at) sum.faults[at] += part.faults[at];
    for (const auto& [ending, count] : part.endings) sum.endings[ending] += count;
    sum.violations += part.violations;
    sum.violated.insert(part.violated.begin(), part.violated.end());
    sum.died.insert(part.died.begin(), part.died.end());
    while (sum.violated.size() > Result::MOST_KEPT) {
        sum.violated.erase(std::prev(sum.violated.end()));
    }
    sum.measured = sum.measured || part.measured;
    sum.growth.kilobytes = std::max(sum.growth.kilobytes, part.growth.kilobytes);
    sum.growth.descriptors = std::max(sum.growth.descriptors, part.growth.descriptors);
}

// ------------------------------------------------------------------------ progress

CProgress::CProgress(const RunOptions& options)
    : m_bShown(options.progress),
      m_nDays(static_cast<long>(options.last - options.first + 1)),
      m_dBegan(secondsNow()) {}

CProgress::~CProgress() {
    if (m_bShown) fmt::print(stderr, "\r{:79}\r", "");
}

double CProgress::seconds() const { return secondsNow() - m_dBegan; }

void CProgress::show(long days, long violations) {
    constexpr long WIDTH = 30;
    if (!m_bShown || days < m_nShown + PROGRESS) return;
    m_nShown = days;
    const double rate = static_cast<double>(days) / std::max(seconds(), 0.001);
    const double left = static_cast<double>(m_nDays - days) / rate;
    const auto done = static_cast<std::size_t>(WIDTH * days / m_nDays);
    fmt::print(stderr, "\r[{}{}] {} of {}, {:.0f} a second, {:.0f} min left{}  ",
               std::string(done, '#'), std::string(WIDTH - done, '.'), days, m_nDays, rate,
               left / 60, violations == 0 ? "" : fmt::format(", {} VIOLATED", violations));
}

// ---------------------------------------------------------------------------- runs

Outcome runOne(std::uint64_t seed, const RunOptions& options) { return CDays(options).play(seed); }

std::string writeShrunk(std::uint64_t seed, const RunOptions& options,
                        const std::string& directory) {
    RunOptions quiet = options;
    quiet.trace = false;
    quiet.scenario = true;
    CDays days(quiet);
    const Shrunk shrunk =
        shrink(planOf(seed, quiet.dials), [&](const Plan& plan) { return days.play(plan); });
    const std::string path = fmt::format("{}/lab-seed-{}.jsonl", directory, seed);
    const std::string differs = writeScenario(shrunk.outcome, path);
    std::string text =
        fmt::format("seed {}: {} of {} steps and {} dials are left after {} tries\n", seed,
                    shrunk.stepsAfter, shrunk.stepsBefore, shrunk.dialsAfter, shrunk.tries);
    for (const std::string& each : shrunk.outcome.violations) text += "  " + each + "\n";
    return text + fmt::format("  {}: {}\n", path,
                              differs.empty() ? "linkage-replay sends the same orders"
                                              : "linkage-replay differs: " + differs);
}

}  // namespace lab
