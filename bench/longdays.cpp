#include "bench/measure.h"
#include "bench/programs.h"

#include <QDate>

#include <benchmark/benchmark.h>

#include <numeric>
#include <vector>

// What a process keeps of trading days that are over.

namespace bench {

namespace {

constexpr int DAYS = 30;
constexpr int COMPARED = 10;
constexpr int KEPT = 5;
constexpr std::size_t ORDER_REPORTS = 24'518;
constexpr std::size_t DEAL_REPORTS = 15'482;
constexpr std::uint64_t KEYS_OF_A_DAY = 1'000'000;

/// The next Monday to Friday.
QDate nextTradeDate(const QDate& date) {
    constexpr int FRIDAY = 5;
    const QDate next = date.addDays(1);
    return next.dayOfWeek() <= FRIDAY ? next : next.addDays(FRIDAY + 3 - next.dayOfWeek());
}

std::string textOf(const QDate& date) { return date.toString("yyyyMMdd").toStdString(); }

class CLongDays {
public:
    /// With so many days kept; 0: all.
    void run(int keepDays) {
        const Workload world = makeWorld({});
        TC::LinkageOptions options = libraryOptions();
        options.keepDays = keepDays;
        CLibraryProgram program(world, CWorld::Time::Standing, options);
        const double empty = bytes(program);
        QDate date = QDate::fromString(QString::fromStdString(FIRST_DAY), "yyyyMMdd");
        for (int day = 0; day < DAYS; ++day) {
            const double before = bytes(program);
            playDay(program, textOf(date), day);
            m_running.push_back(bytes(program) - before);
            date = nextTradeDate(date);
            program.world().beginDay(textOf(date));
            m_over.push_back(bytes(program) - before);
            m_all.push_back(bytes(program) - empty);
        }
    }

    /// Bytes a day: while it ran, and once it was over.
    double running() const { return mean(m_running.begin(), m_running.end()); }
    double over() const { return mean(m_over.begin(), m_over.end()); }
    double first() const { return mean(m_over.begin(), m_over.begin() + COMPARED); }
    double last() const { return mean(m_over.end() - COMPARED, m_over.end()); }
    /// Bytes after so many days.
    double after(int days) const { return m_all[static_cast<std::size_t>(days) - 1]; }

private:
    using At = std::vector<double>::const_iterator;
    static double mean(At begin, At end) {
        return std::accumulate(begin, end, 0.0) / static_cast<double>(end - begin);
    }

    static double bytes(CLibraryProgram& program) {
        program.manager().finishSaves();
        return bytesInUse();
    }

    // The client forgets the reports afterwards: what is left of them the library keeps.
    static void playDay(CLibraryProgram& program, const std::string& date, int number) {
        Size size;
        size.orderReports = ORDER_REPORTS;
        size.dealReports = DEAL_REPORTS;
        size.firstKey += KEYS_OF_A_DAY * static_cast<std::uint64_t>(number);
        const Workload day = makeDay(size, date);
        play(program, day);
    }

    std::vector<double> m_running;
    std::vector<double> m_over;
    std::vector<double> m_all;
};

}  // namespace

void addLongDays() {
    benchmark::RegisterBenchmark("days/30 with rollovers", [](benchmark::State& state) {
        for (auto _ : state) {
            figures().begin("days/30 with rollovers");
            CLongDays days;
            days.run(0);
            figures().note("days/running", days.running());
            figures().note("days/over", days.over());
            figures().note("days/first", days.first());
            figures().note("days/last", days.last());
            state.counters["bytes_per_day_over"] = days.over();
        }
    })->Iterations(1);
    benchmark::RegisterBenchmark("days/30, of which 5 are kept", [](benchmark::State& state) {
        for (auto _ : state) {
            figures().begin("days/30, of which 5 are kept");
            CLongDays days;
            days.run(KEPT);
            figures().note("days/kept", days.after(DAYS));
            figures().note("days/kept early", days.after(2 * KEPT));
            state.counters["bytes_kept"] = days.after(DAYS);
        }
    })->Iterations(1);
}

}  // namespace bench
