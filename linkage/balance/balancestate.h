#pragma once

#include "linkage/core/managerstate.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/tape/moment.h"

#include <cstdint>
#include <map>
#include <string>

namespace TC {

/// What balancing remembers. Guarded by the manager's lock, but for the table of
/// balance times, which has a lock of its own.
struct BalanceState {
    /// account, strategy: second of the start. An entry stands while a balance of the
    /// pair is pending; an account may keep an empty entry until the day ends.
    std::map<std::string, std::map<std::string, int>> m_autoBalanceStarts;
    bool m_bAutoBalanceRunning = false;  ///< the watchdog is armed

    /// balance key: "hhmmss"
    CPublished<std::map<std::string, std::string>> m_balanceTimes;

    /// What the file of the kept balance times said at the start; the options decide whether
    /// it counts.
    std::string m_strKeptTimes;

    void describe(ManagerState& state) const {
        state.autoBalanceStarts = m_autoBalanceStarts;
        state.balanceTimes = m_balanceTimes.get();
    }

    const int* findStart(const std::string& accountkey, const std::string& strategy) const {
        const auto account = m_autoBalanceStarts.find(accountkey);
        if (account == m_autoBalanceStarts.end()) return nullptr;
        const auto start = account->second.find(strategy);
        return start == account->second.end() ? nullptr : &start->second;
    }
};

/// The current second, as balances are timed.
inline int balanceSecond() { return static_cast<int>(nowMicros() / 1'000'000); }

/// Whether a balance still waits for its cancellations: for 30 s from its start.
inline bool waitsForCancellations(int now, int start) {
    const auto passed = static_cast<std::uint32_t>(now) - static_cast<std::uint32_t>(start);
    return static_cast<std::int32_t>(passed) < 30;
}

}  // namespace TC
