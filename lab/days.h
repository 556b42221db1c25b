#pragma once

#include "lab/run.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace lab {

/// Plays days one after another, in a temporary directory in memory where the system has one.
/// Throws std::runtime_error when none can be made. One at a time in a process.
class CDays {
public:
    explicit CDays(const RunOptions& options);

    Outcome play(const Plan& plan);
    Outcome play(std::uint64_t seed) { return play(planOf(seed, m_options.dials)); }

    /// Every `step`-th seed from `from` on; `look` is called after each day.
    Result playAll(std::uint64_t from, std::uint64_t step,
                   const std::function<void(const Result&)>& look);

private:
    const RunOptions& m_options;
    std::unique_ptr<QCoreApplication> m_pApplication;
    QTemporaryDir m_directory;
};

/// Adds one worker's result to another's.
void addTo(Result& sum, const Result& part);

/// Shows on standard error how far a run has come.
class CProgress {
public:
    explicit CProgress(const RunOptions& options);
    ~CProgress();
    void show(long days, long violations);
    double seconds() const;

private:
    const bool m_bShown;
    const long m_nDays;
    const double m_dBegan;
    long m_nShown = 0;
};

}  // namespace lab
