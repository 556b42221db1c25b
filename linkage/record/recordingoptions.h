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

    /// Every so many seconds, and when it is stopped, the recording gets a check sum of all that
    /// the manager has, so that a play that goes another way is found there at the latest. It is
    /// made in one hold of the manager's lock: 0.2 s on a day of a million reports. 0: only when it
    /// is stopped.
    int stateSeconds = 600;

    /// Whether the recording goes on in a next file when its file is full: behind "day.rec" come
    /// "day-2.rec", "day-3.rec" and so on. Each begins with a picture, as in the middle of a day,
    /// and is played by itself. What happens between the end of one and the picture of the next is
    /// in neither: some milliseconds, or up to a second when a file fills up at once. A file that
    /// is full within a minute of its beginning is the last one: `mostBytes` is too small then.
    bool goesOn = false;

    // Limits of a series. They hold when a recording begins, or goes on in a next file: the oldest
    // that are beyond one of them are removed, on a thread of the library's own. 0: no limit.
    //
    // Recordings are of one series when they lie in one folder and their names are the same but for
    // a date (yyyyMMdd or yyyy-MM-dd, with or without a time) and a number at the end
    // ("day-20260105-093000.rec", "day-20260106-2.rec"). How old one is says its first line. Files
    // that are no recordings stay, and so do recordings that a process still writes.

    std::uint32_t keepFiles = 0;  ///< so many stay, with the new one
    std::uint32_t keepDays = 0;   ///< those that began more days ago go
    std::uint64_t keepBytes = 0;  ///< all that stay have no more bytes, as the new one begins
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
