#pragma once

#include "platform/export.h"

/// The numbers of the trade service. Values are fixed by its wire format.
namespace vexservice {

/// Direction of an order or a deal: the character codes of '0' and '1'.
enum EEntrustBS : int {
    ENTRUST_BUY = 48,   ///< buys
    ENTRUST_SELL = 49,  ///< sells
};

/// Whether an order or deal of a contract opens or closes a position.
enum EOffset_Flag_Type : int {
    OFFSET_NONE = 0,    ///< stocks: the direction alone decides
    OFFSET_OPEN = 48,   ///< opens a position
    OFFSET_CLOSE = 49,  ///< closes a position
};

/// Order status: the character codes of '0' to '9'.
enum EEntrustStatus : int {
    STATUS_UNREPORTED = 48,       ///< not yet sent to the exchange
    STATUS_WAIT_REPORTING = 49,   ///< waits to be sent
    STATUS_REPORTED = 50,         ///< the exchange has it
    STATUS_REPORTED_CANCEL = 51,  ///< the exchange has it, a cancellation is under way
    STATUS_PARTSUCC_CANCEL = 52,  ///< a part has traded, a cancellation of the rest is under way
    STATUS_PART_CANCEL = 53,      ///< a part has traded, the rest is cancelled; final
    STATUS_CANCELED = 54,         ///< cancelled; final
    STATUS_PART_SUCC = 55,        ///< a part has traded, the rest is in the market
    STATUS_SUCCEEDED = 56,        ///< all has traded; final
    STATUS_JUNK = 57,             ///< rejected; final
};

/// Status of an algorithmic task.
enum ETaskStatus : int {
    TASK_RUNNING = 3,              ///< trades
    TASK_PAUSED = 4,               ///< waits to be continued
    TASK_CANCELING = 5,            ///< a cancellation is under way
    TASK_EXCEPTION_CANCELING = 6,  ///< a cancellation after a fault is under way
    TASK_COMPLETED = 7,            ///< has traded all; final
    TASK_CANCELED = 8,             ///< cancelled; final
    TASK_REJECTED = 9,             ///< rejected; final
    TASK_EXCEPTION_CANCELED = 10,  ///< cancelled after a fault; final
    TASK_ENDED = 11,               ///< ended; final
    TASK_FORCED_TERMINATED = 12,   ///< terminated by force; final
};

/// What an order does, as the command center numbers it.
enum EOperationType : int {
    OPT_BUY = 18,   ///< buys
    OPT_SELL = 19,  ///< sells
};

/// How the price of an order is made. The asks are "sale", the bids are "buy"; level 1 is the best
/// one. The values from 30 to 34 and from 35 to 39 are the levels 6 to 10, in their order.
enum EPriceType : int {
    PRTP_SALE5 = 0,     ///< fifth ask
    PRTP_SALE4 = 1,     ///< fourth ask
    PRTP_SALE3 = 2,     ///< third ask
    PRTP_SALE2 = 3,     ///< second ask
    PRTP_SALE1 = 4,     ///< best ask
    PRTP_LATEST = 5,    ///< last price
    PRTP_BUY1 = 6,      ///< best bid
    PRTP_BUY2 = 7,      ///< second bid
    PRTP_BUY3 = 8,      ///< third bid
    PRTP_BUY4 = 9,      ///< fourth bid
    PRTP_BUY5 = 10,     ///< fifth bid
    PRTP_FIX = 11,      ///< the price that the settings name
    PRTP_MARKET = 12,   ///< the market's price
    PRTP_HANG = 13,     ///< best price of the order's own side: the best bid when it buys
    PRTP_COMPETE = 14,  ///< best price of the other side: the best ask when it buys
    PRTP_SALE6 = 30,    ///< sixth ask
    PRTP_SALE10 = 34,   ///< tenth ask
    PRTP_BUY6 = 35,     ///< sixth bid
    PRTP_BUY10 = 39,    ///< tenth bid
};

/// Stock types that the linkage library asks for.
enum EStockType : int {
    STOCKTYPE_REPURCHASE = 126,       ///< repurchases: the library does not follow them
    STOCKTYPE_SUBSCRIPTION = 100017,  ///< subscriptions: the library does not follow them
    STOCKTYPE_ANY_VOLUME_A = 1172,    ///< trades in any volume from one lot on
    STOCKTYPE_ANY_VOLUME_B = 1173,    ///< likewise, another type
};

/// Kinds of trading accounts (CAccountInfo::m_nType).
enum EAccountType : int {
    ACCOUNT_FUTURE = 1,  ///< futures: never balanced
    ACCOUNT_STOCK = 2,   ///< stocks
    ACCOUNT_CREDIT = 3,  ///< stocks on credit
};

/// What a command asks for.
enum ECommandType : int {
    COMMAND_STOCK = 1,   ///< orders of a stock account
    COMMAND_GROUP = 4,   ///< orders of several stocks together
    COMMAND_CREDIT = 8,  ///< orders of a credit account
};

/// Operations on algorithmic tasks.
enum ETaskOperation : int {
    TASK_OP_TERMINATE = 3,  ///< ends the task for good
};

/// Whether an order in this status may still trade.
LINKAGE_PLATFORM_EXPORT bool isRunningStatus(EEntrustStatus status);

/// Whether a direction buys. The offset flag matters for contracts only.
LINKAGE_PLATFORM_EXPORT bool isBuyByDirection(EEntrustBS direction, EOffset_Flag_Type offset);

/// Whether a price type leaves the price to the market.
LINKAGE_PLATFORM_EXPORT bool isRealMarketPrice(EPriceType priceType);

}  // namespace vexservice
