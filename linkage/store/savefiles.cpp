#include "linkage/balance/balancestate.h"
#include "linkage/balance/balancetimes.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/daykey.h"
#include "linkage/store/bookfile.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"
#include "platform/services/clientconfig.h"

#include <QFile>

namespace TC {

namespace {

std::string statText(const HistoryState& history, const std::map<std::string, std::string>& times) {
    std::string text = csv::statHeader();
    for (const auto& [key, record] : history.m_historyStatData.get()) {
        const auto time = times.find(key);
        text += csv::statRow(key, record, history.m_strWriteTime,
                             time == times.end() ? std::string() : time->second);
    }
    return text;
}

std::string balanceText(const HistoryState& history, bool clientType3) {
    std::string text = csv::balanceHeader();
    for (const auto& [key, stocks] : history.m_historyLinkageData) {
        for (const auto& [stock, record] : stocks) {
            text += csv::balanceRow(key, stock, effectiveFigures(*record, clientType3),
                                    history.m_strWriteTime);
        }
    }
    return text;
}

std::string detailText(const HistoryState& history, const std::string& today) {
    std::string text = csv::detailHeader();
    for (const auto& [key, tradeKeys] : history.m_writtenTradeKeys) {
        for (const std::string& tradeKey : tradeKeys) {
            if (csv::isTradeKeyOf(tradeKey, today)) text += csv::detailRow(key, tradeKey);
        }
    }
    return text;
}

}  // namespace

// Everybody who reads, writes or removes a data file does it through the saver, so that
// all of them mean the same three files of this directory.
RoomPtr<CFileSaver> CLinkageManager::makeSaver() {
    const QString directory = getDataDir() + "/" + "Balance";
    const std::string encoding = utils::CSingletonT<CAppConfig>::instance()->fileEncoding();
    return makeRoom<CFileSaver>(
        m_mutex, m_pDoor,
        CFileSaver::Place{QFile::encodeName(directory).toStdString(), fileEncodingFrom(encoding)},
        CFileSaver::Composer{[this](bool withTime) { return writeToFile(withTime); },
                             [this] { return writeBlanaceTimeToFile(); }},
        std::make_unique<CDiskFiles>());
}

RoomPtr<CBookWriter> CLinkageManager::makeBook() {
    const QString directory = getDataDir() + "/" + "Balance";
    return makeRoom<CBookWriter>(std::make_unique<CBookFile>(
        QFile::encodeName(directory).toStdString(), std::make_unique<CDiskFiles>()));
}

void CLinkageManager::writedata(bool withTime) { m_pSaver->saveAll(withTime); }

void CLinkageManager::writeBlanaceTime() { m_pSaver->saveBalanceTimes(); }

void CLinkageManager::finishSaves() {
    m_pSaver->finish();
    m_pBook->flush();
}

std::map<std::string, std::string> CLinkageManager::writeToFile(bool withTime) {
    const CLock lock(m_mutex);
    const std::string today = todayText();
    m_pHistory->m_strWriteTime = withTime ? nowText() : csv::dayStamp(today);
    // This writer leaves the balance times out of the file; it always has.
    return {{STAT_FILE, statText(*m_pHistory, {})},
            {BALANCE_FILE, balanceText(*m_pHistory, m_bClientType3)},
            {DETAIL_FILE, detailText(*m_pHistory, today)}};
}

std::map<std::string, std::string> CLinkageManager::writeBlanaceTimeToFile() {
    const CLock lock(m_mutex);
    m_pHistory->m_strWriteTime = csv::dayStamp(todayText());
    const auto times = m_pBalance->m_balanceTimes.get();
    std::map<std::string, std::string> texts = {
        {STAT_FILE, statText(*m_pHistory, csv::timesByHistoryKey(times))}};
    if (m_options.keepBalanceTimes) texts[BALANCE_TIMES_FILE] = balanceTimesText(times);
    return texts;
}

bool CLinkageManager::isNewToHistory(const std::string& historyKey,
                                     const vexservice::CDealDetail& deal) const {
    return isCanWriteToFile(historyKey, csv::tradeKey(deal.m_strTradeDate, deal.m_strDealID));
}

bool CLinkageManager::isCanWriteToFile(const std::string& historyKey,
                                       const std::string& tradeKey) const {
    const CLock lock(m_mutex);
    const auto written = m_pHistory->m_writtenTradeKeys.find(historyKey);
    return written == m_pHistory->m_writtenTradeKeys.end() || !written->second.count(tradeKey);
}

}  // namespace TC
