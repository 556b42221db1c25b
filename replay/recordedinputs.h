#pragma once

#include "linkage/core/clinkagemanager.h"
#include "replay/recordedclient.h"

#include <boost/function.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>

namespace replay {

/// Work that steps have left for later, by step, name and index.
using RecordedWorks =
    std::map<std::tuple<std::uint64_t, std::string, std::uint64_t>, boost::function<void()>>;

/// What a line of a recording makes the manager do.
struct RecordedInput {
    std::function<void()> work;
    bool mayPause = true;  ///< false: it holds the manager's lock once
    /// What is reported; null: it is no report.
    CRecordedClient::RecordPtr record{};
};

/// Which work a line "work" names. Throws LineError.
RecordedWorks::key_type workOf(const CFields& fields);

/// Reads the line of an input. Takes work that it names out of `works`. Throws LineError.
RecordedInput readInput(const CFields& fields, CRecordedClient& client, CEventParser& events,
                        TC::CLinkageManager& manager, RecordedWorks& works);

}  // namespace replay
