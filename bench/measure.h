#pragma once

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// The measurements of the benchmark, and the bounds that they are held against.
namespace bench {

/// Seconds that `work` takes by the machine's clock. Besides the platform's own clock only
/// measurements read that clock.
template <class Work>
double wallSeconds(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Seconds of processor time that `work` takes on this thread. On a busy machine this is the better
/// measure of work that stays on one thread.
template <class Work>
double seconds(Work work) {
    const auto now = [] {
        timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    };
    const double begin = now();
    work();
    return now() - begin;
}

/// Bytes that are allocated now. Exact on the main thread while others allocate nothing.
inline double bytesInUse() {
    const auto heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// Of several values; not of none.
double median(std::vector<double> values);

/// Each figure of all repetitions, by name.
class CFigures {
public:
    /// Of the benchmark that runs. `details` of the run with the least figure stay with it.
    void note(const std::string& name, double value, const std::string& details = {}) {
        Figure& figure = m_figures[name];
        const bool isLeast = std::all_of(figure.values.begin(), figure.values.end(),
                                         [value](double other) { return value < other; });
        if (isLeast) figure.details = details;
        figure.values.push_back(value);
        figure.source = m_running;
    }
    bool has(const std::string& name) const { return m_figures.count(name) != 0; }
    /// In the order in which they were measured.
    const std::vector<double>& values(const std::string& name) const {
        return m_figures.at(name).values;
    }
    const std::string& details(const std::string& name) const { return m_figures.at(name).details; }
    /// The benchmark that noted it.
    const std::string& source(const std::string& name) const { return m_figures.at(name).source; }

    /// The benchmark `name` begins, or, when empty, no further one: what another group of
    /// benchmarks has kept goes. A group is what stands before the first '/'.
    void begin(const std::string& name);
    /// The benchmarks of the group that runs share something until `release` is called. It must
    /// not stay longer when it has a manager: a process has only one.
    void keep(std::function<void()> release) { m_release = std::move(release); }

private:
    struct Figure {
        std::vector<double> values;
        std::string details;
        std::string source;
    };

    std::map<std::string, Figure> m_figures;
    std::string m_running;
    std::function<void()> m_release;
};

inline CFigures& figures() {
    static CFigures instance;
    return instance;
}

/// Registers a benchmark whose body measures itself: it gives the seconds of one run,
/// which handled `items` things of the given kind, and is run `repetitions` times.
void add(const std::string& name, int repetitions, double items, std::function<double()> body);

void addIntake();
void addCalculators();
void addQueries();
void addChanges();
void addHistory();
void addRecordedDay();
void addLatency();
void addLongDays();
void addRecording();

/// Whether a recording follows 500,000 reports a second for so long; tells what it came to. Not
/// among the benchmarks.
bool printStream(double seconds);

/// What each part of a report costs; not among the benchmarks.
void printParts();

/// A filter of the benchmarks behind the rows that are missed; empty when there are none.
std::string missedBenchmarks();

/// "what | measured | at most | ok"; false when something is more than allowed. Of two bounds that
/// are alternatives one is enough.
bool printTable();

}  // namespace bench
