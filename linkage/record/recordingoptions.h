#pragma once

#include <cstdint>
#include <string>

namespace TC {

/// How a recording is made.
struct RecordingOptions {
    /// The recording ends when its file has grown to so many bytes; 0: it may grow as it will.
    std::uint64_t mostBytes = std::uint64_t{2} << 30;

    /// How many events may wait to be written. When the disk cannot follow and more wait, the
    /// recording ends.
    std::uint64_t mostWaiting = 4'000'000;

    /// Every so many seconds, and at its end, the recording gets a check sum of all that the manager
    /// has, so that a play that goes another way is found there at the latest. It is made in one
    /// hold of the manager's lock, STATECOST. 0: only at the end.
    int stateSeconds = 600;
};

/// How far a recording has come.
struct RecordingState {
    bool running = false;     ///< whether it goes on, or waits
    bool waits = false;       ///< it has not begun: it waits for a moment at which it can
    std::string file;         ///< its path
    std::string fault;        ///< why it ended by itself; "" when it did not
    std::uint64_t steps = 0;  ///< what was written
    std::uint64_t bytes = 0;  ///< of the file, compressed
};

}  // namespace TC
