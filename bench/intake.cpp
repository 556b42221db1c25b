#include "bench/measure.h"
#include "bench/programs.h"
#include "platform/log.h"

#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <memory>
#include <thread>

// Reports: one after another, through the strand, in growing numbers, and their memory.

namespace bench {

namespace {

/// A workload that is made when it is first used.
class CLazyDay {
public:
    explicit CLazyDay(Size size) : m_size(size) {}
    const Workload& get() {
        if (m_reports.reports.empty()) m_reports = makeDay(m_size);
        return m_reports;
    }
    double reports() const { return static_cast<double>(m_size.orderReports + m_size.dealReports); }

private:
    Size m_size;
    Workload m_reports;
};

double strandSeconds(const Workload& day, std::uint32_t producers) {
    CLibraryProgram program(day, CWorld::Time::Real);
    return wallSeconds([&] {
        std::vector<std::thread> threads;
        for (std::uint32_t mine = 0; mine < producers; ++mine) {
            // Reports of one account come on one thread, as from a data center.
            threads.emplace_back([&, mine] {
                for (const Report& report : day.reports) {
                    if (report.account % producers == mine) program.callback(report);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        program.waitApplied();
    });
}

/// A storm of reports from four threads, whose lines either go nowhere, as in a client that
/// configured no log, or are switched off.
double stormSeconds(const Workload& day, ELogLevel level) {
    constexpr std::uint32_t PRODUCERS = 4;
    g_VexStdLogger.setLevel(level);
    const double taken = strandSeconds(day, PRODUCERS);
    g_VexStdLogger.setLevel(ELogLevel::Off);
    return taken;
}

/// Bytes that a program takes for the orders, which must outlive it.
template <class Program>
double bytesFor(const Workload& orders) {
    const double before = bytesInUse();
    double after = 0.0;
    {
        // What the library and the textbook take before the first order is not the orders'. The
        // limit's arrays are made with the program, so they count.
        Program program(orders);
        const double empty = std::is_same_v<Program, CLimitProgram> ? before : bytesInUse();
        play(program, orders);
        after = bytesInUse() - empty;
    }
    return after;
}

// Measures two workloads over the same figures, the second with more orders. The difference is what
// the orders take; the rest is what the figures take.
template <class Program>
void addMemory(const std::string& name) {
    benchmark::RegisterBenchmark(("bytes/" + name).c_str(), [name](benchmark::State& state) {
        for (auto _ : state) {
            figures().begin("bytes/" + name);
            constexpr std::size_t MORE = 8;
            const Workload few = makeOrders({}, 1);
            const Workload many = makeOrders({}, MORE);
            const double orders = static_cast<double>(few.reports.size());
            const double records = orders + few.size.accounts * few.size.stocks;
            const double bytesFew = bytesFor<Program>(few);
            const double bytesMany = bytesFor<Program>(many);
            const double order = (bytesMany - bytesFew) / (orders * (MORE - 1));
            const double record = (bytesFew - order * orders) / records;
            figures().note("bytes/order " + name, order);
            figures().note("bytes/figures " + name, record);
            state.counters["bytes_per_order"] = order;
            state.counters["bytes_per_figures"] = record;
        }
    })->Iterations(1);
}

/// A day with so many times the usual records.
std::shared_ptr<CLazyDay> curveDay(std::size_t factor) {
    constexpr std::size_t ORDERS = 153'239;
    constexpr std::size_t DEALS = 96'761;
    Size size;
    size.orderReports = ORDERS * factor;
    size.dealReports = DEALS * factor;
    return std::make_shared<CLazyDay>(size);
}

void addCurve(const std::string& label, std::size_t factor) {
    const auto day = curveDay(factor);
    add("curve/limit " + label, 3, day->reports(),
        [day] { return playSeconds<CLimitProgram>(day->get()); });
    add("curve/library " + label, 3, day->reports(),
        [day] { return playSeconds<CLibraryProgram>(day->get()); });
}

void addTextbookCurve(const std::string& label, std::size_t factor) {
    const auto day = curveDay(factor);
    add("curve/textbook " + label, 1, day->reports(),
        [day] { return playSeconds<CTextbookProgram>(day->get()); });
}

}  // namespace

void addIntake() {
    const auto day = std::make_shared<CLazyDay>(Size{});
    // In turns, so that a slow minute of the machine does not hit one program alone.
    for (int turn = 0; turn < 6; ++turn) {
        add("report/limit", 3, day->reports(),
            [day] { return playSeconds<CLimitProgram>(day->get()); });
        add("report/own", 3, day->reports(),
            [day] { return playSeconds<COwnLimitProgram<>>(day->get()); });
        add("report/library", 3, day->reports(),
            [day] { return playSeconds<CLibraryProgram>(day->get()); });
        add("strand/one", 3, day->reports(), [day] { return strandSeconds(day->get(), 1); });
    }
    add("report/textbook", 1, day->reports(),
        [day] { return playSeconds<CTextbookProgram>(day->get()); });
    add("strand/two", 5, day->reports(), [day] { return strandSeconds(day->get(), 2); });
    for (int turn = 0; turn < 3; ++turn) {
        add("storm/silent", 2, day->reports(),
            [day] { return stormSeconds(day->get(), ELogLevel::Off); });
        add("storm/log without appender", 2, day->reports(),
            [day] { return stormSeconds(day->get(), ELogLevel::Info); });
    }
    addMemory<CLimitProgram>("limit");
    addMemory<CLibraryProgram>("library");
    addMemory<CTextbookProgram>("textbook");
    addCurve("x1", 1);
    addCurve("x4", 4);
    addCurve("x16", 16);
    addTextbookCurve("x1", 1);
    addTextbookCurve("x4", 4);
}

}  // namespace bench
