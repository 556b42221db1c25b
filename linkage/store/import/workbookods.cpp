#include "linkage/store/import/archive.h"
#include "linkage/store/import/readers.h"
#include "linkage/store/import/xmlpart.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace TC::statement {

namespace {

class COdsReader {
public:
    explicit COdsReader(const QByteArray& content) : m_xml(content) {}

    CWorkbook read() {
        while (m_xml.next()) {
            if (m_xml.starts("style")) {
                m_style = m_xml.attribute("name");
            } else if (m_xml.starts("table-properties")) {
                if (m_xml.attribute("display") == QLatin1String("false")) m_hidden.insert(m_style);
            } else if (m_xml.starts("table")) {
                beginSheet();
            } else if (m_sheet >= 0) {
                readInSheet();
            }
        }
        if (m_book.sheets().empty()) {
            throw Refusal(m_book.leftOut().isEmpty()
                              ? QStringLiteral("the workbook has no sheets")
                              : QStringLiteral("all sheets of the workbook are hidden"));
        }
        m_book.finish();
        return std::move(m_book);
    }

private:
    void beginSheet() {
        m_row = 0;
        const QString name = m_xml.attribute("name");
        if (m_hidden.contains(m_xml.attribute("style-name"))) {
            m_book.leaveOut(name);
            m_sheet = -1;
        } else {
            m_sheet = m_book.addSheet(name);
        }
    }

    void readInSheet() {
        if (m_xml.ends("table")) {
            m_sheet = -1;
        } else if (m_xml.starts("table-row")) {
            m_nRows = repeated("number-rows-repeated");
            m_column = 0;
        } else if (m_xml.ends("table-row")) {
            m_row += m_nRows;
        } else if (m_xml.starts("table-cell") || m_xml.starts("covered-table-cell")) {
            beginCell();
        } else if (m_xml.ends("table-cell") || m_xml.ends("covered-table-cell")) {
            endCell();
        } else if (m_xml.starts("annotation")) {
            m_bInNote = true;
        } else if (m_xml.ends("annotation")) {
            m_bInNote = false;
        } else if (!m_bInNote && (m_xml.ends("p") || m_xml.ends("span") || m_xml.starts("span"))) {
            m_text += m_xml.text();
        } else if (!m_bInNote && m_xml.starts("s")) {
            m_text += m_xml.text() + ' ';
        }
    }

    qint64 repeated(const char* name) const {
        const QString count = m_xml.attribute(name);
        return count.isEmpty() ? 1 : std::clamp<qint64>(count.toLongLong(), 1, kMaxRows + 1);
    }

    void beginCell() {
        m_type = m_xml.attribute("value-type");
        m_value = m_xml.attribute(m_type == QLatin1String("date")   ? "date-value"
                                  : m_type == QLatin1String("time") ? "time-value"
                                                                    : "value");
        m_nColumns = repeated("number-columns-repeated");
        m_text.clear();
    }

    void endCell() {
        const QString text = m_text.trimmed();
        // Programs fill the rest of a row or sheet with repeated empty cells.
        if (!m_type.isEmpty() && !(text.isEmpty() && m_value.isEmpty())) addCells(text);
        m_column += m_nColumns;
    }

    void addCells(const QString& text) {
        bool isNumber = m_type == QLatin1String("float") || m_type == QLatin1String("currency") ||
                        m_type == QLatin1String("percentage");
        const double number = isNumber ? m_value.toDouble(&isNumber) : 0.0;
        const QString shown = m_type == QLatin1String("date")   ? m_value
                              : m_type == QLatin1String("time") ? timeText(m_value)
                                                                : text;
        if (!isNumber && shown.isEmpty()) return;
        const std::uint32_t kept = isNumber ? 0 : m_book.keep(shown);
        for (qint64 row = m_row; row < m_row + m_nRows; ++row) {
            for (qint64 column = m_column; column < m_column + m_nColumns; ++column) {
                if (isNumber) {
                    m_book.addNumber(m_sheet, row, column, number);
                } else {
                    m_book.addKept(m_sheet, row, column, kept);
                }
            }
        }
    }

    /// "PT09H30M05S" as "09:30:05". Programs write "PT010H00M00S" and "PT9H30M" as well.
    static QString timeText(const QString& value) {
        static const QRegularExpression form(
            QStringLiteral("^PT(?:(\\d+)H)?(?:(\\d+)M)?(?:(\\d+)(?:[.,]\\d*)?S)?$"));
        const auto match = form.match(value);
        if (!match.hasMatch()) return value;
        return QStringLiteral("%1:%2:%3")
            .arg(match.captured(1).toInt(), 2, 10, QChar('0'))
            .arg(match.captured(2).toInt(), 2, 10, QChar('0'))
            .arg(match.captured(3).toInt(), 2, 10, QChar('0'));
    }

    CXmlPart m_xml;
    CWorkbook m_book;
    QString m_style;
    QSet<QString> m_hidden;
    int m_sheet = -1;
    qint64 m_row = 0;
    qint64 m_column = 0;
    qint64 m_nRows = 1;
    qint64 m_nColumns = 1;
    QString m_type;
    QString m_value;
    QString m_text;
    bool m_bInNote = false;
};

}  // namespace

CWorkbook readOds(CArchive& archive) {
    return COdsReader(archive.part(QStringLiteral("content.xml"))).read();
}

}  // namespace TC::statement
