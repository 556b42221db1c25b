#include "linkage/balance/balancerule.h"

#include <algorithm>
#include <limits>

namespace TC {

namespace {

/// The volume to order on a side, 0 for none.
std::int32_t orderVolume(std::int32_t size, vexservice::EOperationType side, const BalanceLot& lot,
                         EBalanceForm form) {
    const std::int32_t unit = std::max(lot.unit, 1);
    if (size < unit) {
        const bool oddLot = form == EBalanceForm::SignalTask && side == vexservice::OPT_SELL;
        return oddLot ? size : 0;
    }
    if (form == EBalanceForm::GroupedHistory || lot.anyVolume) return size;
    return size - size % unit;
}

}  // namespace

BalanceDecision decideBalance(const EffectiveFigures& figures, const std::optional<BalanceLot>& lot,
                              EBalanceForm form) {
    using enum EBalanceOutcome;
    const std::int32_t difference = figures.net();
    if (difference == 0) return {Balanced};
    if (!lot) return {NoInstrument};
    if (difference == std::numeric_limits<std::int32_t>::min()) return {BelowLot};

    // The forms differ here only where the difference has wrapped.
    const bool sells = form == EBalanceForm::GroupedHistory
                           ? difference > 0
                           : figures.buyVolume > figures.sellVolume;
    const auto side = sells ? vexservice::OPT_SELL : vexservice::OPT_BUY;
    const std::int32_t size = difference < 0 ? -difference : difference;
    const std::int32_t volume = orderVolume(size, side, *lot, form);
    if (volume == 0) return {BelowLot};
    return {Order, side, volume};
}

}  // namespace TC
