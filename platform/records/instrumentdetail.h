#pragma once

#include <string>

namespace vexservice {

/// What the exchange says of one stock for the day. Prices in yuan.
struct CInstrumentDetail {
    std::string m_strMarket;         ///< "SH" or "SZ"
    std::string m_strCode;           ///< the code in its market ("600000")
    std::string m_strName;           ///< the stock's name, for people
    std::string m_strProductID;      ///< the product's ID; goes into orders as it is
    double m_dPriceTick = 0.01;      ///< yuan: smallest step of a price
    double m_dReferencePrice = 0.0;  ///< yesterday's close; 0: none
    double m_dLimitUp = 0.0;         ///< 0: none
    double m_dLimitDown = 0.0;       ///< 0: none
};

/// The texts by which an order names its stock.
struct CStockInfo {
    std::string m_strMarket;     ///< "SH" or "SZ"
    std::string m_strCode;       ///< the code in its market ("600000")
    std::string m_strName;       ///< the stock's name, for people
    std::string m_strProductID;  ///< the product's ID
};

}  // namespace vexservice
