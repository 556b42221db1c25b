#pragma once

#include "platform/export.h"

/// The numbers of the trade service. Values are fixed by its wire format.
namespace vexservice {

enum EEntrustBS : int {
    ENTRUST_BUY = 48,
    ENTRUST_SELL = 49,
};

enum EOffset_Flag_Type : int {
    OFFSET_NONE = 0,  ///< stocks: the direction alone decides
    OFFSET_OPEN = 48,
    OFFSET_CLOSE = 49,
};

/// Order status: the character codes of '0' to '9'.
enum EEntrustStatus : int {
    STATUS_UNREPORTED = 48,
    STATUS_WAIT_REPORTING = 49,
    STATUS_REPORTED = 50,
    STATUS_REPORTED_CANCEL = 51,
    STATUS_PARTSUCC_CANCEL = 52,
    STATUS_PART_CANCEL = 53,
    STATUS_CANCELED = 54,
    STATUS_PART_SUCC = 55,
    STATUS_SUCCEEDED = 56,
    STATUS_JUNK = 57,
};

/// Status of an algorithmic task.
enum ETaskStatus : int {
    TASK_RUNNING = 3,
    TASK_PAUSED = 4,
    TASK_CANCELING = 5,
    TASK_EXCEPTION_CANCELING = 6,
    TASK_COMPLETED = 7,
    TASK_CANCELED = 8,
    TASK_REJECTED = 9,
    TASK_EXCEPTION_CANCELED = 10,
    TASK_ENDED = 11,
    TASK_FORCED_TERMINATED = 12,
};

enum EOperationType : int {
    OPT_BUY = 18,
    OPT_SELL = 19,
};

enum EPriceType : int {
    PRTP_SALE5 = 0,
    PRTP_SALE4 = 1,
    PRTP_SALE3 = 2,
    PRTP_SALE2 = 3,
    PRTP_SALE1 = 4,
    PRTP_LATEST = 5,
    PRTP_BUY1 = 6,
    PRTP_BUY2 = 7,
    PRTP_BUY3 = 8,
    PRTP_BUY4 = 9,
    PRTP_BUY5 = 10,
    PRTP_FIX = 11,
    PRTP_MARKET = 12,
    PRTP_HANG = 13,
    PRTP_COMPETE = 14,
    PRTP_SALE6 = 30,
    PRTP_SALE10 = 34,
    PRTP_BUY6 = 35,
    PRTP_BUY10 = 39,
};

/// Stock types that the linkage library asks for.
enum EStockType : int {
    STOCKTYPE_REPURCHASE = 126,
    STOCKTYPE_SUBSCRIPTION = 100017,
    STOCKTYPE_ANY_VOLUME_A = 1172,
    STOCKTYPE_ANY_VOLUME_B = 1173,
};

enum EAccountType : int {
    ACCOUNT_FUTURE = 1,
    ACCOUNT_STOCK = 2,
    ACCOUNT_CREDIT = 3,
};

/// What a command asks for.
enum ECommandType : int {
    COMMAND_STOCK = 1,
    COMMAND_GROUP = 4,
    COMMAND_CREDIT = 8,
};

enum ETaskOperation : int {
    TASK_OP_TERMINATE = 3,
};

/// Whether an order in this status may still trade.
LINKAGE_PLATFORM_EXPORT bool isRunningStatus(EEntrustStatus status);

/// Whether a direction buys. The offset flag matters for contracts only.
LINKAGE_PLATFORM_EXPORT bool isBuyByDirection(EEntrustBS direction, EOffset_Flag_Type offset);

/// Whether a price type leaves the price to the market.
LINKAGE_PLATFORM_EXPORT bool isRealMarketPrice(EPriceType priceType);

}  // namespace vexservice
