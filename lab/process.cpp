#include "lab/times.h"
#include "lab/trace.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/diskfaults.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

// The library as a process: it starts, ends, crashes, and its disk fails.

namespace lab {

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

}  // namespace

TC::CLinkageManager& CDay::manager() const { return *Manager::instance(); }

void CDay::clearFiles() {
    const std::string directory = m_options.directory + "/Balance";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    if (m_plan.rests.empty()) return;
    std::string text = TC::csv::balanceHeader();
    for (const Rest& rest : m_plan.rests) {
        const auto strategy = static_cast<std::size_t>(rest.strategy);
        text += TC::csv::balanceRow(accountOf(rest.account) + m_plan.strategies[strategy],
                                    m_plan.stocks[static_cast<std::size_t>(rest.stock)].key(),
                                    {.buyVolume = rest.bought, .sellVolume = rest.sold},
                                    TC::csv::dayStamp("20240101"));
    }
    std::ofstream(directory + "/" + TC::BALANCE_FILE, std::ios::binary) << text;
    m_scenario.file(TC::BALANCE_FILE, text);
}

TC::LinkageOptions CDay::optionsOf() const {
    return {.guard = m_options.guard,
            .rounds = m_options.guard ? m_plan.rounds : 1,
            .roundSeconds = m_plan.roundSeconds,
            .keepBalanceTimes = m_plan.keepTimes};
}

std::string CDay::bookText() const {
    const std::string date = m_pClient->paper().tradeDate();
    std::ifstream file(m_options.directory + "/Balance/balances-" + date + ".jsonl",
                       std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return std::move(text).str();
}

void CDay::up() {
    TC::disk::clearFaults();
    m_bCrashAtStep = false;
    ++m_nLife;
    if (m_options.guard) {
        const auto book = CBookReader(m_plan).read(bookText());
        m_model.restart(commandsOf(book));
        m_invariants.restarted(book);
    } else {
        m_model.restart(m_model.commands());
    }
    m_services.begins();
    m_bGone = false;
    trace("the library starts");
    m_scenario.plain("init");
    TC::CLinkageManager& manager = this->manager();
    manager.setOptions(optionsOf());
    checkLoaded();
    manager.sigBalanceChanged.connect([this](int number) {
        m_invariants.changed(number);
        m_bDirty = true;
    });
    m_nPastAsked = 0;
    QObject::connect(&manager, &TC::CLinkageManager::sigHistoryDealsDone, &manager,
                     [this](const QDateTime&, const std::string&) { pastDone(); });
    m_bUp = true;
    m_bDirty = true;
    manager.init();
}

// What the book has after a restart. It must have everything that reached the command center;
// the numbers of commands may be lost.
std::vector<SentCommand> CDay::commandsOf(const std::map<int, BookEntry>& book) {
    std::vector<SentCommand> commands;
    for (const auto& [number, entry] : book) {
        commands.insert(commands.end(), entry.commands.begin(), entry.commands.end());
    }
    for (const SentCommand& known : m_model.commands()) {
        bool found = false;
        for (SentCommand& written : commands) {
            if (written.balance != known.balance || written.place != known.place) continue;
            found = true;
            written.serial = known.serial;
            if (written.number != 0 && written.number != known.number) {
                fail(fmt::format("the book gives command {} the number {}", known.number,
                                 written.number));
            }
        }
        if (!found) {
            fail(
                fmt::format("balance {} sent a command, and after the restart its book does not "
                            "have it",
                            known.balance));
        }
    }
    return commands;
}

void CDay::comeBackAfter(int seconds) {
    m_bUp = false;
    m_bGone = true;
    m_tooLate.clear();
    rest();
    if (m_loop.waits()->next()) fail("a timer waits after the library was released");
    m_agenda.at(now() + seconds * SECOND, [this] { up(); });
}

void CDay::restart(int seconds) {
    happens(EFault::Restart);
    m_invariants.look(manager(), true);
    checkIntegrity();
    m_scenario.plain("release");
    Manager::release();
    seeCrash();
    if (m_bDead) return bury();
    m_invariants.lookAtBook(bookText());
    comeBackAfter(seconds);
}

// From here on nothing that the process still does leaves it.
void CDay::crash() {
    trace("the library crashes");
    noteHistory(false);
    TC::disk::crash();
    m_bDead = true;
}

// A process that was gone at a step of the disk.
void CDay::seeCrash() {
    if (m_bDead || !m_bUp || !TC::disk::crashed()) return;
    trace("the library crashed at a step of the disk");
    if (std::exchange(m_bCrashAtStep, false)) happens(EFault::CrashAtStep);
    m_invariants.diskFails();
    m_bDead = true;
}

void CDay::bury() {
    m_scenario.plain("crash");
    Manager::release();
    TC::disk::restart();
    m_bDead = false;
    comeBackAfter(m_nDownFor);
}

void CDay::failDisk(const Step& step) {
    using TC::disk::EStep;
    static constexpr EStep STEPS[] = {EStep::Open, EStep::Write, EStep::Flush};
    const EStep failing = STEPS[step.amount % 3];
    const bool half = step.flag && failing == EStep::Write;
    happens(EFault::Disk);
    m_invariants.diskFails();
    if (half) TC::disk::fail({.step = failing, .times = 1});
    const TC::disk::Fault fault{.step = failing,
                                .after = half ? 1 : 0,
                                .times = 1 + step.amount / 3,
                                .error = step.flag ? ENOSPC : EIO};
    m_scenario.disk(fault);
    TC::disk::fail(fault);
}

// Counted when it is met; a fault that is cleared before never happens.
void CDay::crashAtStep(const Step& step) {
    m_bCrashAtStep = true;
    m_nDownFor = step.times;
    const TC::disk::Fault fault{.after = step.amount, .error = TC::disk::Fault::CRASH};
    m_scenario.disk(fault);
    TC::disk::fail(fault);
}

// Those of the command center are played by the laboratory's own.
void CDay::failService(const Step& step) {
    const ServiceFault& fault = SERVICE_FAULTS[static_cast<std::size_t>(step.amount)];
    m_scenario.fault(fault.service, fault.kind, step.times);
    trace("{} of the next {} calls", nameOf(fault.fault), step.times);
    if (fault.service == paper::EService::CommandCenter) {
        m_nCommandThrows = step.times;
    } else {
        m_pClient->paper().setFault(fault.service, fault.kind, step.times);
    }
}

void CDay::disconnect(int seconds) {
    happens(EFault::Disconnect);
    ++m_nOffline;
    m_agenda.at(now() + seconds * SECOND, [this] {
        trace("the connection is back");
        --m_nOffline;
        m_scenario.login(true);
        m_pClient->paper().login(true, {});
    });
}

void CDay::ask(const Step& step) {
    switch (step.kind) {
        case EStep::Request:
            happens(EFault::Reload);
            m_scenario.call("requestAccount", {accountOf(step.account)});
            manager().requestAccount(accountOf(step.account));
            break;
        case EStep::Ready:
            happens(EFault::Reload);
            m_scenario.accountReady(accountOf(step.account));
            m_pClient->paper().accountReady(accountOf(step.account));
            break;
        case EStep::Login:
            happens(EFault::Login);
            m_scenario.login(true);
            m_pClient->paper().login(true, {});
            break;
        case EStep::Disconnect:
            disconnect(step.amount);
            break;
        case EStep::AskPast:
            askPast(step.account);
            break;
        default:
            break;
    }
}

void CDay::disturb(const Step& step) {
    switch (step.kind) {
        case EStep::Import:
            importStatement(step);
            break;
        case EStep::Times:
            editTimes(step);
            break;
        case EStep::Service:
            failService(step);
            break;
        case EStep::CrashAtStep:
            crashAtStep(step);
            break;
        case EStep::CrashInSave:
        case EStep::DiskInSave:
            // With history the fault waits for a deal that is saved.
            m_pSaveFault = m_plan.rests.empty() ? nullptr : &step;
            if (!m_pSaveFault) failInSave(step);
            break;
        case EStep::Rollover:
        case EStep::SameDate:
            newDate(step.kind == EStep::Rollover);
            break;
        case EStep::Restart:
            restart(step.amount);
            break;
        case EStep::Crash:
            happens(EFault::Crash);
            m_nDownFor = step.amount;
            crash();
            break;
        case EStep::Disk:
            failDisk(step);
            break;
        default:
            ask(step);
            break;
    }
}

}  // namespace lab
