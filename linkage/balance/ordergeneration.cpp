#include "linkage/balance/balanceorders.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/tape/step.h"
#include "platform/log.h"
#include "platform/utils/numberformat.h"

#include <mongo/bson/bson.h>

namespace TC {

void CLinkageManager::doStockBalanceBySignalTask(const std::string& accountkey,
                                                 const std::string& strategy) {
    static constexpr BalanceTexts TEXTS{
        .operation = "TC::CLinkageManager::doStockBalanceBySignalTask",
        .noAccountData = "{0} : accountData is empty",
        .noAccountInfo = "{0} : accountinfoPtr is empty",
        .wrongType = "",
        .noFigures = "{0} ：trade datas is empty",
        .balanced = "stock {0} balance volume is zero",
        .noInstrument = "stock {0} CInstrumentDetailPtr is empty",
    };
    const CStep step(tape(),
                     [&] { return callOf("doStockBalanceBySignalTask", accountkey, strategy); });
    const CLock lock(m_mutex);
    if (sendGuarded({accountkey, strategy}, EBalanceForm::SignalTask)) return;
    LINKAGE_LOG_INFO(TEXTS.operation, "start：{0} ", accountkey);
    const auto request = BalanceRequest::today(*this, accountkey, strategy,
                                               EBalanceForm::SignalTask, m_bClientType3);
    sendPerStock(request, prepareBalance(request), TEXTS);
}

void CLinkageManager::doStockBalance(const std::string& accountkey, const std::string& strategy) {
    const CStep step(tape(), [&] { return callOf("doStockBalance", accountkey, strategy); });
    const CLock lock(m_mutex);
    if (sendGuarded({accountkey, strategy}, EBalanceForm::Grouped)) return;
    const auto request =
        BalanceRequest::today(*this, accountkey, strategy, EBalanceForm::Grouped, m_bClientType3);
    sendGrouped(request, prepareBalance(request), "TC::CLinkageManager::doStockBalance");
}

// False without the guard. Before init() nobody knows what runs, and nothing is sent.
bool CLinkageManager::sendGuarded(const GuardPair& pair, EBalanceForm form) {
    if (!m_options.guard) return false;
    if (m_pGuarded) {
        m_pGuarded->sendAtOnce(pair, form);
    } else {
        LINKAGE_LOG_WARNING("TC::CLinkageManager::sendGuarded",
                            "{0} : nothing is balanced before init", pair.account);
    }
    return true;
}

std::string CLinkageManager::genTradeParam(const QString& stockcode, int pricetype, double price,
                                           int vol) const {
    bson::BSONObjBuilder builder(512);
    builder.append("stockcode", stockcode.toStdString());
    builder.append("pricetype", std::to_string(pricetype));
    builder.append("price", utils::formatDoubleNumber(price, utils::FORMAT_NUMBER_SHORTEST));
    builder.append("vol", utils::formatIntNumber(vol, 0, utils::FORMAT_NUMBER_NONE));
    return builder.obj().jsonString(bson::Strict, 0);
}

}  // namespace TC
