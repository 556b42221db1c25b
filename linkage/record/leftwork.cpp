#include "linkage/balance/guardedbalances.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/reconciliation.h"
#include "linkage/store/serverhistory.h"
#include "linkage/tape/step.h"

#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace TC {

namespace {

/// The name as one that stands for good.
const char* standing(const std::string& name) {
    static std::mutex mutex;
    static std::set<std::string, std::less<>> names;
    const std::lock_guard lock(mutex);
    return names.insert(name).first->c_str();
}

}  // namespace

CLinkageManager::Work CLinkageManager::later(const LeftWork& what, Work work) {
    CStep* const step = CStep::current();
    // Whoever finds the work waiting must find that the step has left some.
    if (step) step->tape().leaves(*step);
    const auto waits = CLeftWorks::add(m_pEngine->m_pLeft, what);
    const char* const name = standing(what.name);
    const Ticket ticket = step ? step->nextTicket(name) : Ticket{0, name, 0};
    Work taken = [this, ticket, waits, work = std::move(work)] {
        const CStep own(tape(), [&] { return WorkInput{ticket, waits->number()}; });
        if (CStep* const current = CStep::current()) current->tape().changesWork(*current);
        waits->end();
        work();
    };
    if (step && step->tape().keeps(ticket, taken)) taken.clear();
    return taken;
}

CLinkageManager::Work CLinkageManager::leftWork(std::uint64_t number, const LeftWork& what,
                                                Work work) {
    // A recording that begins later has this work in its picture, too.
    const auto waits = CLeftWorks::put(m_pEngine->m_pLeft, number, what);
    return [this, ticket = Ticket{0, standing(what.name), number}, waits, work = std::move(work)] {
        const CStep own(tape(), [&] { return WorkInput{ticket}; });
        waits->end();
        work();
    };
}

LeftWork loadAccounts(ELoadCause cause) {
    return {"loadAccounts", {std::to_string(static_cast<int>(cause))}};
}

CLinkageManager::Work CLinkageManager::workOf(const LeftWork& what) {
    const std::string_view name = what.name;
    const std::string first = what.text(0);
    const std::uint64_t number = what.number(0);
    if (name == "pass") return [this] { runStatCalculator(); };
    if (name == "historyPass") return [this] { runHistoryStatCalculator(); };
    if (name == "curves") return [this, number] { onCurvesTimer(number); };
    if (name == "curveSlice") return [this, number] { renewCurvesInTurns(number); };
    if (name == "watchdog") return [this] { onAutoBalanceTimer(); };
    if (name == "start") {
        return [this, first, strategy = what.text(1)] { runAutoBalanceTimer(first, strategy); };
    }
    if (name == "guard") return [this, first] { m_pGuarded->onTimer(first); };
    if (name == "writeBook") return [this] { m_pGuarded->writeBook(); };
    if (name == "retryBook") return [this] { m_pGuarded->retryBook(); };
    if (name == "refile") return [this, first] { refileImported(first); };
    if (name == "loadTasks") return [this] { doRequestTask(); };
    if (name == "loadAccounts") {
        return [this, cause = static_cast<ELoadCause>(number)] { doRequestAccounts(cause); };
    }
    if (name == "loadAgain") return [this, first] { loadAgain(first); };
    if (name == "endLoading") return [this] { doEndLoading(); };
    if (name == "newDay") return [this, first] { doNewTradingDay(first); };
    if (name == "startHistory") return [this, query = queryOf(what)] { startHistoryQuery(query); };
    if (name == "askHistory") return [this, query = queryOf(what)] { askHistoryDay(query); };
    if (name == "retry") return [this] { retryNow(); };
    return {};
}

}  // namespace TC
