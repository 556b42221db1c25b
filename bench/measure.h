#pragma once

#include <malloc.h>

#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <utility>

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

/// The least of each figure over all repetitions, by name: what the machine can do when
/// nothing disturbs it.
class CFigures {
public:
    /// `details` of the run with the least figure stay with it.
    void note(const std::string& name, double value, const std::string& details = {}) {
        const auto [at, fresh] = m_figures.try_emplace(name, value, details);
        if (!fresh && value < at->second.first) at->second = {value, details};
    }
    bool has(const std::string& name) const { return m_figures.count(name) != 0; }
    double operator[](const std::string& name) const { return m_figures.at(name).first; }
    const std::string& details(const std::string& name) const { return m_figures.at(name).second; }

private:
    std::map<std::string, std::pair<double, std::string>> m_figures;
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

/// "what | measured | at most | ok"; false when something is more than allowed. Of two bounds that
/// are alternatives one is enough.
bool printTable();

}  // namespace bench
