#pragma once

#include "platform/records/commandrecord.h"

#include <string>

namespace TC {

/// The tag of orders, deals and tasks that balance history: they are kept apart from
/// the day's strategies.
inline constexpr char HISTORY_BALANCE_TAG[] = "历史配平";

inline bool isHistoryBalance(const vexservice::CCommandRecord* carrier) {
    return carrier && !carrier->m_strTag.empty() && carrier->m_strTag == HISTORY_BALANCE_TAG;
}

/// The strategy that a record belongs to: the carrier's primary name, else its
/// secondary one, else none.
inline const std::string& strategyOf(const vexservice::CCommandRecord* carrier) {
    static const std::string none;
    if (!carrier) return none;
    return carrier->m_strStrategyName.empty() ? carrier->m_strStrategyName2
                                              : carrier->m_strStrategyName;
}

}  // namespace TC
