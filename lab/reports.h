#pragma once

#include "platform/records/enums.h"

#include <cstdint>
#include <string>

/// What the broker tells, in the laboratory's own words.
namespace lab {

/// The tag of what balances history.
inline constexpr char HISTORY_TAG[] = "历史配平";

/// What orders and deals have in common.
struct Origin {
    int account = 0;
    int stock = 0;
    bool buys = false;
    std::string strategy;
    bool history = false;  ///< it balances what earlier days left
    int command = 0;       ///< number of its command; 0: not known
};

struct OrderReport {
    std::uint64_t key = 0;
    Origin of;
    std::int64_t volume = 0;
    std::int64_t traded = 0;
    vexservice::EEntrustStatus status = vexservice::STATUS_REPORTED;
    bool announced = true;  ///< else the data center keeps it and says nothing

    bool runs() const { return vexservice::isRunningStatus(status); }
};

struct DealReport {
    std::uint64_t key = 0;
    Origin of;
    std::int64_t volume = 0;
    std::uint64_t order = 0;  ///< record key of its order; 0: not named
    bool announced = true;
};

}  // namespace lab
