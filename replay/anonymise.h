#pragma once

#include "replay/recordingplayer.h"

#include <cstdint>
#include <string>

namespace replay {

/// What came of a copy.
struct AnonymousCopy {
    std::string fault;         ///< "FILE:LINE: why there is no copy"; "" when there is one
    RecordingVerdict verdict;  ///< of the copy; that of the recording is the same
};

/// Copies a recording without what names accounts and people: keys, IDs and names of accounts,
/// brokers, users. Each has an alias in its place, all through the copy. Lines keep their numbers.
/// docs/SCENARIOS.md ("Giving one away") says what becomes of which text.
///
/// The copy is played, and the recording is: a copy that would be played in another way is not
/// kept. `into` must not be there yet. `seed` decides which aliases are drawn; who knows it and
/// guesses the names can tell that he guessed right.
///
/// Threads: as verifyRecording.
AnonymousCopy anonymise(const std::string& recording, const std::string& into, std::uint64_t seed);

}  // namespace replay
