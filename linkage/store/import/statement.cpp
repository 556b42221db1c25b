#include "linkage/store/import/statement.h"

#include "linkage/store/import/columns.h"
#include "linkage/store/import/recordreader.h"
#include "linkage/store/import/tablekind.h"
#include "linkage/store/import/wording.h"

#include <algorithm>

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

QString otherTable() { return QStringLiteral("belongs to another table"); }
QString unclearTable() {
    return QStringLiteral("it is not clear whether this is a list of deals or of orders");
}

std::vector<SheetRow> rowsOf(const CWorkbook::Sheet& sheet) {
    std::vector<SheetRow> rows;
    forEachRow(sheet, [&](int row, std::span<const Cell> cells) { rows.push_back({row, cells}); });
    return rows;
}

bool isDated(const Header& header) { return header.has(COL_DATE) || header.has(COL_ORDER_DATE); }

bool hasFigures(const RowValues& values) {
    return cellNumber(values[COL_PRICE]) || cellNumber(values[COL_VOLUME]) ||
           cellNumber(values[COL_ORDER_PRICE]) || cellNumber(values[COL_ORDER_VOLUME]);
}

/// What the texts of a workbook say of their rows; each text is looked at once.
class CMarks {
public:
    enum EMark : std::uint8_t { Unknown, None, Void, Sum };

    explicit CMarks(const CWorkbook& book) : m_book(book), m_marks(book.textCount(), Unknown) {}

    EMark of(const Cell& cell) {
        if (cell.isNumber) return None;
        EMark& mark = m_marks[cell.text];
        if (mark == Unknown) mark = read(m_book.text(cell));
        return mark;
    }

private:
    static EMark read(const QString& text) {
        constexpr int LONGEST = 20;  // what is longer is a remark about something else
        if (text.size() > LONGEST) return None;
        if (saysSum(text)) return Sum;
        return saysVoid(text) ? Void : None;
    }

    const CWorkbook& m_book;
    std::vector<EMark> m_marks;
};

class CStatementReader {
public:
    CStatementReader(const CWorkbook& book, const std::string& tradeDate)
        : m_book(book), m_tradeDate(tradeDate), m_marks(book) {}

    Statement read() {
        for (const QString& name : m_book.leftOut()) {
            note(QStringLiteral("sheet \"%1\" is hidden and was left out").arg(name));
        }
        for (const auto& sheet : m_book.sheets()) readSheet(sheet);
        if (m_nUnknownSides > 0) {
            note(QStringLiteral("%1 rows name a side that is not understood").arg(m_nUnknownSides));
        }
        if (m_statement.kind != Kind::None) return std::move(m_statement);
        if (m_bUnclear) throw Refusal(unclearTable());
        if (m_bSumsOnly) {
            throw Refusal(QStringLiteral("the file holds sums or another list, no single trades"));
        }
        throw Refusal(m_nBestColumns < 2
                          ? QStringLiteral("no row of column names was found in the first "
                                           "%1 rows")
                                .arg(kHeaderSearchRows)
                          : QStringLiteral("columns are missing: %1").arg(missingColumns(m_best)));
    }

private:
    void note(const QString& text) {
        constexpr int MOST_NOTES = 100;
        if (m_statement.notes.size() >= MOST_NOTES || m_statement.notes.contains(text)) return;
        m_statement.notes << text;
    }

    void rememberBest(const Header& header) {
        int columns = 0;
        for (int at = 0; at < COL_REQUEST; ++at) columns += header.place[at] >= 0;
        if (columns <= m_nBestColumns) return;
        m_nBestColumns = columns;
        m_best = header;
    }

    // A sheet is a list of its own: what another sheet holds as well is no second trade.
    void readSheet(const CWorkbook::Sheet& sheet) {
        m_sheet = sheet.name;
        m_rows = rowsOf(sheet);
        m_table = {};
        m_nLooked = 0;
        m_ordinals.clear();
        readTitleWords(sheet.name, m_table.above);
        bool found = false;
        for (m_at = 0; m_at < m_rows.size(); ++m_at) {
            if (found) {
                readRow();
            } else if (m_at < kHeaderSearchRows) {
                found = findTable();
            }
        }
        if (!found && !sheet.cells.empty() && m_book.sheets().size() > 1) {
            note(QStringLiteral("sheet \"%1\" was left out").arg(sheet.name));
        }
    }

    /// The row of names that stands here, also in two rows; the number of rows it takes.
    struct Names {
        Header header;
        std::size_t rows = 1;
    };
    Names namesHere() const {
        const std::span<const Cell> cells = m_rows[m_at].cells;
        Names names{headerOf(m_book, cells)};
        const auto holdsTrades = [](const Header& header) {
            return header.mayHoldDeals() || header.mayHoldOrders();
        };
        if (holdsTrades(names.header) || names.header.names == 0) return names;
        if (m_at + 1 >= m_rows.size() || m_rows[m_at + 1].row != m_rows[m_at].row + 1) return names;
        const std::span<const Cell> lower = m_rows[m_at + 1].cells;
        const Header both = headerOf(m_book, cells, lower);
        if (holdsTrades(both) && !holdsTrades(headerOf(m_book, lower))) return {both, 2};
        return names;
    }

    /// The rows below the names here, up to the same names again. A sheet may change its
    /// names at every row: then only a few rows are looked at each time.
    std::span<const SheetRow> rowsBelow(std::size_t names) {
        constexpr std::size_t LOOKS_PER_ROW = 4;
        constexpr std::size_t FEW = 20;
        const std::size_t most =
            std::max(FEW, m_rows.size() * LOOKS_PER_ROW -
                              std::min(m_nLooked, m_rows.size() * LOOKS_PER_ROW));
        const std::span<const SheetRow> rows(m_rows);
        std::size_t end = m_at + names;
        const std::span<const Cell> own = rows[m_at].cells;
        const auto isAgain = [&](const SheetRow& row) {
            const auto first = row.cells.front();
            return !first.isNumber && !own.front().isNumber && first.text == own.front().text;
        };
        const std::size_t last = std::min(rows.size(), end + most);
        while (end < last && !isAgain(rows[end])) ++end;
        m_nLooked += end - m_at - names;
        return rows.subspan(m_at + names, end - m_at - names);
    }

    /// The kind of a table, unless it would mix deals and orders in one import.
    TableKind kindHere(const Names& names) {
        const Header& header = names.header;
        if (!header.mayHoldDeals() && !header.mayHoldOrders()) return {};
        m_contents = contentsOf(m_book, header, rowsBelow(names.rows));
        TableKind kind = kindOf(header, m_table.above, m_contents);
        if (kind.kind != Kind::None && m_table.above.ofOthers) {
            m_bSumsOnly = true;
            return {};
        }
        m_bUnclear = m_bUnclear || kind.isUnclear;
        const bool fits = m_statement.kind == Kind::None || m_statement.kind == kind.kind;
        return fits ? kind : TableKind{};
    }

    /// Looks for the first table of a sheet; true when one of trades begins here.
    bool findTable() {
        const Names names = namesHere();
        const TableKind kind = kindHere(names);
        rememberBest(names.header);
        if (kind.kind == Kind::None && !kind.isUnclear) {
            readTitleLine(m_book, m_rows[m_at].cells, m_table.above);
            return false;
        }
        if (m_table.above.dates.size() > 1 && !isDated(names.header)) {
            throw Refusal(QStringLiteral("the rows have no dates, and the title names several"));
        }
        // Above the first table nothing was said of other trades.
        m_table.above.namesUnknownAccount = m_table.above.namesUnknownDay = false;
        beginTable(names, kind);
        return true;
    }

    void beginTable(const Names& names, const TableKind& kind) {
        m_at += names.rows - 1;
        m_table.isTaken = kind.kind != Kind::None;
        m_table.reason = kind.isUnclear ? unclearTable() : otherTable();
        if (m_table.isTaken) m_statement.kind = kind.kind;
        m_table.names = names.header;
        m_table.header = kind.kind == Kind::Orders ? names.header.asOrders() : names.header;
        m_table.contents = m_contents;
        takeHeading(m_table.above);
        m_table.above = {};
        for (const QString& name : m_table.header.foreignUnits) {
            note(QStringLiteral("column %1 was left out because of its unit").arg(name));
        }
        if (m_table.header.beside >= 0) {
            note(QStringLiteral("a second table to the right of the first was left out"));
        }
    }

    /// What a heading says holds for the rows below it; what it does not say is as it was
    /// before. Where it names a day or an account that is not understood, rows that do not
    /// name their own have none.
    void takeHeading(const TitleLines& heading) {
        TitleLines& titles = m_table.titles;
        if (!heading.fundAccount.isEmpty()) {
            titles.fundAccount = heading.fundAccount;
            titles.namesUnknownAccount = false;
        } else if (heading.namesUnknownAccount) {
            titles.namesUnknownAccount = true;
        }
        if (!heading.dates.empty()) {
            titles.dates = heading.dates;
            titles.namesUnknownDay = false;
        } else if (heading.namesUnknownDay) {
            titles.namesUnknownDay = true;
        }
        if (!heading.currency.isEmpty()) titles.currency = heading.currency;
        titles.ofHongKong = titles.ofHongKong || heading.ofHongKong;
        settleDate();
    }

    /// Settles the day of a table whose rows name none.
    void settleDate() {
        m_table.date.clear();
        if (isDated(m_table.header) || m_table.titles.namesUnknownDay) return;
        const std::vector<std::string>& dates = m_table.titles.dates;
        if (dates.size() > 1) return;  // in the middle of a sheet; its rows are skipped
        m_table.date = dates.empty() ? m_tradeDate : dates.front();
        if (m_table.date.empty() || !m_table.isTaken) return;
        const QString day = QString::fromStdString(m_table.date);
        note(dates.empty() ? QStringLiteral("the file names no day; rows without a date are "
                                            "taken for %1")
                                 .arg(day)
                           : QStringLiteral("rows without a date are taken for %1, the day in "
                                            "the title")
                                 .arg(day));
    }

    void readRow() {
        ++m_statement.read;
        const SheetRow here = m_rows[m_at];
        const auto skip = [&](const QString& reason) {
            ImportReport::list(m_statement.skipped, {m_sheet, here.row + 1, reason});
        };
        const RowValues values = valuesOf(m_book, m_table.header, here.cells);
        QString reason = m_table.reason;
        try {
            if (m_table.isTaken) return takeRow(here, values);
        } catch (const SkippedRow& why) {
            reason = why.reason;
            m_nUnknownSides += why.isUnknownSide;
        }
        // A row of column names never reads as a trade, so it is looked for here only.
        const Names names = namesHere();
        if (names.header.namesTable()) return skip(nextTable(names));
        readHeading(here, values);
        skip(reason);
    }

    /// Text between the rows: a heading of those below it, or a remark.
    void readHeading(const SheetRow& here, const RowValues& values) {
        if (here.cells.size() > 1 && hasFigures(values)) return;
        const auto isSum = [&](const Cell& cell) { return m_marks.of(cell) == CMarks::Sum; };
        if (std::any_of(here.cells.begin(), here.cells.end(), isSum)) return;
        if (here.cells.size() > 1 && instrumentOf(values[COL_CODE], {}, {})) return;
        TitleLines line;
        readTitleLine(m_book, here.cells, line);
        TitleLines& above = m_table.above;
        if (!line.fundAccount.isEmpty()) above.fundAccount = line.fundAccount;
        if (!line.dates.empty()) above.dates = line.dates;
        above.namesUnknownAccount = line.namesUnknownAccount && above.fundAccount.isEmpty();
        above.namesUnknownDay = line.namesUnknownDay && above.dates.empty();
        above.ofDeals = above.ofDeals || line.ofDeals;
        above.ofOrders = above.ofOrders || line.ofOrders;
        if (line.ofDeals || line.ofOrders) above.ofOthers = false;
        above.ofOthers = above.ofOthers || line.ofOthers;
        if (!line.currency.isEmpty()) above.currency = line.currency;
        above.ofHongKong = above.ofHongKong || line.ofHongKong;
        takeHeading(above);
        const bool ofOtherKind = m_statement.kind == Kind::Deals ? line.ofOrders : line.ofDeals;
        if (line.ofOthers || ofOtherKind) {
            m_table.isTaken = false;
            m_table.reason = otherTable();
        }
    }

    /// What the row says besides its columns of trades.
    void checkRow(std::span<const Cell> cells) {
        const Header& header = m_table.header;
        if (!header.currency.isEmpty() || !m_table.titles.currency.isEmpty()) {
            throw SkippedRow{
                QStringLiteral("in another currency: %1")
                    .arg(header.currency.isEmpty() ? m_table.titles.currency : header.currency)};
        }
        for (const Cell& cell : cells) {
            if (header.beside >= 0 && cell.column >= header.beside) break;
            const CMarks::EMark mark = m_marks.of(cell);
            if (mark == CMarks::Sum) {
                throw SkippedRow{QStringLiteral("a sum, no trade: %1").arg(m_book.text(cell))};
            }
            if (mark == CMarks::Void && m_statement.kind == Kind::Deals) {
                throw SkippedRow{QStringLiteral("not a deal: %1").arg(m_book.text(cell))};
            }
            const bool isEmpty = !cell.isNumber && Value{false, 0.0, m_book.text(cell)}.isEmpty();
            if (cell.column > header.last && !isEmpty) {
                throw SkippedRow{
                    QStringLiteral("the row has more cells than there are column names")};
            }
        }
    }

    void takeRow(const SheetRow& here, const RowValues& values) {
        checkRow(here.cells);
        QString account = values[COL_FUND_ACCOUNT].display().trimmed();
        if (account.isEmpty()) {
            if (m_table.titles.namesUnknownAccount) {
                throw SkippedRow{QStringLiteral("the account in the heading is not understood")};
            }
            account = m_table.titles.fundAccount;
        }
        const QString holder = values[COL_HOLDER].display().trimmed();
        const QString order = values[COL_ORDER_NUMBER].display();
        const RowContext context{m_table.date,
                                 m_tradeDate,
                                 m_book.dates1904(),
                                 m_table.contents.hasReversals,
                                 m_table.titles.ofHongKong,
                                 account,
                                 m_ordinals};
        if (m_statement.kind == Kind::Orders) {
            add(m_statement.orders, here.row, account, holder, order, readOrder(values, context));
        } else {
            add(m_statement.deals, here.row, account, holder, order, readDeal(values, context));
        }
        m_table.above = {};
    }

    template <class Record>
    void add(std::vector<Parsed<Record>>& rows, int row, const QString& account,
             const QString& holder, const QString& order, boost::shared_ptr<Record> record) {
        // A book may have a sheet to each account.
        const auto key = qMakePair(record->m_nRecordKey, account + '|' + holder);
        const auto known = m_sheetOfKey.find(key);
        if (m_book.sheets().size() > 1 && known != m_sheetOfKey.end() && known.value() != m_sheet) {
            note(QStringLiteral("sheet \"%1\" repeats rows of sheet \"%2\"; they count once")
                     .arg(m_sheet, known.value()));
            throw SkippedRow{QStringLiteral("stands on sheet \"%1\" already").arg(known.value())};
        }
        if (m_book.sheets().size() > 1) m_sheetOfKey.insert(key, m_sheet);
        rows.push_back({m_sheet, row + 1, account, holder, std::move(record), order});
    }

    /// Goes on with the table under these column names: the same one on the next page, one
    /// with other places, or one whose rows are none of ours. Gives what is said of the row.
    QString nextTable(const Names& names) {
        const bool same =
            m_table.isTaken && names.header.place == m_table.names.place && !m_table.above.ofOthers;
        TableKind kind = same ? TableKind{m_statement.kind, false} : kindHere(names);
        if (kind.kind == Kind::None) {
            m_table.isTaken = false;
            m_table.reason = kind.isUnclear ? unclearTable() : otherTable();
            m_table.above = {};
            return m_table.reason;
        }
        if (same) m_contents = m_table.contents;
        const std::size_t more = names.rows - 1;
        m_statement.read += static_cast<int>(more);
        for (std::size_t i = 1; i <= more; ++i) {
            ImportReport::list(m_statement.skipped, {m_sheet, m_rows[m_at + i].row + 1,
                                                     QStringLiteral("the column names again")});
        }
        beginTable(names, kind);
        return QStringLiteral("the column names again");
    }

    /// The table of the sheet that is being read.
    struct Table {
        Header header;
        Header names;  ///< as they stand in the sheet
        TitleLines titles;
        TitleLines above;  ///< read since the last trade: of the rows that come next
        Contents contents;
        std::string date;      ///< the day of rows that have none of their own
        bool isTaken = false;  ///< its rows are of the kind that is imported
        QString reason;        ///< why they are not
    };

    const CWorkbook& m_book;
    const std::string m_tradeDate;
    CMarks m_marks;
    QString m_sheet;
    std::vector<SheetRow> m_rows;
    std::size_t m_at = 0;
    std::size_t m_nLooked = 0;  ///< rows of the sheet, to tell the kind of its tables
    Table m_table;
    Contents m_contents;
    Ordinals m_ordinals;
    QHash<QPair<std::uint64_t, QString>, QString> m_sheetOfKey;  ///< by record key and account
    Statement m_statement;
    Header m_best;
    int m_nBestColumns = 0;
    int m_nUnknownSides = 0;
    bool m_bUnclear = false;
    bool m_bSumsOnly = false;
};

}  // namespace

Statement readStatement(const CWorkbook& book, const std::string& tradeDate) {
    return CStatementReader(book, tradeDate).read();
}

}  // namespace TC::statement
