#pragma once

#include "linkage/store/import/columns.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <QHash>

#include <boost/shared_ptr.hpp>

#include <string>

namespace TC::statement {

/// Why a row is not taken. Thrown and caught inside the reader only.
struct SkippedRow {
    QString reason;
    bool isUnknownSide = false;  ///< it speaks of buying or selling, in unknown words
};

/// How many rows of each content were seen in the file so far.
using Ordinals = QHash<QString, int>;

struct RowContext {
    const std::string& tableDate;  ///< the day of rows that have no date of their own
    const std::string& tradeDate;  ///< the last day that can be; "" when not known
    bool dates1904;
    bool hasReversals;  ///< a negative sale takes one back
    bool isOfHongKong;  ///< unless a row names another market
    const QString& fundAccount;
    Ordinals& ordinals;
};

/// A row's deal or order, without its account; throws SkippedRow.
boost::shared_ptr<vexservice::CDealDetail> readDeal(const RowValues& values,
                                                    const RowContext& context);
boost::shared_ptr<vexservice::COrderDetail> readOrder(const RowValues& values,
                                                      const RowContext& context);

}  // namespace TC::statement
