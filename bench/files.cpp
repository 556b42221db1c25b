#include "bench/measure.h"
#include "bench/programs.h"
#include "linkage/store/importreport.h"
#include "replay/eventparser.h"
#include "replay/replay.h"

#include <QTemporaryDir>

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

// The history store's files, and a recorded day.

namespace bench {

namespace {

constexpr int ROWS = 100'000;

class CHistory {
public:
    CHistory() : m_workload(makeWorld({})), m_world(m_workload) {
        addHistoryRows(manager(), m_workload, ROWS);
    }
    ~CHistory() { Manager::release(); }
    CHistory(const CHistory&) = delete;
    CHistory& operator=(const CHistory&) = delete;

    double save() {
        return wallSeconds([] {
            manager().writedata(false);
            manager().finishSaves();
        });
    }

    double load() {
        save();
        Manager::release();
        const double taken = wallSeconds([] { manager(); });
        if (manager().getHistoryStatData().size() != ROWS) {
            throw std::runtime_error("history rows are missing");
        }
        return taken;
    }

private:
    using Manager = utils::CSingletonT<TC::CLinkageManager>;
    static TC::CLinkageManager& manager() { return *Manager::instance(); }

    Workload m_workload;
    CWorld m_world;
};

class CStatement {
public:
    CStatement() { writeStatement(m_path); }

    /// Into a manager that knows nothing of those days.
    double importSeconds() const {
        const Workload workload = makeWorld({.accounts = 1});
        CLibraryProgram program(workload);
        TC::ImportReport report;
        const double taken =
            seconds([&] { report = program.manager().importData(QString::fromStdString(m_path)); });
        if (report.added != STATEMENT_ROWS) {
            throw std::runtime_error(fmt::format("{} rows of {} were imported; {}", report.added,
                                                 STATEMENT_ROWS, report.refusal.toStdString()));
        }
        return taken;
    }

private:
    QTemporaryDir m_folder;
    const std::string m_path = m_folder.filePath("statement.csv").toStdString();
};

std::string recordedDay() {
    const char* const folder = std::getenv("LINKAGE_DATA");
    if (!folder || !std::filesystem::is_directory(folder)) return {};
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with(".jsonl.gz")) return entry.path().string();
    }
    return {};
}

double replaySeconds(const std::string& day) {
    std::size_t written = 0;
    std::string fault;
    const double taken = wallSeconds([&] {
        replay::COutput output([&](std::string_view text) { written += text.size(); });
        fault = replay::playFile(day, {.log = false}, output);
    });
    if (!fault.empty()) throw std::runtime_error(fault);
    return taken;
}

}  // namespace

void writeStatement(const std::string& path) {
    std::ofstream file(path);
    file << "成交日期,成交时间,证券代码,买卖标志,成交价格,成交数量,成交金额,成交编号\n";
    for (int row = 0; row < STATEMENT_ROWS; ++row) {
        const int price = 500 + row % 700;
        const int volume = 100 * (1 + row % 30);
        const int cents = price * volume;
        file << fmt::format("202312{:02},{:02}{:02}{:02},{},{},{}.{:02},{},{}.{:02},{}\n",
                            1 + row % 20, 10 + row % 5, row % 60, row % 59, 600000 + row % 50,
                            row % 2 == 0 ? "买入" : "卖出", price / 100, price % 100, volume,
                            cents / 100, cents % 100, 10'000'000 + row);
    }
}

void addHistoryRows(TC::CLinkageManager& manager, const Workload& workload, int rows) {
    for (int row = 0; row < rows; ++row) {
        TC::TradeStatData stat;
        stat.m_strAccountKey = workload.accounts[row % 10].key;
        stat.m_strStrategy = fmt::format("strategy-{}", row);
        stat.m_nTotalBuyVolume = 100 * row;
        stat.m_dTotalBuyAmount = 12.34 * row;
        stat.m_nTotalSellVolume = 200;
        manager.addHistoryStat(stat.m_strAccountKey + stat.m_strStrategy, stat);
    }
}

void addHistory() {
    add("history/save 100,000 rows", 3, ROWS, [] { return CHistory().save(); });
    add("history/load 100,000 rows", 3, ROWS, [] { return CHistory().load(); });
    add("import/60,000 rows", 3, STATEMENT_ROWS, [] { return CStatement().importSeconds(); });
}

/// Both are measured as the time that a user waits: the replay parses on a second thread.
void addRecordedDay() {
    const std::string day = recordedDay();
    if (day.empty()) {
        fmt::print("no recorded day: LINKAGE_DATA names no folder with a *.jsonl.gz\n");
        return;
    }
    for (int turn = 0; turn < 3; ++turn) {
        add("day/parse", 3, 1, [day] { return wallSeconds([&] { replay::parseScenario(day); }); });
        add("day/replay", 3, 1, [day] { return replaySeconds(day); });
    }
}

}  // namespace bench
