#pragma once

#include "platform/records/accountinfo.h"
#include "platform/records/commandrecord.h"
#include "platform/records/enums.h"

namespace vexservice {

/// One report of an order. Figures are cumulative: each report replaces the one
/// before it.
struct LINKAGE_PLATFORM_EXPORT COrderDetail : INumberedData {
    EEntrustBS m_eDirection = ENTRUST_BUY;          ///< buys or sells
    EOffset_Flag_Type m_eOffsetFlag = OFFSET_NONE;  ///< OFFSET_NONE for stocks
    EEntrustStatus m_eStatus = STATUS_UNREPORTED;   ///< as of this report
    int m_nVolume = 0;                              ///< ordered, in shares
    int m_nTradedVolume = 0;                        ///< traded so far, in shares
    bool m_bImported = false;                       ///< read from a statement file
    double m_dPrice = 0.0;                          ///< order price, yuan
    double m_dTradedAmount = 0;                     ///< traded so far, yuan
    std::string m_strMarket;                        ///< "SH" or "SZ"
    std::string m_strCode;                          ///< the stock's code in its market ("600000")
    std::string m_strTradeDate;                     ///< "yyyyMMdd"
    std::string m_strSysID;                         ///< the exchange's number of the order
    std::string m_strRemark;  ///< from the broker or the exchange, such as a reason to reject
    boost::shared_ptr<CAccountInfo> m_pAccountInfo;  ///< whose order it is; may be empty
    boost::shared_ptr<CCommandRecord> m_pCommand;    ///< strategy carrier; may be empty
};

/// Rules of orders.
struct LINKAGE_PLATFORM_EXPORT COrderDetailHelper {
    /// As isRunningStatus().
    static bool isRunning(EEntrustStatus status) { return isRunningStatus(status); }

    /// Commission of a deal in yuan under the given fee limits (see
    /// CStkExchangeRateLimit); 0 without limits or deal.
    static double calcDealCommission(const boost::shared_ptr<struct CStkExchangeRateLimit>& limits,
                                     const boost::shared_ptr<struct CDealDetail>& deal);
};

}  // namespace vexservice
