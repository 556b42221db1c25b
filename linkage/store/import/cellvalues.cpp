#include "linkage/store/import/cellvalues.h"

#include <QDate>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace TC::statement {

namespace {

constexpr int kFirstYear = 1990;
constexpr int kLastYear = 2037;  // the last whole year that seconds in an int can name
constexpr int kDays1904 = 1462;
constexpr int kSecondsPerDay = 86400;
constexpr int kLongestFigure = 64;  ///< characters of a number, date or time

std::optional<std::string> dateText(const QDate& date) {
    if (!date.isValid() || date.year() < kFirstYear || date.year() > kLastYear) return {};
    return date.toString(QStringLiteral("yyyyMMdd")).toStdString();
}

std::string clockText(int hour, int minute, int second) {
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) return {};
    return QString::asprintf("%02d%02d%02d", hour, minute, second).toStdString();
}

std::string clockOfFraction(double day) {
    const int seconds = static_cast<int>(std::lround((day - std::floor(day)) * kSecondsPerDay));
    if (seconds >= kSecondsPerDay) return {};
    return clockText(seconds / 3600, seconds / 60 % 60, seconds % 60);
}

/// Whether digits are a date of the years with exchanges: yyyyMMdd, or the days of a workbook.
/// As a time they would be one in the evening, or at four in the morning.
bool areDate(qint64 digits, int length) {
    if (length == 5) return digits >= 32874 && digits <= 50405;
    const QDate date(static_cast<int>(digits / 10000), static_cast<int>(digits / 100 % 100),
                     static_cast<int>(digits % 100));
    return length == 8 && dateText(date).has_value();
}

/// hhmm where no trade was at that many minutes past midnight; hhmmss, also with a lost
/// zero, or with hundredths or thousandths of a second behind.
std::string clockOfDigits(qint64 digits, int length) {
    if (length < 3 || areDate(digits, length)) return {};
    const auto clock = [](qint64 hhmmss) {
        return clockText(static_cast<int>(hhmmss / 10000), static_cast<int>(hhmmss / 100 % 100),
                         static_cast<int>(hhmmss % 100));
    };
    // As hhmmss these would be minutes after midnight, when nothing is traded.
    if (length == 4 || (length == 3 && digits >= 900)) {
        if (std::string time = clock(digits * 100); !time.empty()) return time;
    }
    if (length <= 6) return clock(digits);
    if (length <= 8) {
        if (std::string time = clock(digits / 100); !time.empty() || length == 7) return time;
    }
    return length <= 9 ? clock(digits / 1000) : std::string();
}

std::optional<DateTime> dateOfSerial(double days, bool dates1904) {
    if (!(days >= 1 && days < 100'000)) return {};
    const auto date = dateText(
        QDate(1899, 12, 30).addDays(static_cast<qint64>(days) + (dates1904 ? kDays1904 : 0)));
    if (!date) return {};
    return DateTime{*date, days > std::floor(days) ? clockOfFraction(days) : std::string()};
}

/// The hour of a clock with twelve of them.
int hourOfHalfDay(int hour, const QString& half) {
    if (half.isEmpty()) return hour;
    if (hour < 1 || hour > 12) return -1;
    const bool isAfternoon = half == QLatin1String("PM") || half == QStringLiteral("下午");
    return hour % 12 + (isAfternoon ? 12 : 0);
}

/// "14时30分15秒" as "14:30:15".
QString withColons(QString text) {
    text.replace(QChar(u'时'), QChar(':')).replace(QChar(u'点'), QChar(':'));
    if (text.contains(QChar(u'秒'))) {
        text.replace(QChar(u'分'), QChar(':')).remove(QChar(u'秒'));
    } else {
        text.remove(QChar(u'分'));
    }
    return text;
}

QString spaced(const QString& text) {
    return text.normalized(QString::NormalizationForm_KC).trimmed();
}

}  // namespace

bool Value::isEmpty() const {
    if (isNumber) return false;
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return c.isSpace() || c == '-' || c == QChar(0x2014); });
}

QString Value::display() const {
    if (!isNumber) return text;
    if (std::isfinite(number) && number == std::floor(number) && std::fabs(number) < 1e15) {
        return QString::number(static_cast<qint64>(number));
    }
    return QString::number(number, 'g', 15);
}

QString plainText(const QString& text) {
    // What is longer is no word of ours; many cells may have the same long text.
    constexpr int LONGEST = 512;
    if (text.size() > LONGEST) return text;
    QString plain;
    plain.reserve(text.size());
    for (const QChar c : text.normalized(QString::NormalizationForm_KC)) {
        if (!c.isSpace()) plain += c.toUpper();
    }
    return plain;
}

std::optional<double> cellNumber(const Value& value) {
    if (value.isNumber) {
        return std::isfinite(value.number) ? std::optional(value.number) : std::nullopt;
    }
    if (value.text.size() > kLongestFigure) return {};
    static const QRegularExpression grouped(QStringLiteral("^[+-]?\\d{1,3}(,\\d{3})+(\\.\\d*)?$"));
    static const QRegularExpression plain(
        QStringLiteral("^[+-]?(\\d+\\.?\\d*|\\.\\d+)(E[+-]?\\d+)?$"));
    static const QRegularExpression trimmings(QStringLiteral("^([+-]?)¥|[元股张份]$"));
    QString text = plainText(value.text).replace(trimmings, QStringLiteral("\\1"));
    if (grouped.match(text).hasMatch()) text.remove(',');
    if (!plain.match(text).hasMatch()) return {};
    bool ok = false;
    const double number = text.toDouble(&ok);
    return ok && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<DateTime> dateOf(const Value& value, bool dates1904) {
    if (value.isNumber && value.number < 100'000) return dateOfSerial(value.number, dates1904);
    static const QRegularExpression dashed(
        QStringLiteral("^(\\d{4})[-/.年](\\d{1,2})[-/.月](\\d{1,2})日?(?:[T\\s]+(\\S+))?$"));
    static const QRegularExpression digits(
        QStringLiteral("^(\\d{4})(\\d{2})(\\d{2})(?:[T\\s]*(\\d{6}|\\d{1,2}:\\S+))?$"));
    static const QRegularExpression serial(QStringLiteral("^\\d{5}(\\.\\d+)?$"));
    if (value.text.size() > kLongestFigure) return {};
    const QString text = spaced(value.display());
    if (serial.match(text).hasMatch()) return dateOfSerial(text.toDouble(), dates1904);
    auto match = dashed.match(text);
    if (!match.hasMatch()) match = digits.match(text);
    if (!match.hasMatch()) return {};
    const auto date = dateText(
        QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()));
    if (!date) return {};
    return DateTime{*date, timeOf({false, 0.0, match.captured(4)})};
}

std::string timeOf(const Value& value) {
    if (value.isNumber) {
        const double number = value.number;
        if (!(number >= 0 && number < 1e9)) return {};
        if (number < 1 || number > std::floor(number)) return clockOfFraction(number);
        const auto digits = static_cast<qint64>(number);
        return clockOfDigits(digits, static_cast<int>(QString::number(digits).size()));
    }
    static const QRegularExpression clock(
        QStringLiteral("(?:^|[T\\s])(上午|下午|AM|PM)?\\s*(\\d{1,2}):(\\d{2})"
                       "(?::(\\d{2})(?:\\.\\d+)?)?\\s*(AM|PM)?$"));
    static const QRegularExpression digits(QStringLiteral("^\\d{3,9}$"));
    static const QRegularExpression fraction(QStringLiteral("^(0|0?\\.\\d+|\\d{5}\\.\\d+)$"));
    if (value.text.size() > kLongestFigure) return {};
    const QString text = spaced(withColons(value.text)).toUpper();
    const auto match = clock.match(text);
    if (match.hasMatch()) {
        const QString half = match.captured(1).isEmpty() ? match.captured(5) : match.captured(1);
        return clockText(hourOfHalfDay(match.captured(2).toInt(), half), match.captured(3).toInt(),
                         match.captured(4).toInt());
    }
    if (fraction.match(text).hasMatch()) return clockOfFraction(text.toDouble());
    if (!digits.match(text).hasMatch()) return {};
    return clockOfDigits(text.toLongLong(), text.size());
}

bool isUsableNumber(const QString& number) {
    static const QRegularExpression useless(
        QStringLiteral("^([0\\-.]*|[+-]?\\d+(\\.\\d+)?E\\+?\\d+)$"));
    return !useless.match(plainText(number)).hasMatch();
}

}  // namespace TC::statement
