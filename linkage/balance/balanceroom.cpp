#include "linkage/balance/balancestate.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/managerstate.h"
#include "linkage/core/published.h"

namespace TC {

RoomPtr<BalanceState> CLinkageManager::makeBalanceState() { return makeRoom<BalanceState>(); }

void CLinkageManager::newBalanceDay() {
    m_pBalance->m_autoBalanceStarts.clear();
    if (m_pGuarded) m_pGuarded->newDay(m_pTradeDate->get());
}

void CLinkageManager::startGuard() {
    m_pGuarded = makeRoom<CGuardedBalances>(*this, *m_pBook);
    m_pGuarded->start();
}

void CLinkageManager::noteLoadBegins(const std::string& accountKey) {
    const CLock lock(m_mutex);
    if (m_pGuarded) m_pGuarded->loadBegins(accountKey);
}

void CLinkageManager::noteLoadEnds(const std::string& accountKey, bool whole) {
    const CLock lock(m_mutex);
    if (m_pGuarded) m_pGuarded->loadEnds(accountKey, whole);
}

void CLinkageManager::doEndLoading() {
    const CLock lock(m_mutex);
    if (m_pGuarded) m_pGuarded->allLoaded();
}

void CLinkageManager::noteOrder(const std::string& accountKey,
                                const vexservice::COrderDetail& order,
                                const boost::shared_ptr<vexservice::COrderDetail>& takenBack) {
    m_pGuarded->orderFiled(accountKey, order, takenBack);
}

void CLinkageManager::noteDeal(const std::string& accountKey, const vexservice::CDealDetail& deal) {
    m_pGuarded->dealFiled(accountKey, deal);
}

void CLinkageManager::describeBalances(ManagerState& state) const { m_pBalance->describe(state); }

}  // namespace TC
