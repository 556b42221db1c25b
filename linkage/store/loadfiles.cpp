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
        if (row.record.m_strAccountKey + row.record.m_strStrategy == row.key) {
            history.m_owners[row.key] = {row.record.m_strAccountKey, row.record.m_strStrategy};
        }
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
        // Records from a file have no sums over orders.
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
    m_pBalance->m_balanceTimes.with(
        [&](auto& times) { times.merge(readBalanceTimes(m_pBalance->m_strKeptTimes)); });
}

void CLinkageManager::readFromFile() {
    const CLock lock(m_mutex);
    CFileSaver::Texts texts = m_pSaver->load();
    // A file that is not there has no rows.
    takeStatRows(texts[STAT_FILE], *m_pHistory, *m_pBalance);
    takeBalanceRows(texts[BALANCE_FILE], *m_pHistory);
    takeDetailRows(texts[DETAIL_FILE], *m_pHistory);
    takeDetailRows(texts[KEPT_FILE], *m_pHistory);
    m_pBalance->m_strKeptTimes = std::move(texts[BALANCE_TIMES_FILE]);
}

}  // namespace TC
