#pragma once

#include "lab/model.h"
#include "paper/faults.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

/// Listens to what the library asks of the client's services, and tells the model what follows
/// from it: when an account is loaded, which reports reach the library, and which one is lost
/// because a service throws in its middle.
///
/// Where that cannot be told from outside, the account is uncertain until its next whole load,
/// and nothing is held against it. The library owes a load after each report that it lost. When
/// it loads nothing for so long as it waits at most, it says that the last load was whole: the
/// account is then certain again, and held to that (trust()).
class CServices {
public:
    CServices(const Plan& plan, CModel& model, FaultCounts& counts, std::function<bool()> lives)
        : m_plan(plan),
          m_model(model),
          m_counts(counts),
          m_lives(std::move(lives)),
          m_accounts(plan.accounts.size()) {}

    /// A call of the library; see paper::CFaults::watch.
    void called(paper::EService service, paper::EFault fault, std::string_view what);

    /// A manager begins: it knows nothing, and is subscribed to nothing.
    void begins();
    /// A trading date is announced: every account is to be loaded again.
    void dateBegins();
    /// Whether the library hears what is announced of an account.
    bool hears(int account) const { return at(account).subscribed; }
    /// A report that the library hears is about to be told, and was.
    void tells(const Origin& of, bool deal);
    void told();

    bool isUncertain(int account) const;
    /// Whether a load would make an account certain.
    bool isAnyUncertain() const;
    /// Accounts that were uncertain after their first load.
    bool wasUncertain() const { return m_bWasUncertain; }
    /// An account whose load is owed; -1 for none.
    int owed() const;
    /// No load is under way, none came for long, and none will.
    void trust();
    /// Whether a service that decisions depend on failed from one moment to another, as the
    /// library saw it. The calls do not tell for which balance they are made.
    bool failed(std::int64_t from, std::int64_t to) const {
        const auto at = m_failures.lower_bound(from);
        return at != m_failures.end() && *at <= to;
    }

private:
    struct Account {
        int reads = 0;  ///< of the load under way; a whole one has READS
        bool subscribed = false;
        bool whole = true;  ///< no record was lost in the load under way
        bool uncertain = false;
        bool owed = false;
    };
    struct Telling {
        Origin of;
        bool deal = false;
    };

    /// Orders, deals and positions, before and after the subscription.
    static constexpr int READS = 6;

    const Account& at(int account) const { return m_accounts[static_cast<std::size_t>(account)]; }
    void read(int account, bool threw);
    void doubt(Account& account);
    void throwsInLoad(Account& account, paper::EService service);
    void throwsInReport(paper::EService service);
    void count(paper::EService service, paper::EFault kind);

    const Plan& m_plan;
    CModel& m_model;
    FaultCounts& m_counts;
    const std::function<bool()> m_lives;
    std::vector<Account> m_accounts;
    bool m_bWasUncertain = false;
    std::set<int> m_seen;         ///< stocks that the library has asked the instruments for
    std::set<int> m_perhapsSeen;  ///< as a load told that was not whole
    std::optional<Telling> m_telling;
    std::set<std::int64_t> m_failures;  ///< moments
};

}  // namespace lab
