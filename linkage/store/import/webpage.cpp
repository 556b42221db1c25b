#include "linkage/store/import/readers.h"

#include <QHash>

#include <algorithm>

// Brokers' programs save tables as web pages and name them .xls. Only the tables are read;
// no library for web pages would be safer here, since each would also read styles, scripts
// and pictures.

namespace TC::statement {

namespace {

constexpr int kMaxTag = 4096;  ///< characters
constexpr int kMaxSpan = kMaxColumns;

class CPageReader {
public:
    explicit CPageReader(QString page) : m_page(std::move(page)) {}

    CWorkbook read() {
        m_sheet = m_book.addSheet(QString());
        while (m_at < m_page.size()) {
            const int open = m_page.indexOf('<', m_at);
            takeText(m_page.mid(m_at, (open < 0 ? m_page.size() : open) - m_at));
            if (open < 0) break;
            m_at = open;
            if (!skipComment()) takeTag();
        }
        endCell();
        m_book.finish();
        return std::move(m_book);
    }

private:
    bool skipComment() {
        if (m_page.mid(m_at, 4) != QLatin1String("<!--")) return false;
        const int end = m_page.indexOf(QLatin1String("-->"), m_at);
        m_at = end < 0 ? m_page.size() : end + 3;
        return true;
    }

    void takeText(const QString& text) {
        if (!m_bInCell) return;
        m_text += text;
        if (m_text.size() > kMaxCellLength) {
            throw Refusal(QStringLiteral("a cell has more than %1 characters").arg(kMaxCellLength));
        }
    }

    void takeTag() {
        const int end = m_page.indexOf('>', m_at);
        if (end < 0 || end - m_at > kMaxTag) {
            throw Refusal(QStringLiteral("the web page is broken"));
        }
        const QString tag = m_page.mid(m_at + 1, end - m_at - 1).toLower();
        m_at = end + 1;
        int length = 0;
        while (length < tag.size() && (tag[length].isLetterOrNumber() || tag[length] == '/')) {
            ++length;
        }
        const QString name = tag.left(length);
        if (name == QLatin1String("script") || name == QLatin1String("style")) {
            const int close = m_page.indexOf("</" + name, m_at, Qt::CaseInsensitive);
            m_at = close < 0 ? m_page.size() : close;
        } else if (name == QLatin1String("table")) {
            if (m_bInCell) throw Refusal(QStringLiteral("the web page has tables inside tables"));
            endRow();
        } else if (name == QLatin1String("tr") || name == QLatin1String("/tr") ||
                   name == QLatin1String("/table")) {
            endRow();
        } else if (name == QLatin1String("td") || name == QLatin1String("th")) {
            endCell();
            beginCell(tag);
        } else if (name == QLatin1String("/td") || name == QLatin1String("/th")) {
            endCell();
        } else if (name == QLatin1String("br")) {
            takeText(QStringLiteral(" "));
        }
    }

    static int spanOf(const QString& tag, const char* name) {
        int at = tag.indexOf(QLatin1String(name));
        if (at < 0) return 1;
        QString digits;
        for (at += static_cast<int>(qstrlen(name)); at < tag.size(); ++at) {
            if (tag[at].isDigit()) {
                digits += tag[at];
            } else if (!digits.isEmpty()) {
                break;
            }
        }
        return std::clamp(digits.toInt(), 1, kMaxSpan);
    }

    void beginCell(const QString& tag) {
        // Which row such a cell belongs to would be a guess.
        if (spanOf(tag, "rowspan") > 1) {
            throw Refusal(QStringLiteral("the web page has cells of several rows"));
        }
        m_nSpan = spanOf(tag, "colspan");
        m_bInCell = true;
        m_bInRow = true;
    }

    void endCell() {
        if (!m_bInCell) return;
        const QString text = plain(m_text);
        if (!text.isEmpty()) m_book.addText(m_sheet, m_row, m_column, text);
        m_column += m_nSpan;
        m_bInCell = false;
        m_text.clear();
    }

    void endRow() {
        endCell();
        if (m_bInRow) ++m_row;
        m_bInRow = false;
        m_column = 0;
    }

    /// Without the page's way to write marks, and with single blanks.
    static QString plain(const QString& text) {
        static const QHash<QString, QChar> marks{{"nbsp", ' '}, {"amp", '&'},
                                                 {"lt", '<'},   {"gt", '>'},
                                                 {"quot", '"'}, {"yen", QChar(0xa5)}};
        QString out;
        for (int at = 0; at < text.size(); ++at) {
            constexpr int LONGEST = 9;
            const int length = text[at] == '&' ? text.midRef(at, LONGEST).indexOf(';') : -1;
            const int end = at + length;
            if (length < 0) {
                out += text[at];
                continue;
            }
            const QString name = text.mid(at + 1, end - at - 1);
            bool isNumber = false;
            const uint code = name.startsWith(QLatin1String("#x"))
                                  ? name.mid(2).toUInt(&isNumber, 16)
                                  : name.mid(1).toUInt(&isNumber);
            if (name.startsWith('#') && isNumber && code < 0x10000) {
                out += QChar(static_cast<ushort>(code));
            } else if (marks.contains(name)) {
                out += marks.value(name);
            } else {
                out += text.mid(at, end - at + 1);
            }
            at = end;
        }
        return out.simplified();
    }

    const QString m_page;
    CWorkbook m_book;
    QString m_text;
    int m_sheet = 0;
    int m_at = 0;
    qint64 m_row = 0;
    qint64 m_column = 0;
    int m_nSpan = 1;
    bool m_bInCell = false;
    bool m_bInRow = false;
};

}  // namespace

CWorkbook readWebPage(const QByteArray& utf8) {
    return CPageReader(QString::fromUtf8(utf8)).read();
}

}  // namespace TC::statement
