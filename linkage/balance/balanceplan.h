#pragma once

#include "linkage/balance/balancerule.h"

#include <cstdint>
#include <string>
#include <vector>

namespace TC {

/// Why nothing at all is planned for a pair.
enum class EBalanceRefusal {
    None,              ///< something is planned, or every stock says why not
    NoAccountData,     ///< the data center does not know the account
    NoAccountInfo,     ///< the data center has no info of the account
    WrongAccountType,  ///< only stock and credit accounts are balanced
    NoFigures,         ///< nothing of the pair was traded
    NoAnswer,          ///< the data center threw when it was asked for the account
};

/// What balancing does about one stock. Volumes are shares, the price is yuan.
struct StockBalance {
    std::string stockKey;                                 ///< market and code ("SH600000")
    std::int32_t bought = 0;                              ///< volume bought
    std::int32_t sold = 0;                                ///< volume sold
    std::int32_t difference = 0;                          ///< bought less sold
    EBalanceOutcome outcome = EBalanceOutcome::Balanced;  ///< an order, or why there is none

    // with the guard: bought less sold ends between these two, however the open orders end
    std::int64_t least = 0;  ///< with the guard: the least that bought less sold may become
    std::int64_t most = 0;   ///< with the guard: the most that it may become

    // meaningful with the outcome Order
    vexservice::EOperationType side = vexservice::OPT_BUY;  ///< with an order: buys or sells
    std::int64_t volume = 0;                                ///< with an order: above 0
    /// With an order: how its price was made.
    vexservice::EPriceType priceType = vexservice::PRTP_COMPETE;
    double price = 0.0;  ///< 0 for a market order without protection
};

/// What balancing a pair sends, and for each stock that gets no order the reason.
struct BalancePlan {
    EBalanceForm form = EBalanceForm::SignalTask;     ///< how the orders would be sent
    EBalanceRefusal refusal = EBalanceRefusal::None;  ///< why nothing at all is planned
    std::vector<StockBalance> stocks;                 ///< in stock key order
};

}  // namespace TC
