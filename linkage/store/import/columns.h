#pragma once

#include "linkage/store/import/cellvalues.h"
#include "linkage/store/import/workbook.h"

#include <QStringList>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace TC::statement {

/// What a column of a statement holds.
enum EColumn {
    COL_CODE,
    COL_MARKET,
    COL_DATE,
    COL_TIME,
    COL_SIDE,
    COL_BUSINESS,  ///< the kind of business: tells deals before the side, which must agree
    COL_PRICE,
    COL_VOLUME,
    COL_AMOUNT,
    COL_DEAL_NUMBER,
    COL_ORDER_NUMBER,
    COL_HOLDER,
    COL_FUND_ACCOUNT,
    COL_ORDER_DATE,
    COL_ORDER_TIME,
    COL_ORDER_PRICE,
    COL_ORDER_VOLUME,
    COL_CANCELLED,
    COL_STATUS,
    COL_REMARK,
    COL_REQUEST,  ///< whether a row is an order, or a deal, or a cancellation
    COL_VOIDED,   ///< a flag: the row was cancelled, voided or reversed
    COL_VALID,    ///< a flag: it was not
    COL_CURRENCY,
    COL_ANY_PRICE,   ///< "价格": of a deal or of an order, as the other columns tell
    COL_ANY_VOLUME,  ///< "数量", likewise
    COL_COUNT,
};

using RowValues = std::array<Value, COL_COUNT>;

/// The unit of a figure: 元 or 股, 万元 or 万股, 手.
enum class EUnit { One, TenThousand, Lot };

/// One cell of a row of column names.
struct HeaderCell {
    int column;
    QString text;
};

/// Where the columns of one table stand.
struct Header {
    std::array<int, COL_COUNT> place{};   ///< sheet column, -1 for none
    std::array<EUnit, COL_COUNT> unit{};  ///< what the column's figures count
    QStringList foreignUnits;             ///< columns left out because of their unit
    QString currency;                     ///< a column in another currency; empty for none
    int names = 0;                        ///< cells that name a column of any list, trades or not
    int last = -1;                        ///< sheet column of the last name
    int beside = -1;                      ///< where a second table begins to the right; -1 for none
    int ofDeals = 0;                      ///< how much the names speak for a list of deals
    int ofOrders = 0;                     ///< and of orders

    bool has(EColumn column) const { return place[column] >= 0; }
    /// What a list of orders, or of deals, has at least.
    bool mayHoldOrders() const;
    bool mayHoldDeals() const;
    /// The same names, with "价格" and "数量" as those of the order.
    Header asOrders() const;
    /// Names the columns of some table: not a row of values.
    bool namesTable() const;
};

/// How far down a sheet the header may stand, under titles and account data.
inline constexpr int kHeaderSearchRows = 50;

/// The columns that a row names, in any order. Of several names for one thing the one
/// that is most precise counts. A figure whose name has a unit behind it that is not known
/// (美元, 千股) is left out.
Header headerOf(const std::vector<HeaderCell>& cells);
Header headerOf(const CWorkbook& book, std::span<const Cell> cells);

/// The columns of two rows of names, the upper of which spans several of the lower.
Header headerOf(const CWorkbook& book, std::span<const Cell> upper, std::span<const Cell> lower);

/// A row's cells by what they hold; figures in ten thousands are multiplied out, figures in lots
/// are marked.
RowValues valuesOf(const CWorkbook& book, const Header& header, std::span<const Cell> cells);

/// What the lines above a header, or between its rows, say of the rows below. The day on
/// which a list was printed or written says nothing of its rows.
struct TitleLines {
    QString fundAccount;
    std::vector<std::string> dates;    ///< different ones, "yyyyMMdd"
    QString currency;                  ///< another one than the yuan
    bool namesUnknownAccount = false;  ///< an account is named in words that are not understood
    bool namesUnknownDay = false;
    bool ofDeals = false;   ///< "成交明细"
    bool ofOrders = false;  ///< "当日委托"
    bool ofOthers = false;  ///< holdings, flows of money, subscriptions, sums
    bool ofHongKong = false;
};
void readTitleLine(const CWorkbook& book, std::span<const Cell> cells, TitleLines& titles);
/// Whether a text is the name of a column of fund accounts.
bool namesFundAccount(const QString& text);
/// What a sheet's name, or one cell of a title, says of the kind of list.
void readTitleWords(const QString& text, TitleLines& titles);

}  // namespace TC::statement
