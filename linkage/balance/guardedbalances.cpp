#include "linkage/balance/guardedbalances.h"

#include "linkage/balance/balancestate.h"
#include "linkage/balance/guardreasons.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/tape/moment.h"
#include "linkage/tape/step.h"
#include "platform/log.h"

#include <algorithm>
#include <limits>

namespace TC {

namespace {

constexpr std::int64_t SECOND = 1'000'000;
constexpr std::int64_t LONGEST_CANCELLING = 30 * SECOND;
constexpr std::int64_t BOOK_RETRY = 10 * SECOND;
constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::max();

/// Sets a flag for a scope, and clears it also after an exception.
class CFlag {
public:
    explicit CFlag(bool& flag) : m_flag(flag) { m_flag = true; }
    ~CFlag() { m_flag = false; }
    CFlag(const CFlag&) = delete;
    CFlag& operator=(const CFlag&) = delete;

private:
    bool& m_flag;
};

}  // namespace

CGuardedBalances::CGuardedBalances(CLinkageManager& manager, CBookWriter& book)
    : m_manager(manager), m_book(book), m_bookTimer(manager.m_pEngine->m_strand->context()) {}

std::int64_t CGuardedBalances::now() const { return nowMicros(); }

// ---------------------------------------------------------------------- requests

CGuardedBalances::Balance& CGuardedBalances::add(const GuardPair& pair) {
    Balance& balance = m_balances[++m_nLast];
    balance.number = m_nLast;
    balance.date = m_strDate;
    balance.pair = pair;
    balance.askedAt = balance.dueAt = now();
    return balance;
}

bool CGuardedBalances::ask(const GuardPair& pair, EBalanceAsker asker, std::int64_t delayMicros) {
    if (!bookIsRead()) return false;
    Balance& balance = add(pair);
    balance.asker = asker;
    balance.dueAt += delayMicros;
    const std::string reason = refusalOf(balance);
    if (reason.empty()) {
        m_active.insert(balance.number);
        note(balance, "asked");
    } else {
        refuse(balance, reason);
    }
    settle(pair.account);
    return reason.empty();
}

void CGuardedBalances::sendAtOnce(const GuardPair& pair, EBalanceForm form) {
    if (!bookIsRead()) return;
    Balance& balance = add(pair);
    balance.form = form;
    balance.atOnce = true;
    const std::string reason = refusalOf(balance);
    if (reason.empty()) {
        m_active.insert(balance.number);
        note(balance, "asked");
    } else {
        refuse(balance, reason);
    }
    settle(pair.account);
}

std::string CGuardedBalances::refusalOf(const Balance& balance) const {
    for (const int number : m_active) {
        const Balance& other = m_balances.at(number);
        if (!other.isToDecide() || other.number == balance.number) continue;
        const bool inTheWay =
            balance.atOnce ? other.pair.overlaps(balance.pair) : other.pair == balance.pair;
        if (inTheWay) return underWay(other.number);
    }
    const int whole = wholeAccountSender(balance);
    return whole == 0 ? std::string() : wholeAccountBy(whole);
}

// The orders that balanced the whole account belong to no strategy. So a strategy's difference
// stays as it was, although the account has traded against it already.
int CGuardedBalances::wholeAccountSender(const Balance& balance) const {
    if (balance.pair.strategy.empty()) return 0;
    const GuardPair whole{balance.pair.account, "", balance.pair.history};
    for (const auto& [number, other] : m_balances) {
        if (!isToday(other) || !(other.pair == whole)) continue;
        const auto stands = [](const SentCommand& command) { return !command.refused; };
        if (std::any_of(other.commands.begin(), other.commands.end(), stands)) return number;
    }
    return 0;
}

bool CGuardedBalances::waitsForOther(const Balance& balance) const {
    for (const int number : m_active) {
        if (number >= balance.number) return false;
        const Balance& other = m_balances.at(number);
        if (other.isToDecide() && other.pair.overlaps(balance.pair)) return true;
    }
    return false;
}

// -------------------------------------------------------------------------- life

void CGuardedBalances::settle(std::set<std::string> accounts) {
    m_again.merge(accounts);
    if (m_bSettling) return;
    std::set<std::string> settled;
    {
        const CFlag settling(m_bSettling);
        while (!m_again.empty()) {
            const std::string account = m_again.extract(m_again.begin()).value();
            settleOnce(account);
            settled.insert(account);
            if (m_news.count(account) > 0) m_again.insert(account);
        }
        m_picture.reset();
    }
    publishStarts();
    for (const std::string& account : settled) arm(account);
    raiseChanged();
}

void CGuardedBalances::settleOnce(const std::string& account) {
    m_news.erase(account);
    m_picture.reset();
    attempt(GUARDED_BALANCES, [&] { refreshDirty(account); });
    const std::vector<int> active(m_active.begin(), m_active.end());
    for (const int number : active) {
        Balance& balance = m_balances.at(number);
        if (balance.pair.account != account || !balance.isActive()) continue;
        attempt(GUARDED_BALANCES, [&] { advance(balance); });
    }
}

/// The accounts for which settle() may have something to do.
std::set<std::string> CGuardedBalances::concerned() const {
    std::set<std::string> accounts = m_news;
    accounts.insert(m_dirty.begin(), m_dirty.end());
    for (const int number : m_active) accounts.insert(m_balances.at(number).pair.account);
    return accounts;
}

void CGuardedBalances::advance(Balance& balance) {
    if (isLoading(balance.pair.account)) return;
    if (balance.state == EBalanceState::Asked) {
        if (now() < balance.dueAt || waitsForOther(balance)) return;
        // Another balance may have balanced the whole account since this one was asked for.
        if (const int whole = wholeAccountSender(balance)) {
            refuse(balance, wholeAccountBy(whole));
            return;
        }
        if (balance.atOnce) {
            decide(balance);
            return;
        }
        begin(balance);
    }
    if (balance.state == EBalanceState::Cancelling) seeCancellations(balance);
    if (balance.state == EBalanceState::Sent) seeRound(balance);
}

void CGuardedBalances::begin(Balance& balance) {
    balance.state = EBalanceState::Cancelling;
    balance.cancelAt = now();
    const auto tasks = runningTasks(balance.pair);
    balance.cancelledTasks += static_cast<int>(tasks.size());
    m_manager.terminateTasks(tasks);
    cancelShownUp(balance, true);
    note(balance, "cancelling");
    const std::vector<int> active(m_active.begin(), m_active.end());
    for (const int number : active) {
        Balance& other = m_balances.at(number);
        if (other.state == EBalanceState::Sent && other.pair.overlaps(balance.pair)) {
            end(other, replacedBy(balance.number));
        }
    }
}

void CGuardedBalances::seeCancellations(Balance& balance) {
    if (now() < balance.retryAt) return;
    const std::size_t before = balance.cancelledOrders.size();
    cancelShownUp(balance, false);
    if (balance.cancelledOrders.size() != before) note(balance, "cancelling");
    const bool quiet = isQuiet(balance.pair, picture(balance.pair.account));
    if (quiet || now() >= balance.cancelAt + LONGEST_CANCELLING) decide(balance);
}

// The running orders of the pair are cancelled once, when the balance begins (`all`). Orders
// that balances sent are cancelled whenever they show up, because their reports may come late.
void CGuardedBalances::cancelShownUp(Balance& balance, bool all) {
    const auto sentByOthers = [&](int command) {
        const auto sender = m_senders.find(command);
        if (command == 0 || sender == m_senders.end()) return false;
        const Balance& other = m_balances.at(sender->second);
        return isToday(other) && other.pair.overlaps(balance.pair);
    };
    std::vector<OrderPtr> orders;
    for (const auto& order : picture(balance.pair.account).orders) {
        if (!order.report || !order.figures.runs) continue;
        const bool own = balance.sent(order.command);
        const bool others = balance.rounds == 0 && sentByOthers(order.command);
        const bool ofPair = all && balance.pair.holds(order.history, order.figures.strategy);
        if (!own && !others && !ofPair) continue;
        const auto key = order.report->recordKey();
        if (balance.cancelledOrders.emplace(key, CancelledOrder{now(), 0}).second) {
            orders.push_back(order.report);
        }
    }
    m_manager.cancelOrders(orders);
}

void CGuardedBalances::seeRound(Balance& balance) {
    if (!isLoaded(balance.pair.account)) return;
    const LinkageOptions& options = m_manager.m_options;
    bool over = true;
    bool failed = false;
    for (const SentCommand& command : balance.commands) {
        failed = failed || command.refused;
        for (const SentOrder& order : command.orders) {
            failed = failed || order.rejected;
            if (command.round == balance.rounds && !command.isOver(order)) over = false;
        }
    }
    const bool late = options.rounds > 1 && now() >= balance.sentAt + options.roundSeconds * SECOND;
    if (!over && !late) return;
    if (!over) cancelShownUp(balance, false);
    if (balance.rounds >= options.rounds || failed) {
        end(balance, "");
        return;
    }
    balance.state = EBalanceState::Cancelling;
    balance.cancelAt = now();
    note(balance, "round over");
    seeCancellations(balance);
}

void CGuardedBalances::end(Balance& balance, const std::string& reason) {
    balance.state = EBalanceState::Ended;
    balance.endedAt = now();
    balance.reason = reason;
    m_active.erase(balance.number);
    if (isLoaded(balance.pair.account) && !isLoading(balance.pair.account)) {
        tellRemains(balance);
    } else {
        balance.remainsOpen = !balance.stocks.empty();
    }
    note(balance, "ended");
}

void CGuardedBalances::refuse(Balance& balance, const std::string& reason) {
    balance.state = EBalanceState::Refused;
    balance.endedAt = balance.askedAt;
    balance.reason = reason;
    m_active.erase(balance.number);
    note(balance, "refused");
}

// ----------------------------------------------------------- what others see of it

void CGuardedBalances::touch(Balance& balance) {
    balance.changedAt = ++m_nChanges;
    m_changed.insert(balance.number);
}

void CGuardedBalances::note(Balance& balance, const std::string& step) {
    m_book.note(balance.date, bookLine(balance, step, now()));
    touch(balance);
    LINKAGE_LOG_INFO(GUARDED_BALANCES, "balance {0} account {1} strategy {2}: {3} {4}",
                     balance.number, balance.pair.account, balance.pair.strategy, step,
                     balance.reason);
    writeLater();
}

// The lines are written without the manager's lock.
void CGuardedBalances::writeLater() {
    if (decideOnTape("bookPosted", [&] { return m_bWritePosted.exchange(true); })) return;
    m_manager.post(LeftWork("writeBook", {}));
}

void CGuardedBalances::writeBook() {
    m_bWritePosted = false;
    if (decideOnTape("bookLines", [&] { return m_book.flush(); })) return;
    const CLock lock(m_manager.m_mutex);
    if (m_bBookWaits) return;
    m_bBookWaits = true;
    armTimer(m_bookTimer, *m_manager.m_pEngine->m_strand, BOOK_RETRY,
             m_manager.guarded(m_manager.later({"retryBook", {}})));
}

void CGuardedBalances::retryBook() {
    const CLock lock(m_manager.m_mutex);
    m_bBookWaits = false;
    writeLater();
}

void CGuardedBalances::publishStarts() {
    auto& starts = m_manager.m_pBalance->m_autoBalanceStarts;
    starts.clear();
    for (const int number : m_active) {
        const Balance& balance = m_balances.at(number);
        if (balance.state != EBalanceState::Cancelling || balance.pair.history) continue;
        starts[balance.pair.account][balance.pair.strategy] =
            static_cast<int>(balance.cancelAt / SECOND);
    }
}

void CGuardedBalances::raiseChanged() {
    // A slot may release the manager; the manager is then destroyed when this visit ends.
    const CDoor::Visit visit(m_manager.m_pDoor);
    while (!m_changed.empty()) {
        const int number = *m_changed.begin();
        m_changed.erase(m_changed.begin());
        raise(GUARDED_BALANCES, m_manager.sigBalanceChanged, number);
    }
}

std::vector<BalanceRecord> CGuardedBalances::records(
    const std::optional<std::string>& account, const std::optional<std::string>& strategy) const {
    std::vector<BalanceRecord> records;
    for (const auto& [number, balance] : m_balances) {
        if (account && *account != balance.pair.account) continue;
        if (strategy && *strategy != balance.pair.strategy) continue;
        records.push_back(recordOf(balance));
    }
    return records;
}

// -------------------------------------------------------------------------- time

std::int64_t CGuardedBalances::dueOf(const Balance& balance) const {
    switch (balance.state) {
        case EBalanceState::Asked:
            return balance.dueAt;
        case EBalanceState::Cancelling:
            return balance.retryAt > now() ? balance.retryAt
                                           : balance.cancelAt + LONGEST_CANCELLING;
        case EBalanceState::Sent: {
            const LinkageOptions& options = m_manager.m_options;
            return options.rounds > 1 ? balance.sentAt + options.roundSeconds * SECOND : NEVER;
        }
        case EBalanceState::Ended:
        case EBalanceState::Refused:
            break;
    }
    return NEVER;
}

// Setting the timer again makes it fire at once, so it is set only when its moment has changed.
// A balance whose moment has passed does not wait for time but for something else.
void CGuardedBalances::arm(const std::string& account) {
    std::int64_t due = NEVER;
    for (const int number : m_active) {
        const Balance& balance = m_balances.at(number);
        const std::int64_t moment = balance.pair.account == account ? dueOf(balance) : NEVER;
        if (moment > now()) due = std::min(due, moment);
    }
    if (due == NEVER) return;
    std::int64_t& armedFor = m_armedFor[account];
    if (armedFor == due) return;
    armedFor = due;
    auto& strand = *m_manager.m_pEngine->m_strand;
    armTimer(m_timers.try_emplace(account, strand.context()).first->second, strand, due - now(),
             m_manager.guarded(m_manager.later({"guard", {account}})));
}

void CGuardedBalances::onTimer(const std::string& account) {
    const CLock lock(m_manager.m_mutex);
    const auto armed = m_armedFor.find(account);
    if (armed != m_armedFor.end() && now() >= armed->second) m_armedFor.erase(armed);
    settle(account);
}

}  // namespace TC
