#include "linkage/store/fileencoding.h"
#include "linkage/store/import/readers.h"

#include <QRegularExpression>
#include <QStringList>
#include <QTextCodec>

#include <algorithm>

namespace TC::statement {

namespace {

constexpr int kLinesForSeparator = 50;

/// The text in UTF-8 without a mark.
QByteArray utf8Of(const QByteArray& file) {
    if (file.startsWith("\xff\xfe") || file.startsWith("\xfe\xff")) {
        QTextCodec::ConverterState state;
        const QString text =
            QTextCodec::codecForName("UTF-16")->toUnicode(file.constData(), file.size(), &state);
        if (state.invalidChars > 0 || state.remainingChars > 0) {
            throw Refusal(QStringLiteral("the text is not valid UTF-16"));
        }
        return text.toUtf8();
    }
    const auto text = decodeText(file.toStdString());
    if (!text) throw Refusal(QStringLiteral("the text is neither valid UTF-8 nor valid GB18030"));
    return QByteArray::fromStdString(*text);
}

/// Cells that stand apart by blanks alone.
constexpr char kBlanks = ' ';

/// The line with the most separators is the header or a row. Cells padded with a tab
/// against being taken for numbers must not make a comma-separated file tab-separated.
char separatorOf(const QByteArray& bytes) {
    int tabs = 0;
    int commas = 0;
    int pipes = 0;
    int blanks = 0;
    int from = 0;
    for (int line = 0; line < kLinesForSeparator && from < bytes.size(); ++line) {
        int end = bytes.indexOf('\n', from);
        if (end < 0) end = bytes.size();
        const auto* begin = bytes.constData();
        const auto count = [&](char c) {
            return static_cast<int>(std::count(begin + from, begin + end, c));
        };
        tabs = std::max(tabs, count('\t'));
        commas = std::max(commas, count(','));
        pipes = std::max(pipes, count('|'));
        blanks = std::max(blanks, QByteArray(begin + from, end - from).trimmed().count("  "));
        from = end + 1;
    }
    // Fewer than three separate no list of trades.
    if (pipes > 2 && pipes > commas && pipes > tabs) return '|';
    if (commas < 3 && tabs < 3 && blanks > 2) return kBlanks;
    return commas > 0 && commas + 1 >= tabs ? ',' : '\t';
}

/// The cells of a line that blanks part.
QStringList blankCells(const QString& line) {
    static const QRegularExpression blanks(QStringLiteral("[ \\x{3000}]{2,}|\\t+|\\x{3000}"));
    return line.trimmed().split(blanks, Qt::SkipEmptyParts);
}

/// A table whose columns are aligned with blanks. An empty cell leaves no trace in its
/// line, so under the names only lines of as many cells are taken apart; others stay
/// whole, where no trade is read in them.
CWorkbook readAligned(const QByteArray& utf8) {
    CWorkbook book;
    const int sheet = book.addSheet(QString());
    int names = 0;
    qint64 row = 0;
    for (const QByteArray& bytes : utf8.split('\n')) {
        if (bytes.size() > kMaxColumns * kMaxCellLength) {
            throw Refusal(QStringLiteral("a line has more than %1 columns").arg(kMaxColumns));
        }
        const QString line = QString::fromUtf8(bytes);
        const QStringList cells = blankCells(line);
        const bool isTable = cells.size() > 2 && (names == 0 || cells.size() == names);
        if (isTable) {
            names = cells.size();
            for (int column = 0; column < cells.size(); ++column) {
                book.addText(sheet, row, column, cells[column].trimmed());
            }
        } else {
            book.addText(sheet, row, 0, line.trimmed());
        }
        ++row;
    }
    book.finish();
    return book;
}

class CTextReader {
public:
    CTextReader(const QByteArray& utf8, char separator) : m_bytes(utf8), m_separator(separator) {}

    CWorkbook read() {
        const int sheet = m_book.addSheet(QString());
        // An end-of-file mark of old systems closes the text.
        const int mark = m_bytes.indexOf('\x1a');
        m_end = mark < 0 ? m_bytes.size() : mark;
        for (qint64 row = 0; m_at < m_end; ++row) {
            qint64 column = 0;
            do {
                const QString cell = nextCell();
                if (!cell.isEmpty()) m_book.addText(sheet, row, column, cell);
                ++column;
            } while (takeSeparator());
            skipLineEnd();
        }
        m_book.finish();
        return std::move(m_book);
    }

private:
    bool isCellEnd(int at) const {
        return at >= m_end || m_bytes[at] == m_separator || m_bytes[at] == '\n' ||
               m_bytes[at] == '\r';
    }

    bool takeSeparator() {
        if (m_at >= m_end || m_bytes[m_at] != m_separator) return false;
        ++m_at;
        return true;
    }

    void skipLineEnd() {
        if (m_at < m_end && m_bytes[m_at] == '\r') ++m_at;
        if (m_at < m_end && m_bytes[m_at] == '\n') ++m_at;
    }

    /// The place behind the quote that closes the one at `open`, or -1 when none does:
    /// then the quote is a character like any other, and the cell ends with its line.
    int closingQuote(int open) const {
        const int limit = std::min(m_end, open + 4 * kMaxCellLength);
        for (int at = open + 1; at < limit; ++at) {
            if (m_bytes[at] != '"') continue;
            if (at + 1 < limit && m_bytes[at + 1] == '"') {
                ++at;
                continue;
            }
            int after = at + 1;
            while (after < m_end && m_bytes[after] == ' ') ++after;
            return isCellEnd(after) ? after : -1;
        }
        return -1;
    }

    QString nextCell() {
        int open = m_at;
        while (open < m_end && m_bytes[open] == ' ') ++open;
        if (open + 1 < m_end && m_bytes[open] == '=' && m_bytes[open + 1] == '"') ++open;
        int end = open < m_end && m_bytes[open] == '"' ? closingQuote(open) : -1;
        const bool quoted = end >= 0;
        if (!quoted) {
            end = m_at;
            while (!isCellEnd(end)) ++end;
        }
        const int begin = quoted ? open : m_at;
        if (end - begin > 4 * kMaxCellLength) {
            throw Refusal(QStringLiteral("a cell has more than %1 characters").arg(kMaxCellLength));
        }
        QString text = QString::fromUtf8(m_bytes.constData() + begin, end - begin).trimmed();
        m_at = end;
        return unwrapped(quoted ? unquoted(text) : text);
    }

    static QString unquoted(const QString& text) {
        return text.mid(1, text.size() - 2).replace(QLatin1String("\"\""), QLatin1String("\""));
    }

    /// `="600000"` inside quotes, where a spreadsheet program has written it.
    static QString unwrapped(const QString& text) {
        if (text.size() >= 3 && text.startsWith(QLatin1String("=\"")) && text.endsWith('"')) {
            return text.mid(2, text.size() - 3).trimmed();
        }
        return text.trimmed();
    }

    const QByteArray m_bytes;
    const char m_separator;
    CWorkbook m_book;
    int m_at = 0;
    int m_end = 0;
};

}  // namespace

CWorkbook readText(const QByteArray& bytes) {
    const QByteArray utf8 = utf8Of(bytes);
    if (utf8.left(512).trimmed().startsWith('<')) return readWebPage(utf8);
    const char separator = separatorOf(utf8);
    return separator == kBlanks ? readAligned(utf8) : CTextReader(utf8, separator).read();
}

}  // namespace TC::statement
