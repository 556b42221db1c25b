#pragma once

#include "linkage/store/import/cellvalues.h"
#include "linkage/store/import/workbook.h"

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
    COL_BUSINESS,  ///< names the kind of business; where it stands it alone tells deals
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
    COL_REQUEST,  ///< whether an order list's row is an order or a cancellation
    COL_COUNT,
};

using RowValues = std::array<Value, COL_COUNT>;

/// Where the columns of one sheet stand.
struct Header {
    int row = -1;
    std::array<int, COL_COUNT> place{};  ///< sheet column, -1 for none

    bool has(EColumn column) const { return place[column] >= 0; }
    bool holdsOrders() const;
    bool holdsDeals() const;
};

/// How far down a sheet the header may stand, under titles and account data.
inline constexpr int kHeaderSearchRows = 50;

/// The columns that a row names, in any order. Of several names for one thing the one
/// that is most precise counts.
Header headerOf(const CWorkbook& book, int row, std::span<const Cell> cells);

/// A row's cells by what they hold.
RowValues valuesOf(const CWorkbook& book, const Header& header, std::span<const Cell> cells);

/// Whether a row is the header once more, as printed lists have on every page.
bool repeatsHeader(const RowValues& values);

/// What the lines above the header say of the whole sheet.
struct TitleLines {
    QString fundAccount;
    std::vector<std::string> dates;  ///< different ones, "yyyyMMdd"
};
void readTitleLine(const CWorkbook& book, std::span<const Cell> cells, TitleLines& titles);

}  // namespace TC::statement
