#include "linkage/store/import/workbook.h"

#include <algorithm>
#include <cmath>

namespace TC::statement {

int CWorkbook::addSheet(const QString& name) {
    if (m_sheets.size() >= kMaxSheets) {
        throw Refusal(QStringLiteral("the workbook has more than %1 sheets").arg(kMaxSheets));
    }
    m_sheets.push_back({name.left(64), {}});
    return static_cast<int>(m_sheets.size()) - 1;
}

Cell& CWorkbook::add(int sheet, qint64 row, qint64 column) {
    if (row < 0 || row >= kMaxRows) {
        throw Refusal(QStringLiteral("the file has more than %1 rows").arg(kMaxRows));
    }
    if (column < 0 || column >= kMaxColumns) {
        throw Refusal(QStringLiteral("the file has more than %1 columns").arg(kMaxColumns));
    }
    if (++m_nCells > kMaxCells) {
        throw Refusal(QStringLiteral("the file has more than %1 cells").arg(kMaxCells));
    }
    Cell cell{};
    cell.row = static_cast<std::int32_t>(row);
    cell.column = static_cast<std::int16_t>(column);
    return m_sheets[static_cast<std::size_t>(sheet)].cells.emplace_back(cell);
}

void CWorkbook::addText(int sheet, qint64 row, qint64 column, const QString& text) {
    if (!text.isEmpty()) addKept(sheet, row, column, keep(text));
}

std::uint32_t CWorkbook::keep(const QString& text) {
    if (text.size() > kMaxCellLength) {
        throw Refusal(QStringLiteral("a cell has more than %1 characters").arg(kMaxCellLength));
    }
    auto known = m_textIndex.constFind(text);
    if (known == m_textIndex.constEnd()) {
        m_nTextLength += text.size();
        if (m_nTextLength > kMaxTextLength || m_texts.size() >= kMaxTexts) {
            throw Refusal(QStringLiteral("the file has too much text"));
        }
        known = m_textIndex.insert(text, static_cast<std::uint32_t>(m_texts.size()));
        // Every cell that refers to a long text is looked at again. No cell of a deal is so
        // long, and no heading needs more.
        m_texts.push_back(text.left(kMaxReadLength));
    }
    return known.value();
}

void CWorkbook::addKept(int sheet, qint64 row, qint64 column, std::uint32_t text) {
    add(sheet, row, column).text = text;
}

void CWorkbook::addNumber(int sheet, qint64 row, qint64 column, double number) {
    Cell& cell = add(sheet, row, column);
    cell.isNumber = true;
    cell.number = number;
}

bool CSharedTexts::addTo(CWorkbook& book, int sheet, qint64 row, qint64 column,
                         std::uint32_t index) {
    if (index >= m_texts.size()) return false;
    if (m_texts[index].isEmpty()) return true;
    qint64& kept = m_kept[index];
    if (kept < 0) kept = book.keep(m_texts[index]);
    book.addKept(sheet, row, column, static_cast<std::uint32_t>(kept));
    return true;
}

void CWorkbook::finish() {
    const auto place = [](const Cell& a) {
        return static_cast<std::int64_t>(a.row) * kMaxColumns + a.column;
    };
    for (Sheet& sheet : m_sheets) {
        auto& cells = sheet.cells;
        std::stable_sort(cells.begin(), cells.end(),
                         [&](const Cell& a, const Cell& b) { return place(a) < place(b); });
        std::size_t kept = 0;
        for (std::size_t at = 0; at < cells.size(); ++at) {
            if (kept > 0 && place(cells[kept - 1]) == place(cells[at])) --kept;
            cells[kept++] = cells[at];
        }
        cells.resize(kept);
    }
    m_textIndex = {};
}

}  // namespace TC::statement
