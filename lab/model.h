#pragma once

#include "lab/reports.h"
#include "lab/schedule.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace lab {

/// An account and a strategy, of today or of history; the strategy "" is the whole account.
struct Pair {
    int account = 0;
    std::string strategy;
    bool history = false;

    bool operator==(const Pair&) const = default;
    bool operator<(const Pair& other) const {
        return std::tie(account, strategy, history) <
               std::tie(other.account, other.strategy, other.history);
    }

    bool holds(const Origin& of) const { return holds({of.account, of.strategy, of.history}); }
    bool holds(const Pair& part) const {
        return account == part.account && history == part.history &&
               (strategy.empty() || strategy == part.strategy);
    }
    bool overlaps(const Pair& other) const { return holds(other) || other.holds(*this); }
};

/// Bought and sold.
using Volumes = std::pair<std::int64_t, std::int64_t>;

/// Between what bought less sold of a stock can end.
struct Range {
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    std::int64_t mayBuy = 0;
    std::int64_t maySell = 0;

    std::int64_t difference() const { return bought - sold; }
    std::int64_t least() const { return bought - sold - maySell; }
    std::int64_t most() const { return bought - sold + mayBuy; }
};

/// The forms of balances round differently.
enum class EForm { Single, Grouped, GroupedHistory };

struct SentOrder {
    int stock = 0;
    bool buys = false;
    std::int64_t volume = 0;
    bool priced = true;
    bool lost = false;
};

/// A command that a balance sent, or that its book says was about to be sent.
struct SentCommand {
    int balance = 0;
    int place = 0;  ///< among the commands of its balance
    Pair pair;
    int round = 1;
    int number = 0;  ///< as the library was told; 0: it was not
    int serial = 0;  ///< 0: it never reached the command center
    std::int64_t at = 0;
    bool refused = false;
    std::vector<SentOrder> orders;
};

/// What the library has been told, and what its rule makes of that: the figures of each pair
/// and what a balance of it may send. Written from the rule's words, as plainly as it can be,
/// over lists; it shares no code with the library.
class CModel {
public:
    explicit CModel(const Plan& plan) : m_plan(plan), m_told(plan.accounts.size()) {}

    // ------------------------------------------------------------- what is told

    /// The data center keeps a report; with `heard` the library gets it now.
    void order(const OrderReport& report, bool heard);
    void deal(const DealReport& report, bool heard);
    void task(std::uint64_t key, const Origin& of, bool runs);
    /// The library lost the report that it heard last; the data center keeps it. Nothing is lost
    /// with a report that is not followed.
    void takeBack();
    /// The library may have lost the report that it heard last, or it has it.
    void mayTakeBack();

    /// An account is loaded: the library has what the data center has, and gives up orders of
    /// which nothing was heard for so long. When the load is not `whole`, a record may be missing.
    void load(int account, std::int64_t now, bool whole);
    /// The last load was whole after all.
    void trust(int account);
    /// Whether an order runs by its newest report, and its final report came only with a load
    /// that was not whole, or may have been lost. Nobody can tell whether the library knows of
    /// the end.
    bool isUnsure(int account) const;
    /// Another trading date begins.
    void newDate();
    /// What the library heard of deals that balance history is history from now on.
    void carryDeals();
    /// The library begins anew with what its book says; loads follow.
    void restart(std::vector<SentCommand> book);

    /// A balance sends a command.
    void sent(const SentCommand& command) { m_sent.push_back(command); }
    void answered(int serial, int number);
    void refused(int serial, int number);

    // ---------------------------------------------------------------- the rule

    /// Commands so far; the questions below may be asked as of fewer.
    std::size_t sentCount() const { return m_sent.size(); }
    static constexpr std::size_t ALL = static_cast<std::size_t>(-1);

    Range range(const Pair& pair, int stock, std::size_t sent = ALL) const;
    /// What is to be sent of a stock; a sale is negative, 0 for nothing.
    std::int64_t decide(const Pair& pair, int stock, EForm form, std::size_t sent = ALL) const;
    /// Nothing of the pair runs, and nothing was sent that has no report.
    bool quiet(const Pair& pair, std::size_t sent = ALL) const;
    /// From when on a load takes for lost what was sent and not heard of; 0 without any.
    std::int64_t lostFrom() const;
    bool taskRuns(const Pair& pair, int stock) const;
    /// What earlier dates left of a pair's stock, bought less sold.
    std::int64_t restOf(const Pair& pair, int stock) const;

    // ----------------------------------------------------------------- history

    /// Bought and sold of a pair's stock as history has them: what earlier dates left, and the
    /// deals of today that balance it, each once.
    Volumes history(const Pair& pair, int stock) const;
    /// What earlier dates left. It is made larger when a date begins, by the deals of the old one
    /// that the library heard. Where another state was saved, or where nobody can tell what it
    /// heard, `carry` says what there is instead.
    using Carried = std::map<std::tuple<Pair, int, bool>, std::int64_t>;
    const Carried& carried() const { return m_carried; }
    void carry(const Carried& carried) { m_carried = carried; }
    void carry(const Pair& pair, int stock, const Volumes& volumes);
    /// Whether history may have this while the account is uncertain: of the deals that the data
    /// center keeps, none or all or some.
    bool mayHave(const Pair& pair, int stock, const Volumes& volumes) const;

    // ----------------------------------------------------------------- figures

    /// Bought and sold as the day's figures have them.
    Volumes figures(const Pair& pair, int stock) const;
    /// What a command has traded of a stock, by its number.
    std::int64_t filled(const SentCommand& command, const SentOrder& order) const;
    /// Whether any order, or deal, of a command was told.
    bool knows(int account, int number) const;

    /// The stocks of all that was heard of an account.
    std::set<int> stocksOf(int account) const;

    const std::vector<SentCommand>& commands() const { return m_sent; }
    const SentCommand* bySerial(int serial) const;
    /// The newest report of an order as the rule sees it; null when none was heard.
    const OrderReport* heardOrder(int account, std::uint64_t key) const;
    /// What the deals say that name an order.
    std::int64_t dealt(int account, std::uint64_t order) const;
    /// The orders of a sent order that were heard of.
    std::vector<const OrderReport*> reportsOf(const SentCommand& command,
                                              const SentOrder& order) const;

private:
    struct Told {
        std::map<std::uint64_t, OrderReport> keptOrders;  ///< by the data center
        std::map<std::uint64_t, DealReport> keptDeals;
        std::map<std::uint64_t, OrderReport> orders;  ///< heard by the library
        std::map<std::uint64_t, DealReport> deals;
        std::map<std::uint64_t, OrderReport> finals;  ///< final reports, whatever came since
        std::set<std::uint64_t> guesses;              ///< of those, what the library may have lost
    };
    /// What an account had of a record before its last report.
    struct Last {
        int account = 0;
        std::uint64_t order = 0;
        std::uint64_t deal = 0;
        std::optional<OrderReport> report;
        std::optional<OrderReport> final;
        bool guessed = false;
        bool knewDeal = false;
    };
    struct Task {
        Origin of;
        bool runs = false;
    };

    bool follows(const Origin& of) const {
        return !m_plan.stocks[static_cast<std::size_t>(of.stock)].excluded;
    }
    const OrderReport& newest(const Told& told, const OrderReport& report) const;
    std::int64_t unheard(const SentCommand& command, const SentOrder& order) const;
    void addHistory(const Pair& pair, int stock, Range& range) const;
    static void addDeals(const std::map<std::uint64_t, DealReport>& deals, const Pair& pair,
                         int stock, Range& range);
    void addTraded(const Pair& pair, int stock, Range& range) const;

    const Plan& m_plan;
    std::vector<Told> m_told;  ///< by account
    Last m_last;
    std::map<std::uint64_t, Task> m_tasks;
    std::vector<SentCommand> m_sent;
    /// What earlier dates of this run added to the rests: pair, stock, side.
    Carried m_carried;
};

}  // namespace lab
