#include "common/prefetch.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "platform/log.h"

#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

constexpr char ORDER_INTAKE[] = "CLinkageManager::doOrderDetail";

void logOrder(const vexservice::COrderDetail& order) {
    LINKAGE_LOG_INFO(
        ORDER_INTAKE,
        "CLinkageManager::doOrderDetail {0} , strategy {1}, sys {2}, stat {3},  vol {4}, "
        "volTraded {5},  bIsBuy {6} stock {7}",
        LOGPRINT::accountLogKey(order.m_pAccountInfo), strategyOf(order.m_pCommand.get()),
        order.m_strSysID, static_cast<int>(order.m_eStatus), order.m_nVolume, order.m_nTradedVolume,
        vexservice::isBuyByDirection(order.m_eDirection, order.m_eOffsetFlag), order.m_strCode);
}

}  // namespace

void CLinkageManager::onOrderDetail(const std::string& accountKey,
                                    const boost::shared_ptr<vexservice::IData>& data) {
    if (!data) return;
    auto order = boost::dynamic_pointer_cast<vexservice::COrderDetail>(data);
    if (order && m_pEngine->m_inbox.push(accountKey, std::move(order))) drainLater();
}

// What the manager does while the ledger takes in a report of an order.
class CLinkageManager::COrderWatch final : public IOrderWatch {
public:
    COrderWatch(CLinkageManager& manager, const std::string& accountKey,
                const vexservice::COrderDetail& order)
        : m_manager(manager), m_strAccountKey(accountKey), m_order(order) {}

    void onFiled(const OrderPtr& takenBack) override LINKAGE_REQUIRES(m_manager.m_mutex) {
        if (m_manager.m_pGuarded) m_manager.noteOrder(m_strAccountKey, m_order, takenBack);
        // The order's number may come after its first report.
        m_manager.dropImported(m_strAccountKey, m_order);
    }

    // A balance that waited for the last order of the set is decided here, in the middle of the
    // report: it does not see the traded figures of this report yet. With the guard the news is
    // only noted here, and the balance is decided when the report is wholly in.
    void onRunning(const RunningChange& change) override {
        logOrder(m_order);
        if (!change.emptied) return;
        m_manager.balanceWaiting(m_strAccountKey, change.ofAccount
                                                      ? WHOLE_ACCOUNT
                                                      : strategyOf(m_order.m_pCommand.get()));
    }

private:
    CLinkageManager& m_manager;
    const std::string& m_strAccountKey;
    const vexservice::COrderDetail& m_order;
};

void CLinkageManager::doOrderDetail(const std::string& accountKey, const OrderPtr& order) {
    if (!order) return;
    utils::prefetchAll(order.get());
    const CLock lock(m_mutex);
    COrderWatch watch(*this, accountKey, *order);
    const OrderChange change = m_pLedger->apply(accountKey, order, watch);
    if (!change.followed) return;
    if (change.ofHistory) {
        doHistoryOrder(order, accountKey, change.stockIsNew, change.recordIsNew, change.runs);
        return;
    }
    if (change.stockIsNew) raise(ORDER_INTAKE, sigStocksChanged);
    if (change.strategyIsNew) raise(ORDER_INTAKE, sigStrategysChanged);
    const bool ofStrategy = strategyOf(order->m_pCommand.get()) != WHOLE_ACCOUNT;
    if (change.recordIsNew || (m_bClientType3 && ofStrategy && change.accountEmptied)) {
        raise(ORDER_INTAKE, sigStatDataChanged);
    }
}

}  // namespace TC
