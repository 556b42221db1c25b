#pragma once

#include "replay/recordedinputs.h"

#include <cstdint>
#include <set>
#include <string>

namespace replay {

/// What a part of a recording is to hold.
struct CutOptions {
    /// The steps from this moment on, up to that one, "yyyy-MM-dd hh:mm:ss" or with ".zzzzzz",
    /// local time of the recording. Empty: from its start, to its end.
    std::string from;
    std::string to;
    std::set<std::string> accounts;  ///< keys; empty: all
};

/// Where the part lies, by the lines of the recording alone.
struct CutPlan {
    /// At both a rest begins: no step is in its middle. Steps are counted from 1.
    std::uint64_t before = 0;  ///< steps before the first one at or behind `from`
    std::uint64_t last = 0;    ///< the last step of the part
    std::string head;          ///< the lines before the first step, but records, answers, a picture
    std::set<RecordedWorks::key_type> works;  ///< that lines of the recording take
};

/// Reads the recording as far as it can be read. Throws CopyFault.
CutPlan planCut(const std::string& recording, const CutOptions& options);

}  // namespace replay
