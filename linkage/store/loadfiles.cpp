#include "linkage/balance/balancestate.h"
#include "linkage/balance/balancetimes.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/daykey.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"

#include <utility>

namespace TC {

namespace {

void takeStatRows(const std::string& text, HistoryState& history, BalanceState& balance) {
    const std::string today = todayText();
    ByText<TradeStatData> records;
    std::map<std::string, std::string> times = balance.m_balanceTimes.get();
    for (const csv::StatRow& row : csv::readStatRows(text)) {
        history.m_strWriteTime = row.stamp;
        if (csv::countsAsAdded(row.stamp, today)) history.m_alreadyAddedKeys.insert(row.key);
        if (!row.balanceTime.empty()) times[csv::balanceKey(row.record)] = row.balanceTime;
        records[row.key] = row.record;
    }
    history.m_historyStatData.set(std::move(records));
    balance.m_balanceTimes.set(std::move(times));
}

void takeBalanceRows(const std::string& text, HistoryState& history) {
    for (const csv::BalanceRow& row : csv::readBalanceRows(text)) {
        const auto record = LinkagePeriodExtData::make();
        DealFigures& deals = record->deals();
        deals.m_nBuyVolume = row.figures.buyVolume;
        deals.m_nSellVolume = row.figures.sellVolume;
        deals.m_dBuyAmount = row.figures.buyAmount;
        deals.m_dSellAmount = row.figures.sellAmount;
        // What comes from a file has no orders behind it.
        record->m_bPlain = true;
        history.m_historyLinkageData[row.key][row.stock] = record;
    }
}

void takeDetailRows(const std::string& text, HistoryState& history) {
    for (const csv::DetailRow& row : csv::readDetailRows(text)) {
        history.m_writtenTradeKeys[row.key].insert(row.tradeKey);
    }
}

}  // namespace

void CLinkageManager::readKeptBalanceTimes() {
    const CLock lock(m_mutex);
    const auto text = m_pSaver->load(BALANCE_TIMES_FILE);
    if (!text) return;
    m_pBalance->m_balanceTimes.with([&](auto& times) { times.merge(readBalanceTimes(*text)); });
}

void CLinkageManager::readFromFile() {
    const CLock lock(m_mutex);
    if (const auto text = m_pSaver->load(STAT_FILE)) {
        takeStatRows(*text, *m_pHistory, *m_pBalance);
    }
    if (const auto text = m_pSaver->load(BALANCE_FILE)) {
        takeBalanceRows(*text, *m_pHistory);
    }
    if (const auto text = m_pSaver->load(DETAIL_FILE)) {
        takeDetailRows(*text, *m_pHistory);
    }
}

}  // namespace TC
