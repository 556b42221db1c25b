#include "desk/dayrecords.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "platform/utils/keys.h"

#include <limits>
#include <utility>

namespace desk {

namespace {

/// So many answers are taken in for one picture. In a storm the rest comes with the next ones.
constexpr int ANSWERS_AT_ONCE = 20;

template <class Record>
std::tuple<std::string, std::string, std::string> placeOf(const std::string& account,
                                                          const Record& record) {
    return {account, utils::zorStockKey(record.m_strMarket, record.m_strCode),
            TC::strategyOf(record.m_pCommand.get())};
}

}  // namespace

void CDayRecords::takeChanges(TC::CLinkageManager& manager, const Picture& picture) {
    const bool isNewDay = std::exchange(m_date, picture.date) != picture.date;
    if (isNewDay) m_cursor = {};
    // A picture that is saved must not depend on the machine's speed.
    const bool isLast = !picture.paced && (picture.ended || picture.halted);
    bool more = true;
    for (int answers = 0; more && (isNewDay || isLast || answers < ANSWERS_AT_ONCE); ++answers) {
        const TC::LinkageChanges changes = manager.getChanges(m_cursor);
        take(changes);
        more = changes.more;
    }
}

void CDayRecords::take(const TC::LedgerChanges& changes) {
    if (changes.everything) forgetAll();
    for (const std::string& account : changes.droppedAccounts) forget(account);
    const auto each = [this](const auto& changed, auto work) {
        for (const auto& [account, report] : changed) {
            if (report->m_strTradeDate == m_date) work(account, report);
        }
    };
    const auto dropOne = [this](const auto&... record) { drop(record...); };
    const auto takeOne = [this](const auto&... record) { take(record...); };
    each(changes.goneOrders, dropOne);
    each(changes.goneDeals, dropOne);
    each(changes.orders, takeOne);
    each(changes.deals, takeOne);
}

void CDayRecords::forgetAll() {
    m_records.clear();
    m_known.clear();
    m_running.clear();
}

void CDayRecords::forget(const std::string& account) {
    const auto first = m_records.lower_bound({account, "", ""});
    auto last = first;
    while (last != m_records.end() && std::get<0>(last->first) == account) ++last;
    m_records.erase(first, last);
    m_running.erase(m_running.lower_bound({account, 0}),
                    m_running.upper_bound({account, std::numeric_limits<std::uint64_t>::max()}));
    m_known.erase(account);
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
    DealPtr& known = m_known[account].deals[key];
    if (known) m_records[placeOf(account, *known)].deals.erase(key);
    m_records[placeOf(account, *deal)].deals[key] = deal;
    known = deal;
}

void CDayRecords::drop(const std::string& account, const OrderPtr& order) {
    const std::uint64_t key = order->recordKey();
    m_known[account].orders.erase(key);
    m_records[placeOf(account, *order)].orders.erase(key);
    m_running.erase({account, key});
}

void CDayRecords::drop(const std::string& account, const DealPtr& deal) {
    m_known[account].deals.erase(deal->recordKey());
    m_records[placeOf(account, *deal)].deals.erase(deal->recordKey());
}

void CDayRecords::setRunning(const std::string& account, const OrderPtr& order) {
    const std::pair id(account, order->recordKey());
    if (vexservice::isRunningStatus(order->m_eStatus)) {
        m_running[id].order = order;
    } else {
        m_running.erase(id);
    }
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
