#include "platform/records/accountinfo.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/ratelimit.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/keys.h"

#include <algorithm>

namespace vexservice {

IData::~IData() = default;

std::string INumberedData::getKey() const { return std::to_string(m_nRecordKey); }

std::uint64_t CAccountInfo::hash() const { return utils::hash(m_strKey); }

bool isRunningStatus(EEntrustStatus status) {
    return (status >= STATUS_UNREPORTED && status <= STATUS_PARTSUCC_CANCEL) ||
           status == STATUS_PART_SUCC;
}

bool isBuyByDirection(EEntrustBS direction, EOffset_Flag_Type) { return direction == ENTRUST_BUY; }

bool isRealMarketPrice(EPriceType priceType) { return priceType == PRTP_MARKET; }

double COrderDetailHelper::calcDealCommission(
    const boost::shared_ptr<CStkExchangeRateLimit>& limits,
    const boost::shared_ptr<CDealDetail>& deal) {
    if (!limits || !deal) return 0.0;
    const double amount = deal->m_dAmount;
    const bool buys = isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
    return std::max(limits->m_dRate * amount, limits->m_dMinimum) + limits->m_dTransfer * amount +
           (buys ? 0.0 : limits->m_dStamp * amount);
}

std::string CTaskHelper::genServerTaskKey(const boost::shared_ptr<CTaskDetail>& task) {
    return task ? "task_" + std::to_string(task->recordKey()) : std::string();
}

}  // namespace vexservice
