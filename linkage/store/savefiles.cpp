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
#include "linkage/tape/step.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"

#include <QFile>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <set>

namespace TC {

namespace {

constexpr char SAVE_FILES[] = "TC::CLinkageManager::writedata";
constexpr std::int64_t SAVE_RETRY_MICROS = 30'000'000;

/// So many rows are copied in one hold of the lock.
constexpr std::size_t ROWS_PER_SLICE = 20;

using Names = CPublished<std::set<std::string>>;
using Rows = CHistoryPicture::Rows;

bool isNewName(Names& refused, const std::string& name) {
    return refused.with([&](auto& names) { return names.insert(name).second; });
}

// Whether a row of these can be read back. What cannot be is left out, and said once.
bool isRow(Names& refused, const char* file, std::initializer_list<std::string> names) {
    if (std::all_of(names.begin(), names.end(), csv::isField)) return true;
    std::string row = fmt::format("{}", fmt::join(names, "|"));
    if (isNewName(refused, file + row)) {
        LINKAGE_LOG_WARNING(SAVE_FILES, "row left out of {0}, no file can hold such a name : {1}",
                            file, csv::asField(row));
    }
    return false;
}

// A text that only describes; nothing is found by it.
void describeSafely(Names& refused, std::string& text) {
    std::string field = csv::asField(text);
    if (field == text) return;
    if (isNewName(refused, text)) {
        LINKAGE_LOG_WARNING(SAVE_FILES, "text saved as : {0}", field);
    }
    text = std::move(field);
}

std::string statText(const Rows& rows, Names& refused, const std::string& stamp,
                     const std::map<std::string, std::string>* times) {
    std::map<std::string, std::string> byHistoryKey;
    if (times) byHistoryKey = csv::timesByHistoryKey(*times);
    std::string text = csv::statHeader();
    for (const CHistoryPicture::Row& row : rows) {
        if (!row->stat) continue;
        TradeStatData record = *row->stat;
        if (!isRow(refused, STAT_FILE, {row->key, record.m_strAccountKey, record.m_strStrategy})) {
            continue;
        }
        for (std::string* each : {&record.m_strFundAccountId, &record.m_strAccountName,
                                  &record.m_strAccountType, &record.m_strBroker}) {
            describeSafely(refused, *each);
        }
        std::string time = times ? csv::balanceTimeOf(row->key, record, *times, byHistoryKey) : "";
        describeSafely(refused, time);
        text += csv::statRow(row->key, record, stamp, time);
    }
    return text;
}

std::string balanceText(const Rows& rows, Names& refused, const std::string& stamp) {
    std::string text = csv::balanceHeader();
    for (const CHistoryPicture::Row& row : rows) {
        for (const auto& [stock, figures] : row->stocks) {
            if (!isRow(refused, BALANCE_FILE, {row->key, stock})) continue;
            text += csv::balanceRow(row->key, stock, figures, stamp);
        }
    }
    return text;
}

// The rows of the deals that `belongs` takes.
template <class Belongs>
std::string detailRows(const Rows& rows, Names& refused, Belongs belongs) {
    std::string text;
    for (const CHistoryPicture::Row& row : rows) {
        for (const std::string& tradeKey : row->tradeKeys) {
            if (belongs(tradeKey) && isRow(refused, DETAIL_FILE, {row->key, tradeKey})) {
                text += csv::detailRow(row->key, tradeKey);
            }
        }
    }
    return text;
}

std::string detailText(const Rows& rows, Names& refused, const std::string& today) {
    return csv::detailHeader() + detailRows(rows, refused, [&](const std::string& tradeKey) {
               return csv::isTradeKeyOf(tradeKey, today);
           });
}

std::string keptText(const Rows& rows, Names& refused, const std::string& today,
                     const std::string& tradeDate) {
    std::string text = detailRows(rows, refused, [&](const std::string& tradeKey) {
        return csv::isKept(tradeKey, today, tradeDate);
    });
    return text.empty() ? text : csv::detailHeader() + text;
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
                             },
                             [this] { return followHistory(); }},
        std::make_unique<CDiskFiles>());
}

RoomPtr<CBookWriter> CLinkageManager::makeBook() const {
    const QString directory = getDataDir() + "/" + "Balance";
    return makeRoom<CBookWriter>(
        std::make_unique<CBookFile>(QFile::encodeName(directory).toStdString(),
                                    std::make_unique<CDiskFiles>(), m_pSaver->directoryLock()));
}

void CLinkageManager::writedata(bool withTime) {
    const CStep step(tape(), [&] { return callOf("writedata", withTime); });
    m_pSaver->saveAll(withTime);
}

void CLinkageManager::writeBlanaceTime() {
    const CStep step(tape(), [] { return callOf("writeBlanaceTime"); });
    m_pSaver->saveBalanceTimes();
}

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

bool CLinkageManager::followHistory() {
    const CLock lock(m_mutex);
    return m_pHistory->m_picture.follow(*m_pHistory, m_bClientType3, ROWS_PER_SLICE);
}

CLinkageManager::TextMaker CLinkageManager::writeToFile(bool withTime) {
    const CLock lock(m_mutex);
    const std::string today = todayText();
    m_pHistory->m_strWriteTime = withTime ? nowText() : csv::dayStamp(today);
    // This writer leaves the balance times out of the file; it always has.
    return [taken = m_pHistory->m_picture.take(*m_pHistory, m_bClientType3),
            &refused = m_pHistory->m_refusedNames, today, stamp = m_pHistory->m_strWriteTime,
            tradeDate = m_pTradeDate->get()] {
        const Rows rows = taken.rows();
        // One after the other, because names that are refused are logged.
        CFileSaver::Texts texts;
        texts[STAT_FILE] = statText(rows, refused, stamp, nullptr);
        texts[BALANCE_FILE] = balanceText(rows, refused, stamp);
        texts[DETAIL_FILE] = detailText(rows, refused, today);
        texts[KEPT_FILE] = keptText(rows, refused, today, tradeDate);
        return texts;
    };
}

CLinkageManager::TextMaker CLinkageManager::writeBlanaceTimeToFile() {
    const CLock lock(m_mutex);
    m_pHistory->m_strWriteTime = csv::dayStamp(todayText());
    return [taken = m_pHistory->m_picture.take(*m_pHistory, m_bClientType3),
            &refused = m_pHistory->m_refusedNames, stamp = m_pHistory->m_strWriteTime,
            times = m_pBalance->m_balanceTimes.get(), keeps = m_options.keepBalanceTimes] {
        CFileSaver::Texts texts;
        texts[STAT_FILE] = statText(taken.rows(), refused, stamp, &times);
        if (keeps) texts[BALANCE_TIMES_FILE] = balanceTimesText(times);
        return texts;
    };
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
