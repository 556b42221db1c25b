#pragma once

#include "platform/records/accountinfo.h"

namespace vexservice {

/// One report of a position: today's or yesterday's lots of one stock, on one
/// shareholder account.
struct LINKAGE_PLATFORM_EXPORT CPositionStatics : INumberedData {
    std::string m_strMarket;  ///< "SH" or "SZ"
    std::string m_strCode;    ///< the stock's code in its market ("600000")
    int m_nVolume = 0;        ///< shares held
    int m_nAvailable = 0;     ///< shares that may be sold today
    double m_dCost = 0.0;     ///< cost price per share, yuan
    /// Whose position it is; without it a report is merged with no other.
    boost::shared_ptr<CAccountInfo> m_pAccountInfo;
};

}  // namespace vexservice
