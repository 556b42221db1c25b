#include "linkage/balance/balancestate.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/managerstate.h"

namespace TC {

RoomPtr<BalanceState> CLinkageManager::makeBalanceState() { return makeRoom<BalanceState>(); }

void CLinkageManager::newBalanceDay() { m_pBalance->m_autoBalanceStarts.clear(); }

void CLinkageManager::describeBalances(ManagerState& state) const { m_pBalance->describe(state); }

}  // namespace TC
