#pragma once

#include "platform/records/idata.h"

#include <string>

namespace vexservice {

/// The command behind an order, deal or task: who asked for it, and under which
/// strategy. Orders and deals carry it as their strategy carrier.
struct LINKAGE_PLATFORM_EXPORT CCommandRecord {
    std::string m_strUser;
    int m_nKind = 0;
    std::string m_strTradeDate;      ///< "yyyyMMdd"
    std::string m_strStrategyName;   ///< primary name
    std::string m_strStrategyName2;  ///< secondary name
    std::string m_strTag;            ///< "历史配平" for balances of history
    /// The number that the command center gave the command (see CDovCommandCenter); 0: not known.
    int m_nCommand = 0;
};

}  // namespace vexservice
