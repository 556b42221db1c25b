#include "common/heap.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/copyinslices.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/store/import/accountchoice.h"
#include "linkage/store/import/importlines.h"
#include "linkage/store/import/readers.h"
#include "linkage/store/import/statement.h"
#include "linkage/store/importreport.h"
#include "linkage/store/importsettling.h"
#include "linkage/store/importstate.h"
#include "linkage/tape/step.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <limits>
#include <map>
#include <new>
#include <set>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

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

/// The call with the file itself, because a file may change.
CallInput importOnTape(const QString& path, const ImportTerms& terms, bool files) {
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return callOf(files ? "importData" : "importPreview", QFileInfo(path).fileName().toStdString(),
                  bytes.toBase64().toStdString(), terms.account, terms.shown.has_value());
}

/// Puts skipped rows in the order of the file, whichever step skipped them.
void sortSkipped(std::vector<ImportReport::SkippedRow>& skipped, const CWorkbook& book) {
    QHash<QString, int> order;
    for (const auto& sheet : book.sheets()) order.insert(sheet.name, order.size());
    std::stable_sort(skipped.begin(), skipped.end(), [&](const auto& a, const auto& b) {
        return std::pair(order.value(a.sheet), a.row) < std::pair(order.value(b.sheet), b.row);
    });
}

double tradedAmount(const vexservice::CDealDetail& deal) { return deal.m_dAmount; }
double tradedAmount(const vexservice::COrderDetail& order) { return order.m_dTradedAmount; }

bool isSame(const vexservice::CDealDetail&, const vexservice::CDealDetail&) { return true; }
bool isSame(const vexservice::COrderDetail& a, const vexservice::COrderDetail& b) {
    return a.m_nVolume == b.m_nVolume && a.m_nTradedVolume == b.m_nTradedVolume &&
           a.m_dTradedAmount == b.m_dTradedAmount && a.m_eStatus == b.m_eStatus &&
           a.m_dPrice == b.m_dPrice;
}

}  // namespace

/// The rows of a statement that belong to followed accounts, and what becomes of each.
template <class Record>
class CLinkageManager::CStatementImport {
public:
    CStatementImport(CLinkageManager& manager, ImportReport& report)
        : m_manager(manager), m_report(report) {}

    /// Finds the accounts; the report has a refusal when there is none.
    void choose(const std::vector<Parsed<Record>>& parsed, const std::string& account) {
        const CAccountChoice accounts(m_manager.getAccounts(), namedAccounts(parsed), account);
        m_report.refusal = accounts.refusal();
        m_report.needsAccount = accounts.needsChoice();
        if (!m_report.ok()) return;
        if (!accounts.note().isEmpty()) m_report.notes << accounts.note();
        m_rows.reserve(parsed.size());
        for (const Parsed<Record>& row : parsed) {
            const auto choice = accounts.of({row.fundAccount, row.holder});
            Record& record = *row.record;
            if (choice.account && follows(record)) {
                record.m_pAccountInfo = choice.account;
                m_rows.push_back({&row, {choice.account->m_strKey, dayOf(record)}});
                continue;
            }
            skip(row, choice.account
                          ? QStringLiteral("repurchase or subscription, which is not followed")
                          : choice.why);
        }
    }

    /// Works out what would become of the rows.
    void preview() {
        constexpr int NEXT = std::numeric_limits<int>::max();
        std::map<Place, CDayRecords<Record>> days;
        for (const Row& row : m_rows) {
            const auto [at, isNew] = days.try_emplace(row.place);
            if (isNew) copyDay(at->first, at->second);
            at->second.add(NEXT, row.parsed->record);
        }
        for (auto& [place, records] : days) {
            while (!records.isSettled()) {
                records.settle(ROWS_PER_HOLD);
                if (auto* const gone = records.toRemove()) gone->clear();
            }
            typename CDayRecords<Record>::CFatesSoFar soFar;
            while (records.fates(NEXT, LOOKS_PER_HOLD, soFar)) soFar.collect();
            m_fates[place] = std::move(soFar.collect());
        }
        tell();
    }

    /// Files all rows, or, when it throws, none.
    void file() {
        // The same file again is no new import.
        if (!knowsAll()) {
            const CLock lock(m_manager.m_mutex);
            m_report.number = ++m_manager.m_pImports->lastNumber;
        }
        try {
            if (m_report.number != 0) {
                addRows();
                keep();
            }
            takeFates();
            tell();
        } catch (...) {
            const int number = std::exchange(m_report.number, 0);
            if (number != 0 && !m_manager.undoImport(number)) m_manager.takeImportBack(number);
            throw;
        }
    }

private:
    using Place = ImportState::Place;
    using Fates = typename CDayRecords<Record>::Fates;
    struct Row {
        const Parsed<Record>* parsed;
        Place place;
    };

    /// Calls `visit` for each row until it says false, so many to a hold of the manager's lock.
    template <class Visit>
    void inSlices(Visit visit) const {
        for (auto at = m_rows.begin(); at != m_rows.end(); m_manager.m_mutex.giveWay()) {
            const CLock lock(m_manager.m_mutex);
            for (std::size_t i = 0; i < ROWS_PER_HOLD && at != m_rows.end(); ++i) {
                if (!visit(*at++)) return;
            }
        }
    }

    /// What `ask` answers of a key under the manager's lock, asked once.
    template <class Answers, class Key, class Ask>
    auto once(Answers& answers, const Key& key, Ask ask) const {
        const auto [at, isNew] = answers.try_emplace(key);
        if (isNew) {
            m_manager.m_mutex.giveWay();
            const CLock lock(m_manager.m_mutex);
            at->second = ask();
        }
        return at->second;
    }

    bool follows(const Record& record) {
        return once(m_follows, std::pair(record.m_strMarket, record.m_strCode), [&] {
            return m_manager.m_pLedger->follows(record.m_strMarket, record.m_strCode);
        });
    }

    int dayOf(const Record& record) {
        return once(m_days, record.m_strTradeDate,
                    [&] { return m_manager.m_pLedger->day(record.m_strTradeDate); });
    }

    void skip(const Parsed<Record>& row, const QString& why) {
        ImportReport::list(m_report.skipped, {row.sheet, row.row, why});
    }

    void copyDay(const Place& place, CDayRecords<Record>& records) const {
        std::vector<std::pair<int, boost::shared_ptr<Record>>> imported;
        CFiledCopy<Record> filed(*m_manager.m_pLedger, {{place.first}, {}, place.second});
        copyInSlices(
            m_manager.m_mutex,
            [&] {
                const auto& days = m_manager.m_pImports->template of<Record>();
                const auto known = days.find(place);
                if (known != days.end()) imported = known->second.imported();
            },
            filed);
        records.link(filed.takeReports());
        for (const auto& [number, record] : imported) records.add(number, record);
    }

    bool knowsAll() const {
        bool all = true;
        inSlices([&](const Row& row) {
            const auto& days = m_manager.m_pImports->template of<Record>();
            const auto day = days.find(row.place);
            const Record& record = *row.parsed->record;
            const auto known = day == days.end() ? nullptr : day->second.find(record.m_nRecordKey);
            all = known && isSame(*known, record);
            return all;
        });
        return all;
    }

    void addRows() {
        const int today = dayKey(m_manager.getTradeDate());
        const std::size_t stocks = countStocks(today);
        auto& days = m_manager.m_pImports->template of<Record>();
        std::set<Place> places;
        inSlices([&](const Row& row) {
            days[row.place].add(m_report.number, row.parsed->record);
            places.insert(row.place);
            return true;
        });
        for (const Place& place : places) m_manager.settleDay<Record>(place.first, place.second);
        const CLock lock(m_manager.m_mutex);
        if (m_manager.m_pLedger->countStocks(today) != stocks) {
            raise(OPERATION, m_manager.sigStocksChanged);
        }
    }

    std::size_t countStocks(int day) const {
        const CLock lock(m_manager.m_mutex);
        return m_manager.m_pLedger->countStocks(day);
    }

    void keep() {
        StoredImport import;
        import.summary = {m_report.number, m_report.path.toStdString(), m_report.kind, nowText(),
                          static_cast<int>(m_rows.size())};
        for (const Row& row : m_rows) {
            if constexpr (std::is_same_v<Record, vexservice::CDealDetail>) {
                import.deals.emplace_back(row.place.first, row.parsed->record);
            } else {
                import.orders.emplace_back(row.place.first, row.parsed->record);
            }
        }
        switch (m_manager.m_pImports->store.save(m_report.number, textOf(import))) {
            case CImportStore::ESave::Done:
                break;
            case CImportStore::ESave::Later:
                m_report.notes << QStringLiteral(
                    "the import is not saved yet; it would be lost at a restart");
                break;
            case CImportStore::ESave::TooLarge:
                m_report.notes << QStringLiteral(
                    "the import is too large to be saved; it is lost at a restart");
                break;
        }
        const CLock lock(m_manager.m_mutex);
        m_manager.m_pImports->summaries[m_report.number] = import.summary;
    }

    void takeFates() {
        for (const Row& row : m_rows) {
            const auto [at, isNew] = m_fates.try_emplace(row.place);
            if (!isNew) continue;
            at->second = fatesOf(at->first);
            if (m_report.number != 0) continue;
            for (auto& [key, fate] : at->second) {
                if (fate == EFate::Filed) fate = EFate::Repeated;
            }
        }
    }

    /// Empty when the day is known no more.
    Fates fatesOf(const Place& place) const {
        typename CDayRecords<Record>::CFatesSoFar soFar;
        const auto readSome = [&] {
            const CLock lock(m_manager.m_mutex);
            const auto& days = m_manager.m_pImports->template of<Record>();
            const auto day = days.find(place);
            if (day != days.end()) return day->second.fates(m_report.number, LOOKS_PER_HOLD, soFar);
            soFar = {};
            return false;
        };
        for (; readSome(); m_manager.m_mutex.giveWay()) soFar.collect();
        return std::move(soFar.collect());
    }

    /// Counts the rows by what became of them.
    void tell() {
        std::map<Place, ImportReport::Day> days;
        int matched = 0;
        for (const Row& row : m_rows) {
            const Record& record = *row.parsed->record;
            const auto& known = m_fates.at(row.place);
            const auto found = known.find(record.m_nRecordKey);
            const EFate fate = found == known.end() ? EFate::Repeated : found->second;
            ImportReport::Day& day = days[row.place];
            ++day.records;
            (record.m_eDirection == vexservice::ENTRUST_BUY ? day.bought : day.sold) +=
                tradedAmount(record);
            day.added += fate == EFate::Filed;
            day.repeated += fate == EFate::Repeated;
            day.matched += fate == EFate::Matched;
            day.reported += fate == EFate::Reported;
            m_report.taken += fate != EFate::Reported;
            m_report.added += fate == EFate::Filed;
            matched += fate == EFate::Matched;
            if (fate == EFate::Reported) skip(*row.parsed, whyReported(record));
        }
        for (auto& [place, day] : days) {
            day.account = place.first;
            day.date = dayText(place.second);
            m_report.days.push_back(day);
        }
        if (matched > 0) {
            m_report.notes << QStringLiteral("%1 rows were taken for trades of earlier statements")
                                  .arg(matched);
        }
    }

    static QString whyReported(const Record& record) {
        return systemNumber(record).empty()
                   ? QStringLiteral("taken for a deal that the trading system reported")
                   : QStringLiteral("already reported by the trading system");
    }

    CLinkageManager& m_manager;
    ImportReport& m_report;
    std::vector<Row> m_rows;
    std::map<std::pair<std::string, std::string>, bool> m_follows;  ///< by market and code
    std::map<std::string, int> m_days;                              ///< by date
    std::map<Place, Fates> m_fates;
};

bool CLinkageManager::importDeal(const std::string& accountKey,
                                 const boost::shared_ptr<vexservice::CDealDetail>& deal) {
    return m_pLedger->fileDeal(m_pLedger->day(deal->m_strTradeDate),
                               utils::zorStockKey(deal->m_strMarket, deal->m_strCode), accountKey,
                               deal);
}

bool CLinkageManager::importOrder(const std::string& accountKey,
                                  const boost::shared_ptr<vexservice::COrderDetail>& order) {
    return m_pLedger->fileOrder(m_pLedger->day(order->m_strTradeDate),
                                utils::zorStockKey(order->m_strMarket, order->m_strCode),
                                accountKey, order);
}

void CLinkageManager::dropImported(const std::string& accountKey,
                                   const vexservice::COrderDetail& order) {
    noteReported(accountKey, order);
}

template <class Record>
void CLinkageManager::importRows(const std::vector<Parsed<Record>>& parsed,
                                 const std::string& account, bool files, ImportReport& report) {
    if (parsed.empty()) return;
    CStatementImport<Record> import(*this, report);
    import.choose(parsed, account);
    if (!report.ok()) return;
    if (files) {
        import.file();
    } else {
        import.preview();
    }
}

ImportReport CLinkageManager::importData(const QString& path) { return importData(path, {}); }

ImportReport CLinkageManager::importPreview(const QString& path) { return importPreview(path, {}); }

ImportReport CLinkageManager::importData(const QString& path, const ImportTerms& terms) {
    return readImport(path, terms, true);
}

ImportReport CLinkageManager::importPreview(const QString& path, const ImportTerms& terms) {
    return readImport(path, terms, false);
}

void CLinkageManager::importStatement(const Statement& rows, const CWorkbook& book,
                                      const std::string& account, bool files,
                                      ImportReport& report) {
    importRows<vexservice::CDealDetail>(rows.deals, account, files, report);
    importRows<vexservice::COrderDetail>(rows.orders, account, files, report);
    sortSkipped(report.skipped, book);
    const auto listed = static_cast<int>(report.skipped.size());
    if (listed < report.skippedCount()) {
        report.notes << QStringLiteral("%1 more rows were left out than are listed")
                            .arg(report.skippedCount() - listed);
    }
}

// What was shown is looked for twice: before anything is filed, and, because reports and other
// imports go on meanwhile, in what was filed.
void CLinkageManager::importFile(const ImportTerms& terms, bool files, ImportReport& report) {
    const auto refuseUnless = [&report](bool isSame) {
        if (isSame) return;
        report.isOutdated = true;
        throw Refusal(QStringLiteral("the import is not what was shown any more"));
    };
    // Reading may take a while and needs nothing of the manager.
    const CWorkbook book = readFile(report.path, &report.digest);
    Statement rows = readStatement(book, getTradeDate());
    utils::sortFreedMemory();
    report.kind = rows.kind;
    report.read = rows.read;
    report.notes = std::move(rows.notes);
    report.skipped = std::move(rows.skipped);
    if (!files || !terms.shown) return importStatement(rows, book, terms.account, files, report);
    ImportReport expected = report;
    importStatement(rows, book, terms.account, false, expected);
    refuseUnless(decideOnTape("asShown", [&] { return expected.tellsSame(*terms.shown); }));
    importStatement(rows, book, terms.account, true, report);
    if (decideOnTape("asShown", [&] { return report.tellsSame(*terms.shown); })) return;
    if (report.number != 0) undoImport(std::exchange(report.number, 0));
    refuseUnless(false);
}

ImportReport CLinkageManager::readImport(const QString& path, const ImportTerms& terms,
                                         bool files) {
    ImportReport report;
    report.path = path.isEmpty() ? askForFile() : path;
    const CStep step(tape(), [&] { return importOnTape(report.path, terms, files); });
    try {
        if (report.path.isEmpty()) throw Refusal(QStringLiteral("no file was chosen"));
        importFile(terms, files, report);
    } catch (const Refusal& why) {
        report.refusal = why.text;
    } catch (const std::bad_alloc&) {
        report.refusal = QStringLiteral("there is not enough memory to read the file");
    } catch (...) {
        logThrown(OPERATION);
        report.refusal = QStringLiteral("a service of the client failed");
    }
    if (!report.ok()) {
        report.read = report.taken = report.added = 0;
        report.skipped.clear();
        report.days.clear();
        report.notes.clear();
        if (files) {
            LINKAGE_LOG_WARNING(OPERATION, "Import of {0} refused: {1}", report.path.toStdString(),
                                report.refusal.toStdString());
        }
    } else if (files) {
        LINKAGE_LOG_INFO(OPERATION, "Imported {0}: {1} rows read, {2} taken, {3} new, {4} skipped",
                         report.path.toStdString(), report.read, report.taken, report.added,
                         report.skippedCount());
    }
    return report;
}

}  // namespace TC
