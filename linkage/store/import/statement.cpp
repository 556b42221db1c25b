#include "linkage/store/import/statement.h"

#include "linkage/store/import/columns.h"
#include "linkage/store/import/recordreader.h"

namespace TC::statement {

namespace {

using Kind = ImportReport::Kind;

QString missingColumns(const Header& best) {
    QStringList missing;
    if (!best.has(COL_CODE)) missing << QStringLiteral("证券代码");
    if (!best.has(COL_SIDE) && !best.has(COL_BUSINESS)) missing << QStringLiteral("买卖标志");
    if (!best.has(COL_PRICE)) missing << QStringLiteral("成交价格");
    if (!best.has(COL_VOLUME)) missing << QStringLiteral("成交数量");
    QString text = missing.join(QStringLiteral(", "));
    if (!best.foreignUnits.isEmpty()) {
        text += QStringLiteral(" (left out because of the unit: %1)")
                    .arg(best.foreignUnits.join(QStringLiteral(", ")));
    }
    return text;
}

class CStatementReader {
public:
    CStatementReader(const CWorkbook& book, const std::string& tradeDate)
        : m_book(book), m_tradeDate(tradeDate) {}

    Statement read() {
        for (const auto& sheet : m_book.sheets()) readSheet(sheet);
        if (m_statement.kind == Kind::None) {
            throw Refusal(
                m_nBestColumns < 2
                    ? QStringLiteral("no row of column names was found in the first "
                                     "%1 rows")
                          .arg(kHeaderSearchRows)
                    : QStringLiteral("columns are missing: %1").arg(missingColumns(m_best)));
        }
        return std::move(m_statement);
    }

private:
    /// The kind of a header, unless it would mix deals and orders in one import.
    Kind kindOf(const Header& header) const {
        const Kind kind = header.holdsOrders()  ? Kind::Orders
                          : header.holdsDeals() ? Kind::Deals
                                                : Kind::None;
        const bool fits = m_statement.kind == Kind::None || m_statement.kind == kind;
        return fits ? kind : Kind::None;
    }

    void rememberBest(const Header& header) {
        int columns = 0;
        for (const int place : header.place) columns += place >= 0;
        if (columns <= m_nBestColumns) return;
        m_nBestColumns = columns;
        m_best = header;
    }

    void readSheet(const CWorkbook::Sheet& sheet) {
        m_table = {};
        bool found = false;
        int rows = 0;
        forEachRow(sheet, [&](int row, std::span<const Cell> cells) {
            if (found) return readRow(sheet.name, row, cells);
            if (++rows > kHeaderSearchRows) return;
            const Header header = headerOf(m_book, cells);
            const Kind kind = kindOf(header);
            rememberBest(header);
            if (kind == Kind::None) return readTitleLine(m_book, cells, m_table.above);
            if (m_table.above.dates.size() > 1 && !isDated(header)) {
                throw Refusal(
                    QStringLiteral("the rows have no dates, and the title names several"));
            }
            found = true;
            m_statement.kind = kind;
            beginTable(header);
        });
        if (!found && !sheet.cells.empty() && m_book.sheets().size() > 1) {
            note(QStringLiteral("sheet \"%1\" was left out").arg(sheet.name));
        }
    }

    static bool isDated(const Header& header) {
        return header.has(COL_DATE) || header.has(COL_ORDER_DATE);
    }

    void note(const QString& text) {
        if (!m_statement.notes.contains(text)) m_statement.notes << text;
    }

    /// Starts a table. Where the lines above it are silent, the titles of the table before it
    /// still hold.
    void beginTable(const Header& header) {
        m_table.header = header;
        m_table.isTaken = true;
        TitleLines& titles = m_table.titles;
        if (!m_table.above.fundAccount.isEmpty()) titles.fundAccount = m_table.above.fundAccount;
        if (!m_table.above.dates.empty()) titles.dates = m_table.above.dates;
        m_table.above = {};
        settleDate();
        for (const QString& name : header.foreignUnits) {
            note(QStringLiteral("column %1 was left out because of its unit").arg(name));
        }
    }

    /// Settles the day of a table whose rows name none.
    void settleDate() {
        m_table.date.clear();
        if (isDated(m_table.header)) return;
        const std::vector<std::string>& dates = m_table.titles.dates;
        if (dates.size() > 1) return;  // in the middle of a sheet; its rows are skipped
        m_table.date = dates.empty() ? m_tradeDate : dates.front();
        if (m_table.date.empty()) return;
        const QString day = QString::fromStdString(m_table.date);
        note(dates.empty() ? QStringLiteral("the file names no day; rows without a date are "
                                            "taken for %1")
                                 .arg(day)
                           : QStringLiteral("rows without a date are taken for %1, the day in "
                                            "the title")
                                 .arg(day));
    }

    void readRow(const QString& sheet, int row, std::span<const Cell> cells) {
        ++m_statement.read;
        const auto skip = [&](const QString& reason) {
            ImportReport::list(m_statement.skipped, {sheet, row + 1, reason});
        };
        const RowValues values = valuesOf(m_book, m_table.header, cells);
        QString reason = otherTable();
        try {
            if (m_table.isTaken) return takeRow(sheet, row, values);
        } catch (const SkippedRow& why) {
            reason = why.reason;
        }
        // A row of column names never reads as a trade, so it is looked for here only.
        const Header header = headerOf(m_book, cells);
        if (header.namesTable()) return skip(nextTable(header));
        if (!hasFigures(values)) readTitleLine(m_book, cells, m_table.above);
        skip(reason);
    }

    void takeRow(const QString& sheet, int row, const RowValues& values) {
        QString account = values[COL_FUND_ACCOUNT].display().trimmed();
        if (account.isEmpty()) account = m_table.titles.fundAccount;
        const QString holder = values[COL_HOLDER].display().trimmed();
        const RowContext context{m_table.date, m_tradeDate, m_book.dates1904(), account,
                                 m_ordinals};
        if (m_statement.kind == Kind::Orders) {
            m_statement.orders.push_back(
                {sheet, row + 1, account, holder, readOrder(values, context)});
        } else {
            m_statement.deals.push_back(
                {sheet, row + 1, account, holder, readDeal(values, context)});
        }
        m_table.above = {};
    }

    static bool hasFigures(const RowValues& values) {
        return cellNumber(values[COL_PRICE]) || cellNumber(values[COL_VOLUME]) ||
               cellNumber(values[COL_ORDER_PRICE]) || cellNumber(values[COL_ORDER_VOLUME]);
    }

    /// Goes on with the table under these column names: the same table on the next page, one
    /// with other columns, or one that is not imported. Returns the text with which the row is
    /// skipped.
    QString nextTable(const Header& header) {
        if (header.place != m_table.header.place && kindOf(header) == Kind::None) {
            m_table.isTaken = false;
            return otherTable();
        }
        beginTable(header);
        return QStringLiteral("the column names again");
    }

    static QString otherTable() { return QStringLiteral("belongs to another table"); }

    /// The table of the sheet that is being read.
    struct Table {
        Header header;
        TitleLines titles;
        TitleLines above;      ///< read since the last trade: of the table that comes next
        std::string date;      ///< the day of rows that have none of their own
        bool isTaken = false;  ///< its rows are of the kind that is imported
    };

    const CWorkbook& m_book;
    const std::string m_tradeDate;
    Table m_table;
    Ordinals m_ordinals;
    Statement m_statement;
    Header m_best;
    int m_nBestColumns = 0;
};

}  // namespace

Statement readStatement(const CWorkbook& book, const std::string& tradeDate) {
    return CStatementReader(book, tradeDate).read();
}

}  // namespace TC::statement
