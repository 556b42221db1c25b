#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/raise.h"
#include "linkage/core/reconciling.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

#include <algorithm>

namespace TC {

namespace {

constexpr char RETRY[] = "CLinkageManager::retryLater";

}  // namespace

void CLinkageManager::retryLater(const std::string& name, const LeftWork& what) {
    EngineState& engine = *m_pEngine;
    const std::lock_guard lock(engine.m_retryMutex);
    if (!engine.m_retryTimer) return;
    const bool armed = !engine.m_retries.empty();
    engine.m_retries[name] = what;
    LINKAGE_LOG_WARNING(RETRY, "{0} is asked for again in {1} s", name,
                        engine.m_nRetryWait / 1'000'000);
    if (armed) return;
    armTimer(*engine.m_retryTimer, *engine.m_strand, engine.m_nRetryWait,
             guarded(later({"retry", {}})));
}

// A service that goes on failing is asked less and less often.
void CLinkageManager::retryNow() {
    EngineState& engine = *m_pEngine;
    std::map<std::string, LeftWork> retries;
    {
        const std::lock_guard lock(engine.m_retryMutex);
        retries.swap(engine.m_retries);
        engine.m_nRetryWait = std::min(2 * engine.m_nRetryWait, EngineState::LONGEST_RETRY);
    }
    for (const auto& [name, what] : retries) {
        if (m_pDoor->isClosed()) return;
        if (!attempt(RETRY, workOf(what))) retryLater(name, what);
    }
    if (m_options.guard) settleBalances();
    const std::lock_guard lock(engine.m_retryMutex);
    if (engine.m_retries.empty()) engine.m_nRetryWait = EngineState::FIRST_RETRY;
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
