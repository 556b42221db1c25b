#include "linkage/core/clinkagemanager.h"
#include "linkage/core/daykey.h"
#include "linkage/core/ledger.h"
#include "linkage/store/import/accountchoice.h"
#include "linkage/store/import/readers.h"
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
#include <optional>
#include <set>
#include <tuple>

namespace TC {

namespace {

using namespace statement;

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

const std::string& numberOfRecord(const vexservice::CDealDetail& deal) { return deal.m_strDealID; }
const std::string& numberOfRecord(const vexservice::COrderDetail& order) {
    return order.m_strSysID;
}

/// Deals and orders that the trading system reported, by what a statement tells of
/// them. A statement repeats what the client saw itself; that must not count twice.
template <class Record>
class CReported {
public:
    template <class Load>
    bool contains(const std::string& accountKey, int day, const Record& record, Load load) {
        if (numberOfRecord(record).empty()) return false;
        auto& known = m_known[{accountKey, day}];
        if (!known) {
            known.emplace();
            for (const auto& [key, each] : load(accountKey, day)) {
                if (!each->m_bImported) known->insert(traits(*each));
            }
        }
        return known->count(traits(record)) > 0;
    }

private:
    using Traits = std::tuple<std::string, std::string, std::string, int, int>;
    static Traits traits(const Record& record) {
        return {record.m_strMarket, record.m_strCode, numberOfRecord(record), record.m_nVolume,
                record.m_eDirection};
    }
    std::map<std::pair<std::string, int>, std::optional<std::set<Traits>>> m_known;
};

template <class Record>
using Chosen = std::vector<std::pair<std::string, boost::shared_ptr<Record>>>;

/// The rows to file, each with its account key; what is left out goes to the report.
/// `load` gives what is filed of an account under a day.
template <class Record, class Load>
Chosen<Record> chooseRows(const std::vector<Parsed<Record>>& rows, const CAccountChoice& accounts,
                          CLedger& ledger, ImportReport& report, Load load) {
    Chosen<Record> chosen;
    CReported<Record> reported;
    const auto skip = [&](const Parsed<Record>& row, const QString& why) {
        report.skipped.push_back({row.sheet, row.row, why});
    };
    for (const auto& row : rows) {
        const auto account = accounts.of({row.fundAccount, row.holder});
        if (!account) {
            skip(row, QStringLiteral("account %1 is not followed")
                          .arg(row.fundAccount.isEmpty() ? row.holder : row.fundAccount));
            continue;
        }
        const auto listing = ledger.listingId(row.record->m_strMarket, row.record->m_strCode);
        if (ledger.listing(listing).excluded) {
            skip(row, QStringLiteral("repurchase or subscription, which is not followed"));
            continue;
        }
        row.record->m_pAccountInfo = account;
        const std::string& key = account->m_strKey;
        if (reported.contains(key, dayKey(row.record->m_strTradeDate), *row.record, load)) {
            skip(row, QStringLiteral("already reported by the trading system"));
            continue;
        }
        chosen.emplace_back(key, row.record);
    }
    return chosen;
}

/// Rows in the order of the file, whatever stage left them out.
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
    return m_pLedger->fileDeal(dayKey(deal->m_strTradeDate),
                               utils::zorStockKey(deal->m_strMarket, deal->m_strCode), accountKey,
                               deal);
}

bool CLinkageManager::importOrder(const std::string& accountKey,
                                  const boost::shared_ptr<vexservice::COrderDetail>& order) {
    return m_pLedger->fileOrder(dayKey(order->m_strTradeDate),
                                utils::zorStockKey(order->m_strMarket, order->m_strCode),
                                accountKey, order);
}

void CLinkageManager::importRows(const statement::Statement& rows, ImportReport& report) {
    const bool orders = rows.kind == ImportReport::Kind::Orders;
    CLock lock(m_mutex);
    const CAccountChoice accounts(getAccounts(),
                                  orders ? namedAccounts(rows.orders) : namedAccounts(rows.deals));
    if (rows.orders.empty() && rows.deals.empty()) return;
    report.refusal = accounts.refusal();
    if (!report.ok()) return;
    if (!accounts.note().isEmpty()) report.notes << accounts.note();
    const auto ordersOf = [&](const std::string& key, int day) {
        return m_pLedger->accountOrders(key, day);
    };
    const auto dealsOf = [&](const std::string& key, int day) {
        return m_pLedger->accountDeals(key, day);
    };
    for (const auto& [key, order] :
         chooseRows(rows.orders, accounts, *m_pLedger, report, ordersOf)) {
        ++report.taken;
        report.added += importOrder(key, order);
    }
    for (const auto& [key, deal] : chooseRows(rows.deals, accounts, *m_pLedger, report, dealsOf)) {
        ++report.taken;
        report.added += importDeal(key, deal);
    }
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
        importRows(rows, report);
        sortSkipped(report.skipped, book);
    } catch (const Refusal& why) {
        report.refusal = why.text;
    } catch (const std::bad_alloc&) {
        report.refusal = QStringLiteral("there is not enough memory to read the file");
    }
    if (!report.ok()) {
        report.read = 0;
        report.skipped.clear();
        report.notes.clear();
        VEX_INFO("TC::CLinkageManager::importData", "Import of {0} refused: {1}",
                 report.path.toStdString(), report.refusal.toStdString());
    } else {
        VEX_INFO("TC::CLinkageManager::importData",
                 "Imported {0}: {1} rows read, {2} taken, {3} new, {4} skipped",
                 report.path.toStdString(), report.read, report.taken, report.added,
                 report.skipped.size());
    }
    return report;
}

}  // namespace TC
