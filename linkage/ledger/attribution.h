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

/// The strategy that stands for the account as a whole. A record without a strategy
/// belongs to it alone; a record of a strategy belongs to both.
inline const std::string WHOLE_ACCOUNT;

/// The strategy that a record belongs to: the carrier's primary name, else its
/// secondary one, else WHOLE_ACCOUNT.
inline const std::string& strategyOf(const vexservice::CCommandRecord* carrier) {
    if (!carrier) return WHOLE_ACCOUNT;
    return carrier->m_strStrategyName.empty() ? carrier->m_strStrategyName2
                                              : carrier->m_strStrategyName;
}

}  // namespace TC
