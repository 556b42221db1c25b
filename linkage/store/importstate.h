#pragma once

#include "linkage/store/import/dayrecords.h"
#include "linkage/store/importreport.h"
#include "linkage/store/importstore.h"

#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

namespace TC {

/// What was imported, by account and day, and the files that keep it.
///
/// Guarded by the manager's lock, except the files.
struct ImportState {
    /// By account key and day key.
    using Place = std::pair<std::string, int>;
    template <class Record>
    using Days = std::map<Place, statement::CDayRecords<Record>>;

    template <class... Arguments>
    explicit ImportState(Arguments&&... arguments) : store(std::forward<Arguments>(arguments)...) {}

    Days<vexservice::CDealDetail> deals;
    Days<vexservice::COrderDetail> orders;
    std::map<int, ImportSummary> summaries;  ///< by number
    int lastNumber = 0;
    std::set<std::string> refiling;  ///< accounts for which refileImported is on its way
    CImportStore store;

    template <class Record>
    Days<Record>& of() {
        if constexpr (std::is_same_v<Record, vexservice::CDealDetail>) {
            return deals;
        } else {
            return orders;
        }
    }
};

}  // namespace TC
