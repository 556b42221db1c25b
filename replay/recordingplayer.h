#pragma once

#include "linkage/core/clinkagemanager.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace replay {

/// Where a recording and the library of today part.
struct RecordingDifference {
    std::size_t line = 0;  ///< of the file
    std::string at;        ///< time of the step, "yyyy-MM-dd hh:mm:ss.zzzzzz"
    std::string expected;  ///< what the recording says
    std::string got;       ///< what the library does now
};

/// What came of a recording that was played.
struct RecordingVerdict {
    std::uint64_t steps = 0;
    std::uint64_t marks = 0;  ///< commands, cancellations, signals and sums that were compared
    std::optional<RecordingDifference> difference;  ///< the first one; none: all is the same
    bool breaksOff = false;  ///< the file has no end: who recorded was killed, or records still
    std::string fault;       ///< "FILE:LINE: what is wrong" where the file cannot be read on
};

struct VerifyOptions {
    QString dataDir;  ///< empty: a temporary one, removed afterwards
    /// Sees the manager when all was played, before it is released.
    std::function<void(TC::CLinkageManager&)> finished;
};

/// Plays a recording (CLinkageManager::startRecording) step by step, in the order in which its
/// steps held the manager's lock, with the answers that the services gave, and compares what the
/// library does with what it did. Ends at the first difference.
///
/// Threads: one, with a QCoreApplication; steps that waited for one another in the middle run on
/// threads of their own, one at a time. There must be no manager and no client.
RecordingVerdict verifyRecording(const std::string& path, const VerifyOptions& options = {});

}  // namespace replay
