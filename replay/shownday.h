#pragma once

#include "linkage/core/clinkagemanager.h"
#include "paper/clientobserver.h"
#include "replay/recordingplayer.h"

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// What a manager shows of some accounts, as lines to be compared.
namespace replay {

/// Figures, records, running orders and tasks, history and balances of the accounts; each line says
/// where it stands. Empty for accounts that the manager does not know.
std::vector<std::string> shownOf(TC::CLinkageManager& manager,
                                 const std::set<std::string>& accounts);

/// All that a manager holds, as one text.
std::string wholeState(TC::CLinkageManager& manager);

/// The commands and cancellations for some accounts, with their moments, while a recording is
/// played.
class CShownRequests final : public IRecordingWatcher, private paper::IClientObserver {
public:
    /// `accounts` outlives it; empty: none are noted.
    explicit CShownRequests(const std::set<std::string>& accounts) : m_accounts(accounts) {}

    void before(const RecordedStep& /*step*/) override { ++m_steps; }
    paper::IClientObserver* requests() override { return this; }
    /// Those behind the first `steps` steps.
    std::vector<std::string> behind(std::uint64_t steps) const;

private:
    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t /*taskKey*/, bool /*server*/,
                       const vexservice::CTaskOpRecord& /*record*/) override {}
    void onCommand(const vexservice::COrderComandParam& command, int number) override;
    void note(const vexservice::CAccountInfo* account, const std::string& text);

    const std::set<std::string>& m_accounts;
    std::uint64_t m_steps = 0;
    std::vector<std::pair<std::uint64_t, std::string>> m_all;  ///< with the step before
};

}  // namespace replay
