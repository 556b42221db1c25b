#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/raise.h"
#include "linkage/core/reconciling.h"
#include "linkage/tape/step.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

#include <algorithm>

namespace TC {

namespace {

constexpr char RETRY[] = "CLinkageManager::retryLater";

}  // namespace

// A recording that begins at this moment must have what is to be tried again in its picture, or
// else this step.
void CLinkageManager::retryLater(const std::string& name, const LeftWork& what) {
    if (CStep* const step = CStep::current()) step->tape().changesWork(*step);
    EngineState& engine = *m_pEngine;
    const std::lock_guard arming(engine.m_retryTimerMutex);
    if (!engine.m_retryTimer) return;
    bool armed = false;
    std::int64_t wait = 0;
    {
        const std::lock_guard lock(engine.m_retryMutex);
        armed = !engine.m_retries.works.empty();
        engine.m_retries.works[name] = what;
        wait = engine.m_retries.wait;
    }
    LINKAGE_LOG_WARNING(RETRY, "{0} is asked for again in {1} s", name, wait / 1'000'000);
    // Two threads may come here without the manager's lock, in either order.
    if (decideOnTape("retryArmed", [&] { return armed; })) return;
    armTimer(*engine.m_retryTimer, *engine.m_strand, wait, guarded(later({"retry", {}})));
}

// A service that goes on failing is asked less and less often.
void CLinkageManager::retryNow() {
    EngineState& engine = *m_pEngine;
    std::map<std::string, LeftWork> works;
    {
        const std::lock_guard lock(engine.m_retryMutex);
        Retries& retries = engine.m_retries;
        works.swap(retries.works);
        retries.wait = std::min(2 * retries.wait, Retries::LONGEST);
    }
    for (const auto& [name, what] : works) {
        if (m_pDoor->isClosed()) return;
        if (!attempt(RETRY, workOf(what))) retryLater(name, what);
    }
    if (m_options.guard) settleBalances();
    const std::lock_guard lock(engine.m_retryMutex);
    if (engine.m_retries.works.empty()) engine.m_retries.wait = Retries::FIRST;
}

// The data center keeps every record, so a load makes good whatever was missed.
void CLinkageManager::loadLater(const std::string& accountKey) {
    retryLater("account " + accountKey, {"loadAgain", {accountKey}});
}

void CLinkageManager::loadAgain(const std::string& accountKey) {
    const auto data = dataCenter().getAccountData(utils::hash(accountKey));
    if (data) doRequestAccount(data, ELoadCause::Request);
}

}  // namespace TC
