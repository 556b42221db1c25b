#include "desk/importtexts.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>

namespace desk {

namespace {

/// What the library says about statement files, and about past days that the trading server was
/// asked for; %1 and so on stand for what it fills in,
/// in this order.
const char* const TEXTS[] = {
    QT_TRANSLATE_NOOP("ImportText", "the library is not running"),
    QT_TRANSLATE_NOOP("ImportText", "no file was chosen"),
    QT_TRANSLATE_NOOP("ImportText", "this is not a plain file"),
    QT_TRANSLATE_NOOP("ImportText", "the file does not exist"),
    QT_TRANSLATE_NOOP("ImportText", "the file cannot be opened: %1"),
    QT_TRANSLATE_NOOP("ImportText", "the file cannot be read: %1"),
    QT_TRANSLATE_NOOP("ImportText", "the file is larger than %1 MB"),
    QT_TRANSLATE_NOOP("ImportText", "the file is empty"),
    QT_TRANSLATE_NOOP("ImportText", "the file is neither a workbook nor a text"),
    QT_TRANSLATE_NOOP("ImportText", "the file is a web page or XML; save it as a workbook"),
    QT_TRANSLATE_NOOP("ImportText", "the file has too much text"),
    QT_TRANSLATE_NOOP("ImportText", "the file has more than %1 rows"),
    QT_TRANSLATE_NOOP("ImportText", "the file has more than %1 columns"),
    QT_TRANSLATE_NOOP("ImportText", "the file has more than %1 cells"),
    QT_TRANSLATE_NOOP("ImportText", "a cell has more than %1 characters"),
    QT_TRANSLATE_NOOP("ImportText", "the file holds no workbook"),
    QT_TRANSLATE_NOOP("ImportText", "there is not enough memory to read the file"),
    QT_TRANSLATE_NOOP("ImportText", "the text is not valid UTF-16"),
    QT_TRANSLATE_NOOP("ImportText", "the text is neither valid UTF-8 nor valid GB18030"),
    QT_TRANSLATE_NOOP("ImportText", "the archive is not a workbook"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook has no sheets"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook has more than %1 sheets"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook has more than %1 parts"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook unpacks to more than %1 MB"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook is protected by a password"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook's format is too old; save it anew"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook's archive is broken"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook is broken: %1"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook is broken: its container is damaged"),
    QT_TRANSLATE_NOOP("ImportText", "the workbook is broken: its records are damaged"),
    QT_TRANSLATE_NOOP("ImportText", "cell \"%1\""),
    QT_TRANSLATE_NOOP("ImportText", "missing text"),
    QT_TRANSLATE_NOOP("ImportText", "endless text"),
    QT_TRANSLATE_NOOP("ImportText", "document type"),
    QT_TRANSLATE_NOOP("ImportText", "nested too deep"),
    QT_TRANSLATE_NOOP("ImportText", "not in UTF-8"),
    QT_TRANSLATE_NOOP("ImportText", "a tag with more than %1 attributes"),
    QT_TRANSLATE_NOOP("ImportText", "no row of column names was found in the first %1 rows"),
    QT_TRANSLATE_NOOP("ImportText", "columns are missing: %1"),
    QT_TRANSLATE_NOOP("ImportText", "%1 (left out because of the unit: %2)"),
    QT_TRANSLATE_NOOP("ImportText", "column %1 was left out because of its unit"),
    QT_TRANSLATE_NOOP("ImportText", "sheet \"%1\" was left out"),
    QT_TRANSLATE_NOOP("ImportText", "the rows have no dates, and the title names several"),
    QT_TRANSLATE_NOOP("ImportText", "the file names no day; rows without a date are taken for %1"),
    QT_TRANSLATE_NOOP("ImportText", "rows without a date are taken for %1, the day in the title"),
    QT_TRANSLATE_NOOP("ImportText", "the column names again"),
    QT_TRANSLATE_NOOP("ImportText", "belongs to another table"),
    QT_TRANSLATE_NOOP("ImportText", "no account is followed"),
    QT_TRANSLATE_NOOP("ImportText", "the row names no account"),
    QT_TRANSLATE_NOOP("ImportText", "the file names no account, and several are followed"),
    QT_TRANSLATE_NOOP("ImportText", "the file is of account %1, which is not followed"),
    QT_TRANSLATE_NOOP("ImportText", "the file names account %1; it was taken for %2"),
    QT_TRANSLATE_NOOP("ImportText", "account %1 is not followed"),
    QT_TRANSLATE_NOOP("ImportText", "account %1 may be one of several that are followed"),
    QT_TRANSLATE_NOOP("ImportText", "already reported by the trading system"),
    QT_TRANSLATE_NOOP("ImportText", "repurchase or subscription, which is not followed"),
    QT_TRANSLATE_NOOP("ImportText", "all sheets of the workbook are hidden"),
    QT_TRANSLATE_NOOP("ImportText", "sheet \"%1\" is hidden and was left out"),
    QT_TRANSLATE_NOOP("ImportText", "sheet \"%1\" repeats rows of sheet \"%2\"; they count once"),
    QT_TRANSLATE_NOOP("ImportText", "stands on sheet \"%1\" already"),
    QT_TRANSLATE_NOOP("ImportText", "it is not clear whether this is a list of deals or of orders"),
    QT_TRANSLATE_NOOP("ImportText", "the file holds sums or another list, no single trades"),
    QT_TRANSLATE_NOOP("ImportText", "a second table to the right of the first was left out"),
    QT_TRANSLATE_NOOP("ImportText", "in another currency: %1"),
    QT_TRANSLATE_NOOP("ImportText", "a sum, no trade: %1"),
    QT_TRANSLATE_NOOP("ImportText", "the row has more cells than there are column names"),
    QT_TRANSLATE_NOOP("ImportText", "the account in the heading is not understood"),
    QT_TRANSLATE_NOOP("ImportText", "the side is not understood: %1"),
    QT_TRANSLATE_NOOP("ImportText", "%1 rows name a side that is not understood"),
    QT_TRANSLATE_NOOP("ImportText", "not a deal: a sale taken back"),
    QT_TRANSLATE_NOOP("ImportText", "the lot of %1 is not known"),
    QT_TRANSLATE_NOOP("ImportText", "code %1 is not one of market %2"),
    QT_TRANSLATE_NOOP("ImportText", "traded %1 of %2 shares and cancelled"),
    QT_TRANSLATE_NOOP("ImportText", "traded %1 of %2 shares and done"),
    QT_TRANSLATE_NOOP("ImportText", "taken for a deal that the trading system reported"),
    QT_TRANSLATE_NOOP("ImportText", "%1 rows were taken for trades of earlier statements"),
    QT_TRANSLATE_NOOP("ImportText", "the import is not saved yet; it would be lost at a restart"),
    QT_TRANSLATE_NOOP("ImportText", "the import is too large to be saved; it is lost at a restart"),
    QT_TRANSLATE_NOOP("ImportText", "no number is so long: %1"),
    QT_TRANSLATE_NOOP("ImportText", "a line has more than %1 columns"),
    QT_TRANSLATE_NOOP("ImportText", "the web page is broken"),
    QT_TRANSLATE_NOOP("ImportText", "the web page has tables inside tables"),
    QT_TRANSLATE_NOOP("ImportText", "the web page has cells of several rows"),
    QT_TRANSLATE_NOOP("ImportText", "%1 more rows were left out than are listed"),
    QT_TRANSLATE_NOOP("ImportText", "a service of the client failed"),
    QT_TRANSLATE_NOOP("ImportText", "the import is not what was shown any more"),
    QT_TRANSLATE_NOOP("ImportText", "no answer"),
    QT_TRANSLATE_NOOP("ImportText", "error %1 %2"),
    QT_TRANSLATE_NOOP("ImportText", "no such day"),
    QT_TRANSLATE_NOOP("ImportText", "no such account"),
    QT_TRANSLATE_NOOP("ImportText", "the last day has not come yet"),
    QT_TRANSLATE_NOOP("ImportText", "the first day is before any exchange"),
    QT_TRANSLATE_NOOP("ImportText", "the first day is after the last"),
    QT_TRANSLATE_NOOP("ImportText", "records of the running day come with its reports"),
    QT_TRANSLATE_NOOP("ImportText", "price"),
    QT_TRANSLATE_NOOP("ImportText", "volume"),
    QT_TRANSLATE_NOOP("ImportText", "traded volume"),
    QT_TRANSLATE_NOOP("ImportText", "amount"),
    QT_TRANSLATE_NOOP("ImportText", "no %1"),
    QT_TRANSLATE_NOOP("ImportText", "no code"),
    QT_TRANSLATE_NOOP("ImportText", "no date"),
    QT_TRANSLATE_NOOP("ImportText", "%1 is not a number: %2"),
    QT_TRANSLATE_NOOP("ImportText", "%1 is not whole: %2"),
    QT_TRANSLATE_NOOP("ImportText", "%1 is out of range: %2"),
    QT_TRANSLATE_NOOP("ImportText", "price is out of range: %1"),
    QT_TRANSLATE_NOOP("ImportText", "amount is out of range: %1"),
    QT_TRANSLATE_NOOP("ImportText", "amount %1 is not that of %2 at %3"),
    QT_TRANSLATE_NOOP("ImportText", "a purchase of %1 shares"),
    QT_TRANSLATE_NOOP("ImportText", "a day that has not come yet: %1"),
    QT_TRANSLATE_NOOP("ImportText", "no stock of Shanghai, Shenzhen or Beijing: %1"),
    QT_TRANSLATE_NOOP("ImportText", "not a date: %1"),
    QT_TRANSLATE_NOOP("ImportText", "not a time: %1"),
    QT_TRANSLATE_NOOP("ImportText", "not a deal: %1"),
    QT_TRANSLATE_NOOP("ImportText", "not a deal: no side"),
    QT_TRANSLATE_NOOP("ImportText", "not a deal: price 0"),
    QT_TRANSLATE_NOOP("ImportText", "not a deal: volume 0"),
    QT_TRANSLATE_NOOP("ImportText", "not a deal: amount 0"),
    QT_TRANSLATE_NOOP("ImportText", "not an order: %1"),
    QT_TRANSLATE_NOOP("ImportText", "not an order: volume 0"),
    QT_TRANSLATE_NOOP("ImportText", "traded %1 of %2 shares"),
    QT_TRANSLATE_NOOP("ImportText", "two sides: %1, %2"),
    QT_TRANSLATE_NOOP("ImportText", "unknown status: %1"),
};

struct Pattern {
    QString source;
    QRegularExpression expression;
};

Pattern patternOf(const char* source) {
    static const QRegularExpression PLACE("%\\d");
    const QString text = QString::fromUtf8(source);
    QString expression = "^";
    int done = 0;
    for (auto places = PLACE.globalMatch(text); places.hasNext();) {
        const QRegularExpressionMatch place = places.next();
        expression += QRegularExpression::escape(text.mid(done, place.capturedStart() - done));
        expression += "(.*)";
        done = place.capturedEnd();
    }
    expression += QRegularExpression::escape(text.mid(done)) + "$";
    return {text, QRegularExpression(expression, QRegularExpression::DotMatchesEverythingOption)};
}

/// Patterns with more text of their own come first, so that no text is taken for a more general
/// one.
const std::vector<Pattern>& patterns() {
    static const std::vector<Pattern> PATTERNS = [] {
        std::vector<Pattern> made;
        for (const char* text : TEXTS) made.push_back(patternOf(text));
        const auto plain = [](const Pattern& pattern) {
            return pattern.source.size() - 2 * pattern.source.count('%');
        };
        std::stable_sort(made.begin(), made.end(), [&](const auto& left, const auto& right) {
            return plain(left) > plain(right);
        });
        return made;
    }();
    return PATTERNS;
}

/// Fills all places of a text in one pass, because a value may itself contain "%1".
QString filled(const QString& text, const QStringList& values) {
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        const int place = text[i] == '%' && i + 1 < text.size() ? text[i + 1].digitValue() : -1;
        if (place < 1 || place > values.size()) {
            result += text[i];
            continue;
        }
        result += values[place - 1];
        ++i;
    }
    return result;
}

}  // namespace

QString importText(const QString& text) {
    for (const Pattern& pattern : patterns()) {
        const QRegularExpressionMatch match = pattern.expression.match(text);
        if (!match.hasMatch()) continue;
        QStringList values;
        for (const QString& value : match.capturedTexts().mid(1)) values << importText(value);
        return filled(
            QCoreApplication::translate("ImportText", pattern.source.toUtf8().constData()), values);
    }
    return text;
}

QStringList importTextSources() {
    QStringList sources;
    for (const char* text : TEXTS) sources << QString::fromUtf8(text);
    return sources;
}

}  // namespace desk
