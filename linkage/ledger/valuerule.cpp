#include "linkage/ledger/valuerule.h"

#include "linkage/tape/services.h"
#include "platform/utils/text.h"

namespace TC {

std::optional<DayLimits> dayLimits(const QString& stockKey) {
    const auto detail = service<CStockManager>().getInstrumentDetail(stockKey);
    if (!detail) return std::nullopt;
    return DayLimits{detail->m_dLimitUp, detail->m_dLimitDown};
}

double limitRate(bool specialTreatment) {
    const EUserMember member = specialTreatment ? USER_LIMIT_PERCENT_ST : USER_LIMIT_PERCENT;
    return service<CUserConfig>().getUserDataDouble(member) / 100.0;
}

ValueRule valueRule(const std::string& stockKey) {
    const auto detail = service<CStockManager>().getInstrumentDetail(Pim::sToQs(stockKey));
    if (!detail) return {};
    return {DayLimits{detail->m_dLimitUp, detail->m_dLimitDown},
            limitRate(isSpecialTreatment(stockKey)), detail->m_dReferencePrice};
}

}  // namespace TC
