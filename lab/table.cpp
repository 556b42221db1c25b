#include "lab/run.h"

#include <fmt/format.h>

namespace lab {

namespace {

std::string tableOf(const Result& result) {
    std::string text = "what went wrong, or not as usual\n";
    for (std::size_t at = 0; at < FAULT_COUNT; ++at) {
        const auto fault = static_cast<EFault>(at);
        if (result.faults[at] == 0) continue;
        text +=
            fmt::format("  {:<17}{:>10}  {}\n", nameOf(fault), result.faults[at], meaningOf(fault));
    }
    if (result.endings.empty()) return text;
    text += "balances by how they ended\n";
    for (const auto& [ending, count] : result.endings) {
        text += fmt::format("  {:>10}  {}\n", count, ending);
    }
    return text;
}

std::string growthOf(const Result& result) {
    if (!result.measured) {
        return fmt::format("growth was not measured: no process played {} days\n",
                           2 * Result::WARM);
    }
    return fmt::format("after its first {} days a process grew by {} KB and {} descriptors{}\n",
                       Result::WARM, result.growth.kilobytes, result.growth.descriptors,
                       result.leaks() ? ": TOO MUCH" : "");
}

}  // namespace

std::string textOf(const Result& result, const RunOptions& options, bool table) {
    std::string text = table ? tableOf(result) : "";
    const double days = static_cast<double>(result.days);
    text += fmt::format(
        "seeds {} to {}, guard {}: {} days, {} commands, {:.1f} s, {:.0f} a second in {} "
        "process{}\n",
        options.first, options.last, options.guard ? "on" : "off", result.days, result.commands,
        result.seconds, days / result.seconds, options.jobs, options.jobs == 1 ? "" : "es");
    text += growthOf(result);
    text += fmt::format("days on which a service left an account uncertain for a while: {}\n",
                        result.uncertain);
    text += fmt::format("days on which a balance traded too much: {} ({:.2f} %)\n", result.tooMuch,
                        100.0 * static_cast<double>(result.tooMuch) / days);
    if (result.tooMuch > 0)
        text += fmt::format("the first of them: seed {}\n", result.firstTooMuch);
    text += fmt::format("days with violations: {}\n", result.violations);
    for (const auto& [seed, what] : result.violated) {
        text += fmt::format("  seed {}: {}\n", seed, what);
    }
    for (const auto& [seed, how] : result.died) {
        text += fmt::format("a process ended at seed {} ({}); the rest of its days is missing\n",
                            seed, how);
    }
    return text;
}

}  // namespace lab
