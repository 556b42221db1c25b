#include "linkage/store/import/cellvalues.h"

#include "platform/records/enums.h"

#include <QDate>
#include <QHash>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace TC::statement {

namespace {

constexpr int kFirstYear = 1990;
constexpr int kLastYear = 2037;  // the last whole year that seconds in an int can name
constexpr int kDays1904 = 1462;
constexpr int kSecondsPerDay = 86400;

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

/// hhmmss, also with a lost zero, or with hundredths or thousandths of a second behind.
std::string clockOfDigits(qint64 digits, int length) {
    const auto clock = [](qint64 hhmmss) {
        return clockText(static_cast<int>(hhmmss / 10000), static_cast<int>(hhmmss / 100 % 100),
                         static_cast<int>(hhmmss % 100));
    };
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
        QStringLiteral("(?:^|[T\\s])(\\d{1,2}):(\\d{2})(?::(\\d{2})(?:\\.\\d+)?)?$"));
    static const QRegularExpression digits(QStringLiteral("^\\d{5,9}$"));
    const QString text = spaced(value.text);
    const auto match = clock.match(text);
    if (match.hasMatch()) {
        return clockText(match.captured(1).toInt(), match.captured(2).toInt(),
                         match.captured(3).toInt());
    }
    if (!digits.match(text).hasMatch()) return {};
    return clockOfDigits(text.toLongLong(), text.size());
}

std::optional<ESide> sideOf(const QString& text) {
    static const QHash<QString, ESide> sides = [] {
        const std::pair<ESide, const char*> rows[] = {
            {ESide::Buy,
             "买 买入 证券买入 股票买入 普通买入 担保品买入 融资买入 信用买入 买券还券 债券买入 "
             "基金买入 限价买入 市价买入 竞价买入 买入成交 B BUY"},
            {ESide::Sell,
             "卖 卖出 证券卖出 股票卖出 普通卖出 担保品卖出 融券卖出 信用卖出 卖券还款 债券卖出 "
             "基金卖出 限价卖出 市价卖出 竞价卖出 卖出成交 S SELL"},
        };
        QHash<QString, ESide> all;
        for (const auto& [side, words] : rows) {
            for (const QString& word : QString::fromUtf8(words).split(' ')) all.insert(word, side);
        }
        return all;
    }();
    const auto found = sides.constFind(plainText(text));
    return found == sides.constEnd() ? std::nullopt : std::optional(found.value());
}

std::optional<int> orderStatusOf(const QString& text) {
    using namespace vexservice;
    static const QHash<QString, int> statuses = [] {
        const std::pair<int, const char*> rows[] = {
            {STATUS_UNREPORTED, "未报 未申报"},
            {STATUS_WAIT_REPORTING, "待报 正报 待申报"},
            {STATUS_REPORTED, "已报 已申报 未成交 已受理 已委托"},
            {STATUS_REPORTED_CANCEL, "已报待撤 待撤"},
            {STATUS_PARTSUCC_CANCEL, "部成待撤"},
            {STATUS_PART_CANCEL, "部撤 部成部撤 部分撤单 部成已撤 部分成交部分撤单"},
            {STATUS_CANCELED, "已撤 已撤单 全撤 全部撤单 撤单 撤单成功 场内撤单"},
            {STATUS_PART_SUCC, "部成 部分成交"},
            {STATUS_SUCCEEDED, "已成 已成交 全成 全部成交 成交"},
            {STATUS_JUNK, "废单 非法委托 无效委托 已拒绝 拒单"},
        };
        QHash<QString, int> all;
        for (const auto& [status, words] : rows) {
            for (const QString& word : QString::fromUtf8(words).split(' ')) {
                all.insert(word, status);
            }
        }
        return all;
    }();
    const auto found = statuses.constFind(plainText(text));
    return found == statuses.constEnd() ? std::nullopt : std::optional(found.value());
}

bool saysNotDealt(const QString& text) {
    using namespace vexservice;
    static const QRegularExpression withdrawn(QStringLiteral("^(已?撤|作?废)"));
    const auto status = orderStatusOf(text);
    if (!status) return withdrawn.match(plainText(text)).hasMatch();
    return *status != STATUS_SUCCEEDED && *status != STATUS_PART_SUCC &&
           *status != STATUS_PART_CANCEL && *status != STATUS_PARTSUCC_CANCEL;
}

bool saysMarketPrice(const QString& text) {
    return plainText(text).contains(QStringLiteral("市价"));
}

bool isUsableNumber(const QString& number) {
    static const QRegularExpression useless(
        QStringLiteral("^([0\\-.]*|[+-]?\\d+(\\.\\d+)?E\\+?\\d+)$"));
    return !useless.match(plainText(number)).hasMatch();
}

}  // namespace TC::statement
