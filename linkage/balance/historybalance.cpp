#include "linkage/balance/balanceorders.h"
#include "linkage/balance/guardpicture.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/tape/step.h"
#include "platform/log.h"

namespace TC {

void CLinkageManager::doHistoryBalanceBySignalTask(const std::string& accountkey,
                                                   const std::string& strategy) {
    static constexpr BalanceTexts TEXTS{
        .operation = "TC::CLinkageManager::doHistoryBalanceBySignalTask",
        .noAccountData = "account data is empty",
        .noAccountInfo = "accountinfo is empty",
        .wrongType = "wrong brokertype {0}",
        .noFigures = "attountket:{0} strategy: {1} not find balance data",
        .balanced = "stock:{0} nDelta is nzero",
        .noInstrument = "instrumentDetailPtr is empty {0}",
    };
    const CStep step(tape(),
                     [&] { return callOf("doHistoryBalanceBySignalTask", accountkey, strategy); });
    const CLock lock(m_mutex);
    if (sendGuarded({accountkey, strategy, true}, EBalanceForm::SignalTask)) return;
    LINKAGE_LOG_INFO(TEXTS.operation, "balance start");
    const auto request = BalanceRequest::ofHistory(*this, accountkey, strategy,
                                                   EBalanceForm::SignalTask, m_bClientType3);
    sendPerStock(request, prepareBalance(request), TEXTS);
}

void CLinkageManager::doHistoryBalance(const std::string& accountkey, const std::string& strategy) {
    const CStep step(tape(), [&] { return callOf("doHistoryBalance", accountkey, strategy); });
    const CLock lock(m_mutex);
    if (sendGuarded({accountkey, strategy, true}, EBalanceForm::GroupedHistory)) return;
    const auto request = BalanceRequest::ofHistory(*this, accountkey, strategy,
                                                   EBalanceForm::GroupedHistory, m_bClientType3);
    sendGrouped(request, prepareBalance(request), "TC::CLinkageManager::doHistoryBalance");
}

}  // namespace TC
