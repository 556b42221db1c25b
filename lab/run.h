#pragma once

#include "lab/day.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace lab {

struct RunOptions {
    std::uint64_t first = 1;
    std::uint64_t last = 1000;
    Dials dials = Dials::usual();
    bool guard = true;
    bool trace = false;
    bool progress = false;  ///< to standard error
};

/// What a run of many days came to.
struct Result {
    long days = 0;
    long commands = 0;
    double seconds = 0.0;
    long tooMuch = 0;                ///< days on which a balance traded too much
    std::uint64_t firstTooMuch = 0;  ///< 0: none
    FaultCounts faults{};
    std::map<std::string, long> endings;
    std::vector<Outcome> violated;  ///< the first MOST_KEPT
    long violations = 0;            ///< days with any

    static constexpr std::size_t MOST_KEPT = 20;
};

/// Plays the days of the seeds one after another, in a directory of its own in memory where
/// the system has one. Throws std::runtime_error when no directory can be made.
Result run(const RunOptions& options);

/// The day of one seed, told event by event.
Outcome runOne(std::uint64_t seed, const RunOptions& options);

/// The result as a table; without the table its last lines alone.
std::string textOf(const Result& result, const RunOptions& options, bool table);

}  // namespace lab
