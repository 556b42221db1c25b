#include "bench/measure.h"
#include "bench/programs.h"
#include "common/heap.h"

#include <benchmark/benchmark.h>

#include <QTemporaryDir>

#include <fmt/format.h>
#include <sched.h>
#include <sys/prctl.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <deque>
#include <span>
#include <stdexcept>
#include <thread>
#include <utility>

// How long reports take from callback to applied while they come at a fixed rate, on real threads
// and the machine's clock, alone and beside other work. The load is open: reports come at their
// times whatever the library does, and the time counts from when a report was due.
//
// The two threads that reports need go before all others where the system allows it, as on a
// machine with a processor for each: with fewer the scheduler lets them wait for milliseconds, also
// beside a thread that only counts. What they wait for then is the manager's lock.
//
// The managers that were measured before have left much freed memory. A client has one manager, so
// each thread sorts that memory first.

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t RATE = 200'000;  ///< reports a second
constexpr auto TICK = std::chrono::microseconds(100);
constexpr std::size_t BURST = RATE / 10'000;  ///< reports that are due at each tick
constexpr std::size_t SAMPLED = 4;            ///< every so many reports one is timed
constexpr auto LEAST = std::chrono::milliseconds(500);
constexpr std::size_t FILLED = 150'000;  ///< reports that the day has before the load
constexpr std::size_t LOADED = 300'000;
constexpr int HISTORY = 100'000;

struct Latencies {
    double median, p99, p999, worst;
    bool isFirst = false;  ///< the threads of the reports went before others
};

Latencies latenciesOf(std::vector<double>& seconds) {
    std::sort(seconds.begin(), seconds.end());
    const auto at = [&](double part) {
        const auto rank = std::ceil(part * static_cast<double>(seconds.size()));
        return seconds[static_cast<std::size_t>(rank) - 1];
    };
    return {at(0.5), at(0.99), at(0.999), seconds.back()};
}

/// From now on the calling thread goes before the others, or no longer; threads that it makes do
/// not. False when the system does not allow it.
bool goBefore(bool others) {
    sched_param priority{};
    priority.sched_priority = others ? sched_get_priority_min(SCHED_RR) : 0;
    const int policy = others ? SCHED_RR | SCHED_RESET_ON_FORK : SCHED_OTHER;
    return sched_setscheduler(0, policy, &priority) == 0;
}

/// Another thread beside the load.
template <class Work>
std::jthread besideThread(Work work) {
    return std::jthread([work = std::move(work)](const std::stop_token& over) {
        utils::sortFreedMemory();
        work(over);
    });
}

/// Sends reports at their times, for at least LEAST and until `isOver`; after the last one the
/// first come again.
template <class IsOver>
Latencies load(CLibraryProgram& program, std::span<const Report> reports, IsOver isOver) {
    // Timers of this thread are to be as exact as the system can make them.
    prctl(PR_SET_TIMERSLACK, 1UL);
    program.post([] {
        utils::sortFreedMemory();
        goBefore(true);
    });
    utils::sortFreedMemory();
    const bool isFirst = goBefore(true);
    std::deque<Clock::time_point> applied;  // the strand writes to places that do not move
    const Clock::time_point begin = Clock::now() + TICK;
    std::size_t ticks = 0;
    for (; TICK * ticks < LEAST || !isOver(); ++ticks) {
        std::this_thread::sleep_until(begin + TICK * ticks);
        for (std::size_t sent = ticks * BURST; sent < (ticks + 1) * BURST; ++sent) {
            if (!reports.empty()) program.callback(reports[sent % reports.size()]);
            if (sent % SAMPLED != 0) continue;
            program.post([place = &applied.emplace_back()] { *place = Clock::now(); });
        }
    }
    program.waitApplied();
    goBefore(false);
    program.post([] { goBefore(false); });
    std::vector<double> taken;
    for (std::size_t at = 0; at < applied.size(); ++at) {
        const Clock::time_point due = begin + TICK * (at * SAMPLED / BURST);
        taken.push_back(std::chrono::duration<double>(applied[at] - due).count());
    }
    Latencies latencies = latenciesOf(taken);
    latencies.isFirst = isFirst;
    return latencies;
}

/// A day in which every record of traded figures has a deal already, before the load begins.
class CBusyDay {
public:
    CBusyDay() : m_day(dayUnderLoad()), m_program(m_day, CWorld::Time::Real) {
        play(m_program, traded());
        play(m_program, std::span(m_day.reports).first(FILLED));
    }

    TC::CLinkageManager& manager() { return m_program.manager(); }
    const Workload& day() const { return m_day; }
    /// A moment shortly before a pass of the calculator, but not its first, which also puts the
    /// records in order.
    Clock::time_point beforePass() const {
        Clock::time_point moment = m_made + std::chrono::milliseconds(5'800);
        while (moment < Clock::now()) moment += std::chrono::seconds(3);
        return moment;
    }

    template <class IsOver>
    Latencies load(IsOver isOver) {
        return bench::load(m_program, std::span(m_day.reports).subspan(FILLED), isOver);
    }

    Latencies loadNothing() {
        return bench::load(m_program, {}, [] { return true; });
    }

private:
    static const Workload& traded() {
        static const Workload deals = makeTraded();
        return deals;
    }
    static const Workload& dayUnderLoad() {
        static const Workload day = [] {
            Size size;
            size.orderReports = (FILLED + LOADED) * 61 / 100;
            size.dealReports = FILLED + LOADED - size.orderReports;
            return makeDay(size);
        }();
        return day;
    }

    const Workload& m_day;
    const Clock::time_point m_made = Clock::now();
    CLibraryProgram m_program;
};

Latencies ofMachine(CBusyDay& busy) { return busy.loadNothing(); }

Latencies alone(CBusyDay& busy) {
    return busy.load([] { return true; });
}

/// What the machine takes while another thread counts.
Latencies besideCounting(CBusyDay& busy) {
    std::atomic<std::uint64_t> counted = 0;
    const std::jthread other = besideThread([&](const std::stop_token& over) {
        while (!over.stop_requested()) ++counted;
    });
    return busy.loadNothing();
}

/// Another thread does `work` beside the load, again and again until the load is over.
template <class Work>
Latencies beside(CBusyDay& busy, Work work) {
    const std::jthread other = besideThread([&](const std::stop_token& over) {
        while (!over.stop_requested()) work();
    });
    return busy.load([] { return true; });
}

Latencies withScreen(CBusyDay& busy) {
    addHistoryRows(busy.manager(), busy.day(), 200);
    busy.manager().startProfitCalculator();
    Clock::time_point next = Clock::now();
    std::atomic<std::size_t> answers = 0;
    const Latencies taken = beside(busy, [&] {
        std::this_thread::sleep_until(next);
        next += std::chrono::milliseconds(100);
        answers += askEverything(busy.manager(), busy.day());
    });
    if (answers == 0) throw std::runtime_error("the screen was shown nothing");
    return taken;
}

Latencies withSaves(CBusyDay& busy) {
    addHistoryRows(busy.manager(), busy.day(), HISTORY);
    return beside(busy, [&] {
        busy.manager().writedata(false);
        busy.manager().finishSaves();
    });
}

Latencies withImport(CBusyDay& busy) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("statement.csv");
    writeStatement(path.toStdString());
    TC::ImportTerms terms;
    terms.account = busy.day().accounts[0].key;
    TC::ImportReport report;
    std::atomic<bool> isOver = false;
    std::jthread other = besideThread([&](const std::stop_token&) {
        report = busy.manager().importData(path, terms);
        isOver = true;
    });
    const Latencies taken = busy.load([&] { return isOver.load(); });
    other.join();
    if (report.added != STATEMENT_ROWS) throw std::runtime_error("rows were not imported");
    return taken;
}

/// The period calculation, which runs every 10 s for the curves, runs at once when it is started.
Latencies withCurves(CBusyDay& busy) {
    const std::jthread other =
        besideThread([&](const std::stop_token&) { busy.manager().startProfitCalculator(); });
    return busy.load([] { return true; });
}

/// The calculator's timer is due every 3 s; deals have brought new prices of all stocks by then.
Latencies withPass(CBusyDay& busy) {
    std::atomic<std::size_t> sums = 0;
    const boost::signals2::scoped_connection heard = busy.manager().sigProfitChanged.connect(
        [&](const std::string&, const std::string&, double) { ++sums; });
    std::this_thread::sleep_until(busy.beforePass());
    sums = 0;
    return busy.load([&] { return sums > 0; });
}

/// Of several runs the one with the least p99.9 counts: what the machine can do when nothing else
/// disturbs it.
void addLoad(const std::string& name, int repetitions, Latencies (*run)(CBusyDay&)) {
    benchmark::RegisterBenchmark(
        ("latency/" + name).c_str(),
        [name, run](benchmark::State& state) {
            for (auto _ : state) {
                figures().begin("latency/" + name);
                CBusyDay busy;
                const Latencies taken = run(busy);
                state.SetIterationTime(taken.p999);
                figures().note("latency/" + name, taken.p999,
                               fmt::format("p50 {:.3f}, p99 {:.3f}, worst {:.2f}{}",
                                           taken.median * 1e3, taken.p99 * 1e3, taken.worst * 1e3,
                                           taken.isFirst ? "" : "; threads wait for others"));
            }
        })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(repetitions)
        ->DisplayAggregatesOnly(true)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

void addLatency() {
    addLoad("machine", 3, ofMachine);
    addLoad("counting", 3, besideCounting);
    addLoad("alone", 3, alone);
    addLoad("screen", 3, withScreen);
    addLoad("curves", 3, withCurves);
    addLoad("import", 3, withImport);
    addLoad("saves", 3, withSaves);
    addLoad("pass", 3, withPass);
}

}  // namespace bench
