#pragma once

#include "linkage/store/import/workbook.h"
#include "linkage/store/importreport.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

namespace TC::statement {

/// Record keys of imported records have this bit; the trading system's keys do not,
/// so the two never meet.
inline constexpr std::uint64_t kImportedKeyBit = std::uint64_t(1) << 63;

/// A deal or order of a statement, complete but for its account.
template <class Record>
struct Parsed {
    QString sheet;
    int row = 0;
    QString fundAccount;  ///< as the file names it; empty when it does not
    QString holder;
    boost::shared_ptr<Record> record;
    QString orderNumber;  ///< as the file writes it; it tells deals without a number apart
};

struct Statement {
    ImportReport::Kind kind = ImportReport::Kind::None;
    std::vector<Parsed<vexservice::CDealDetail>> deals;
    std::vector<Parsed<vexservice::COrderDetail>> orders;
    int read = 0;
    std::vector<ImportReport::SkippedRow> skipped;  ///< as many as a report lists
    QStringList notes;
};

/// The deals or orders of a file. Every sheet that has a header and is not hidden counts; a
/// row that is no deal or order, or cannot be read, or stands on an earlier sheet, is skipped
/// with its reason.
///
/// A record's key is made of what tells its row from others (the deal or order number
/// where there is one, otherwise the row's values) and of how many equal rows stand
/// above it on its sheet. So the same file, or another export of the same days, gives the same
/// keys, and two equal deals of one file stay two.
///
/// A sheet may hold several tables, each under its own column names; those of the other
/// kind, and other lists, are skipped.
///
/// `tradeDate` ("yyyyMMdd") is the day of files that name no day at all, and the last day
/// that is taken. Throws Refusal when no sheet has a header, or no day can be found.
Statement readStatement(const CWorkbook& book, const std::string& tradeDate);

}  // namespace TC::statement
