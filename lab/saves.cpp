#include "lab/times.h"
#include "lab/trace.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/store/diskfaults.h"
#include "linkage/store/importreport.h"
#include "platform/services/clientconfig.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

// What the trader edits and the library saves, and what becomes of a save.

namespace lab {

namespace {

constexpr char STATEMENT[] = "statement.csv";

}  // namespace

void CDay::editTimes(const Step& step) {
    happens(EFault::Times);
    const std::string key =
        accountOf(step.account) + ":" + m_plan.strategies[static_cast<std::size_t>(step.strategy)];
    const std::string time = fmt::format("14{:02}00", step.place % 60);
    trace("the trader {} the balance time of {}", step.flag ? "takes away" : "sets", key);
    if (step.flag) {
        m_times.erase(key);
        m_scenario.call("deleteBalanceTime", {key});
        manager().deleteBalanceTime(key);
    } else {
        m_times[key] = time;
        m_scenario.call("addBalanceTime", {key, time});
        manager().addBalanceTime(key, time);
    }
    m_savedTimes.insert(m_times);
    manager().finishSaves();
    // A save that fails, or whose process ends, leaves what was saved before.
    if (!m_invariants.diskHasFailed() && !TC::disk::crashed()) m_savedTimes = {m_times};
    if (lives() && manager().getBalanceTime() != m_times) fail("other balance times than were set");
}

// The save runs here to its end, so its steps are the same on every run.
void CDay::failInSave(const Step& step) {
    const bool crashes = step.kind == EStep::CrashInSave;
    m_pSaveFault = nullptr;
    m_nDownFor = step.amount % 20;
    m_invariants.diskFails();
    TC::disk::clearFaults();
    m_bCrashAtStep = false;
    const int error = step.flag ? ENOSPC : EIO;
    TC::disk::Fault fault{.after = step.amount,
                          .times = step.times,
                          .error = crashes ? TC::disk::Fault::CRASH : error,
                          .keeps = static_cast<unsigned>(step.keeps)};
    const std::size_t place = m_scenario.place();
    trace("the disk {} after {} further steps", crashes ? "crashes" : "fails", step.amount);
    TC::disk::fail(fault);
    const int before = TC::disk::steps();
    if (m_plan.rests.empty()) {
        Step edit = step;
        edit.flag = false;
        editTimes(edit);
    }
    manager().finishSaves();
    const int met = TC::disk::steps() - before - step.amount;
    if (met > 0) {
        happens(crashes ? EFault::CrashInSave : EFault::DiskInSave);
        fault.times = std::min(fault.times, met);
        m_scenario.diskAt(place, fault);
    }
    if (!TC::disk::crashed()) TC::disk::clearFaults();
}

// What a statement holds is reported as well: it changes no figure.
void CDay::importStatement(const Step& step) {
    happens(EFault::Import);
    std::string text = "资金账号,成交日期,证券代码,买卖,价格,数量,成交编号\n";
    int rows = 0;
    for (const auto& [key, deal] : m_broker.deals()) {
        const Stock& stock = m_plan.stocks[static_cast<std::size_t>(deal.of.stock)];
        if (deal.of.account != step.account || stock.excluded) continue;
        text += fmt::format("{},{},{},{},{},{},{}\n", accountOf(step.account),
                            m_pClient->paper().tradeDate(), stock.code,
                            deal.of.buys ? "买入" : "卖出", PRICE, deal.volume, key);
        ++rows;
    }
    const std::string path = fmt::format("{}/{}", m_options.directory, STATEMENT);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    m_scenario.file(STATEMENT, text);
    m_scenario.call("importData", {STATEMENT});
    const TC::ImportReport report = manager().importData(QString::fromStdString(path));
    trace("the trader imports {} deals, {} are taken", rows, report.taken);
    if (rows > 0 && (!report.ok() || report.read != rows)) {
        fail(fmt::format("{} of {} deals of a statement are read", report.read, rows));
    }
    rest();
    for (const std::string& strategy : m_plan.strategies) {
        if (lives()) m_invariants.lookAtFigures(manager(), {step.account, strategy});
    }
}

CDay::History CDay::history() const {
    const bool clientType3 = m_plan.clientType == TC::CLIENT_TYPE_3;
    History volumes;
    for (const std::string& account : m_plan.accounts) {
        for (const std::string& strategy : m_plan.strategies) {
            for (const auto& [stock, record] :
                 manager().getHistoryLinkageData(account + strategy)) {
                const auto figures = TC::effectiveFigures(*record, clientType3);
                volumes[fmt::format("{} {} {}", account, strategy, stock)] = {figures.buyVolume,
                                                                              figures.sellVolume};
            }
        }
    }
    return volumes;
}

// A save that is not `done` may leave what the file held before.
void CDay::noteHistory(bool done) {
    if (m_plan.rests.empty() || !m_bUp || m_bDead) return;
    if (done && lives() && !m_invariants.diskHasFailed()) m_savedHistories.clear();
    m_savedHistories.insert(history());
}

// What a manager has read before it is told anything is what was saved last.
void CDay::checkLoaded() {
    const Times times = manager().getBalanceTime();
    if (m_plan.keepTimes && !m_savedTimes.empty() && m_savedTimes.count(times) == 0) {
        fail("the balance times are not those that were saved last");
    }
    m_times = times;
    m_savedTimes = {times};
    if (m_plan.rests.empty()) return;
    const History loaded = history();
    const bool first = m_savedHistories.empty();
    if (!first && m_savedHistories.count(loaded) == 0)
        fail("the history is not the one that was saved last");
    m_savedHistories = {loaded};
}

}  // namespace lab
