#include "desk/dayrecords.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "platform/services/tradeclient.h"
#include "platform/utils/keys.h"
#include "replay/times.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace desk {

namespace {

using namespace std::chrono_literals;

/// So long nothing must be reported until all is asked for again.
constexpr auto QUIET = 300ms;
/// Reading takes one part of the time in so many.
constexpr int READING_SHARE = 20;

/// Reports of one order come in their order, but the library may have given a newer one already.
bool isOlder(const vexservice::COrderDetail& order, const vexservice::COrderDetail& known) {
    const bool wasOver = !vexservice::isRunningStatus(known.m_eStatus);
    return order.m_nTradedVolume < known.m_nTradedVolume ||
           (wasOver && vexservice::isRunningStatus(order.m_eStatus));
}

template <class Record>
std::tuple<std::string, std::string, std::string> placeOf(const std::string& account,
                                                          const Record& record) {
    return {account, utils::zorStockKey(record.m_strMarket, record.m_strCode),
            TC::strategyOf(record.m_pCommand.get())};
}

}  // namespace

void CDayRecords::follow(TC::CLinkageManager& manager) {
    m_date.clear();
    m_pContext = std::make_unique<QObject>();
    const auto loaded = [flag = m_pLoaded] { *flag = true; };
    QObject::connect(utils::CManualSingletonT<TC::CTradeClient>::instance(),
                     &TC::CTradeClient::sigInitedAccountData, m_pContext.get(), loaded,
                     Qt::DirectConnection);
    m_reconciled = manager.sigReconciled.connect([loaded](const TC::Reconciliation&) { loaded(); });
}

void CDayRecords::takeNews(TC::CLinkageManager& manager, const Picture& picture) {
    const bool isLoaded = m_pLoaded->exchange(false);
    const News news = m_arrivals.take(picture.date);
    std::vector<std::string> accounts;
    for (const auto& account : manager.getAccounts()) accounts.push_back(account->m_strKey);
    const bool isNewDay = std::exchange(m_date, picture.date) != picture.date;
    if (isNewDay) {
        m_running.clear();
        m_runningOf.clear();
        m_records.clear();
        m_known.clear();
    } else {
        takeAll(news, false);
    }
    if (isNewDay || isLoaded) m_due.insert(accounts.begin(), accounts.end());
    // A picture that is saved must not depend on the machine's speed.
    const bool isLast = !picture.paced && (picture.ended || picture.halted);
    noteDue(accounts, manager, isLast);
    if (!isNewDay && !isLast) return;
    for (const std::string& account : std::exchange(m_due, {})) read(manager, account);
    takeAll(news, true);
}

void CDayRecords::catchUp(TC::CLinkageManager& manager) {
    const Clock::time_point before = Clock::now();
    if (m_due.empty() || before < m_nextReading || manager.getTradeDate() != m_date) return;
    const News news = m_arrivals.take(m_date);
    takeAll(news, false);
    const std::string account = *m_due.begin();
    m_due.erase(m_due.begin());
    if (!agrees(manager, account)) read(manager, account);
    takeAll(news, true);
    const Clock::time_point now = Clock::now();
    m_nextReading = now + (now - before) * READING_SHARE;
}

/// The library may be behind the reports: so they are taken again after it was asked.
void CDayRecords::takeAll(const News& news, bool isRepeat) {
    if (!news.empty()) {
        m_bUnchecked = true;
        m_lastNews = Clock::now();
    }
    for (const CArrivals::News& each : news) {
        if (each.deal) take(each.account, each.deal);
        if (!each.order) continue;
        const OrderPtr& known = m_known[each.account].orders[each.order->recordKey()];
        if (isRepeat && known && isOlder(*each.order, *known)) continue;
        take(each.account, each.order);
    }
}

/// Adds the accounts that have to be asked for again.
void CDayRecords::noteDue(const std::vector<std::string>& accounts,
                          const TC::CLinkageManager& manager, bool isLast) {
    for (const std::string& account : accounts) {
        const auto counted = m_runningOf.find(account);
        const int known = counted == m_runningOf.end() ? 0 : counted->second;
        if (known != manager.getRunningOrders(account, {})) m_due.insert(account);
    }
    if (!m_bUnchecked || (!isLast && Clock::now() - m_lastNews < QUIET)) return;
    m_bUnchecked = false;
    m_due.insert(accounts.begin(), accounts.end());
}

void CDayRecords::forget(const std::string& account) {
    const auto first = m_records.lower_bound({account, "", ""});
    auto last = first;
    while (last != m_records.end() && std::get<0>(last->first) == account) ++last;
    m_records.erase(first, last);
    m_running.erase(m_running.lower_bound({account, 0}),
                    m_running.upper_bound({account, std::numeric_limits<std::uint64_t>::max()}));
    m_runningOf.erase(account);
    m_known.erase(account);
}

/// Whether the library has the records of an account that are here, and no others. To look is less
/// work than to take them in.
bool CDayRecords::agrees(TC::CLinkageManager& manager, const std::string& account) const {
    const auto at = m_known.find(account);
    if (at == m_known.end()) return false;
    const Known& known = at->second;
    std::size_t orders = 0, deals = 0;
    bool isSame = true;
    const auto compare = [&isSame](const auto& asked, const auto& here, std::size_t& count) {
        for (const auto& [key, records] : asked) {
            count += records.size();
            isSame &= std::all_of(records.begin(), records.end(), [&here](const auto& record) {
                const auto found = here.find(record.first);
                return found != here.end() && found->second == record.second;
            });
        }
    };
    const int day = replay::dayNumber(m_date);
    for (const std::string& stock : manager.getStocks()) {
        compare(manager.getOrderDetails(day, stock, {account}), known.orders, orders);
        compare(manager.getDealDetails(day, stock, {account}), known.deals, deals);
    }
    return isSame && orders == known.orders.size() && deals == known.deals.size();
}

void CDayRecords::read(TC::CLinkageManager& manager, const std::string& account) {
    forget(account);
    const int day = replay::dayNumber(m_date);
    for (const std::string& stock : manager.getStocks()) {
        for (const auto& [key, orders] : manager.getOrderDetails(day, stock, {account})) {
            for (const auto& [number, order] : orders) take(account, order);
        }
        for (const auto& [key, deals] : manager.getDealDetails(day, stock, {account})) {
            for (const auto& [number, deal] : deals) take(account, deal);
        }
    }
}

void CDayRecords::take(const std::string& account, const OrderPtr& order) {
    const std::uint64_t key = order->recordKey();
    OrderPtr& known = m_known[account].orders[key];
    if (known == order) return;
    const Place place = placeOf(account, *order);
    if (known && placeOf(account, *known) != place)
        m_records[placeOf(account, *known)].orders.erase(key);
    m_records[place].orders[key] = order;
    const bool wasRejected = known && known->m_eStatus == vexservice::STATUS_JUNK;
    if (order->m_eStatus == vexservice::STATUS_JUNK && !wasRejected)
        m_rejected.emplace_back(std::pair(account, key), order);
    known = order;
    setRunning(account, order);
}

void CDayRecords::take(const std::string& account, const DealPtr& deal) {
    const std::uint64_t key = deal->recordKey();
    if (std::exchange(m_known[account].deals[key], deal) == deal) return;
    m_records[placeOf(account, *deal)].deals[key] = deal;
}

void CDayRecords::setRunning(const std::string& account, const OrderPtr& order) {
    const std::pair id(account, order->recordKey());
    if (!vexservice::isRunningStatus(order->m_eStatus)) {
        m_runningOf[account] -= static_cast<int>(m_running.erase(id));
        return;
    }
    OrderPtr& running = m_running[id].order;
    if (!running) ++m_runningOf[account];
    running = order;
}

bool CDayRecords::hasAny(const Selection& chosen, const std::string& stock) const {
    bool any = false;
    each({chosen.account, chosen.strategy, stock}, [&any](const Records& records) {
        any |= !records.orders.empty() || !records.deals.empty();
    });
    return any;
}

bool CDayRecords::hasAny(const std::string& account, const std::string& strategy) const {
    for (auto at = m_records.lower_bound({account, "", ""}); at != m_records.end(); ++at) {
        const auto& [owner, stock, name] = at->first;
        if (owner != account) return false;
        const bool isAny = !at->second.orders.empty() || !at->second.deals.empty();
        if (isAny && (strategy.empty() || strategy == name)) return true;
    }
    return false;
}

}  // namespace desk
