#pragma once

#include "linkage/ledger/types.h"

namespace TC {

/// What a record adds to a total.
struct TradedValue {
    EffectiveFigures figures;
    double commission = 0.0;
    double profit = 0.0;
    double positionValue = 0.0;
};

inline TradedValue valueOf(const LinkagePeriodExtData& record, bool clientType3) {
    const DealWorth& worth = record.worth();
    return {effectiveFigures(record, clientType3), record.deals().m_dCommission, worth.m_dProfit,
            worth.m_dPositionValue};
}

}  // namespace TC
