#pragma once

#include "platform/records/accountinfo.h"
#include "platform/records/enums.h"
#include "platform/records/instrumentdetail.h"

#include <vector>

namespace vexservice {

/// One order of a command.
struct CCodeOrderParam {
    boost::shared_ptr<CAccountInfo> m_pAccountInfo;
    CStockInfo m_stock;
    EOperationType m_eOperationType = OPT_BUY;
    std::int64_t m_nVolume = 0;  ///< shares
    int m_nOrderKind = 0;
    std::string m_strStrategyName;
    std::string m_strStrategyName2;
    int m_nStrategyMarker = 0;  ///< 9 when a strategy is named, else 0
    EPriceType m_ePriceType = PRTP_COMPETE;
    double m_dPrice = 0.0;  ///< yuan; 0 for a market order without protection
    int m_nValidFrom = 0;   ///< seconds of the day; 0, 0: the whole session
    int m_nValidTo = 0;
};

/// A command: one or several orders that belong together.
struct COrderComandParam {
    int m_nCommandType = COMMAND_STOCK;
    int m_nReserved1 = 0;
    int m_nReserved2 = 0;
    std::vector<boost::shared_ptr<CCodeOrderParam>> m_orders;
    int m_nReserved3 = 0;
    bool m_bGroup = false;
    bool m_bFurther = false;
    std::string m_strStrategyName;
    /// The strategy, too, or "历史配平" when the command balances history: then the tag of its
    /// orders, deals and tasks (CCommandRecord::m_strTag).
    std::string m_strStrategyName2;
    int m_nStrategyMarker = 0;
};

/// One block of the user's order settings.
struct COrderSetting {
    EPriceType m_ePriceType = PRTP_COMPETE;
    double m_dPrice = 0.0;  ///< for PRTP_FIX
};

/// Adjustments of an automatic price; none are in use.
struct CAutoPriceParam {};

}  // namespace vexservice

namespace TC {

/// The user's trade settings (user member 163): one order-setting block for stock
/// accounts, one for credit accounts.
struct CTradeSetting {
    vexservice::COrderSetting m_stock;
    vexservice::COrderSetting m_credit;

    CTradeSetting() = default;
    /// From the settings block of the user configuration; null gives the defaults.
    explicit CTradeSetting(const void* block) {
        if (block) *this = *static_cast<const CTradeSetting*>(block);
    }
};

/// Further data of a cancellation; none is in use.
struct COrderAuxInfo {};

}  // namespace TC
