#pragma once

#include "lab/book.h"
#include "lab/model.h"
#include "lab/services.h"

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace TC {
class CLinkageManager;
}

namespace lab {

Pair pairOf(const Plan& plan, const Rest& rest);
/// What the library has of a rest by now; 0 and 0 when the record is gone.
Volumes historyOf(const Plan& plan, const TC::CLinkageManager& manager, const Rest& rest);

/// What must hold of guarded balances whenever the library has come to rest, beside what
/// truth.h holds against the market:
///
/// - Every order sent, and every stock for which nothing was sent, is what the model's rule
///   gives from what had been told by then; the figures in the balance's record are the model's.
/// - A balance decides when nothing of its pair runs or 30 s after it began to cancel, not
///   before and not after. Its turn comes 5 s after it was asked, behind those that overlap.
/// - What is sent stands in the book on disk before, and after a crash the book has all of it.
/// - What remains at the end is what the model has, and the reason given for it is true.
/// - The book, getBalances, and the figures of the day agree with one another and the model.
///
/// - A service that fails delays a decision or leaves out a stock, with that as its reason.
///
/// Every fault goes to `fail`, but nothing of an account that is uncertain.
class CInvariants {
public:
    using Fail = std::function<void(const std::string& what)>;

    CInvariants(const Plan& plan, const CModel& model, const CServices& services, Fail fail)
        : m_plan(plan), m_model(model), m_services(services), m_fail(std::move(fail)) {}

    /// A balance is about to be asked for: how it comes to be sent, and when its turn comes.
    /// True when the request is to be taken.
    bool asks(const Pair& pair, EForm form, bool atOnce, std::int64_t delay);

    /// A command is about to be sent; `book` is the file as it stands. Fills in what only the
    /// book tells: the command's balance, place and round.
    void sends(SentCommand& command, EForm form, const std::string& book);

    /// The library says that a balance has news.
    void changed(int number) { m_changed.insert(number); }

    /// At what has changed since the last look, or at everything: what changes without a word
    /// is seen then.
    void look(const TC::CLinkageManager& manager, bool all = false);
    /// No balance is asked for or under way.
    bool isOver() const;
    void lookAtFigures(const TC::CLinkageManager& manager, const Pair& pair);
    /// What earlier days left, with the deals that balance it.
    void lookAtHistory(const TC::CLinkageManager& manager) const;
    /// The file against what was seen last.
    void lookAtBook(const std::string& text);

    void restarted(const std::map<int, BookEntry>& book);
    void newDate(bool another);
    /// From here on lines of the book may be waiting for the disk.
    void diskFails() { m_bDiskFailed = true; }
    bool diskHasFailed() const { return m_bDiskFailed; }

    /// Balances by how they ended: state and reason.
    std::map<std::string, long> endings() const;

private:
    struct Seen {
        TC::BalanceRecord record;
        Pair pair;
        EForm form = EForm::Single;
        bool atOnce = false;
        bool fresh = true;       ///< never looked at before
        bool taken = true;       ///< its request was to be taken
        bool restarted = false;  ///< not looked at since the library began anew
        int date = 0;
        std::int64_t dueAt = 0;
        std::int64_t cancelAt = 0;
        std::map<int, std::int64_t> planned;  ///< by the last decision, by stock
        std::set<int> tasks;                  ///< stocks in which a task ran then
        bool failed = false;                  ///< a service failed then
        std::size_t firstSent = CModel::ALL;  ///< where its commands of this window begin
    };

    std::set<std::pair<std::string, std::string>> changedPairs() const;
    void fail(const Seen& seen, const std::string& what) const;
    Seen& seenOf(const TC::BalanceRecord& record);
    void lookAt(Seen& seen, const TC::BalanceRecord& record);

    // lab/life.cpp
    void checkLife(const Seen& seen, const TC::BalanceRecord& record) const;
    bool takes(const Pair& pair, bool atOnce) const;
    /// A service failed at this moment, or a second ago, when a decision is tried again.
    bool hasNoAnswer() const;
    void checkTurn(const Seen& seen, const TC::BalanceRecord& record) const;
    bool isBefore(const Seen& other, const Seen& seen) const;

    // lab/decisions.cpp
    void checkDecision(Seen& seen, const TC::BalanceRecord& record);
    std::string differs(const Seen& seen, const TC::BalanceRecord& record, std::size_t sent) const;
    void checkTime(const Seen& seen, std::size_t sent) const;
    void begins(Seen& seen) const;
    bool hasFailed(const Seen& seen) const;
    void checkFilled(const Seen& seen, const TC::BalanceRecord& record) const;

    // lab/reasons.cpp
    void checkRemains(const Seen& seen, const TC::BalanceRecord& record) const;
    bool isTrue(const Seen& seen, const TC::BalanceRecord& record) const;
    bool hasSent(int balance) const;
    bool hasTraded(const Pair& pair) const;
    bool isTrue(const Seen& seen, int round, int stock, const TC::BalanceStock& figures) const;

    const Plan& m_plan;
    const CModel& m_model;
    const CServices& m_services;
    const Fail m_fail;
    Seen m_asked;  ///< what the next balance will be
    int m_nDate = 0;
    std::int64_t m_nDateAt = 0;  ///< when a date was last announced
    bool m_bDiskFailed = false;
    std::set<int> m_changed;
    std::size_t m_nLooked = 0;  ///< commands at the last look
    std::map<int, Seen> m_seen;
    std::map<std::pair<int, int>, std::string> m_endings;  ///< date, number
};

}  // namespace lab
