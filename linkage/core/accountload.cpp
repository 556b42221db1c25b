#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/core/reconciling.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/tape/moment.h"
#include "linkage/tape/step.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

constexpr char ACCOUNT_LOAD[] = "CLinkageManager::doRequestAccount";

/// Of the reports that wait those that the load has brought as well. Who announces reports does not
/// wait for the lock, so on a tape this is an answer.
WaitingReports broughtOf(const WaitingReports& waiting, const DayRecords& load,
                         const std::string& account) {
    using Records = std::vector<boost::shared_ptr<const vexservice::IData>>;
    Records brought;
    const auto add = [&](const auto& records) {
        for (const auto& [key, record] : records) {
            if (waiting.count(record) > 0) brought.push_back(record);
        }
    };
    add(load.orders);
    add(load.deals);
    if (CStep* const step = CStep::current()) {
        const auto answer = step->tape().asks(*step, step->nextCall(), {"waiting", account},
                                              [&] { return TapeAnswer(brought); });
        const auto* const then = std::get_if<Records>(&answer);
        brought = then ? *then : Records();
    }
    return {brought.begin(), brought.end()};
}

}  // namespace

/// Tells the guarded balances when a load begins and when it ends, even if a service throws
/// meanwhile.
class CLinkageManager::CLoad {
public:
    CLoad(CLinkageManager& manager, const std::string& account)
        : m_manager(manager), m_strAccount(account) {
        m_manager.noteLoadBegins(m_strAccount);
    }
    ~CLoad() { m_manager.noteLoadEnds(m_strAccount, m_bDone); }
    void done() { m_bDone = true; }
    CLoad(const CLoad&) = delete;
    CLoad& operator=(const CLoad&) = delete;

private:
    CLinkageManager& m_manager;
    const std::string& m_strAccount;
    bool m_bDone = false;
};

/// All that the data center has of an account.
struct AccountLoad {
    std::string account;
    ELoadCause cause = ELoadCause::Request;
    bool again = false;  ///< the account was loaded before
    DayRecords before;   ///< what the manager had of the day
    Records orders;
    Records deals;
    Records positions;

    void read(const vexservice::CAccountData& data) {
        orders = recordsOf(data, vexservice::DATA_ORDER);
        deals = recordsOf(data, vexservice::DATA_DEAL);
        positions = recordsOf(data, vexservice::DATA_POSITION);
    }
};

// Everything is read before anything is dropped: a data center that fails leaves the account
// as it was.
void CLinkageManager::doRequestAccount(
    const boost::shared_ptr<vexservice::CAccountData>& accountData, ELoadCause cause) {
    const auto info = accountData ? accountData->getAccountInfo() : nullptr;
    if (!info) return;
    AccountLoad load{.account = info->getKey(), .cause = cause};
    LINKAGE_LOG_INFO(ACCOUNT_LOAD, "CLinkageManager::doRequestAccount, acc:{0}", load.account);
    if (!attempt(ACCOUNT_LOAD, [&] { load.read(*accountData); })) return loadLater(load.account);
    {
        const CLock lock(m_mutex);
        load.again = !m_pAccounts->m_infos.emplace(load.account, info).second;
        if (load.again) {
            const int day = dayKey(m_pTradeDate->get());
            load.before = {m_pLedger->accountOrders(load.account, day),
                           m_pLedger->accountDeals(load.account, day)};
        }
    }
    CLoad telling(*this, load.account);
    askFees(load.account, load.deals);
    bool whole = playLoad(load);
    whole = attempt(ACCOUNT_LOAD, [&] { subscribeAccount(load.account); }) && whole;
    // Records that came between the reading and the subscription were announced to nobody.
    whole &= attempt(ACCOUNT_LOAD, [&] {
        AccountLoad rest{.account = load.account};
        rest.read(*accountData);
        const Records deals = differing(load.deals, rest.deals);
        askFees(rest.account, deals);
        whole &= replay(rest.account, differing(load.orders, rest.orders), deals,
                        differing(load.positions, rest.positions));
        load.orders = std::move(rest.orders);
        load.deals = std::move(rest.deals);
        load.positions = std::move(rest.positions);
    });
    if (whole) {
        telling.done();
    } else {
        loadLater(load.account);
    }
    reconcile(load);
}

// One hold of the lock: other threads see the account as it was before, or as it is after the
// load, and a balance that they ask for waits.
bool CLinkageManager::playLoad(const AccountLoad& load) {
    const CLock lock(m_mutex);
    const CLedger::CSteadyFigures steady(*m_pLedger, load.account);
    removeAccountDatas(load.account);
    return replay(load.account, load.orders, load.deals, load.positions);
}

bool CLinkageManager::replay(const std::string& accountKey, const Records& orders,
                             const Records& deals, const Records& positions) {
    const CLock lock(m_mutex);
    bool whole = true;
    for (const auto& record : orders) {
        whole &= attempt(ACCOUNT_LOAD, [&] {
            doOrderDetail(accountKey,
                          boost::dynamic_pointer_cast<vexservice::COrderDetail>(record));
        });
    }
    for (const auto& record : deals) {
        whole &= attempt(ACCOUNT_LOAD, [&] {
            whole &= replayDeal(accountKey,
                                boost::dynamic_pointer_cast<vexservice::CDealDetail>(record));
        });
    }
    for (const auto& record : positions) {
        whole &= attempt(ACCOUNT_LOAD, [&] {
            doPositionStat(accountKey,
                           boost::dynamic_pointer_cast<vexservice::CPositionStatics>(record));
        });
    }
    return whole;
}

// The new subscriptions stand before the old ones end, so nothing is announced between them.
// What is announced twice changes nothing the second time. Only the strand subscribes, and the data
// center is asked without the lock.
void CLinkageManager::subscribeAccount(const std::string& accountKey) {
    using Callback =
        void (CLinkageManager::*)(const std::string&, const boost::shared_ptr<vexservice::IData>&);
    std::vector<boost::signals2::scoped_connection> fresh;
    const auto subscribe = [&](int type, Callback callback) {
        fresh.emplace_back(dataCenter().subscribe(
            accountKey, type, std::string(),
            guarded([this, callback](const std::string& key,
                                     const boost::shared_ptr<vexservice::IData>& data) {
                (this->*callback)(key, data);
            })));
    };
    subscribe(vexservice::DATA_ORDER, &CLinkageManager::onOrderDetail);
    subscribe(vexservice::DATA_DEAL, &CLinkageManager::onDealDetail);
    subscribe(vexservice::DATA_POSITION, &CLinkageManager::onPositionStat);

    const CLock lock(m_mutex);
    m_pAccounts->disconnect(accountKey);
    auto& connections = m_pAccounts->m_connections[accountKey];
    for (auto& each : fresh) connections.push_back(each.release());
}

void CLinkageManager::removeAccountDatas(const std::string& accountKey) {
    const CLock lock(m_mutex);
    const bool dateBegins = m_pLedger->removeAccount(accountKey, dayKey(m_pTradeDate->get()));
    restartImported(accountKey);
    if (dateBegins && m_options.keepDays > 0) {
        const auto keep = static_cast<std::size_t>(m_options.keepDays);
        forgetReported(accountKey, m_pLedger->dropOldDays(accountKey, keep));
    }
    m_pQuotes->forgetAccount(accountKey);
    dropStatsOf(accountKey);
    dropHistoryOrders(accountKey);
}

// ------------------------------------------------------------------ reconciliation

void CLinkageManager::reconcile(const AccountLoad& load) {
    if (!load.again && load.positions.empty()) return;
    const CLock lock(m_mutex);
    const std::string tradeDate = m_pTradeDate->get();
    const auto followed = [&](const std::string& market, const std::string& code) {
        return m_pLedger->follows(market, code);
    };
    const auto today = [&]<class Record>(const Records& records,
                                         ByRecord<boost::shared_ptr<Record>>& into) {
        for (const auto& each : records) {
            const auto record = boost::dynamic_pointer_cast<Record>(each);
            if (!record || record->m_strTradeDate != tradeDate) continue;
            if (followed(record->m_strMarket, record->m_strCode)) {
                into[record->recordKey()] = record;
            }
        }
    };
    DayRecords now;
    today(load.orders, now.orders);
    today(load.deals, now.deals);
    VolumeByStock reported;
    for (const auto& each : load.positions) {
        const auto position = boost::dynamic_pointer_cast<vexservice::CPositionStatics>(each);
        if (!position || !followed(position->m_strMarket, position->m_strCode)) continue;
        reported[utils::zorStockKey(position->m_strMarket, position->m_strCode)] +=
            position->m_nVolume;
    }
    auto positions =
        m_pReconciliations->checkPositions(load.account, tradeDate, netOf(now.deals), reported);
    if (!load.again) return;

    WaitingReports waiting;
    m_pEngine->gatherWaiting(load.account, waiting);
    waiting = broughtOf(waiting, now, load.account);
    noteReconciliation({nowMicros(), load.account, load.cause,
                        compareOrders(load.before.orders, now.orders, waiting),
                        compareDeals(load.before.deals, now.deals, waiting), std::move(positions)});
}

void CLinkageManager::noteReconciliation(const Reconciliation& found) {
    m_pReconciliations->add(found);
    if (!found.any()) return;
    if (m_options.guard) {
        LINKAGE_LOG_WARNING(
            "CLinkageManager::reconcile",
            "account {0}, {1}: orders {2} new, {3} changed, {4} gone; deals {5} new, {6} "
            "gone; positions {7} differ",
            found.account, textOf(found.cause), found.orders.added, found.orders.changed,
            found.orders.gone, found.deals.added, found.deals.gone, found.positions.size());
    }
    raise("CLinkageManager::reconcile", sigReconciled, found);
}

std::vector<Reconciliation> CLinkageManager::getReconciliations() const {
    const CLock lock(m_mutex);
    return m_pReconciliations->all();
}

}  // namespace TC
