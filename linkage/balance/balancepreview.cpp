#include "linkage/balance/balanceorders.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/core/clinkagemanager.h"

namespace TC {

// Commands per stock go out through automatic balancing, which passes over accounts of
// other types; the grouped form does not ask for the type.
BalancePlan CLinkageManager::previewBalance(const std::string& accountkey,
                                            const std::string& strategy, bool grouped) const {
    const CLock lock(m_mutex);
    const auto form = grouped ? EBalanceForm::Grouped : EBalanceForm::SignalTask;
    if (m_pGuarded) return m_pGuarded->preview({accountkey, strategy}, form, !grouped);
    auto request = BalanceRequest::today(*this, accountkey, strategy, form, m_bClientType3);
    request.checkType = !grouped;
    return prepareBalance(request).plan;
}

BalancePlan CLinkageManager::previewHistoryBalance(const std::string& accountkey,
                                                   const std::string& strategy,
                                                   bool grouped) const {
    const CLock lock(m_mutex);
    const auto form = grouped ? EBalanceForm::GroupedHistory : EBalanceForm::SignalTask;
    if (m_pGuarded) return m_pGuarded->preview({accountkey, strategy, true}, form, true);
    const auto request =
        BalanceRequest::ofHistory(*this, accountkey, strategy, form, m_bClientType3);
    return prepareBalance(request).plan;
}

}  // namespace TC
