#pragma once

#include "platform/records/idata.h"

namespace vexservice {

/// What a deal costs on one account: max(rate × amount, minimum)
/// + transfer × amount + (stamp × amount when it sells). Rates are fractions of the
/// amount, the minimum is in yuan.
struct CStkExchangeRateLimit {
    double m_dRate = 0.0;
    double m_dMinimum = 0.0;
    double m_dTransfer = 0.0;
    double m_dStamp = 0.0;
};

}  // namespace vexservice
