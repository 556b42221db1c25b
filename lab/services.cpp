#include "lab/services.h"

#include "lab/book.h"
#include "lab/times.h"

#include <algorithm>

namespace lab {

using paper::EService;

namespace {

// A decision asks for the account, the stocks and their prices. The records of an account are
// read by loads, and fees by those and by deals.
bool decides(EService service, std::string_view what) {
    return service == EService::Quote || service == EService::Instrument ||
           (service == EService::AccountData && what.empty());
}

}  // namespace

void CServices::begins() {
    // Nothing is known of an account before its first load, and that must come.
    Account unknown;
    unknown.uncertain = unknown.owed = true;
    m_accounts.assign(m_plan.accounts.size(), unknown);
    m_seen.clear();
    m_perhapsSeen.clear();
    m_telling.reset();
}

void CServices::dateBegins() {
    for (Account& account : m_accounts) account.uncertain = account.owed = true;
}

int CServices::owed() const {
    for (std::size_t at = 0; at < m_accounts.size(); ++at) {
        if (m_accounts[at].owed) return static_cast<int>(at);
    }
    return -1;
}

bool CServices::isAnyUncertain() const {
    return std::any_of(m_accounts.begin(), m_accounts.end(),
                       [](const Account& account) { return account.uncertain; });
}

void CServices::doubt(Account& account) { account.uncertain = m_bWasUncertain = true; }

void CServices::trust() {
    for (std::size_t at = 0; at < m_accounts.size(); ++at) {
        Account& account = m_accounts[at];
        if (!account.uncertain || account.owed) continue;
        account.uncertain = false;
        if (!account.whole) m_model.trust(static_cast<int>(at));
    }
}

bool CServices::isUncertain(int account) const {
    return at(account).uncertain || m_model.isUnsure(account);
}

void CServices::count(EService service, paper::EFault kind) {
    for (const ServiceFault& each : SERVICE_FAULTS) {
        if (each.service == service && each.kind == kind) {
            ++m_counts[static_cast<std::size_t>(each.fault)];
        }
    }
}

void CServices::called(EService service, paper::EFault fault, std::string_view what) {
    if (!m_lives()) return;
    const bool threw = fault == paper::EFault::Throw;
    if (fault != paper::EFault::None) {
        count(service, fault);
        if (decides(service, what)) m_failures.insert(now());
    }
    if (service == EService::AccountData && !what.empty()) {
        const int account = placeOf(m_plan.accounts, std::string(what));
        if (account >= 0) read(account, threw);
        return;
    }
    const bool asksForStock = service == EService::Instrument && m_telling;
    if (asksForStock && !threw) m_seen.insert(m_telling->of.stock);
    if (!threw) return;
    bool inLoad = false;
    for (Account& account : m_accounts) {
        if (account.reads == 0) continue;
        inLoad = true;
        throwsInLoad(account, service);
    }
    if (!inLoad && m_telling) throwsInReport(service);
}

// A load reads everything, plays it through, subscribes, and reads once more.
void CServices::read(int number, bool threw) {
    Account& account = m_accounts[static_cast<std::size_t>(number)];
    if (account.reads == 0) account.whole = true;
    ++account.reads;
    if (threw) {
        // Before the third read is done the account stays as it was.
        account.owed = true;
        if (account.reads > READS / 2) doubt(account);
        account.reads = 0;
        return;
    }
    // What throws once everything is read, throws in the middle of a record.
    if (account.reads == READS / 2) account.subscribed = true;
    if (account.reads < READS) return;
    account.reads = 0;
    account.owed = account.uncertain = false;
    m_model.load(number, now(), account.whole);
    (account.whole ? m_seen : m_perhapsSeen).merge(m_model.stocksOf(number));
    if (!account.whole) doubt(account);
}

// Stocks and fees are asked for ahead and, when that throws, once more: whether a record was
// lost cannot be told. Fees alone lose none, but for deals that balance history.
void CServices::throwsInLoad(Account& account, EService service) {
    if (service == EService::Instrument || !m_plan.rests.empty()) account.whole = false;
}

void CServices::tells(const Origin& of, bool deal) { m_telling = {of, deal}; }

void CServices::told() {
    if (m_telling) m_seen.insert(m_telling->of.stock);
    m_telling.reset();
}

// The instruments are asked for a stock at its first report; a deal that balances history is
// taken only when its account and its fees are known.
void CServices::throwsInReport(EService service) {
    Account& account = m_accounts[static_cast<std::size_t>(m_telling->of.account)];
    const int stock = m_telling->of.stock;
    if (service == EService::Instrument && m_seen.count(stock) == 0) {
        if (m_perhapsSeen.count(stock) > 0) {
            // If it was not the first, a decision that the report caused asked for it.
            m_model.mayTakeBack();
            doubt(account);
        } else {
            m_model.takeBack();
            account.owed = true;
        }
        m_telling.reset();
        return;
    }
    const bool ofHistory = m_telling->deal && m_telling->of.history;
    if (!ofHistory) return;
    if (service == EService::AccountData || service == EService::FeeLimits) {
        account.owed = true;
        doubt(account);
    }
}

}  // namespace lab
