#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/orderrule.h"
#include "platform/log.h"

#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

constexpr char OPERATION[] = "CLinkageManager::doOrderDetail";

void logOrder(const vexservice::COrderDetail& order, const std::string& strategy, bool buys) {
    VEX_INFO(OPERATION,
             "CLinkageManager::doOrderDetail {0} , strategy {1}, sys {2}, stat {3},  vol {4}, "
             "volTraded {5},  bIsBuy {6} stock {7}",
             LOGPRINT::accountLogKey(order.m_pAccountInfo), strategy, order.m_strSysID,
             static_cast<int>(order.m_eStatus), order.m_nVolume, order.m_nTradedVolume, buys,
             order.m_strCode);
}

}  // namespace

void CLinkageManager::onOrderDetail(const std::string& accountKey,
                                    const boost::shared_ptr<vexservice::IData>& data) {
    if (!data) return;
    auto order = boost::dynamic_pointer_cast<vexservice::COrderDetail>(data);
    if (order && m_pEngine->m_inbox.push(accountKey, std::move(order))) drainLater();
}

void CLinkageManager::doOrderDetail(const std::string& accountKey, const OrderPtr& order) {
    if (!order) return;
    const CLock lock(m_mutex);
    CLedger& ledger = *m_pLedger;
    CLedger::OrderStep step;
    step.listing = ledger.listingId(order->m_strMarket, order->m_strCode);
    const CLedger::Listing& listed = ledger.listing(step.listing);
    if (listed.excluded) return;
    step.stock = listed.stock;
    step.level = priceLevel(order->m_dPrice, listed.tick);
    step.account = ledger.accountId(accountKey);
    const std::string& strategy = strategyOf(order->m_pCommand.get());
    step.strategy = ledger.strategyId(strategy);
    step.runs = vexservice::COrderDetailHelper::isRunning(order->m_eStatus);
    step.buys = vexservice::isBuyByDirection(order->m_eDirection, order->m_eOffsetFlag);

    ledger.prefetchOrder(step, *order);
    ledger.fileOrder(step, order);
    if (m_pGuarded) noteOrder(accountKey, *order, step.previous);
    dropImported(accountKey, *order);  // its number may come after its first report
    if (isHistoryBalance(order->m_pCommand.get())) {
        doHistoryOrder(order, accountKey, step.stockIsNew, step.recordIsNew, step.runs);
        return;
    }
    step.strategyIsNew = ledger.listStrategy(step.strategy);

    ledger.placeOrder(step);
    ledger.countLots(step);
    bool dataChanged = step.recordIsNew;
    if (step.strategy != 0) {
        const CLedger::RunningChange change = ledger.updateRunning(step, false);
        if (change.logs) logOrder(*order, strategy, step.buys);
        if (change.emptied) balanceWaiting(accountKey, strategy);
    }
    const CLedger::RunningChange change = ledger.updateRunning(step, true);
    if (change.logs) logOrder(*order, strategy, step.buys);
    if (change.emptied) {
        balanceWaiting(accountKey, std::string());
        if (step.strategy != 0 && m_bClientType3) dataChanged = true;
    }
    ledger.countTraded(step);
    ledger.widenOrderAmplitude(step);

    if (step.stockIsNew) raise(OPERATION, sigStocksChanged);
    if (step.strategyIsNew) raise(OPERATION, sigStrategysChanged);
    if (dataChanged) raise(OPERATION, sigStatDataChanged);
}

}  // namespace TC
