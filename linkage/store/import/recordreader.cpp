#include "linkage/store/import/recordreader.h"

#include "linkage/store/import/statement.h"
#include "linkage/store/import/wording.h"
#include "platform/utils/keys.h"

#include <boost/make_shared.hpp>

#include <cmath>
#include <limits>

namespace TC::statement {

namespace {

constexpr double kMaxPrice = 1e7;    ///< yuan; hundreds of times the dearest share
constexpr double kMaxAmount = 1e15;  ///< yuan

/// An amount is price by volume, but for rounding.
constexpr double kAmountTolerance = 0.01;
/// A bond is quoted without the interest that its buyer pays as well.
constexpr double kMaxInterest = 0.10;
/// What is neither share nor fund nor bond may be quoted by the hundred, or as a rate.
constexpr double kMaxFactor = 200;

QString shown(const Value& value) { return value.display().left(200).simplified().left(40); }

[[noreturn]] void skip(const QString& reason) { throw SkippedRow{reason}; }

/// A number that a column must have, within the given size.
double required(const Value& value, const char* what, double largest) {
    const QString name = QString::fromLatin1(what);
    if (value.isEmpty()) skip(QStringLiteral("no %1").arg(name));
    const auto number = cellNumber(value);
    if (!number) skip(QStringLiteral("%1 is not a number: %2").arg(name, shown(value)));
    if (std::fabs(*number) > largest) {
        skip(QStringLiteral("%1 is out of range: %2").arg(name, shown(value)));
    }
    return *number;
}

int wholeNumber(const Value& value, const char* what, int each) {
    constexpr double LARGEST = std::numeric_limits<int>::max();
    const double number = required(value, what, LARGEST / each) * each;
    if (std::fabs(number - std::round(number)) > 1e-6) {
        skip(QStringLiteral("%1 is not whole: %2").arg(QString::fromLatin1(what), shown(value)));
    }
    return static_cast<int>(std::lround(number));
}

ESide sideOfRow(const RowValues& values) {
    const Value& business = values[COL_BUSINESS];
    // "大宗交易" is a way of trading; the side stands in a column of its own.
    const bool isBusiness = !business.isEmpty() && !namesTradeOnly(business.display());
    const Value& first = isBusiness ? business : values[COL_SIDE];
    if (first.isEmpty()) skip(QStringLiteral("not a deal: no side"));
    const auto side = sideOf(first.display());
    if (!side && speaksOfSide(first.display()) && !saysVoid(first.display())) {
        throw SkippedRow{QStringLiteral("the side is not understood: %1").arg(shown(first)), true};
    }
    if (!side) skip(QStringLiteral("not a deal: %1").arg(shown(first)));
    const auto second = sideOf(values[COL_SIDE].display());
    if (second && *second != *side) {
        skip(QStringLiteral("two sides: %1, %2").arg(shown(first), shown(values[COL_SIDE])));
    }
    return *side;
}

/// The volume without the sign that some lists give to sales; lots are multiplied out.
int shares(const Value& value, const Instrument& instrument, ESide side, const char* what,
           const RowContext& context) {
    const auto lot = lotOf(instrument);
    if (value.isLots && !lot)
        skip(QStringLiteral("the lot of %1 is not known")
                 .arg(QString::fromStdString(instrument.code)));
    const int volume = wholeNumber(value, what, value.isLots ? *lot : 1);
    if (volume < 0 && side == ESide::Buy) {
        skip(QStringLiteral("a purchase of %1 shares").arg(volume));
    }
    if (volume < 0 && context.hasReversals) {
        skip(QStringLiteral("not a deal: a sale taken back"));
    }
    return std::abs(volume);
}

/// The day from a date column, else from a time column that has one, else the table's; the
/// time from a time column, else from behind the date.
DateTime dateOfRow(const RowValues& values, const RowContext& context,
                   std::initializer_list<EColumn> dates, std::initializer_list<EColumn> times) {
    DateTime found;
    for (const EColumn column : dates) {
        if (values[column].isEmpty() || !found.date.empty()) continue;
        const auto date = dateOf(values[column], context.dates1904);
        if (!date) skip(QStringLiteral("not a date: %1").arg(shown(values[column])));
        found = *date;
    }
    const Value* unread = nullptr;
    for (const EColumn column : times) {
        std::string time = timeOf(values[column]);
        const auto day = dateOf(values[column], context.dates1904);
        if (time.empty() && day) time = day->time;
        if (found.date.empty() && day && (time.empty() || !day->time.empty())) {
            found.date = day->date;
        }
        if (!time.empty()) {
            found.time = time;
            break;
        }
        if (!day && !values[column].isEmpty()) unread = &values[column];
    }
    if (found.time.empty() && unread) skip(QStringLiteral("not a time: %1").arg(shown(*unread)));
    if (found.date.empty()) found.date = context.tableDate;
    if (found.date.empty()) skip(QStringLiteral("no date"));
    if (!context.tradeDate.empty() && found.date > context.tradeDate) {
        skip(QStringLiteral("a day that has not come yet: %1")
                 .arg(QString::fromStdString(found.date)));
    }
    return found;
}

Instrument instrumentOfRow(const RowValues& values, const RowContext& context) {
    if (values[COL_CODE].isEmpty()) skip(QStringLiteral("no code"));
    const auto instrument = instrumentOf(values[COL_CODE], values[COL_MARKET].display(),
                                         values[COL_HOLDER].display(), context.isOfHongKong);
    if (!instrument) {
        const bool other = instrumentOf(values[COL_CODE], QString(), QString()).has_value();
        if (other && !values[COL_MARKET].isEmpty()) {
            skip(QStringLiteral("code %1 is not one of market %2")
                     .arg(shown(values[COL_CODE]), shown(values[COL_MARKET])));
        }
        skip(QStringLiteral("no stock of Shanghai, Shenzhen or Beijing: %1")
                 .arg(shown(values[COL_CODE])));
    }
    return *instrument;
}

QString numberText(const Value& value) {
    constexpr int LONGEST = 64;
    const QString text = plainText(value.display());
    if (text.size() > LONGEST) skip(QStringLiteral("no number is so long: %1").arg(shown(value)));
    return isUsableNumber(text) ? text : QString();
}

/// Spreadsheet programs drop the zeros in front.
QString withoutZeros(const QString& number) {
    int zeros = 0;
    while (zeros + 1 < number.size() && number[zeros] == '0') ++zeros;
    return number.mid(zeros);
}

/// The key of the row: its content and how many equal rows of the same account stand
/// above it.
std::uint64_t recordKey(const QString& content, const RowContext& context) {
    const int ordinal = context.ordinals[content + '|' + context.fundAccount]++;
    const QString whole = content + '|' + QString::number(ordinal);
    return utils::hash(whole.toStdString()) | kImportedKeyBit;
}

template <class Record>
QString commonContent(const char* kind, const Record& record) {
    return QStringLiteral("%1|%2|%3%4|%5")
        .arg(QString::fromLatin1(kind), QString::fromStdString(record.m_strTradeDate),
             QString::fromStdString(record.m_strMarket), QString::fromStdString(record.m_strCode))
        .arg(static_cast<int>(record.m_eDirection));
}

template <class Record>
boost::shared_ptr<Record> newRecord(const Instrument& instrument, ESide side,
                                    const std::string& date) {
    auto record = boost::make_shared<Record>();
    record->m_strMarket = instrument.market;
    record->m_strCode = instrument.code;
    record->m_eDirection = side == ESide::Buy ? vexservice::ENTRUST_BUY : vexservice::ENTRUST_SELL;
    record->m_strTradeDate = date;
    record->m_bImported = true;
    return record;
}

double positivePrice(const Value& value) {
    const double price = required(value, "price", kMaxPrice);
    if (price == 0) skip(QStringLiteral("not a deal: price 0"));
    if (price < 0) skip(QStringLiteral("price is out of range: %1").arg(shown(value)));
    return price;
}

/// The status that the list names, else the one that follows from the figures.
vexservice::EEntrustStatus statusOfRow(const RowValues& values, int volume, int traded) {
    using namespace vexservice;
    const Value& named = values[COL_STATUS];
    if (!named.isEmpty()) {
        const auto status = orderStatusOf(named.display());
        if (!status) skip(QStringLiteral("unknown status: %1").arg(shown(named)));
        return static_cast<EEntrustStatus>(*status);
    }
    if (const auto status = orderStatusOf(values[COL_REMARK].display())) {
        return static_cast<EEntrustStatus>(*status);
    }
    if (traded == volume) return STATUS_SUCCEEDED;
    if (const auto cancelled = cellNumber(values[COL_CANCELLED]); cancelled && *cancelled != 0) {
        return traded > 0 ? STATUS_PART_CANCEL : STATUS_CANCELED;
    }
    return traded > 0 ? STATUS_PART_SUCC : STATUS_REPORTED;
}

/// An order cannot trade whole and be cancelled, nor be done with less than it ordered.
void checkStatus(const RowValues& values, int volume, int traded, int status) {
    using namespace vexservice;
    const double cancelled = std::fabs(cellNumber(values[COL_CANCELLED]).value_or(0.0));
    const bool isCancelled = status == STATUS_CANCELED || status == STATUS_PART_CANCEL;
    if ((isCancelled && traded == volume) || traded + cancelled > volume) {
        skip(QStringLiteral("traded %1 of %2 shares and cancelled").arg(traded).arg(volume));
    }
    if (status == STATUS_SUCCEEDED && traded < volume && !values[COL_VOLUME].isEmpty()) {
        skip(QStringLiteral("traded %1 of %2 shares and done").arg(traded).arg(volume));
    }
}

double bounded(double amount) {
    if (amount > kMaxAmount) {
        skip(QStringLiteral("amount is out of range: %1").arg(shown({true, amount, {}})));
    }
    return amount;
}

/// Whether an amount is that of so much money for the instrument. Bonds are quoted by the
/// hundred and counted in pieces of a hundred or, in old lists, in tens of them.
bool fits(double amount, double plain, const Instrument& instrument) {
    const double share = amount / plain;
    const auto about = [&](double factor, double more) {
        return share >= factor * (1 - kAmountTolerance) && share <= factor * (1 + more);
    };
    switch (classOf(instrument)) {
        case EInstrument::Bond:
            return about(1, kMaxInterest) || about(10, kMaxInterest);
        case EInstrument::Share:
        case EInstrument::Fund:
            return about(1, kAmountTolerance) || std::fabs(amount - plain) < 0.0051;
        default:
            return share <= kMaxFactor && share >= 1 / kMaxFactor;
    }
}

double checkedAmount(const Value& value, double price, int volume, const Instrument& instrument) {
    const double plain = bounded(price * volume);
    const double amount = std::fabs(required(value, "amount", kMaxAmount));
    // An allotment shows the issue price, but its money moved on another day.
    if (amount == 0) skip(QStringLiteral("not a deal: amount 0"));
    if (!fits(amount, plain, instrument)) {
        skip(QStringLiteral("amount %1 is not that of %2 at %3")
                 .arg(shown(value))
                 .arg(volume)
                 .arg(price));
    }
    return amount;
}

double amountOfDeal(const Value& value, double price, int volume, const Instrument& instrument) {
    return value.isEmpty() ? bounded(price * volume)
                           : checkedAmount(value, price, volume, instrument);
}

double amountOfOrder(const RowValues& values, double price, int traded,
                     const Instrument& instrument) {
    const Value& value = values[COL_AMOUNT];
    if (traded == 0) return 0.0;
    if (value.isEmpty()) return bounded(price * traded);
    // An order's own price is a limit; only what it traded at tells its amount.
    const auto average = cellNumber(values[COL_PRICE]);
    if (average && *average > 0) return checkedAmount(value, *average, traded, instrument);
    return std::fabs(required(value, "amount", kMaxAmount));
}

/// An order at the market's price may show none.
double priceOfOrder(const Value& value) {
    if (value.isEmpty() || saysMarketPrice(value.display())) return 0.0;
    const double price = required(value, "price", kMaxPrice);
    if (price < 0) skip(QStringLiteral("price is out of range: %1").arg(price));
    return price;
}

void checkCurrency(const RowValues& values) {
    const QString text = plainText(values[COL_CURRENCY].display());
    if (values[COL_CURRENCY].isEmpty() || text == QLatin1String("0") ||
        text.contains(QStringLiteral("人民币")) || text == QLatin1String("CNY") ||
        text == QLatin1String("RMB") || text == QStringLiteral("元")) {
        return;
    }
    skip(QStringLiteral("in another currency: %1").arg(shown(values[COL_CURRENCY])));
}

void checkFlags(const RowValues& values) {
    for (const EColumn column : {COL_VOIDED, COL_VALID}) {
        if (values[column].isEmpty()) continue;
        const auto flag = flagOf(values[column].display());
        if (flag && *flag == (column == COL_VALID)) continue;
        if (!flag && column == COL_VALID && saysDealt(values[column].display())) continue;
        skip(QStringLiteral("not a deal: %1").arg(shown(values[column])));
    }
}

/// Lists of deals also show cancellations and orders that did not trade.
void checkDealt(const RowValues& values) {
    checkFlags(values);
    for (const EColumn column : {COL_STATUS, COL_REQUEST, COL_REMARK}) {
        if (saysNotDealt(values[column].display())) {
            skip(QStringLiteral("not a deal: %1").arg(shown(values[column])));
        }
    }
    if (!values[COL_STATUS].isEmpty() && !saysDealt(values[COL_STATUS].display())) {
        skip(QStringLiteral("unknown status: %1").arg(shown(values[COL_STATUS])));
    }
}

/// A deal cannot be of more than its order.
void checkOrdered(const RowValues& values, const Instrument& instrument, int volume) {
    const auto ordered = cellNumber(values[COL_ORDER_VOLUME]);
    if (!ordered || *ordered == 0) return;
    const int lot = values[COL_ORDER_VOLUME].isLots ? lotOf(instrument).value_or(1) : 1;
    const double cancelled = std::fabs(cellNumber(values[COL_CANCELLED]).value_or(0.0));
    if (volume + cancelled > std::fabs(*ordered) * lot) {
        skip(QStringLiteral("traded %1 of %2 shares").arg(volume).arg(std::fabs(*ordered) * lot));
    }
}

}  // namespace

boost::shared_ptr<vexservice::CDealDetail> readDeal(const RowValues& values,
                                                    const RowContext& context) {
    checkDealt(values);
    checkCurrency(values);
    const ESide side = sideOfRow(values);
    const Instrument instrument = instrumentOfRow(values, context);
    const DateTime when = dateOfRow(values, context, {COL_DATE, COL_ORDER_DATE}, {COL_TIME});
    const int volume = shares(values[COL_VOLUME], instrument, side, "volume", context);
    if (volume == 0) skip(QStringLiteral("not a deal: volume 0"));
    const double price = positivePrice(values[COL_PRICE]);
    const double amount = amountOfDeal(values[COL_AMOUNT], price, volume, instrument);
    checkOrdered(values, instrument, volume);

    auto deal = newRecord<vexservice::CDealDetail>(instrument, side, when.date);
    deal->m_nVolume = volume;
    deal->m_dPrice = price;
    deal->m_dAmount = amount;
    deal->m_strTradeTime = when.time;
    const QString number = numberText(values[COL_DEAL_NUMBER]);
    deal->m_strDealID = number.toStdString();
    QString content =
        commonContent("D", *deal) + QStringLiteral("|%1|%2|").arg(volume).arg(price, 0, 'f', 6);
    if (number.isEmpty()) {
        content += QStringLiteral("%1|%2|").arg(amount, 0, 'f', 2) +
                   QString::fromStdString(when.time) + '|' +
                   withoutZeros(numberText(values[COL_ORDER_NUMBER]));
    } else {
        content += '#' + withoutZeros(number);
    }
    deal->m_nRecordKey = recordKey(content, context);
    return deal;
}

boost::shared_ptr<vexservice::COrderDetail> readOrder(const RowValues& values,
                                                      const RowContext& context) {
    const QString request = values[COL_REQUEST].display();
    if (request.contains(QStringLiteral("撤"))) {
        skip(QStringLiteral("not an order: %1").arg(shown(values[COL_REQUEST])));
    }
    checkCurrency(values);
    const ESide side = sideOfRow(values);
    const Instrument instrument = instrumentOfRow(values, context);
    const DateTime when =
        dateOfRow(values, context, {COL_ORDER_DATE, COL_DATE}, {COL_TIME, COL_ORDER_TIME});
    const int volume = shares(values[COL_ORDER_VOLUME], instrument, side, "volume", context);
    if (volume == 0) skip(QStringLiteral("not an order: volume 0"));
    const int traded = values[COL_VOLUME].isEmpty()
                           ? 0
                           : shares(values[COL_VOLUME], instrument, side, "traded volume", context);
    if (traded > volume) {
        skip(QStringLiteral("traded %1 of %2 shares").arg(traded).arg(volume));
    }
    const double price = priceOfOrder(values[COL_ORDER_PRICE]);
    const double average =
        values[COL_PRICE].isEmpty() ? price : required(values[COL_PRICE], "price", kMaxPrice);

    auto order = newRecord<vexservice::COrderDetail>(instrument, side, when.date);
    order->m_nVolume = volume;
    order->m_nTradedVolume = traded;
    order->m_dPrice = price;
    order->m_dTradedAmount = amountOfOrder(values, std::fabs(average), traded, instrument);
    order->m_eStatus = statusOfRow(values, volume, traded);
    checkStatus(values, volume, traded, order->m_eStatus);
    const QString number = numberText(values[COL_ORDER_NUMBER]);
    order->m_strSysID = number.toStdString();
    // What changes as an order trades is no part of its key: a later list replaces it.
    QString content = commonContent("O", *order) + '|';
    content += number.isEmpty() ? QStringLiteral("%1|%2|").arg(volume).arg(price, 0, 'f', 6) +
                                      QString::fromStdString(when.time)
                                : '#' + withoutZeros(number);
    order->m_nRecordKey = recordKey(content, context);
    return order;
}

}  // namespace TC::statement
