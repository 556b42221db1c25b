#pragma once

#include "linkage/export.h"
#include "linkage/ledger/types.h"
#include "platform/records/enums.h"

#include <cstdint>
#include <optional>

/// @file
/// The one decision of balancing: what a stock needs so that its bought and its sold
/// volume become equal.
namespace TC {

/// How balances are sent. The forms round differently.
enum class EBalanceForm {
    SignalTask,      ///< one command per stock; odd lots may be sold, whole lots bought
    Grouped,         ///< one command for today's stocks; whole lots only
    GroupedHistory,  ///< one command for stocks of earlier days; exact from one lot on
};

/// What balancing does about one stock, or why it does nothing.
enum class EBalanceOutcome {
    Order,         ///< an order is sent
    Balanced,      ///< bought and sold volume are equal
    BelowLot,      ///< the difference cannot be traded
    NoInstrument,  ///< the instrument manager has no detail of the stock

    // with the guard alone
    Waiting,      ///< open orders decide whether the volumes end unequal
    TaskRunning,  ///< a task of the pair still trades the stock

    NoAnswer,  ///< a service of the client threw when it was asked for price or instrument
};

/// In what volumes a stock trades.
struct BalanceLot {
    int unit = 100;          ///< shares; below 1 counts as 1
    bool anyVolume = false;  ///< any volume from one lot on, not only whole lots
};

/// The decision for one stock.
struct BalanceDecision {
    EBalanceOutcome outcome = EBalanceOutcome::Balanced;    ///< an order, or why there is none
    vexservice::EOperationType side = vexservice::OPT_BUY;  ///< meaningful with Order
    std::int32_t volume = 0;                                ///< shares, positive with Order
};

/// Decides for one stock. `lot` is empty when the stock has no instrument detail; it
/// is not looked at when the stock is balanced.
///
/// A difference of -2^31 has no size in 32 bits; it counts as below a lot.
LINKAGE_EXPORT BalanceDecision decideBalance(const EffectiveFigures& figures,
                                             const std::optional<BalanceLot>& lot,
                                             EBalanceForm form);

}  // namespace TC
