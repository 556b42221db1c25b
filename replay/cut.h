#pragma once

#include "replay/copydraft.h"
#include "replay/cutplan.h"

#include <string>

namespace replay {

/// Makes a smaller recording of a part of one. It begins where the first step at or behind `from`
/// is due, with a picture of what the manager is then, and ends behind the last step up to `to`;
/// either moves on until no step is in its middle, and the beginning until no work waits that a
/// picture cannot tell. Of accounts that are not asked for it has no reports, and no calls but
/// those that draw a number. What it shows is what the library does today: a recording with a
/// difference up to there is refused.
///
/// The copy is played before it is kept: at its end all is as it was at that step of the recording,
/// or, where accounts are asked for, their figures, records, balances, commands and cancellations
/// are. `into` must not be there yet.
///
/// Threads: as verifyRecording.
RecordingCopy cutRecording(const std::string& recording, const std::string& into,
                           const CutOptions& options);

}  // namespace replay
