#include "linkage/store/import/recordreader.h"

#include "linkage/store/import/statement.h"
#include "platform/utils/keys.h"

#include <boost/make_shared.hpp>

#include <cmath>
#include <limits>

namespace TC::statement {

namespace {

constexpr double kMaxPrice = 1e7;    ///< yuan; hundreds of times the dearest share
constexpr double kMaxAmount = 1e15;  ///< yuan

/// The amount and price times volume may differ by this factor, because bonds are quoted by the
/// hundred and dealt in tens. A row beyond that contradicts itself.
constexpr double kMaxFactor = 200;

QString shown(const Value& value) { return value.display().simplified().left(40); }

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
    const Value& first = values[COL_BUSINESS].isEmpty() ? values[COL_SIDE] : values[COL_BUSINESS];
    if (first.isEmpty()) skip(QStringLiteral("not a deal: no side"));
    const auto side = sideOf(first.display());
    if (!side) skip(QStringLiteral("not a deal: %1").arg(shown(first)));
    const auto second = sideOf(values[COL_SIDE].display());
    if (second && *second != *side) {
        skip(QStringLiteral("two sides: %1, %2").arg(shown(first), shown(values[COL_SIDE])));
    }
    return *side;
}

/// The volume without the sign that some lists give to sales; lots are multiplied out.
int shares(const Value& value, const Instrument& instrument, ESide side, const char* what) {
    const int volume = wholeNumber(value, what, value.isLots ? lotOf(instrument) : 1);
    if (volume < 0 && side == ESide::Buy) {
        skip(QStringLiteral("a purchase of %1 shares").arg(volume));
    }
    return std::abs(volume);
}

/// The day from a date column, else from a time that has one before it, else the
/// table's; the time from a time column, else from behind the date.
DateTime dateOfRow(const RowValues& values, const RowContext& context,
                   std::initializer_list<EColumn> dates, std::initializer_list<EColumn> times) {
    DateTime found;
    for (const EColumn column : dates) {
        if (values[column].isEmpty() || !found.date.empty()) continue;
        const auto date = dateOf(values[column], context.dates1904);
        if (!date) skip(QStringLiteral("not a date: %1").arg(shown(values[column])));
        found = *date;
    }
    for (const EColumn column : times) {
        const std::string time = timeOf(values[column]);
        if (time.empty()) continue;
        const auto both = dateOf(values[column], context.dates1904);
        if (found.date.empty() && both && !both->time.empty()) found.date = both->date;
        found.time = time;
        break;
    }
    if (found.date.empty()) found.date = context.tableDate;
    if (found.date.empty()) skip(QStringLiteral("no date"));
    if (!context.tradeDate.empty() && found.date > context.tradeDate) {
        skip(QStringLiteral("a day that has not come yet: %1")
                 .arg(QString::fromStdString(found.date)));
    }
    return found;
}

Instrument instrumentOfRow(const RowValues& values) {
    if (values[COL_CODE].isEmpty()) skip(QStringLiteral("no code"));
    const auto instrument =
        instrumentOf(values[COL_CODE], values[COL_MARKET].display(), values[COL_HOLDER].display());
    if (!instrument) {
        skip(QStringLiteral("no stock of Shanghai, Shenzhen or Beijing: %1")
                 .arg(shown(values[COL_CODE])));
    }
    return *instrument;
}

QString numberText(const Value& value) {
    const QString text = plainText(value.display());
    return isUsableNumber(text) ? text : QString();
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

double bounded(double amount) {
    if (amount > kMaxAmount) {
        skip(QStringLiteral("amount is out of range: %1").arg(shown({true, amount, {}})));
    }
    return amount;
}

double amountOfDeal(const Value& value, double price, int volume) {
    const double plain = bounded(price * volume);
    if (value.isEmpty()) return plain;
    const double amount = std::fabs(required(value, "amount", kMaxAmount));
    // An allotment shows the issue price, but its money moved on another day.
    if (amount == 0) skip(QStringLiteral("not a deal: amount 0"));
    if (amount > plain * kMaxFactor || amount < plain / kMaxFactor) {
        skip(QStringLiteral("amount %1 is not that of %2 at %3")
                 .arg(shown(value))
                 .arg(volume)
                 .arg(price));
    }
    return amount;
}

double amountOfOrder(const Value& value, double price, int traded) {
    if (traded == 0) return 0.0;
    if (value.isEmpty()) return bounded(price * traded);
    return std::fabs(required(value, "amount", kMaxAmount));
}

/// An order at the market's price may show none.
double priceOfOrder(const Value& value) {
    if (value.isEmpty() || saysMarketPrice(value.display())) return 0.0;
    const double price = required(value, "price", kMaxPrice);
    if (price < 0) skip(QStringLiteral("price is out of range: %1").arg(price));
    return price;
}

/// Lists of deals also show cancellations and orders that did not trade.
void checkDealt(const RowValues& values) {
    for (const EColumn column : {COL_STATUS, COL_REQUEST, COL_REMARK}) {
        if (saysNotDealt(values[column].display())) {
            skip(QStringLiteral("not a deal: %1").arg(shown(values[column])));
        }
    }
}

}  // namespace

boost::shared_ptr<vexservice::CDealDetail> readDeal(const RowValues& values,
                                                    const RowContext& context) {
    checkDealt(values);
    const ESide side = sideOfRow(values);
    const Instrument instrument = instrumentOfRow(values);
    const DateTime when = dateOfRow(values, context, {COL_DATE, COL_ORDER_DATE}, {COL_TIME});
    const int volume = shares(values[COL_VOLUME], instrument, side, "volume");
    if (volume == 0) skip(QStringLiteral("not a deal: volume 0"));
    const double price = positivePrice(values[COL_PRICE]);
    const double amount = amountOfDeal(values[COL_AMOUNT], price, volume);

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
                   QString::fromStdString(when.time) + '|' + numberText(values[COL_ORDER_NUMBER]);
    } else {
        content += '#' + number;
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
    const ESide side = sideOfRow(values);
    const Instrument instrument = instrumentOfRow(values);
    const DateTime when =
        dateOfRow(values, context, {COL_ORDER_DATE, COL_DATE}, {COL_TIME, COL_ORDER_TIME});
    const int volume = shares(values[COL_ORDER_VOLUME], instrument, side, "volume");
    if (volume == 0) skip(QStringLiteral("not an order: volume 0"));
    const int traded = values[COL_VOLUME].isEmpty()
                           ? 0
                           : shares(values[COL_VOLUME], instrument, side, "traded volume");
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
    order->m_dTradedAmount = amountOfOrder(values[COL_AMOUNT], std::fabs(average), traded);
    order->m_eStatus = statusOfRow(values, volume, traded);
    const QString number = numberText(values[COL_ORDER_NUMBER]);
    order->m_strSysID = number.toStdString();
    // What changes as an order trades is no part of its key: a later list replaces it.
    QString content = commonContent("O", *order) + '|';
    content += number.isEmpty() ? QStringLiteral("%1|%2|").arg(volume).arg(price, 0, 'f', 6) +
                                      QString::fromStdString(when.time)
                                : '#' + number;
    order->m_nRecordKey = recordKey(content, context);
    return order;
}

}  // namespace TC::statement
