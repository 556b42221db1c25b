#pragma once

#include "linkage/ledger/profitrule.h"
#include "linkage/ledger/tradedvalue.h"
#include "linkage/ledger/volume.h"

#include <optional>
#include <vector>

namespace TC {

/// What the account-wide figures of a stock have beyond those of the account's strategies.
/// Without any strategy that is the account-wide record itself; otherwise it is valued by the
/// profit rule, because neither profits at a price limit nor position values of opposite
/// positions can be subtracted. A side with no volume left gets the amount 0, because
/// subtraction would leave a rounding error.
template <class PricesNow>
TradedValue remainder(const TradedValue& wide, const std::vector<TradedValue>& named,
                      PricesNow pricesNow) {
    if (named.empty()) return wide;
    TradedValue rest{wide.figures, wide.commission};
    EffectiveFigures& figures = rest.figures;
    for (const TradedValue& value : named) {
        figures.buyVolume = wrapSub(figures.buyVolume, value.figures.buyVolume);
        figures.sellVolume = wrapSub(figures.sellVolume, value.figures.sellVolume);
        figures.buyAmount -= value.figures.buyAmount;
        figures.sellAmount -= value.figures.sellAmount;
        rest.commission -= value.commission;
    }
    if (figures.buyVolume == 0) figures.buyAmount = 0.0;
    if (figures.sellVolume == 0) figures.sellAmount = 0.0;
    if (figures.buyVolume == 0 && figures.sellVolume == 0) return {};
    const std::optional<ValuePrices> prices = pricesNow();
    if (!prices) return rest;
    rest.profit =
        profitOf(figures.net(), figures.buyAmount, figures.sellAmount, rest.commission, *prices);
    rest.positionValue = positionValueOf(figures.net(), prices->price);
    return rest;
}

}  // namespace TC
