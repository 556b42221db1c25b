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
    const CLock lock(m_mutex);
    EngineState& engine = *m_pEngine;
    if (!engine.m_retryTimer) return;
    Retries& retries = engine.m_retries;
    const bool armed = !retries.works.empty();
    retries.works[name] = what;
    LINKAGE_LOG_WARNING(RETRY, "{0} is asked for again in {1} s", name, retries.wait / 1'000'000);
    if (armed) return;
    armTimer(*engine.m_retryTimer, *engine.m_strand, retries.wait, guarded(later({"retry", {}})));
}

// A service that goes on failing is asked less and less often.
void CLinkageManager::retryNow() {
    Retries& retries = m_pEngine->m_retries;
    std::map<std::string, LeftWork> works;
    {
        const CLock lock(m_mutex);
        works.swap(retries.works);
        retries.wait = std::min(2 * retries.wait, Retries::LONGEST);
    }
    for (const auto& [name, what] : works) {
        if (m_pDoor->isClosed()) return;
        if (!attempt(RETRY, workOf(what))) retryLater(name, what);
    }
    if (m_options.guard) settleBalances();
    const CLock lock(m_mutex);
    if (retries.works.empty()) retries.wait = Retries::FIRST;
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
