#pragma once

#include "replay/copydraft.h"

#include <cstdint>
#include <string>

namespace replay {

/// Copies a recording without what names accounts and people: keys, IDs and names of accounts,
/// brokers, users. Each has an alias in its place, all through the copy. Lines keep their numbers.
/// docs/SCENARIOS.md ("Giving one away") says what becomes of which text.
///
/// The copy is played, and the recording is: a copy that would be played in another way is not
/// kept; the verdict of both is the same. `into` must not be there yet. `seed` decides which
/// aliases are drawn; who knows it and guesses the names can tell that he guessed right.
///
/// Threads: as verifyRecording.
RecordingCopy anonymise(const std::string& recording, const std::string& into, std::uint64_t seed);

}  // namespace replay
