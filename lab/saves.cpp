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

// What a statement holds is reported as well, today or on the date before: it changes no figure.
void CDay::importStatement(const Step& step) {
    happens(EFault::Import);
    int rows = 0;
    const std::string text = statement(step.account, rows);
    const std::string path = fmt::format("{}/{}", m_options.directory, STATEMENT);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    m_scenario.file(STATEMENT, text);
    m_scenario.call("importData", {STATEMENT});
    const TC::ImportReport report = manager().importData(QString::fromStdString(path));
    trace("the trader imports {} deals, {} are taken", rows, report.taken);
    // Instruments that throw take the whole import back. While the data center throws after a
    // start, no account is followed yet.
    const bool refused =
        !report.ok() && (m_services.failed(now(), now()) || manager().getAccounts().empty());
    if (rows > 0 && !refused && (!report.ok() || report.read != rows)) {
        fail(fmt::format("{} of {} deals of a statement are read", report.read, rows));
    }
    rest();
    if (lives()) lookAtAllFigures();
}

CDay::History CDay::history() const {
    History all;
    all.reserve(m_plan.rests.size());
    for (const Rest& rest : m_plan.rests) all.push_back(historyOf(m_plan, manager(), rest));
    return all;
}

// A save that is not `done` may leave what the file held before.
void CDay::noteHistory(bool done) {
    if (m_plan.rests.empty() || !m_bUp || m_bDead) return;
    if (done && lives() && !m_invariants.diskHasFailed()) m_savedHistories.clear();
    m_savedHistories[history()] = {m_nDate, m_model.carried()};
}

std::string CDay::textOf(const History& history) const {
    std::string text;
    for (std::size_t place = 0; place < history.size(); ++place) {
        const Rest& rest = m_plan.rests[place];
        const auto& [bought, sold] = history[place];
        text += fmt::format(
            " {} \"{}\" {} {}-{}", accountOf(rest.account), pairOf(m_plan, rest).strategy,
            m_plan.stocks[static_cast<std::size_t>(rest.stock)].key(), bought, sold);
    }
    return text;
}

// What a manager has read before it is told anything is what was saved last.
void CDay::checkLoaded() {
    const Times times = manager().getBalanceTime();
    if (m_plan.keepTimes && !m_savedTimes.empty() && m_savedTimes.count(times) == 0) {
        fail("the balance times are not those that were saved last");
    }
    m_times = times;
    m_savedTimes = {times};
    if (!m_savedHistories.empty()) checkHistory();
}

void CDay::checkHistory() {
    const History loaded = history();
    const auto at = m_savedHistories.find(loaded);
    if (at == m_savedHistories.end()) {
        std::string text = "the history is not the one that was saved last:" + textOf(loaded);
        for (const auto& [saved, when] : m_savedHistories) text += ", saved was" + textOf(saved);
        return fail(text);
    }
    Saved saved = at->second;
    if (saved.date == m_nDate) {
        m_model.carry(saved.carried);
    } else {
        // The disk failed since: what the date before added later is lost.
        for (std::size_t place = 0; place < loaded.size(); ++place) {
            const Rest& rest = m_plan.rests[place];
            m_model.carry(pairOf(m_plan, rest), rest.stock, loaded[place]);
        }
        saved = {m_nDate, m_model.carried()};
    }
    m_savedHistories = {{loaded, std::move(saved)}};
}

}  // namespace lab
