#pragma once

#include "linkage/store/importreport.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TC::statement {

/// The records of one import with the keys of their accounts.
struct StoredImport {
    template <class Record>
    using Rows = std::vector<std::pair<std::string, boost::shared_ptr<Record>>>;

    ImportSummary summary;
    Rows<vexservice::CDealDetail> deals;
    Rows<vexservice::COrderDetail> orders;
    int damaged = 0;  ///< lines that could not be read
};

/// An import as lines of JSON in UTF-8: one for the import and one for each record. What
/// stands in a name never ends a line: marks are escaped, and a byte that is not of UTF-8 is
/// written as U+FFFD.
std::string textOf(const StoredImport& import);

/// An import out of its lines. A line that cannot be read costs itself only.
StoredImport importOf(std::string_view text);

}  // namespace TC::statement
