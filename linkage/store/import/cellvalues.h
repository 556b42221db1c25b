#pragma once

#include <QString>

#include <optional>
#include <string>

/// What the cells of statements mean. Pure: values in, values out.
namespace TC::statement {

/// A cell as a statement's columns see it. Empty, or a text, or a number.
struct Value {
    bool isNumber = false;
    double number = 0.0;
    QString text;
    bool isLots = false;  ///< the column counts lots (手)

    /// Nothing, or one of the dashes that stand for nothing.
    bool isEmpty() const;
    /// As a person reads it: whole numbers without a point.
    QString display() const;
};

/// Without blanks, full-width characters in their plain form, upper case. A text of more than
/// 512 characters stays as it is.
QString plainText(const QString& text);

/// Finite number out of a cell: thousands separators, full-width digits, the sign of the yuan
/// and a unit that stands for one (元, 股, 张, 份) are taken; anything else is not, in particular
/// no other currency and no unit behind a single figure (手, 万).
std::optional<double> cellNumber(const Value& value);

struct DateTime {
    std::string date;  ///< "yyyyMMdd"
    std::string time;  ///< "hhmmss", empty when the cell has none
};

/// A date out of a number (20230201, or days of a workbook) or a text ("20230201",
/// "2023-02-01", "2023/2/1", "2023年2月1日"), which a time may follow. Only dates that a day key
/// can hold and on which there were exchanges: 1990 to 2037.
std::optional<DateTime> dateOf(const Value& value, bool dates1904 = false);

/// A time of day, "hhmmss", out of "9:48:13", "09:48", "下午2:30", "2:30 PM", "14时30分", 94813,
/// 1430, 930, 09481312 (hundredths follow), a fraction of a day, or the end of a date; empty when
/// it is none of these, as for digits that are a date, or that name an hour alone.
std::string timeOf(const Value& value);

struct Instrument {
    std::string market;  ///< "SH", "SZ" or "BJ"
    std::string code;    ///< six digits
};

/// An instrument out of its code, which may have lost its leading zeros or carry its
/// market ("600000.SH"). The market comes from the code's own mark, from the market's
/// name, from the code where only one exchange has such codes, from the holder code
/// (letters in Shanghai, digits in Shenzhen and Beijing), and last from the code's
/// more frequent use. A name of several markets ("沪深") says nothing.
///
/// Nothing for codes of other markets, and for a market that the code cannot have;
/// `isOfOtherList` says that the list is of another market unless the row names one.
std::optional<Instrument> instrumentOf(const Value& code, const QString& marketName,
                                       const QString& holderCode, bool isOfOtherList = false);

/// What an instrument is, as far as its code tells.
enum class EInstrument { Share, Fund, Bond, Other };
EInstrument classOf(const Instrument& instrument);

/// How many shares, bonds or fund shares a lot (手) of an instrument has; nothing where the
/// code does not tell.
std::optional<int> lotOf(const Instrument& instrument);

/// Whether a deal or order number can tell rows apart: not empty, not all zeros, and
/// not cut down to a power of ten by a spreadsheet program.
bool isUsableNumber(const QString& number);

}  // namespace TC::statement
