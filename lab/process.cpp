#include "lab/times.h"
#include "lab/trace.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/diskfaults.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

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
}

std::string CDay::bookText() const {
    const std::string date = m_pClient->paper().tradeDate();
    std::ifstream file(m_options.directory + "/Balance/balances-" + date + ".jsonl",
                       std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void CDay::up() {
    TC::disk::clearFaults();
    ++m_nLife;
    if (m_options.guard) {
        const auto book = CBookReader(m_plan).read(bookText());
        m_model.restart(commandsOf(book));
        m_invariants.restarted(book);
    } else {
        m_model.restart(m_model.commands());
    }
    for (std::size_t at = 0; at < m_plan.accounts.size(); ++at) {
        m_model.load(static_cast<int>(at), now());
    }
    trace("the library starts");
    TC::CLinkageManager& manager = this->manager();
    manager.setOptions({.guard = m_options.guard,
                        .rounds = m_options.guard ? m_plan.rounds : 1,
                        .roundSeconds = m_plan.roundSeconds});
    manager.sigBalanceChanged.connect([this](int number) {
        m_invariants.changed(number);
        m_bDirty = true;
    });
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
    m_tooLate.clear();
    m_agenda.at(now() + seconds * SECOND, [this] { up(); });
}

void CDay::restart(int seconds) {
    happens(EFault::Restart);
    m_invariants.look(manager(), true);
    Manager::release();
    m_invariants.lookAtBook(bookText());
    comeBackAfter(seconds);
}

// From here on nothing that the process still does leaves it.
void CDay::crash() {
    trace("the library crashes");
    TC::disk::crash();
    m_bDead = true;
}

void CDay::bury() {
    Manager::release();
    TC::disk::restart();
    m_bDead = false;
    comeBackAfter(m_nDownFor);
}

void CDay::load(int account) { m_model.load(account, now()); }

void CDay::newDate(bool another) {
    static const char* const DATES[] = {"20240102", "20240103"};
    // What earlier days left is written under the clock's date, which stays as it is.
    another = another && m_plan.rests.empty() && m_nDate == 0;
    happens(another ? EFault::Rollover : EFault::SameDate);
    if (another) {
        ++m_nDate;
        m_broker.newDate();
        m_truth.newDate();
        m_tasks.clear();
        m_tooLate.clear();
    }
    m_invariants.newDate(another);
    m_model.newDate(another);
    for (std::size_t at = 0; at < m_plan.accounts.size(); ++at) load(static_cast<int>(at));
    m_pClient->paper().newTradingDate(DATES[m_nDate], DATES[m_nDate]);
}

void CDay::failDisk(const Step& step) {
    using TC::disk::EStep;
    static constexpr EStep STEPS[] = {EStep::Open, EStep::Write, EStep::Flush};
    const EStep failing = STEPS[step.amount % 3];
    const bool half = step.flag && failing == EStep::Write;
    happens(EFault::Disk);
    m_invariants.diskFails();
    if (half) TC::disk::fail({.step = failing, .times = 1});
    TC::disk::fail({.step = failing,
                    .after = half ? 1 : 0,
                    .times = 1 + step.amount / 3,
                    .error = step.flag ? ENOSPC : EIO});
}

void CDay::disturb(const Step& step) {
    switch (step.kind) {
        case EStep::Request:
            happens(EFault::Reload);
            load(step.account);
            manager().requestAccount(accountOf(step.account));
            break;
        case EStep::Ready:
            happens(EFault::Reload);
            load(step.account);
            m_pClient->paper().accountReady(accountOf(step.account));
            break;
        case EStep::Login:
            happens(EFault::Login);
            for (std::size_t at = 0; at < m_plan.accounts.size(); ++at) load(static_cast<int>(at));
            m_pClient->paper().login(true, {});
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
            break;
    }
}

}  // namespace lab
