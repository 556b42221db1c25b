#include "linkage/core/clinkagemanager.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/store/import/accountchoice.h"
#include "linkage/store/import/readers.h"
#include "linkage/store/import/samerecord.h"
#include "linkage/store/import/statement.h"
#include "linkage/store/importreport.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

#include <QApplication>
#include <QFileDialog>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <map>
#include <new>
#include <set>
#include <span>
#include <type_traits>

namespace TC {

namespace {

using namespace statement;

constexpr char OPERATION[] = "TC::CLinkageManager::importData";

QString askForFile() {
    // Without a screen, or on another thread, a dialog would bring the client down.
    const auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!application || QThread::currentThread() != application->thread()) return QString();
    return QFileDialog::getOpenFileName(
        nullptr, QString(), QString(),
        QStringLiteral("Excel Files(*.xls *.xlsx);;Excel Files(*.csv)"));
}

template <class Record>
std::vector<NamedAccount> namedAccounts(const std::vector<Parsed<Record>>& rows) {
    std::vector<NamedAccount> named;
    QSet<QString> seen;
    for (const auto& row : rows) {
        const QString both = row.fundAccount + '|' + row.holder;
        if (seen.contains(both)) continue;
        seen.insert(both);
        named.push_back({row.fundAccount, row.holder});
    }
    return named;
}

/// So many rows are filed in one hold of the lock; intake never waits for a whole file.
constexpr std::size_t ROWS_PER_HOLD = 2000;

/// The deals or orders that the trading system reported. A statement repeats them, and they
/// must not count twice. To be used within one hold of the manager's lock.
template <class Record>
class CReported {
public:
    explicit CReported(const CLedger& ledger) : m_ledger(ledger) {}

    bool contains(const std::string& accountKey, const Record& record) {
        const std::string traits = traitsOf(record);
        if (traits.empty()) return false;
        const int day = dayKey(record.m_strTradeDate);
        const auto [known, isNew] = m_known.try_emplace({accountKey, day});
        if (isNew) {
            for (const auto& [key, each] : filed(accountKey, day)) {
                if (!each->m_bImported) known->second.insert(traitsOf(*each));
            }
        }
        return known->second.count(traits) > 0;
    }

private:
    auto filed(const std::string& accountKey, int day) const {
        if constexpr (std::is_same_v<Record, vexservice::CDealDetail>) {
            return m_ledger.accountDeals(accountKey, day);
        } else {
            return m_ledger.accountOrders(accountKey, day);
        }
    }

    const CLedger& m_ledger;
    std::map<std::pair<std::string, int>, std::set<std::string>> m_known;
};

/// Puts skipped rows in the order of the file, whichever step skipped them.
void sortSkipped(std::vector<ImportReport::SkippedRow>& skipped, const CWorkbook& book) {
    QHash<QString, int> order;
    for (const auto& sheet : book.sheets()) order.insert(sheet.name, order.size());
    std::stable_sort(skipped.begin(), skipped.end(), [&](const auto& a, const auto& b) {
        return std::pair(order.value(a.sheet), a.row) < std::pair(order.value(b.sheet), b.row);
    });
}

}  // namespace

bool CLinkageManager::importDeal(const std::string& accountKey,
                                 const boost::shared_ptr<vexservice::CDealDetail>& deal) {
    const int day = dayKey(deal->m_strTradeDate);
    m_pImported->deals.add(accountKey, day, *deal);
    return m_pLedger->fileDeal(day, utils::zorStockKey(deal->m_strMarket, deal->m_strCode),
                               accountKey, deal);
}

bool CLinkageManager::importOrder(const std::string& accountKey,
                                  const boost::shared_ptr<vexservice::COrderDetail>& order) {
    const int day = dayKey(order->m_strTradeDate);
    m_pImported->orders.add(accountKey, day, *order);
    return m_pLedger->fileOrder(day, utils::zorStockKey(order->m_strMarket, order->m_strCode),
                                accountKey, order);
}

void CLinkageManager::dropImported(const std::string& accountKey,
                                   const vexservice::CDealDetail& deal) {
    if (m_pImported->deals.empty()) return;
    const int day = m_pLedger->day(deal.m_strTradeDate);
    m_pLedger->removeFiledDeals(day, accountKey, m_pImported->deals.take(accountKey, day, deal));
}

void CLinkageManager::dropImported(const std::string& accountKey,
                                   const vexservice::COrderDetail& order) {
    if (m_pImported->orders.empty()) return;
    const int day = m_pLedger->day(order.m_strTradeDate);
    m_pLedger->removeFiledOrders(day, accountKey, m_pImported->orders.take(accountKey, day, order));
}

template <class Record>
bool CLinkageManager::importSlice(std::span<const Parsed<Record>> rows,
                                  const CAccountChoice& accounts, ImportReport& report) {
    const std::string today = getTradeDate();
    bool ofToday = false;
    const CLock lock(m_mutex);
    CLedger& ledger = *m_pLedger;
    CReported<Record> reported(ledger);
    for (const Parsed<Record>& row : rows) {
        const auto& record = row.record;
        const auto skip = [&](const QString& why) {
            ImportReport::list(report.skipped, {row.sheet, row.row, why});
        };
        const CAccountChoice::Choice choice = accounts.of({row.fundAccount, row.holder});
        if (!choice.account) {
            skip(choice.why);
            continue;
        }
        if (!ledger.follows(record->m_strMarket, record->m_strCode)) {
            skip(QStringLiteral("repurchase or subscription, which is not followed"));
            continue;
        }
        const std::string& key = choice.account->m_strKey;
        if (reported.contains(key, *record)) {
            skip(QStringLiteral("already reported by the trading system"));
            continue;
        }
        record->m_pAccountInfo = choice.account;
        ++report.taken;
        if constexpr (std::is_same_v<Record, vexservice::CDealDetail>) {
            report.added += importDeal(key, record);
        } else {
            report.added += importOrder(key, record);
        }
        ofToday = ofToday || record->m_strTradeDate == today;
    }
    return ofToday;
}

template <class Record>
void CLinkageManager::importRows(const std::vector<Parsed<Record>>& rows, ImportReport& report) {
    if (rows.empty()) return;
    const CAccountChoice accounts(getAccounts(), namedAccounts(rows));
    report.refusal = accounts.refusal();
    if (!report.ok()) return;
    if (!accounts.note().isEmpty()) report.notes << accounts.note();

    const int today = dayKey(getTradeDate());
    CLock lock(m_mutex);
    const std::size_t stocks = m_pLedger->countStocks(today);
    lock.unlock();
    bool ofToday = false;
    const std::span all(rows);
    for (std::size_t at = 0; at < all.size(); at += ROWS_PER_HOLD) {
        const auto slice = all.subspan(at, std::min(ROWS_PER_HOLD, all.size() - at));
        ofToday = importSlice<Record>(slice, accounts, report) || ofToday;
    }
    if (!ofToday) return;
    report.notes << QStringLiteral(
        "records of the running day stay until the account is requested again");
    lock.relock();
    if (m_pLedger->countStocks(today) != stocks) raise(OPERATION, sigStocksChanged);
}

ImportReport CLinkageManager::importData(const QString& path) {
    ImportReport report;
    report.path = path.isEmpty() ? askForFile() : path;
    try {
        if (report.path.isEmpty()) throw Refusal(QStringLiteral("no file was chosen"));
        // Reading may take a while and needs nothing of the manager.
        const CWorkbook book = readFile(report.path);
        Statement rows = readStatement(book, getTradeDate());
        report.kind = rows.kind;
        report.read = rows.read;
        report.notes = std::move(rows.notes);
        report.skipped = std::move(rows.skipped);
        importRows(rows.deals, report);
        importRows(rows.orders, report);
        sortSkipped(report.skipped, book);
        const auto listed = static_cast<int>(report.skipped.size());
        if (listed < report.skippedCount()) {
            report.notes << QStringLiteral("%1 more rows were left out than are listed")
                                .arg(report.skippedCount() - listed);
        }
    } catch (const Refusal& why) {
        report.refusal = why.text;
    } catch (const std::bad_alloc&) {
        report.refusal = QStringLiteral("there is not enough memory to read the file");
    }
    if (!report.ok()) {
        report.read = 0;
        report.skipped.clear();
        report.notes.clear();
        VEX_INFO(OPERATION, "Import of {0} refused: {1}", report.path.toStdString(),
                 report.refusal.toStdString());
    } else {
        VEX_INFO(OPERATION, "Imported {0}: {1} rows read, {2} taken, {3} new, {4} skipped",
                 report.path.toStdString(), report.read, report.taken, report.added,
                 report.skippedCount());
    }
    return report;
}

}  // namespace TC
