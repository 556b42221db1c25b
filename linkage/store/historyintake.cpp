#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/volume.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/historystate.h"
#include "platform/log.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/taskdetail.h"

#include <boost/thread/exceptions.hpp>

#include <cmath>

namespace TC {

namespace {

// No balance waits until the last running order or task of history ends.
constexpr auto waitsForNone = [](const std::string& /*strategy*/) {};

// A deal that balances history is added to its own side, so that both sides become equal.
// False, and nothing is added, when a total cannot hold it.
bool addDeal(LinkagePeriodExtData& record, const vexservice::CDealDetail& deal, bool buys,
             double commission, bool bySums) {
    DealFigures& deals = record.deals();
    auto& volume = buys ? deals.m_nBuyVolume : deals.m_nSellVolume;
    auto& amount = buys ? deals.m_dBuyAmount : deals.m_dSellAmount;
    auto& volumes = buys ? record.m_buyVolumes : record.m_sellVolumes;
    const auto total = checkedAdd<std::int32_t>(volume, deal.m_nVolume);
    const auto money = checkedAdd<double>(amount, deal.m_dAmount);
    if (!total || !money) return false;
    if (bySums && !checkedAdd<std::int32_t>(volumes.sum(), deal.m_nVolume)) return false;
    volume = *total;
    amount = *money;
    if (std::isfinite(commission)) deals.m_dCommission += commission;
    if (!bySums) return true;
    volumes.replace(0, deal.m_nVolume);
    (buys ? record.m_buyAmounts : record.m_sellAmounts).replace(0.0, deal.m_dAmount);
    return true;
}

bool addDeal(TradeStatData& record, const vexservice::CDealDetail& deal, bool buys) {
    auto& volume = buys ? record.m_nTotalBuyVolume : record.m_nTotalSellVolume;
    auto& amount = buys ? record.m_dTotalBuyAmount : record.m_dTotalSellAmount;
    const auto total = checkedAdd<std::int64_t>(volume, deal.m_nVolume);
    const auto money = checkedAdd<double>(amount, deal.m_dAmount);
    if (!total || !money) return false;
    volume = *total;
    amount = *money;
    return true;
}

}  // namespace

void CLinkageManager::doHistoryOrder(const boost::shared_ptr<vexservice::COrderDetail>& order,
                                     const std::string& accountKey, bool /*stockIsNew*/,
                                     bool /*recordIsNew*/, bool running) {
    m_pHistory->m_historyOrders.update(accountKey, order, running, waitsForNone);
}

void CLinkageManager::doHistoryTask(const boost::shared_ptr<vexservice::CTaskDetail>& task,
                                    const std::string& accountKey, std::uint64_t /*recordKey*/,
                                    bool running) {
    m_pHistory->m_historyTasks.update(accountKey, task, running, waitsForNone);
}

// A deal changes existing records and makes no new one. A stock that was removed from the store
// is not to be balanced any more, and a record made from this deal alone would cause the
// opposite order.
void CLinkageManager::doHistoryDeal(const DealReport& report, const DealChange& change) {
    constexpr auto operation = "TC::CLinkageManager::doHistoryDeal";
    const vexservice::CDealDetail& deal = *report.deal;
    HistoryState& history = *m_pHistory;
    const std::string strategy = strategyOf(deal.m_pCommand.get());
    const std::string historyKey = report.accountKey + strategy;
    if (!isNewToHistory(historyKey, deal)) return;
    if (!history.claim(operation, historyKey, report.accountKey, strategy)) return;
    const std::string key = csv::tradeKey(deal.m_strTradeDate, deal.m_strDealID);
    history.m_writtenTradeKeys[historyKey].insert(key);
    history.m_picture.touch(historyKey);

    bool fits = true;
    const auto stocks = history.m_historyLinkageData.find(historyKey);
    if (stocks != history.m_historyLinkageData.end()) {
        const auto at = stocks->second.find(m_pLedger->dealtStock(report).key);
        if (at != stocks->second.end()) {
            m_pLedger->figuresChangedElsewhere();
            const bool bySums = m_bClientType3 && !at->second->m_bPlain;
            fits = addDeal(*at->second, deal, change.buys, change.commission, bySums);
        }
    }
    fits = history.m_historyStatData.with([&](auto& records) {
        const auto at = records.find(historyKey);
        return at == records.end() || addDeal(at->second, deal, change.buys);
    }) && fits;
    if (!fits) {
        LINKAGE_LOG_WARNING(operation,
                            "key {0}, deal {1} : volume {2}, amount {3} left out of a total",
                            historyKey, key, deal.m_nVolume, deal.m_dAmount);
    }
    try {
        writedata(false);
    } catch (const boost::thread_resource_error& error) {
        // The strand cannot handle this exception. The save stays asked for and is done with
        // the next one.
        g_VexStdLogger.error(operation, error.what());
    }
}

}  // namespace TC
