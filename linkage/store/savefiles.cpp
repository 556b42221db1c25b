#include "linkage/balance/balancestate.h"
#include "linkage/balance/balancetimes.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/ledger/daykey.h"
#include "linkage/store/bookfile.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/filesaver.h"
#include "linkage/store/historystate.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"

#include <QFile>

#include <algorithm>
#include <initializer_list>

namespace TC {

namespace {

constexpr char SAVE_FILES[] = "TC::CLinkageManager::writedata";
constexpr std::int64_t SAVE_RETRY_MICROS = 30'000'000;

// Whether a row of these can be read back. What cannot be is left out, and said once.
bool isRow(HistoryState& history, const char* file, std::initializer_list<std::string> names) {
    if (std::all_of(names.begin(), names.end(), csv::isField)) return true;
    std::string row = fmt::format("{}", fmt::join(names, "|"));
    if (history.m_refusedNames.insert(file + row).second) {
        LINKAGE_LOG_WARNING(SAVE_FILES, "row left out of {0}, no file can hold such a name : {1}",
                            file, csv::asField(row));
    }
    return false;
}

// A text that only describes; nothing is found by it.
void describeSafely(HistoryState& history, std::string& text) {
    std::string field = csv::asField(text);
    if (field == text) return;
    if (history.m_refusedNames.insert(text).second) {
        LINKAGE_LOG_WARNING(SAVE_FILES, "text saved as : {0}", field);
    }
    text = std::move(field);
}

std::string statText(HistoryState& history, const std::map<std::string, std::string>* times) {
    std::map<std::string, std::string> byHistoryKey;
    if (times) byHistoryKey = csv::timesByHistoryKey(*times);
    std::string text = csv::statHeader();
    for (const auto& [key, kept] : history.m_historyStatData.get()) {
        if (!isRow(history, STAT_FILE, {key, kept.m_strAccountKey, kept.m_strStrategy})) continue;
        TradeStatData record = kept;
        for (std::string* each : {&record.m_strFundAccountId, &record.m_strAccountName,
                                  &record.m_strAccountType, &record.m_strBroker}) {
            describeSafely(history, *each);
        }
        std::string time = times ? csv::balanceTimeOf(key, record, *times, byHistoryKey) : "";
        describeSafely(history, time);
        text += csv::statRow(key, record, history.m_strWriteTime, time);
    }
    return text;
}

std::string balanceText(HistoryState& history, bool clientType3) {
    std::string text = csv::balanceHeader();
    for (const auto& [key, stocks] : history.m_historyLinkageData) {
        for (const auto& [stock, record] : stocks) {
            if (!isRow(history, BALANCE_FILE, {key, stock})) continue;
            text += csv::balanceRow(key, stock, effectiveFigures(*record, clientType3),
                                    history.m_strWriteTime);
        }
    }
    return text;
}

// The rows of the deals that `belongs` takes.
template <class Belongs>
std::string detailRows(HistoryState& history, Belongs belongs) {
    std::string rows;
    for (const auto& [key, tradeKeys] : history.m_writtenTradeKeys) {
        for (const std::string& tradeKey : tradeKeys) {
            if (belongs(tradeKey) && isRow(history, DETAIL_FILE, {key, tradeKey})) {
                rows += csv::detailRow(key, tradeKey);
            }
        }
    }
    return rows;
}

std::string detailText(HistoryState& history, const std::string& today) {
    return csv::detailHeader() + detailRows(history, [&](const std::string& tradeKey) {
               return csv::isTradeKeyOf(tradeKey, today);
           });
}

std::string keptText(HistoryState& history, const std::string& today,
                     const std::string& tradeDate) {
    std::string rows = detailRows(history, [&](const std::string& tradeKey) {
        return csv::isKept(tradeKey, today, tradeDate);
    });
    return rows.empty() ? rows : csv::detailHeader() + rows;
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
                             [this] { return writeBlanaceTimeToFile(); },
                             [this] {
                                 if (m_pEngine->hasStrand()) post([this] { retrySaveLater(); });
                                 return m_pEngine->hasStrand();
                             }},
        std::make_unique<CDiskFiles>());
}

RoomPtr<CBookWriter> CLinkageManager::makeBook() const {
    const QString directory = getDataDir() + "/" + "Balance";
    return makeRoom<CBookWriter>(
        std::make_unique<CBookFile>(QFile::encodeName(directory).toStdString(),
                                    std::make_unique<CDiskFiles>(), m_pSaver->directoryLock()));
}

void CLinkageManager::writedata(bool withTime) { m_pSaver->saveAll(withTime); }

void CLinkageManager::writeBlanaceTime() { m_pSaver->saveBalanceTimes(); }

void CLinkageManager::finishSaves() {
    m_pSaver->finish();
    finishImports();
    m_pBook->flush();
}

void CLinkageManager::retrySaveLater() {
    const CLock lock(m_mutex);
    armTimer(*m_pEngine->m_saveTimer, *m_pEngine->m_strand, SAVE_RETRY_MICROS,
             guarded([this] { m_pSaver->retry(); }));
}

std::map<std::string, std::string> CLinkageManager::writeToFile(bool withTime) {
    const CLock lock(m_mutex);
    const std::string today = todayText();
    m_pHistory->m_strWriteTime = withTime ? nowText() : csv::dayStamp(today);
    // This writer leaves the balance times out of the file; it always has.
    return {{STAT_FILE, statText(*m_pHistory, nullptr)},
            {BALANCE_FILE, balanceText(*m_pHistory, m_bClientType3)},
            {DETAIL_FILE, detailText(*m_pHistory, today)},
            {KEPT_FILE, keptText(*m_pHistory, today, m_pTradeDate->get())}};
}

std::map<std::string, std::string> CLinkageManager::writeBlanaceTimeToFile() {
    const CLock lock(m_mutex);
    m_pHistory->m_strWriteTime = csv::dayStamp(todayText());
    const auto times = m_pBalance->m_balanceTimes.get();
    std::map<std::string, std::string> texts = {{STAT_FILE, statText(*m_pHistory, &times)}};
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
