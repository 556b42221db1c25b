#pragma once

#include "linkage/store/import/cellvalues.h"
#include "linkage/store/import/workbook.h"

#include <QStringList>

#include <array>
#include <optional>

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
    COL_COUNT,
};

using RowValues = std::array<Value, COL_COUNT>;

/// The unit of a figure: 元 or 股, 万元 or 万股, 手.
enum class EUnit { One, TenThousand, Lot };

/// Where the columns of one sheet stand.
struct Header {
    std::array<int, COL_COUNT> place{};   ///< sheet column, -1 for none
    std::array<EUnit, COL_COUNT> unit{};  ///< what the column's figures count
    QStringList foreignUnits;             ///< columns left out because of their unit

    bool has(EColumn column) const { return place[column] >= 0; }
    bool holdsOrders() const;
    bool holdsDeals() const;
    /// Whether enough columns are named for a table of trades; a row of values names fewer.
    bool namesTable() const;
};

/// How far down a sheet the header may stand, under titles and account data.
inline constexpr int kHeaderSearchRows = 50;

/// The columns that a row names, in any order. Of several names for one thing the one
/// that is most precise counts. A figure whose name has a unit behind it that is not known
/// (美元, 千股) is left out.
Header headerOf(const CWorkbook& book, std::span<const Cell> cells);

/// A row's cells by what they hold; figures in ten thousands are multiplied out, figures in
/// lots are marked.
RowValues valuesOf(const CWorkbook& book, const Header& header, std::span<const Cell> cells);

/// What the lines above a header say of the whole table. The day on which a list was
/// printed or written says nothing of its rows.
struct TitleLines {
    QString fundAccount;
    std::vector<std::string> dates;  ///< different ones, "yyyyMMdd"
};
void readTitleLine(const CWorkbook& book, std::span<const Cell> cells, TitleLines& titles);

}  // namespace TC::statement
