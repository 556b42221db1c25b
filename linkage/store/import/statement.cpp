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
    return missing.join(QStringLiteral(", "));
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
        Header header;
        TitleLines titles;
        Kind kind = Kind::None;
        int rows = 0;
        forEachRow(sheet, [&](int row, std::span<const Cell> cells) {
            if (kind != Kind::None) return readRow(sheet.name, row, cells, header, titles);
            if (++rows > kHeaderSearchRows) return;
            header = headerOf(m_book, row, cells);
            kind = kindOf(header);
            rememberBest(header);
            if (kind == Kind::None) {
                readTitleLine(m_book, cells, titles);
            } else {
                m_statement.kind = kind;
                beginRows(header, titles);
            }
        });
        if (kind == Kind::None && !sheet.cells.empty() && m_book.sheets().size() > 1) {
            m_statement.notes << QStringLiteral("sheet \"%1\" was left out").arg(sheet.name);
        }
    }

    /// Settles the day of a sheet whose rows name none.
    void beginRows(const Header& header, const TitleLines& titles) {
        m_sheetDate.clear();
        const bool dated = header.has(COL_DATE) || header.has(COL_ORDER_DATE);
        if (dated) return;
        if (titles.dates.size() > 1) {
            throw Refusal(QStringLiteral("the rows have no dates, and the title names several"));
        }
        m_sheetDate = titles.dates.empty() ? m_tradeDate : titles.dates.front();
        if (titles.dates.empty() && !m_tradeDate.empty()) {
            m_statement.notes << QStringLiteral(
                                     "the file names no day; rows without a date are "
                                     "taken for %1")
                                     .arg(QString::fromStdString(m_tradeDate));
        }
    }

    void readRow(const QString& sheet, int row, std::span<const Cell> cells, const Header& header,
                 const TitleLines& titles) {
        const RowValues values = valuesOf(m_book, header, cells);
        ++m_statement.read;
        const bool orders = m_statement.kind == Kind::Orders;
        try {
            if (repeatsHeader(values)) {
                throw SkippedRow{QStringLiteral("the column names again")};
            }
            QString account = values[COL_FUND_ACCOUNT].display().trimmed();
            if (account.isEmpty()) account = titles.fundAccount;
            const QString holder = values[COL_HOLDER].display().trimmed();
            const RowContext context{m_sheetDate, m_book.dates1904(), account, m_ordinals};
            if (orders) {
                m_statement.orders.push_back(
                    {sheet, row + 1, account, holder, readOrder(values, context)});
            } else {
                m_statement.deals.push_back(
                    {sheet, row + 1, account, holder, readDeal(values, context)});
            }
        } catch (const SkippedRow& why) {
            m_statement.skipped.push_back({sheet, row + 1, why.reason});
        }
    }

    const CWorkbook& m_book;
    const std::string m_tradeDate;
    std::string m_sheetDate;
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
