#include "linkage/core/clinkagemanager.h"
#include "linkage/core/door.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/volume.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"
#include "platform/log.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/text.h"

#include <utility>

namespace TC {

namespace {

// Adds figures to the plain totals of a history record, which may be the very record
// that the figures were read from.
void addFigures(LinkagePeriodExtData& record, const EffectiveFigures& figures, double closeValue) {
    DealFigures& deals = record.deals();
    deals.m_nSellVolume = wrapAdd(deals.m_nSellVolume, figures.sellVolume);
    deals.m_nBuyVolume = wrapAdd(deals.m_nBuyVolume, figures.buyVolume);
    deals.m_dBuyAmount += figures.buyAmount;
    deals.m_dSellAmount += figures.sellAmount;
    record.m_dCloseValue += closeValue;
}

template <class Record>
int countRunning(const HistoryState::Running<Record>& running, const std::string& accountKey,
                 const std::string& strategy) {
    const auto account = running.find(accountKey);
    if (account == running.end()) return 0;
    const auto records = account->second.find(strategy);
    return records == account->second.end() ? 0 : static_cast<int>(records->second.size());
}

}  // namespace

void CLinkageManager::addHistoryStat(const std::string& key, TradeStatData stat) {
    const CLock lock(m_mutex);
    m_pHistory->m_alreadyAddedKeys.insert(key);
    stat.m_nId = -1;
    const auto [isNew, kept] = m_pHistory->m_historyStatData.with([&](auto& records) {
        const auto [at, inserted] = records.try_emplace(key, stat);
        TradeStatData& record = at->second;
        if (!inserted) {
            record.m_nTotalBuyVolume += stat.m_nTotalBuyVolume;
            record.m_nTotalSellVolume += stat.m_nTotalSellVolume;
            record.m_dTotalBuyAmount += stat.m_dTotalBuyAmount;
            record.m_dTotalSellAmount += stat.m_dTotalSellAmount;
        }
        return std::pair(inserted, record);
    });
    if (isNew) {
        VEX_INFO("TC::CLinkageManager::addHistoryStat",
                 "[CLinkageManager::addHistoryStat]:new：key:{0},m_nTotalBuyVolume：{1}, "
                 "m_nTotalSellVolume:{2} ",
                 key, kept.m_nTotalBuyVolume, kept.m_nTotalSellVolume);
    } else {
        VEX_INFO("TC::CLinkageManager::addHistoryStat",
                 "[CLinkageManager::addHistoryStat]: key:{0},m_nTotalBuyVolume：{1}, "
                 "m_nTotalSellVolume:{2}",
                 key, kept.m_nTotalBuyVolume, kept.m_nTotalSellVolume);
    }
}

void CLinkageManager::addHistoryLinkdata(const std::string& accountKey,
                                         const std::string& strategy) {
    const CLock lock(m_mutex);
    const std::string historyKey = accountKey + strategy;
    for (const auto& [stock, record] : getTradeStatDatas(accountKey, strategy)) {
        const EffectiveFigures today = effectiveFigures(*record, m_bClientType3);
        if (today.buyVolume == today.sellVolume) continue;
        auto* stocks = utils::CSingletonT<CStockManager>::instance();
        if (!stocks->getInstrumentDetail(Pim::sToQs(stock))) continue;

        // The history takes today's record itself: until the next trade date both see
        // what the other one adds.
        const auto [at, inserted] =
            m_pHistory->m_historyLinkageData[historyKey].try_emplace(stock, record);
        if (!inserted) addFigures(*at->second, today, record->m_dCloseValue);
        const EffectiveFigures kept = effectiveFigures(*at->second, m_bClientType3);
        if (inserted) {
            VEX_INFO("TC::CLinkageManager::addHistoryLinkdata",
                     "[CLinkageManager::addHistoryLinkdata]:new:key:{0},stock: {1} "
                     ",sellVolume：{2}, buyVolume:{3}",
                     historyKey, stock, kept.sellVolume, kept.buyVolume);
        } else {
            VEX_INFO("TC::CLinkageManager::addHistoryLinkdata",
                     "[CLinkageManager::addHistoryLinkdata]:key:{0},stock: {1} "
                     ",sellVolume：{2}, buyVolume:{3}",
                     historyKey, stock, kept.sellVolume, kept.buyVolume);
        }
    }
}

void CLinkageManager::setHistoryStatDataId(const std::string& key, int id) {
    const CLock lock(m_mutex);
    m_pHistory->m_historyStatData.with([&](auto& records) {
        const auto at = records.find(key);
        if (at != records.end()) at->second.m_nId = id;
    });
}

bool CLinkageManager::isAlreadyAdd(const std::string& key) const {
    const CLock lock(m_mutex);
    return m_pHistory->m_alreadyAddedKeys.count(key) > 0;
}

void CLinkageManager::deleteHistoryAlreadyBalancedata() {
    const CLock lock(m_mutex);
    auto records = m_pHistory->m_historyStatData.get();
    for (auto at = records.begin(); at != records.end();) {
        if (at->second.m_nTotalBuyVolume != at->second.m_nTotalSellVolume) {
            ++at;
            continue;
        }
        VEX_INFO("TC::CLinkageManager::deleteHistoryAlreadyBalancedata",
                 "Delete history already balanced data : {0}", at->first);
        m_pHistory->m_historyLinkageData.erase(at->first);
        at = records.erase(at);
    }
    m_pHistory->m_historyStatData.set(std::move(records));
    writedata(false);
}

void CLinkageManager::deleteHistoryLinkageData(const std::string& key, const std::string& stock) {
    const CLock lock(m_mutex);
    const auto stocks = m_pHistory->m_historyLinkageData.find(key);
    if (stocks != m_pHistory->m_historyLinkageData.end()) stocks->second.erase(stock);
    writedata(false);
}

void CLinkageManager::deleteAllHisTorydata() {
    // A slot may release the manager; it then goes when this visit ends.
    const CDoor::Visit visit(m_pDoor);
    VEX_INFO("TC::CLinkageManager::deleteAllHisTorydata", "Delete all history data.");
    const CLock lock(m_mutex);
    m_pHistory->m_historyStatData.set({});
    m_pHistory->m_historyLinkageData.clear();
    m_pHistory->m_alreadyAddedKeys.clear();
    m_pSaver->remove({STAT_FILE, BALANCE_FILE});
    raise("CLinkageManager::deleteAllHisTorydata", sigHistoryCleared);
}

std::map<std::string, TradeStatData> CLinkageManager::getHistoryStatData() const {
    const CLock lock(m_mutex);
    return m_pHistory->m_historyStatData.get();
}

std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>>
CLinkageManager::getHistoryLinkageData(const std::string& historyKey) const {
    const CLock lock(m_mutex);
    const auto stocks = m_pHistory->m_historyLinkageData.find(historyKey);
    if (stocks == m_pHistory->m_historyLinkageData.end()) return {};
    return stocks->second;
}

int CLinkageManager::getHistoryRunningOrders(const std::string& accountKey,
                                             const std::string& strategy) const {
    const CLock lock(m_mutex);
    return countRunning(m_pHistory->m_historyOrders, accountKey, strategy);
}

int CLinkageManager::getHistoryRunningTasks(const std::string& accountKey,
                                            const std::string& strategy) const {
    const CLock lock(m_mutex);
    return countRunning(m_pHistory->m_historyTasks, accountKey, strategy);
}

bool CLinkageManager::historyBalance(const std::string& key, TradeStatData& out) const {
    return m_pHistory->m_historyStatData.with([&](const auto& stats) {
        const auto at = stats.find(key);
        if (at == stats.end()) return false;
        out = at->second;
        return true;
    });
}

}  // namespace TC
