#pragma once

#include "lab/day.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace lab {

struct RunOptions {
    std::uint64_t first = 1;
    std::uint64_t last = 1000;
    Dials dials = Dials::usual();
    bool guard = true;
    bool trace = false;
    bool scenario = false;
    bool progress = false;  ///< to standard error
    int jobs = 1;           ///< processes that share the days
};

/// What a process has taken of the machine.
struct Usage {
    long kilobytes = 0;  ///< resident
    int descriptors = 0;
};

/// What a run of many days came to.
struct Result {
    long days = 0;
    long commands = 0;
    double seconds = 0.0;
    long tooMuch = 0;                ///< days on which a balance traded too much
    std::uint64_t firstTooMuch = 0;  ///< 0: none
    long uncertain = 0;              ///< days with an account that was uncertain after a fault
    FaultCounts faults{};
    std::map<std::string, long> endings;
    std::map<std::uint64_t, std::string> violated;  ///< the first MOST_KEPT seeds
    long violations = 0;                            ///< days with any
    /// Days at which a process ended before its time, by seed, and how. The days that it still
    /// had to play were not played.
    std::map<std::uint64_t, std::string> died;
    /// The most that one process grew by after its first days.
    Usage growth;
    bool measured = false;  ///< there were days enough to say so

    static constexpr std::size_t MOST_KEPT = 20;
    /// After so many days a process has what it needs. Its growth is measured when it plays
    /// twice as many.
    static constexpr long WARM = 1'000;
    /// What memory may grow by, in kilobytes, however many days are played.
    static constexpr long MOST_GROWTH = 32 * 1024;

    bool leaks() const {
        return measured && (growth.kilobytes > MOST_GROWTH || growth.descriptors > 0);
    }
    bool holds() const { return violations == 0 && died.empty() && !leaks(); }
};

/// Plays the days of the seeds, shared by so many processes, each in a directory of its own in
/// memory where the system has one. Throws std::runtime_error when no process can be started. A
/// process that ends before its time is named in the result.
///
/// The process must not have a QCoreApplication yet.
Result run(const RunOptions& options);

/// The day of one seed, told event by event.
Outcome runOne(std::uint64_t seed, const RunOptions& options);

/// Cuts a seed's day down and writes it as a scenario into a directory. What became of it, in
/// lines of text.
std::string writeShrunk(std::uint64_t seed, const RunOptions& options,
                        const std::string& directory);

/// The result as a table; without the table its last lines alone.
std::string textOf(const Result& result, const RunOptions& options, bool table);

}  // namespace lab
