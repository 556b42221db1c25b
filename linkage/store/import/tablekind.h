#pragma once

#include "linkage/store/import/columns.h"
#include "linkage/store/importreport.h"

namespace TC::statement {

/// What the rows of a table tell of its kind.
struct Contents {
    bool hasUndone = false;      ///< a row that did not trade, or was withdrawn
    bool repeatsOrders = false;  ///< several rows of one order number
    bool hasReversals = false;   ///< sales of both signs: the negative ones take back
};

/// The rows of a sheet, each with its number counted from 0.
struct SheetRow {
    int row;
    std::span<const Cell> cells;
};

/// What the rows under a row of names tell, up to the next row of names. Looks at so many
/// rows for the kind of the list, and at all of them for reversals.
Contents contentsOf(const CWorkbook& book, const Header& header, std::span<const SheetRow> rows);

struct TableKind {
    ImportReport::Kind kind = ImportReport::Kind::None;
    bool isUnclear = false;  ///< a list of trades, but title, names and rows do not agree
};

/// Deals or orders, by the names of the columns, the title and the rows together. A list
/// that could be either and speaks for neither is unclear, and so is one whose columns
/// are those of one kind while title and names clearly speak for the other.
TableKind kindOf(const Header& header, const TitleLines& titles, const Contents& contents);

}  // namespace TC::statement
