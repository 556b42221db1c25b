#include "bench/measure.h"
#include "bench/programs.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

// What each part of a report costs: the interface's own limit without one part at a time, or with
// one more. The programs take turns, and each is compared with its neighbour of the same turn, so
// that a slow minute of the machine hits both.

namespace bench {

namespace {

constexpr int TURNS = 7;

/// The same where nobody else keeps the reports, so that a report that is replaced is freed. What
/// nobody kept is freed here, which is not measured apart.
template <class Program>
double giveSeconds(const Workload& world) {
    Workload day = makeDay(world.size);
    Program program(world);
    return seconds([&] {
        std::uint32_t number = 0;
        for (Report& report : day.reports) {
            apply(program, number++, report);
            report.order.reset();
            report.deal.reset();
        }
    });
}

class CPartTimes {
public:
    void measure(const Workload& day) {
        const std::vector<std::pair<std::string, std::function<double(const Workload&)>>> programs{
            {"limit", playSeconds<CLimitProgram>},
            {"own", playSeconds<COwnLimitProgram<>>},
            {"no look-ups", playSeconds<COwnLimitProgram<Parts{.lookUps = false}>>},
            {"nothing kept", playSeconds<COwnLimitProgram<Parts{.keeps = false}>>},
            {"no figures", playSeconds<COwnLimitProgram<Parts{.figures = false}>>},
            {"bare",
             playSeconds<
                 COwnLimitProgram<Parts{.lookUps = false, .keeps = false, .figures = false}>>},
            {"no prefetch", playSeconds<COwnLimitProgram<Parts{.prefetches = false}>>},
            {"lock", playSeconds<COwnLimitProgram<Parts{.locks = true}>>},
            {"signals", playSeconds<COwnLimitProgram<Parts{.signals = true}>>},
            {"prices", playSeconds<COwnLimitProgram<Parts{.prices = true}>>},
            {"all asked",
             playSeconds<COwnLimitProgram<Parts{.locks = true, .signals = true, .prices = true}>>},
            {"library", playSeconds<CLibraryProgram>},
            {"own, given", giveSeconds<COwnLimitProgram<>>},
            {"library, given", giveSeconds<CLibraryProgram>},
        };
        for (int turn = 0; turn < TURNS; ++turn) {
            for (const auto& [name, run] : programs) {
                m_times[name].push_back(run(day) * 1e9 / static_cast<double>(day.reports.size()));
            }
        }
    }

    double of(const std::string& name) const { return median(m_times.at(name)); }

    /// The median of the differences of the same turn.
    double between(const std::string& more, const std::string& less) const {
        std::vector<double> differences;
        differences.reserve(TURNS);
        for (int turn = 0; turn < TURNS; ++turn) {
            differences.push_back(m_times.at(more)[turn] - m_times.at(less)[turn]);
        }
        return median(differences);
    }

private:
    std::map<std::string, std::vector<double>> m_times;  ///< ns a report, by turn
};

}  // namespace

void printParts() {
    CPartTimes times;
    times.measure(makeDay({}));
    const auto print = [](const char* what, double nanoseconds) {
        fmt::print("{:<62} | {:>7.1f} ns\n", what, nanoseconds);
    };
    fmt::print("\na report, medians of {} turns\n", TURNS);
    print("the flat limit", times.of("limit"));
    print("the interface's own limit", times.of("own"));
    print("  reading it, and its record key's look-up", times.of("bare"));
    print("  look-ups of account, strategy and stock", times.between("own", "no look-ups"));
    print("  keeping it", times.between("own", "nothing kept"));
    print("  figures", times.between("own", "no figures"));
    print("what the interface also asks for: the lock", times.between("lock", "own"));
    print("what the interface also asks for: signals", times.between("signals", "own"));
    print("what the interface also asks for: prices of new deals", times.between("prices", "own"));
    print("what the interface also asks for: all three", times.between("all asked", "own"));
    print("  prefetch gains", times.between("no prefetch", "own"));
    print("the library", times.of("library"));
    print("  beyond the own limit", times.between("library", "own"));
    print("  beyond the own limit with all three", times.between("library", "all asked"));
    print("freeing what is replaced, where nobody else keeps it: own limit",
          times.between("own, given", "own"));
    print("freeing what is replaced, where nobody else keeps it: library",
          times.between("library, given", "library"));
    std::fflush(stdout);
}

}  // namespace bench
