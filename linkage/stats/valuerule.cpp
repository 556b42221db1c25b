#include "linkage/stats/valuerule.h"

#include "platform/services/clientconfig.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/text.h"

namespace TC {

ValueRule valueRule(const std::string& stockKey) {
    const auto detail =
        utils::CSingletonT<CStockManager>::instance()->getInstrumentDetail(Pim::sToQs(stockKey));
    if (!detail) return {};
    const EUserMember member =
        isSpecialTreatment(stockKey) ? USER_LIMIT_PERCENT_ST : USER_LIMIT_PERCENT;
    return {DayLimits{detail->m_dLimitUp, detail->m_dLimitDown},
            getUserConfig()->getUserDataDouble(member) / 100.0, detail->m_dReferencePrice};
}

}  // namespace TC
