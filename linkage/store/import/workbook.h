#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <deque>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

/// Reading statement files: from bytes to tables, from tables to deals and orders.
namespace TC::statement {

// What a file may ask for at most; whatever goes beyond is refused. The statement of a
// very busy day (some fifty thousand deals) stays well within all of them.
inline constexpr qint64 kMaxFileBytes = 32 << 20;      ///< the file itself
inline constexpr qint64 kMaxUnpackedBytes = 64 << 20;  ///< all that is read of an archive
inline constexpr int kMaxArchiveParts = 1000;
inline constexpr int kMaxSheets = 64;
inline constexpr int kMaxRows = 200'000;
inline constexpr int kMaxColumns = 256;
inline constexpr int kMaxCells = 4'000'000;         ///< cells that are not empty, all sheets
inline constexpr int kMaxTexts = 1'000'000;         ///< different texts
inline constexpr int kMaxCellLength = 32'767;       ///< characters
inline constexpr int kMaxReadLength = 1000;         ///< of these so many are read
inline constexpr qint64 kMaxTextLength = 16 << 20;  ///< characters of all different texts

/// A file that is not taken at all. Thrown and caught inside the reader only.
struct Refusal : std::runtime_error {
    explicit Refusal(const QString& why) : std::runtime_error(why.toStdString()), text(why) {}
    QString text;
};

/// One cell that is not empty. Dates of workbooks are numbers: days since the epoch
/// of the workbook, brought to the one that counts 1900-01-01 as day 1.
struct Cell {
    std::int32_t row;
    std::int16_t column;
    bool isNumber;
    union {
        double number;
        std::uint32_t text;
    };
};

/// The sheets of one file as sparse tables. Equal texts are kept once, so a file
/// cannot make memory grow by repeating a reference to a long text.
///
/// Adding throws Refusal when a limit is reached.
class CWorkbook {
public:
    struct Sheet {
        QString name;
        std::vector<Cell> cells;
    };

    int addSheet(const QString& name);
    void addText(int sheet, qint64 row, qint64 column, const QString& text);
    /// The same in two steps, for texts that many cells have: looking a long text up takes
    /// time.
    std::uint32_t keep(const QString& text);
    void addKept(int sheet, qint64 row, qint64 column, std::uint32_t text);
    void addNumber(int sheet, qint64 row, qint64 column, double number);

    /// The workbook counts days from 1904-01-01.
    void setDates1904(bool on) { m_bDates1904 = on; }
    bool dates1904() const { return m_bDates1904; }

    /// Puts the cells of every sheet into the order of rows and columns; of two cells
    /// in one place the later one stays.
    void finish();

    /// Sheets that the user does not see are not read; their names are told.
    void leaveOut(const QString& name) { m_leftOut << name.left(64); }
    const QStringList& leftOut() const { return m_leftOut; }

    const std::deque<Sheet>& sheets() const { return m_sheets; }
    std::size_t textCount() const { return m_texts.size(); }
    const QString& text(const Cell& cell) const { return m_texts[cell.text]; }

private:
    Cell& add(int sheet, qint64 row, qint64 column);

    std::deque<Sheet> m_sheets;
    std::vector<QString> m_texts;
    QHash<QString, std::uint32_t> m_textIndex;
    qint64 m_nTextLength = 0;
    int m_nCells = 0;
    bool m_bDates1904 = false;
    QStringList m_leftOut;
};

/// The texts of a workbook to which its cells refer by number.
class CSharedTexts {
public:
    explicit CSharedTexts(std::vector<QString> texts)
        : m_texts(std::move(texts)), m_kept(m_texts.size(), -1) {}

    /// False when there is no such text.
    bool addTo(CWorkbook& book, int sheet, qint64 row, qint64 column, std::uint32_t index);

private:
    std::vector<QString> m_texts;
    std::vector<qint64> m_kept;  ///< by number, the workbook's; -1: not kept yet
};

/// The rows of a sheet, each as its cells, with the row's number counted from 0.
template <class Visit>
void forEachRow(const CWorkbook::Sheet& sheet, Visit visit) {
    const std::span<const Cell> cells(sheet.cells);
    for (std::size_t begin = 0; begin < cells.size();) {
        std::size_t end = begin;
        while (end < cells.size() && cells[end].row == cells[begin].row) ++end;
        visit(cells[begin].row, cells.subspan(begin, end - begin));
        begin = end;
    }
}

}  // namespace TC::statement
