#pragma once

#include "linkage/tape/tapeunit.h"
#include "replay/recordedinputs.h"
#include "replay/scenarioline.h"

#include <optional>
#include <string>

namespace replay {

/// Leaves steps out while a recording is played. What is left is another day, so nothing of it is
/// compared.
///
/// Threads: those of the player, one at a time.
class IPlayFilter {
public:
    virtual ~IPlayFilter() = default;
    /// Whether the step of this line is not taken.
    virtual bool leavesOut(const CFields& line, const std::string& kind) = 0;
    /// The answer to a question where it is another one than the recording's.
    virtual std::optional<TC::TapeAnswer> answer(const TC::TapeQuestion& question) = 0;
    /// Which of the works that wait is taken in place of one that was not left; null: none.
    virtual const RecordedWorks::key_type* instead(const RecordedWorks& works,
                                                   const RecordedWorks::key_type& missing) = 0;
};

}  // namespace replay
