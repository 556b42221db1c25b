#pragma once

#include "platform/records/idata.h"

namespace vexservice {

/// What a deal costs on one account: max(rate × amount, minimum)
/// + transfer × amount + (stamp × amount when it sells). Rates are fractions of the
/// amount, the minimum is in yuan.
struct CStkExchangeRateLimit {
    double m_dRate = 0.0;      ///< commission, a fraction of the amount
    double m_dMinimum = 0.0;   ///< least commission of a deal, yuan
    double m_dTransfer = 0.0;  ///< transfer fee, a fraction of the amount
    double m_dStamp = 0.0;     ///< stamp duty of a sale, a fraction of the amount
};

}  // namespace vexservice
