#pragma once

#include "platform/records/accountinfo.h"
#include "platform/records/enums.h"
#include "platform/records/instrumentdetail.h"

#include <vector>

namespace vexservice {

/// One order of a command.
struct CCodeOrderParam {
    boost::shared_ptr<CAccountInfo> m_pAccountInfo;  ///< who trades
    CStockInfo m_stock;                              ///< what is traded, as its detail says
    EOperationType m_eOperationType = OPT_BUY;       ///< whether it buys or sells
    std::int64_t m_nVolume = 0;                      ///< shares
    int m_nOrderKind = 0;                            ///< 49 in orders of the library
    std::string m_strStrategyName;                   ///< primary name; goes back in the carrier
    std::string m_strStrategyName2;                  ///< secondary name, likewise
    int m_nStrategyMarker = 0;                       ///< 9 when a strategy is named, else 0
    EPriceType m_ePriceType = PRTP_COMPETE;          ///< how the price was made
    double m_dPrice = 0.0;  ///< yuan; 0 for a market order without protection
    int m_nValidFrom = 0;   ///< seconds of the day; 0, 0: the whole session
    int m_nValidTo = 0;     ///< seconds of the day, the end; see m_nValidFrom
};

/// A command: one or several orders that belong together.
struct COrderComandParam {
    int m_nCommandType = COMMAND_STOCK;                        ///< an ECommandType
    int m_nReserved1 = 0;                                      ///< 0: not used
    int m_nReserved2 = 0;                                      ///< 0: not used
    std::vector<boost::shared_ptr<CCodeOrderParam>> m_orders;  ///< at least one
    int m_nReserved3 = 0;                                      ///< 0: not used
    bool m_bGroup = false;    ///< true when the command has the orders of several stocks together
    bool m_bFurther = false;  ///< false: not used
    std::string m_strStrategyName;  ///< primary name of the strategy; "" for none
    /// The strategy, too, or "历史配平" when the command balances history: then the tag of its
    /// orders, deals and tasks (CCommandRecord::m_strTag).
    std::string m_strStrategyName2;
    int m_nStrategyMarker = 0;  ///< 9 when a strategy is named, else 0
};

/// One block of the user's order settings.
struct COrderSetting {
    EPriceType m_ePriceType = PRTP_COMPETE;  ///< how prices are made
    double m_dPrice = 0.0;                   ///< for PRTP_FIX
};

/// Adjustments of an automatic price; none are in use.
struct CAutoPriceParam {};

}  // namespace vexservice

namespace TC {

/// The user's trade settings (user member 163): one order-setting block for stock
/// accounts, one for credit accounts.
struct CTradeSetting {
    vexservice::COrderSetting m_stock;   ///< for stock accounts
    vexservice::COrderSetting m_credit;  ///< for credit accounts

    CTradeSetting() = default;
    /// From the settings block of the user configuration; null gives the defaults.
    explicit CTradeSetting(const void* block) {
        if (block) *this = *static_cast<const CTradeSetting*>(block);
    }
};

/// Further data of a cancellation; none is in use.
struct COrderAuxInfo {};

}  // namespace TC
