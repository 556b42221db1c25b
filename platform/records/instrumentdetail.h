#pragma once

#include <string>

namespace vexservice {

/// What the exchange says of one stock for the day. Prices in yuan.
struct CInstrumentDetail {
    std::string m_strMarket;
    std::string m_strCode;
    std::string m_strName;
    std::string m_strProductID;
    double m_dPriceTick = 0.01;
    double m_dReferencePrice = 0.0;  ///< yesterday's close; 0: none
    double m_dLimitUp = 0.0;         ///< 0: none
    double m_dLimitDown = 0.0;       ///< 0: none
};

/// The texts by which an order names its stock.
struct CStockInfo {
    std::string m_strMarket;
    std::string m_strCode;
    std::string m_strName;
    std::string m_strProductID;
};

}  // namespace vexservice
