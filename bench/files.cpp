#include "bench/measure.h"
#include "bench/programs.h"
#include "replay/eventparser.h"
#include "replay/replay.h"

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
        for (int row = 0; row < ROWS; ++row) {
            TC::TradeStatData stat;
            stat.m_strAccountKey = m_workload.accounts[row % 10].key;
            stat.m_strStrategy = fmt::format("strategy-{}", row);
            stat.m_nTotalBuyVolume = 100 * row;
            stat.m_dTotalBuyAmount = 12.34 * row;
            stat.m_nTotalSellVolume = 200;
            manager().addHistoryStat(stat.m_strAccountKey + stat.m_strStrategy, stat);
        }
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
    const double taken = seconds([&] {
        replay::COutput output([&](std::string_view text) { written += text.size(); });
        fault = replay::playFile(day, {.log = false}, output);
    });
    if (!fault.empty()) throw std::runtime_error(fault);
    return taken;
}

}  // namespace

void addHistory() {
    add("history/save 100,000 rows", 3, ROWS, [] { return CHistory().save(); });
    add("history/load 100,000 rows", 3, ROWS, [] { return CHistory().load(); });
}

void addRecordedDay() {
    const std::string day = recordedDay();
    if (day.empty()) {
        fmt::print("no recorded day: LINKAGE_DATA names no folder with a *.jsonl.gz\n");
        return;
    }
    for (int turn = 0; turn < 3; ++turn) {
        add("day/parse", 3, 1, [day] { return seconds([&] { replay::parseScenario(day); }); });
        add("day/replay", 3, 1, [day] { return replaySeconds(day); });
    }
}

}  // namespace bench
