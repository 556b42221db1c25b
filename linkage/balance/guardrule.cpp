#include "linkage/balance/guardrule.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

namespace TC {

namespace {

/// Sums over orders and deals of one strategy and side that do not name each other.
struct Apart {
    std::int64_t reported = 0;
    std::int64_t dealt = 0;
    std::int64_t counted = 0;
};

}  // namespace

GuardVolumes guardVolumes(const GuardInput& input) {
    GuardVolumes volumes{.bought = input.bought, .sold = input.sold, .taskRuns = input.taskRuns};
    const auto traded = [&](bool buys) -> std::int64_t& {
        return buys ? volumes.bought : volumes.sold;
    };
    const auto open = [&](bool buys) -> std::int64_t& {
        return buys ? volumes.openBuys : volumes.openSells;
    };
    std::map<std::pair<std::string, bool>, Apart> apart;
    for (const GuardOrder& order : input.orders) {
        const std::int64_t done = std::max(order.traded, order.dealt);
        if (order.runs) open(order.buys) += std::max<std::int64_t>(order.volume - done, 0);
        if (order.named) {
            traded(order.buys) += done - order.counted;
        } else {
            apart[{order.strategy, order.buys}].reported += order.traded;
        }
    }
    for (const GuardDeal& deal : input.deals) {
        Apart& sums = apart[{deal.strategy, deal.buys}];
        sums.dealt += deal.volume;
        if (deal.counted) sums.counted += deal.volume;
    }
    for (const auto& [key, sums] : apart) {
        traded(key.second) += std::max(sums.reported, sums.dealt) - sums.counted;
    }
    for (const GuardUnheard& sent : input.unheard) {
        open(sent.buys) += std::max<std::int64_t>(sent.volume, 0);
    }
    return volumes;
}

std::int64_t guardSurplus(const GuardVolumes& volumes) {
    if (volumes.least() > 0) return volumes.least();
    if (volumes.most() < 0) return volumes.most();
    return 0;
}

BalanceDecision decideGuarded(const GuardVolumes& volumes, const std::optional<BalanceLot>& lot,
                              EBalanceForm form) {
    const std::int64_t surplus = guardSurplus(volumes);
    if (surplus == 0) {
        const bool balanced = volumes.bought == volumes.sold;
        return {balanced ? EBalanceOutcome::Balanced : EBalanceOutcome::Waiting};
    }
    if (volumes.taskRuns) return {EBalanceOutcome::TaskRunning};
    constexpr std::int64_t MOST = std::numeric_limits<std::int32_t>::max();
    const auto size = static_cast<std::int32_t>(std::min(surplus > 0 ? surplus : -surplus, MOST));
    EffectiveFigures figures;
    (surplus > 0 ? figures.buyVolume : figures.sellVolume) = size;
    return decideBalance(figures, lot, form);
}

}  // namespace TC
