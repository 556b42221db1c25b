#pragma once

#include "linkage/core/clinkagemanager.h"
#include "replay/playfilter.h"

#include <set>
#include <string>
#include <string_view>

namespace replay {

/// Leaves out what concerns other accounts alone: their reports, calls that name only them, prices
/// that nobody else asked for. For the manager these accounts have no records.
///
/// What draws a number stays, because later ones are counted from it: questions for past days, and
/// with the guard balances. So do timers, which accounts share.
class CAccountFilter final : public IPlayFilter {
public:
    /// `accounts` are kept. `works` have lines of their own.
    CAccountFilter(TC::CLinkageManager& manager, const std::set<std::string>& accounts,
                   const std::set<RecordedWorks::key_type>& works)
        : m_manager(manager), m_accounts(accounts), m_works(works) {}

    /// Drops the records that the manager has of other accounts.
    void dropOthers();

    bool leavesOut(const CFields& line, const std::string& kind) override;
    std::optional<TC::TapeAnswer> answer(const TC::TapeQuestion& question) override;
    const RecordedWorks::key_type* instead(const RecordedWorks& works,
                                           const RecordedWorks::key_type& missing) override;

private:
    bool isOther(std::string_view account) const {
        return !account.empty() && !m_accounts.contains(std::string(account));
    }
    bool isReportOfOthers(const CFields& line) const;
    bool isTaskOfOthers(const CFields& line) const;
    bool isCallOfOthers(const CFields& line) const;

    TC::CLinkageManager& m_manager;
    const std::set<std::string>& m_accounts;
    const std::set<RecordedWorks::key_type>& m_works;
};

}  // namespace replay
