#include "lab/run.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace lab {

namespace {

constexpr char MEMORY[] = "/dev/shm";
constexpr long PROGRESS = 100;

QString directoryTemplate() {
    const QString memory = QString::fromLatin1(MEMORY);
    const QString place = QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
    return place + QStringLiteral("/linkage-lab-XXXXXX");
}

void add(const Outcome& outcome, Result& result) {
    ++result.days;
    result.commands += outcome.commands;
    if (outcome.tooMuch && result.tooMuch++ == 0) result.firstTooMuch = outcome.seed;
    for (std::size_t at = 0; at < FAULT_COUNT; ++at) result.faults[at] += outcome.faults[at];
    for (const auto& [ending, count] : outcome.endings) result.endings[ending] += count;
    if (outcome.violations.empty()) return;
    ++result.violations;
    if (result.violated.size() < Result::MOST_KEPT) result.violated.push_back(outcome);
}

std::string tableOf(const Result& result) {
    std::string text = "what went wrong, or not as usual\n";
    for (std::size_t at = 0; at < FAULT_COUNT; ++at) {
        const auto fault = static_cast<EFault>(at);
        if (result.faults[at] == 0) continue;
        text +=
            fmt::format("  {:<15}{:>9}  {}\n", nameOf(fault), result.faults[at], meaningOf(fault));
    }
    if (result.endings.empty()) return text;
    text += "balances by how they ended\n";
    for (const auto& [ending, count] : result.endings) {
        text += fmt::format("  {:>9}  {}\n", count, ending);
    }
    return text;
}

class CDays {
public:
    explicit CDays(const RunOptions& options)
        : m_options(options), m_directory(directoryTemplate()) {
        if (m_directory.isValid()) return;
        throw std::runtime_error("no directory can be made: " +
                                 m_directory.errorString().toStdString());
    }

    Outcome play(std::uint64_t seed) {
        CDay day(planOf(seed, m_options.dials), {.guard = m_options.guard,
                                                 .trace = m_options.trace,
                                                 .directory = m_directory.path().toStdString()});
        return day.play();
    }

private:
    const RunOptions& m_options;
    QTemporaryDir m_directory;
};

}  // namespace

Outcome runOne(std::uint64_t seed, const RunOptions& options) { return CDays(options).play(seed); }

Result run(const RunOptions& options) {
    Result result;
    CDays days(options);
    const auto began = std::chrono::steady_clock::now();
    for (std::uint64_t seed = options.first; seed <= options.last; ++seed) {
        add(days.play(seed), result);
        if (options.progress && result.days % PROGRESS == 0) {
            fmt::print(stderr, "\r{} of {} days", result.days, options.last - options.first + 1);
        }
    }
    if (options.progress) fmt::print(stderr, "\r{:40}\r", "");
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    return result;
}

std::string textOf(const Result& result, const RunOptions& options, bool table) {
    std::string text = table ? tableOf(result) : "";
    const double days = static_cast<double>(result.days);
    text +=
        fmt::format("seeds {} to {}, guard {}: {} days, {} commands, {:.1f} s, {:.0f} a second\n",
                    options.first, options.last, options.guard ? "on" : "off", result.days,
                    result.commands, result.seconds, days / result.seconds);
    text += fmt::format("days on which a balance traded too much: {} ({:.2f} %)\n", result.tooMuch,
                        100.0 * static_cast<double>(result.tooMuch) / days);
    if (result.tooMuch > 0)
        text += fmt::format("the first of them: seed {}\n", result.firstTooMuch);
    if (!options.guard) return text;
    text += fmt::format("days with violations: {}\n", result.violations);
    for (const Outcome& outcome : result.violated) {
        text += fmt::format("  seed {}: {}\n", outcome.seed, outcome.violations.front());
    }
    return text;
}

}  // namespace lab
