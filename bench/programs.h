#pragma once

#include "bench/limit.h"
#include "bench/measure.h"
#include "bench/ownlimit.h"
#include "bench/workload.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/managerstate.h"
#include "paper/loop.h"
#include "paper/paperclient.h"
#include "textbook/textbook.h"

#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <span>
#include <vector>

/// The programs that do the same work, driven in the same way.
namespace bench {

/// The client of a workload, on a clock that stands still, or on the machine's clock with one
/// thread.
class CWorld {
public:
    enum class Time { Standing, Real };

    explicit CWorld(const Workload& workload, Time time = Time::Standing);

    paper::CPaperClient& client() { return *m_pClient; }
    void runToRest() {
        if (m_standing) m_standing->runToRest();
    }
    /// Announces a trade date, a few seconds later: the time between, in which only timers fire, is
    /// left out. On a clock that stands.
    void beginDay(const std::string& tradeDate);

private:
    QTemporaryDir m_directory;
    std::optional<paper::CVirtualLoop> m_standing;
    std::unique_ptr<paper::CPaperClient> m_pClient;
    std::optional<paper::CRealLoop> m_real;  ///< its thread ends before the client goes
};

class CTextbookProgram {
public:
    explicit CTextbookProgram(const Workload& workload)
        : m_workload(workload), m_world(workload), m_textbook(workload.tradeDate) {
        for (const auto& account : workload.accounts) m_textbook.requestAccount(account.key);
    }
    void order(std::uint32_t, const Report& report) {
        m_textbook.order(m_workload.accounts[report.account].key, report.order);
    }
    void deal(std::uint32_t, const Report& report) {
        m_textbook.deal(m_workload.accounts[report.account].key, report.deal);
    }
    TC::ManagerState state() const { return m_textbook.state(); }

private:
    const Workload& m_workload;
    CWorld m_world;
    textbook::CTextbook m_textbook;
};

/// Options of every manager that is measured; set before the first is made.
TC::LinkageOptions& libraryOptions();

class CLibraryProgram {
public:
    /// `recording`: where all of it is recorded; empty: nowhere.
    explicit CLibraryProgram(const Workload& workload, CWorld::Time time = CWorld::Time::Standing,
                             const TC::LinkageOptions& options = libraryOptions(),
                             const QString& recording = {});
    ~CLibraryProgram();
    CLibraryProgram(const CLibraryProgram&) = delete;
    CLibraryProgram& operator=(const CLibraryProgram&) = delete;

    void order(std::uint32_t, const Report& report);
    void deal(std::uint32_t, const Report& report);

    /// As the data center calls it, on any thread.
    void callback(const Report& report);
    /// Calls `work` on the strand, behind everything that was called back before.
    void post(boost::function<void()> work);
    /// Waits until everything that was called back is applied.
    void waitApplied();

    /// A new price of a stock, as the quote client calls it.
    void price(std::uint32_t stock, double last);
    void runCalculator();

    TC::CLinkageManager& manager() { return *m_pManager; }
    CWorld& world() { return m_world; }
    TC::ManagerState state() { return m_pManager->state(); }

private:
    const Workload& m_workload;
    CWorld m_world;
    TC::CLinkageManager* m_pManager;
};

class CLimitProgram {
public:
    explicit CLimitProgram(const Workload& workload) : m_workload(workload), m_limit(workload) {}
    void order(std::uint32_t number, const Report& report) {
        m_limit.order(number, *report.order, report);
    }
    void deal(std::uint32_t number, const Report& report) {
        m_limit.deal(number, *report.deal, report);
    }
    CLimit& limit() { return m_limit; }
    TC::ManagerState state() const {
        const auto reportOf = [&](std::uint32_t number) { return m_workload.reports[number]; };
        return m_limit.state(m_workload, reportOf, reportOf);
    }

private:
    const Workload& m_workload;
    CLimit m_limit;
};

template <class Program>
void apply(Program& program, std::uint32_t number, const Report& report) {
    if (report.order) {
        program.order(number, report);
    } else {
        program.deal(number, report);
    }
}

template <class Program>
void play(Program& program, std::span<const Report> reports) {
    std::uint32_t number = 0;
    for (const Report& report : reports) apply(program, number++, report);
}

template <class Program>
void play(Program& program, const Workload& workload) {
    play(program, std::span(workload.reports));
}

/// Seconds of processor time that a fresh program takes for the reports.
template <class Program>
double playSeconds(const Workload& day) {
    Program program(day);
    return seconds([&] { play(program, day); });
}

constexpr int STATEMENT_ROWS = 60'000;

/// A statement of a month: deals of 50 stocks, each with a number of its own.
void writeStatement(const std::string& path);

/// Adds so many rows to the history store.
void addHistoryRows(TC::CLinkageManager& manager, const Workload& workload, int rows);

/// Asks everything that a screen can ask and that is copied for it, once. Gives the number of
/// answers.
std::size_t askEverything(TC::CLinkageManager& manager, const Workload& day);

}  // namespace bench
