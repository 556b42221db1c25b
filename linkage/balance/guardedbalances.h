#pragma once

#include "linkage/balance/balanceorders.h"
#include "linkage/balance/bookwriter.h"
#include "linkage/balance/guardedbalance.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/deadlinetimer.h"
#include "platform/utils/vexerror.h"

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace TC {

class CLinkageManager;

/// The operation that the log lines of guarded balances name.
inline constexpr char GUARDED_BALANCES[] = "TC::CGuardedBalances";

/// The balances of a manager with LinkageOptions::guard: which balance waits for which, what
/// each one sends, and what becomes of it. ARCHITECTURE.md has the picture of their life.
///
/// Only settle() decides; the manager calls it when a report is wholly in. Before that, news is
/// only noted. Accounts do not depend on each other: each one's balances are decided by its own
/// news and at its own timer.
///
/// Guarded by the manager's lock; the manager owns it and outlives it.
class CGuardedBalances {
    friend struct PictureMembers;

public:
    using OrderPtr = boost::shared_ptr<vexservice::COrderDetail>;

    CGuardedBalances(CLinkageManager& manager, CBookWriter& book);

    // ------------------------------------------------------------------ requests
    // linkage/balance/guardedbalances.cpp

    /// Asks for a balance whose turn comes after `delayMicros`. False when it is refused.
    bool ask(const GuardPair& pair, EBalanceAsker asker, std::int64_t delayMicros);

    /// Asks for a balance and decides it at once, or after the load of the account that is
    /// under way.
    void sendAtOnce(const GuardPair& pair, EBalanceForm form);

    /// Takes every step that is due, of every balance of the account, then raises
    /// sigBalanceChanged for those that changed. A call from inside settle() only makes it look
    /// once more.
    void settle(const std::string& account) { settle(std::set{account}); }

    /// The accounts whose balances are to be looked at.
    const std::set<std::string>& news() const { return m_news; }

    /// Work that the manager runs for it on the strand: at an account's timer, to write what the
    /// book has noted, and some time after that failed. They take the manager's lock.
    void onTimer(const std::string& account);
    void writeBook();
    void retryBook();

    /// The command center's answer to the `command`-th command of a balance. Takes the manager's
    /// lock. linkage/balance/guardprogress.cpp
    void completed(int balance, std::size_t command, const utils::VexError& error, int number);

    /// What a form would send now. Sends and changes nothing.
    BalancePlan preview(const GuardPair& pair, EBalanceForm form, bool checkType) const;

    std::vector<BalanceRecord> records(const std::optional<std::string>& account,
                                       const std::optional<std::string>& strategy) const;

    /// The balances that changed after a change of theirs, by number; `change` becomes the newest.
    /// linkage/balance/changes.cpp
    std::vector<BalanceRecord> changedSince(std::uint64_t& change) const;

    // ---------------------------------------------------------------------- news
    // linkage/balance/guardprogress.cpp

    /// Reads the book of the trade date. Nothing is decided before allLoaded().
    void start();

    /// A trade date begins: every balance ends. Call it before anything of the old one is
    /// dropped; nothing is decided before allLoaded().
    void newDay(const std::string& date);
    void allLoaded();

    /// Called around each load of an account. After a load that failed the account counts as
    /// not loaded.
    void loadBegins(const std::string& account);
    void loadEnds(const std::string& account, bool loaded);

    /// A report was filed; `takenBack` is the final report of the order, if this one runs again.
    void orderFiled(const std::string& account, const vexservice::COrderDetail& order,
                    const OrderPtr& takenBack);
    void dealFiled(const std::string& account, const vexservice::CDealDetail& deal);

    /// A running set of the account has become empty.
    void emptied(const std::string& account);

private:
    using Balance = GuardedBalance;

    std::int64_t now() const;
    Balance& add(const GuardPair& pair);
    bool isToday(const Balance& balance) const { return balance.date == m_strDate; }
    bool isLoading(const std::string& account) const {
        return m_bAllLoading || m_inLoad.count(account) > 0;
    }
    bool isLoaded(const std::string& account) const;
    bool bookIsRead();
    std::string refusalOf(const Balance& balance) const;
    int wholeAccountSender(const Balance& balance) const;
    bool waitsForOther(const Balance& balance) const;
    void settle(std::set<std::string> accounts);
    void settleOnce(const std::string& account);
    std::set<std::string> concerned() const;
    void advance(Balance& balance);
    void begin(Balance& balance);
    void seeCancellations(Balance& balance);
    void cancelShownUp(Balance& balance, bool all);
    void seeRound(Balance& balance);
    void end(Balance& balance, const std::string& reason);
    void refuse(Balance& balance, const std::string& reason);
    void note(Balance& balance, const std::string& step);
    void touch(Balance& balance);
    void writeLater();
    void publishStarts();
    void raiseChanged();
    void arm(const std::string& account);
    std::int64_t dueOf(const Balance& balance) const;

    // linkage/balance/guardprogress.cpp
    const GuardPicture& picture(const std::string& account);
    GuardPicture freshPicture(const std::string& account) const;
    bool emptiesUnseen(const std::string& account, const vexservice::CCommandRecord* carrier) const;
    void restore(const std::string& text);
    void refreshDirty(const std::string& account);
    void refresh(Balance& balance, const GuardPicture& seen);
    void loseUnheard(const std::string& account);
    void tellRemains(Balance& balance);

    // linkage/balance/guarddecision.cpp
    std::vector<boost::shared_ptr<vexservice::CTaskDetail>> runningTasks(
        const GuardPair& pair) const;
    std::map<std::string, GuardVolumes> volumesOf(const GuardPair& pair,
                                                  const GuardPicture& seen) const;
    void addUnheard(const GuardPair& pair, const GuardPicture& seen,
                    std::map<std::string, GuardInput>& inputs) const;
    bool isQuiet(const GuardPair& pair, const GuardPicture& seen) const;
    BalanceRequest requestOf(const GuardPair& pair, EBalanceForm form, bool checkType,
                             const GuardPicture& seen) const;
    void decide(Balance& balance);
    void takeFigures(Balance& balance, const PreparedBalance& prepared,
                     const std::map<std::string, GuardVolumes>& volumes);
    void send(Balance& balance, const BalanceRequest& request, const PreparedBalance& prepared);

    CLinkageManager& m_manager;
    CBookWriter& m_book;
    std::string m_strDate;
    int m_nLast = 0;  ///< number of the newest balance
    std::map<int, Balance> m_balances;
    std::set<int> m_active;
    std::map<int, int> m_senders;  ///< command number: balance
    /// account: record keys of orders that balances sent
    std::map<std::string, std::set<std::uint64_t>> m_ownOrders;

    bool m_bUnread = false;  ///< the book of the date could not be read so far
    bool m_bAllLoading = true;
    std::set<std::string> m_inLoad;
    int m_nGeneration = 1;  ///< counts the trade dates; loads of earlier ones do not count
    std::map<std::string, int> m_loadedIn;

    /// account, record key: the final report of an order that runs again by a later report;
    /// during a load of the account, every final report
    std::map<std::string, std::map<std::uint64_t, OrderPtr>> m_finals;

    std::set<std::string> m_news;           ///< accounts that settle() is to look at
    std::set<std::string> m_dirty;          ///< accounts with news of what balances sent
    bool m_bSettling = false;               ///< settle() is under way; the next two belong to it
    std::set<std::string> m_again;          ///< accounts that it still has to look at
    std::optional<GuardPicture> m_picture;  ///< of the account that it looks at
    std::set<int> m_changed;                ///< balances for which sigBalanceChanged is due
    std::uint64_t m_nChanges = 0;           ///< counts the changes of all balances

    std::map<std::string, utils::DeadlineTimer> m_timers;  ///< by account
    std::map<std::string, std::int64_t> m_armedFor;        ///< account: when its timer fires
    utils::DeadlineTimer m_bookTimer;
    bool m_bBookWaits = false;  ///< for its timer
    std::atomic<bool> m_bWritePosted{false};
};

}  // namespace TC
