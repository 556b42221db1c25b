#pragma once

#include "linkage/balance/balancerule.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The rule of guarded balancing: a balance sends only what stays right however the open
/// orders end. Volumes are shares, 64 bit.
namespace TC {

/// One order of one stock of a pair, and the deals that name it.
struct GuardOrder {
    std::string strategy;
    bool buys = false;
    bool runs = false;
    bool named = false;        ///< a deal names it
    std::int64_t volume = 0;   ///< ordered
    std::int64_t traded = 0;   ///< by its newest report; 0 without any report
    std::int64_t dealt = 0;    ///< by the deals that name it
    std::int64_t counted = 0;  ///< of `dealt`, what the history record holds already
};

/// A deal that names no order.
struct GuardDeal {
    std::string strategy;
    bool buys = false;
    std::int64_t volume = 0;
    bool counted = false;  ///< the history record holds it already
};

/// The volume of an order, sent by a balance, that no report covers yet.
struct GuardUnheard {
    bool buys = false;
    std::int64_t volume = 0;
};

/// What is known of one stock of a pair.
struct GuardInput {
    std::int64_t bought = 0;  ///< as in the history record; 0 for a balance of today
    std::int64_t sold = 0;
    std::vector<GuardOrder> orders;
    std::vector<GuardDeal> deals;
    std::vector<GuardUnheard> unheard;
    bool taskRuns = false;  ///< a task of the pair runs and has the stock among its items
};

struct GuardVolumes {
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    std::int64_t openBuys = 0;
    std::int64_t openSells = 0;
    bool taskRuns = false;

    std::int64_t least() const { return bought - sold - openSells; }
    std::int64_t most() const { return bought - sold + openBuys; }
};

/// Adds up the volumes. An order has traded the larger of its report and its deals. Orders that
/// no deal names stand against the deals that name no order: the larger sum counts, for each
/// strategy apart. Where the history record holds deals already, only what goes beyond them is
/// added.
GuardVolumes guardVolumes(const GuardInput& input);

/// What to sell (positive) or to buy (negative) before lots are looked at; 0 for nothing.
std::int64_t guardSurplus(const GuardVolumes& volumes);

/// Decides for one stock: the surplus, in lots as decideBalance has them. When 32 bits cannot
/// hold the surplus, only a part of it is sent. `lot` is empty when the stock has no instrument
/// detail; it is not looked at where there is nothing to send.
BalanceDecision decideGuarded(const GuardVolumes& volumes, const std::optional<BalanceLot>& lot,
                              EBalanceForm form);

}  // namespace TC
