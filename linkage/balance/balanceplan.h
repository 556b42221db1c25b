#pragma once

#include "linkage/balance/balancerule.h"

#include <cstdint>
#include <string>
#include <vector>

namespace TC {

/// Why nothing at all is planned for a pair.
enum class EBalanceRefusal {
    None,
    NoAccountData,
    NoAccountInfo,
    WrongAccountType,  ///< only stock and credit accounts are balanced
    NoFigures,         ///< nothing of the pair was traded
    NoAnswer,          ///< the data center threw when it was asked for the account
};

/// What balancing does about one stock. Volumes are shares, the price is yuan.
struct StockBalance {
    std::string stockKey;
    std::int32_t bought = 0;
    std::int32_t sold = 0;
    std::int32_t difference = 0;  ///< bought less sold
    EBalanceOutcome outcome = EBalanceOutcome::Balanced;

    // with the guard: bought less sold ends between these two, however the open orders end
    std::int64_t least = 0;
    std::int64_t most = 0;

    // meaningful with the outcome Order
    vexservice::EOperationType side = vexservice::OPT_BUY;
    std::int64_t volume = 0;
    vexservice::EPriceType priceType = vexservice::PRTP_COMPETE;
    double price = 0.0;  ///< 0 for a market order without protection
};

/// What balancing a pair sends, and for each stock that gets no order the reason.
struct BalancePlan {
    EBalanceForm form = EBalanceForm::SignalTask;
    EBalanceRefusal refusal = EBalanceRefusal::None;
    std::vector<StockBalance> stocks;  ///< in stock key order
};

}  // namespace TC
