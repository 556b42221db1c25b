#include "bench/measure.h"
#include "bench/programs.h"

#include <algorithm>
#include <memory>
#include <span>
#include <stdexcept>

// A screen that asks ten times a second what changed, while reports come as fast as in the rows of
// latency. One thread does both in turns, so that the figures are those of the work alone.

namespace bench {

namespace {

constexpr std::size_t BETWEEN = 20'000;  ///< reports from one question to the next

class CReader {
public:
    explicit CReader(TC::CLinkageManager& manager) : m_manager(manager) {}

    /// Asks until everything is told.
    void ask() {
        bool more = true;
        while (more) {
            std::size_t told = 0;
            const double taken = seconds([&] {
                const TC::LinkageChanges changes = m_manager.getChanges(m_cursor);
                told = changes.size();
                more = changes.more;
            });
            m_dLongest = std::max(m_dLongest, taken);
            m_nTold += told;
        }
    }

    double longest() const { return m_dLongest; }  ///< seconds of one answer
    std::size_t told() const { return m_nTold; }

private:
    TC::CLinkageManager& m_manager;
    TC::ChangeCursor m_cursor;
    double m_dLongest = 0.0;
    std::size_t m_nTold = 0;
};

double readSeconds(const Workload& day) {
    CLibraryProgram program(day);
    CReader reader(program.manager());
    reader.ask();
    const std::span<const Report> reports(day.reports);
    const double taken = seconds([&] {
        for (std::size_t at = 0; at < reports.size(); at += BETWEEN) {
            play(program, reports.subspan(at, std::min(BETWEEN, reports.size() - at)));
            reader.ask();
        }
    });
    if (reader.told() == 0) throw std::runtime_error("nothing has changed");
    figures().note("changes/longest answer", reader.longest());
    return taken;
}

}  // namespace

void addChanges() {
    const auto day = std::make_shared<Workload>();
    const auto made = [day]() -> const Workload& {
        if (day->reports.empty()) *day = makeDay({});
        return *day;
    };
    const auto reports = static_cast<double>(Size{}.orderReports + Size{}.dealReports);
    for (int turn = 0; turn < 3; ++turn) {
        add("changes/unasked", 2, reports, [made] { return playSeconds<CLibraryProgram>(made()); });
        add("changes/asked", 2, reports, [made] { return readSeconds(made()); });
    }
}

}  // namespace bench
