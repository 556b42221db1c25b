#include "linkage/core/clinkagemanager.h"
#include "linkage/core/door.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/volume.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"
#include "linkage/tape/jsonwriter.h"
#include "linkage/tape/services.h"
#include "platform/log.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/text.h"

#include <cmath>
#include <memory>
#include <set>
#include <utility>

namespace TC {

namespace {

// Adds figures to the plain totals of a history record, which may be the very record that the
// figures were read from. False, and nothing is added, when a sum does not fit.
bool addFigures(LinkagePeriodExtData& record, const EffectiveFigures& figures, double closeValue) {
    DealFigures& deals = record.deals();
    const auto sells = checkedAdd<std::int32_t>(deals.m_nSellVolume, figures.sellVolume);
    const auto buys = checkedAdd<std::int32_t>(deals.m_nBuyVolume, figures.buyVolume);
    const auto bought = checkedAdd<double>(deals.m_dBuyAmount, figures.buyAmount);
    const auto sold = checkedAdd<double>(deals.m_dSellAmount, figures.sellAmount);
    if (!sells || !buys || !bought || !sold) return false;
    deals.m_nSellVolume = *sells;
    deals.m_nBuyVolume = *buys;
    deals.m_dBuyAmount = *bought;
    deals.m_dSellAmount = *sold;
    if (std::isfinite(closeValue)) record.m_dCloseValue += closeValue;
    return true;
}

// A volume below 0 has wrapped in the day's 32 bits; the difference of the two sides is then
// not known.
bool canBeHistory(const EffectiveFigures& figures) {
    return figures.buyVolume >= 0 && figures.sellVolume >= 0 && std::isfinite(figures.buyAmount) &&
           std::isfinite(figures.sellAmount);
}

/// As an argument of a call (docs/SCENARIOS.md).
TapeJson statOnTape(const TradeStatData& stat) {
    TextBuffer text;
    CJsonWriter out(text);
    out.beginObject();
    out.member("accountKey", stat.m_strAccountKey);
    out.member("accountName", stat.m_strAccountName);
    out.member("accountType", stat.m_strAccountType);
    out.member("broker", stat.m_strBroker);
    out.member("buyAmount", stat.m_dTotalBuyAmount);
    out.member("buyVolume", stat.m_nTotalBuyVolume);
    out.member("fundAccountId", stat.m_strFundAccountId);
    out.member("id", stat.m_nId);
    out.member("positionValue", stat.m_dTotalPositionValue);
    out.member("sellAmount", stat.m_dTotalSellAmount);
    out.member("sellVolume", stat.m_nTotalSellVolume);
    out.member("strategy", stat.m_strStrategy);
    out.endObject();
    return {std::string(viewOf(text))};
}

bool isFinite(const TradeStatData& stat) {
    return std::isfinite(stat.m_dTotalBuyAmount) && std::isfinite(stat.m_dTotalSellAmount);
}

bool addTotals(TradeStatData& record, const TradeStatData& stat) {
    const auto buys = checkedAdd(record.m_nTotalBuyVolume, stat.m_nTotalBuyVolume);
    const auto sells = checkedAdd(record.m_nTotalSellVolume, stat.m_nTotalSellVolume);
    const auto bought = checkedAdd(record.m_dTotalBuyAmount, stat.m_dTotalBuyAmount);
    const auto sold = checkedAdd(record.m_dTotalSellAmount, stat.m_dTotalSellAmount);
    if (!buys || !sells || !bought || !sold) return false;
    record.m_nTotalBuyVolume = *buys;
    record.m_nTotalSellVolume = *sells;
    record.m_dTotalBuyAmount = *bought;
    record.m_dTotalSellAmount = *sold;
    return true;
}

}  // namespace

void CLinkageManager::addHistoryStat(const std::string& key, TradeStatData stat) {
    const CStep step(tape(), [&] { return callOf("addHistoryStat", key, statOnTape(stat)); });
    constexpr auto operation = "TC::CLinkageManager::addHistoryStat";
    const CLock lock(m_mutex);
    const bool namesPair = stat.m_strAccountKey + stat.m_strStrategy == key;
    if (namesPair && !m_pHistory->claim(operation, key, stat.m_strAccountKey, stat.m_strStrategy)) {
        return;
    }
    stat.m_nId = -1;
    bool isNew = false;
    TradeStatData kept;
    const bool added = m_pHistory->m_historyStatData.with([&](auto& records) {
        const auto at = records.find(key);
        isNew = at == records.end();
        if (!isFinite(stat) || (!isNew && !addTotals(at->second, stat))) return false;
        if (isNew) records.emplace(key, stat);
        kept = isNew ? stat : at->second;
        return true;
    });
    if (!added) {
        LINKAGE_LOG_WARNING(
            operation, "key {0} refused: a figure is no number or has no room in its total", key);
        return;
    }
    m_pHistory->m_alreadyAddedKeys.insert(key);
    m_pHistory->m_picture.touch(key);
    if (isNew) {
        LINKAGE_LOG_INFO("TC::CLinkageManager::addHistoryStat",
                         "[CLinkageManager::addHistoryStat]:new：key:{0},m_nTotalBuyVolume：{1}, "
                         "m_nTotalSellVolume:{2} ",
                         key, kept.m_nTotalBuyVolume, kept.m_nTotalSellVolume);
    } else {
        LINKAGE_LOG_INFO("TC::CLinkageManager::addHistoryStat",
                         "[CLinkageManager::addHistoryStat]: key:{0},m_nTotalBuyVolume：{1}, "
                         "m_nTotalSellVolume:{2}",
                         key, kept.m_nTotalBuyVolume, kept.m_nTotalSellVolume);
    }
}

void CLinkageManager::addHistoryLinkdata(const std::string& accountKey,
                                         const std::string& strategy) {
    const CStep step(tape(), [&] { return callOf("addHistoryLinkdata", accountKey, strategy); });
    const CLock lock(m_mutex);
    constexpr auto operation = "TC::CLinkageManager::addHistoryLinkdata";
    const std::string historyKey = accountKey + strategy;
    if (!m_pHistory->claim(operation, historyKey, accountKey, strategy)) return;
    for (const auto& [stock, record] : getTradeStatDatas(accountKey, strategy)) {
        const EffectiveFigures today = effectiveFigures(*record, m_bClientType3);
        if (today.buyVolume == today.sellVolume) continue;
        if (!service<CStockManager>().getInstrumentDetail(Pim::sToQs(stock))) continue;

        if (!canBeHistory(today)) {
            LINKAGE_LOG_WARNING(operation,
                                "key {0}, stock {1} refused: bought {2}, sold {3} are no volumes",
                                historyKey, stock, today.buyVolume, today.sellVolume);
            continue;
        }

        // The history takes today's record itself: until the next trade date both see
        // what the other one adds.
        m_pLedger->figuresChangedElsewhere();
        const auto [at, inserted] =
            m_pHistory->m_historyLinkageData[historyKey].try_emplace(stock, record);
        m_pHistory->m_picture.share(historyKey);
        if (!inserted && !addFigures(*at->second, today, record->m_dCloseValue)) {
            LINKAGE_LOG_WARNING(operation, "key {0}, stock {1} refused: its total has no room",
                                historyKey, stock);
            continue;
        }
        const EffectiveFigures kept = effectiveFigures(*at->second, m_bClientType3);
        if (inserted) {
            LINKAGE_LOG_INFO("TC::CLinkageManager::addHistoryLinkdata",
                             "[CLinkageManager::addHistoryLinkdata]:new:key:{0},stock: {1} "
                             ",sellVolume：{2}, buyVolume:{3}",
                             historyKey, stock, kept.sellVolume, kept.buyVolume);
        } else {
            LINKAGE_LOG_INFO("TC::CLinkageManager::addHistoryLinkdata",
                             "[CLinkageManager::addHistoryLinkdata]:key:{0},stock: {1} "
                             ",sellVolume：{2}, buyVolume:{3}",
                             historyKey, stock, kept.sellVolume, kept.buyVolume);
        }
    }
}

void CLinkageManager::setHistoryStatDataId(const std::string& key, int id) {
    const CStep step(tape(), [&] { return callOf("setHistoryStatDataId", key, id); });
    const CLock lock(m_mutex);
    m_pHistory->m_historyStatData.with([&](auto& records) {
        const auto at = records.find(key);
        if (at != records.end()) at->second.m_nId = id;
    });
    m_pHistory->m_picture.touch(key);
}

bool CLinkageManager::isAlreadyAdd(const std::string& key) const {
    const CLock lock(m_mutex);
    return m_pHistory->m_alreadyAddedKeys.count(key) > 0;
}

void CLinkageManager::deleteHistoryAlreadyBalancedata() {
    const CStep step(tape(), [] { return callOf("deleteHistoryAlreadyBalancedata"); });
    const CLock lock(m_mutex);
    auto records = m_pHistory->m_historyStatData.get();
    for (auto at = records.begin(); at != records.end();) {
        if (at->second.m_nTotalBuyVolume != at->second.m_nTotalSellVolume) {
            ++at;
            continue;
        }
        LINKAGE_LOG_INFO("TC::CLinkageManager::deleteHistoryAlreadyBalancedata",
                         "Delete history already balanced data : {0}", at->first);
        m_pHistory->m_historyLinkageData.erase(at->first);
        m_pHistory->m_picture.touch(at->first);
        at = records.erase(at);
    }
    m_pHistory->m_historyStatData.set(std::move(records));
    writedata(false);
}

void CLinkageManager::deleteHistoryLinkageData(const std::string& key, const std::string& stock) {
    const CStep step(tape(), [&] { return callOf("deleteHistoryLinkageData", key, stock); });
    const CLock lock(m_mutex);
    const auto stocks = m_pHistory->m_historyLinkageData.find(key);
    if (stocks != m_pHistory->m_historyLinkageData.end()) stocks->second.erase(stock);
    m_pHistory->m_picture.touch(key);
    writedata(false);
}

void CLinkageManager::deleteAllHisTorydata() {
    // A slot may release the manager; the manager is then destroyed when this visit ends.
    const CDoor::Visit visit(m_pDoor);
    const CStep step(tape(), [] { return callOf("deleteAllHisTorydata"); });
    LINKAGE_LOG_INFO("TC::CLinkageManager::deleteAllHisTorydata", "Delete all history data.");
    // To destroy what was there takes time, and needs no lock.
    ByText<TradeStatData> stats;
    decltype(HistoryState::m_historyLinkageData) figures;
    std::set<std::string> keys;
    std::shared_ptr<const void> picture;
    const CLock lock(m_mutex);
    m_pHistory->m_historyStatData.with([&](auto& records) { records.swap(stats); });
    m_pHistory->m_historyLinkageData.swap(figures);
    m_pHistory->m_alreadyAddedKeys.swap(keys);
    picture = m_pHistory->m_picture.clear();
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

std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> CLinkageManager::getHistoryOfPair(
    const std::string& accountKey, const std::string& strategy) const {
    const CLock lock(m_mutex);
    const std::string historyKey = accountKey + strategy;
    if (!m_pHistory->isFree(historyKey, accountKey, strategy)) {
        LINKAGE_LOG_WARNING(
            "TC::CLinkageManager::getHistoryOfPair",
            "account {0}, strategy {1} has no history: the key {2} is another pair's", accountKey,
            strategy, historyKey);
        return {};
    }
    return getHistoryLinkageData(historyKey);
}

int CLinkageManager::getHistoryRunningOrders(const std::string& accountKey,
                                             const std::string& strategy) const {
    const CLock lock(m_mutex);
    return m_pHistory->m_historyOrders.count(accountKey, strategy);
}

int CLinkageManager::getHistoryRunningTasks(const std::string& accountKey,
                                            const std::string& strategy) const {
    const CLock lock(m_mutex);
    return m_pHistory->m_historyTasks.count(accountKey, strategy);
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
