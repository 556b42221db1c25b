#pragma once

#include "platform/records/idata.h"

#include <string>

namespace vexservice {

/// The command behind an order, deal or task: who asked for it, and under which
/// strategy. Orders and deals carry it as their strategy carrier.
struct LINKAGE_PLATFORM_EXPORT CCommandRecord {
    std::string m_strUser;          ///< who asked; the day's tasks of other users are not followed
    int m_nKind = 0;                ///< of a task's command: only tasks of kind 0 or 1 are followed
    std::string m_strTradeDate;     ///< "yyyyMMdd"
    std::string m_strStrategyName;  ///< primary name
    std::string m_strStrategyName2;  ///< secondary name
    /// "历史配平" for balances of history, as the command said (see COrderComandParam); whoever has
    /// this tag is in the figures of history, not of the day.
    std::string m_strTag;
    /// The number that the command center gave the command (see CDovCommandCenter); 0: not known.
    int m_nCommand = 0;
};

}  // namespace vexservice
