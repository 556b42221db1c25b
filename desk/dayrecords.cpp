#include "desk/dayrecords.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"
#include "replay/times.h"

#include <limits>
#include <mutex>

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

struct CDayRecords::News {
    std::string account;
    OrderPtr order;  ///< empty: a deal
    DealPtr deal;
};

struct CDayRecords::Inbox {
    std::mutex mutex;
    std::vector<News> news;
    bool isLoaded = false;  ///< records of an account came without being announced
};

CDayRecords::CDayRecords() = default;
CDayRecords::~CDayRecords() = default;

void CDayRecords::follow(TC::CLinkageManager& manager) {
    m_connections.clear();
    m_date.clear();
    m_pInbox = std::make_shared<Inbox>();
    m_pContext = std::make_unique<QObject>();
    const auto loaded = [inbox = m_pInbox] {
        const std::lock_guard lock(inbox->mutex);
        inbox->isLoaded = true;
    };
    QObject::connect(utils::CManualSingletonT<TC::CTradeClient>::instance(),
                     &TC::CTradeClient::sigInitedAccountData, m_pContext.get(), loaded,
                     Qt::DirectConnection);
    m_connections.emplace_back(
        manager.sigReconciled.connect([loaded](const TC::Reconciliation&) { loaded(); }));
    const auto note = [inbox = m_pInbox](const std::string& account,
                                         const boost::shared_ptr<vexservice::IData>& data) {
        News news{account, boost::dynamic_pointer_cast<vexservice::COrderDetail>(data), {}};
        if (!news.order) news.deal = boost::dynamic_pointer_cast<vexservice::CDealDetail>(data);
        const std::lock_guard lock(inbox->mutex);
        inbox->news.push_back(std::move(news));
    };
    auto* center = vexservice::TraderCenter::instance()->getDataCenter();
    for (const int type : {vexservice::DATA_ORDER, vexservice::DATA_DEAL})
        m_connections.emplace_back(center->subscribe({}, type, {}, note));
}

void CDayRecords::takeNews(TC::CLinkageManager& manager, const Picture& picture) {
    std::vector<News> news;
    bool isLoaded = false;
    {
        const std::lock_guard lock(m_pInbox->mutex);
        news.swap(m_pInbox->news);
        isLoaded = std::exchange(m_pInbox->isLoaded, false);
    }
    const auto takeAll = [&](bool isRepeat) {
        for (const News& each : news) {
            if (each.deal && each.deal->m_strTradeDate == m_date) take(each.account, each.deal);
            if (!each.order || each.order->m_strTradeDate != m_date) continue;
            const OrderPtr& known = m_orders[each.account][each.order->recordKey()];
            if (isRepeat && known && isOlder(*each.order, *known)) continue;
            take(each.account, each.order);
        }
    };
    std::vector<std::string> accounts;
    for (const auto& account : manager.getAccounts()) accounts.push_back(account->m_strKey);
    const bool isNewDay = std::exchange(m_date, picture.date) != picture.date;
    if (isNewDay) {
        m_running.clear();
        m_runningOf.clear();
        m_records.clear();
        m_orders.clear();
    } else {
        takeAll(false);
    }
    if (isNewDay || isLoaded) m_due.insert(accounts.begin(), accounts.end());
    // A picture that is saved must not depend on the machine's speed.
    const bool isLast = !picture.paced && (picture.ended || picture.halted);
    noteDue(accounts, manager, !news.empty(), isLast);
    const Clock::time_point before = Clock::now();
    if (m_due.empty() || (!isNewDay && !isLast && before < m_nextReading)) return;
    do {
        const std::string account = *m_due.begin();
        m_due.erase(m_due.begin());
        read(manager, picture, account);
    } while (!m_due.empty() && (isNewDay || isLast));
    takeAll(true);
    const Clock::time_point now = Clock::now();
    m_nextReading = now + (now - before) * READING_SHARE;
}

/// Adds the accounts that have to be asked for again.
void CDayRecords::noteDue(const std::vector<std::string>& accounts,
                          const TC::CLinkageManager& manager, bool isNew, bool isLast) {
    const Clock::time_point now = Clock::now();
    if (isNew) {
        m_bUnchecked = true;
        m_lastNews = now;
    }
    for (const std::string& account : accounts) {
        const auto counted = m_runningOf.find(account);
        const int known = counted == m_runningOf.end() ? 0 : counted->second;
        if (known != manager.getRunningOrders(account, {})) m_due.insert(account);
    }
    if (!m_bUnchecked || (!isLast && now - m_lastNews < QUIET)) return;
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
    m_orders.erase(account);
}

void CDayRecords::read(TC::CLinkageManager& manager, const Picture& picture,
                       const std::string& account) {
    forget(account);
    const int day = replay::dayNumber(picture.date);
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
    OrderPtr& known = m_orders[account][key];
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
    m_records[placeOf(account, *deal)].deals[deal->recordKey()] = deal;
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

}  // namespace desk
