#pragma once

#include "platform/records/accountinfo.h"
#include "platform/records/commandrecord.h"
#include "platform/records/enums.h"

namespace vexservice {

/// One deal (fill).
struct LINKAGE_PLATFORM_EXPORT CDealDetail : INumberedData {
    EEntrustBS m_eDirection = ENTRUST_BUY;          ///< bought or sold
    EOffset_Flag_Type m_eOffsetFlag = OFFSET_NONE;  ///< OFFSET_NONE for stocks
    int m_nVolume = 0;                              ///< shares
    double m_dPrice = 0.0;                          ///< yuan
    double m_dAmount = 0.0;                         ///< yuan: what its shares cost together
    std::string m_strMarket;                        ///< "SH" or "SZ"
    std::string m_strCode;                          ///< the stock's code in its market ("600000")
    std::string m_strTradeDate;                     ///< "yyyyMMdd"
    std::string m_strTradeTime;                     ///< "hhmmss"
    std::string m_strDealID;                        ///< the exchange's number of the deal
    std::uint64_t m_nOrderKey = 0;  ///< record key of the deal's order; 0: not known
    boost::shared_ptr<CAccountInfo> m_pAccountInfo;  ///< whose deal it is; may be empty
    boost::shared_ptr<CCommandRecord> m_pCommand;    ///< strategy carrier; may be empty
    bool m_bImported = false;                        ///< read from a statement file
};

}  // namespace vexservice
