#pragma once

#include "replay/eventparser.h"
#include "replay/linereader.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace replay {

/// A line of a scenario, ready to be played.
struct ParsedLine {
    Event event;
    std::size_t number = 0;  ///< of the line in its file, counted from 1
    double progress = -1.0;  ///< how much of the file was read with it; see CLineReader
    std::string text;        ///< the line without blanks, where it is asked for
};

struct ReadingOptions {
    bool texts = false;  ///< with ParsedLine::text
    bool ahead = true;   ///< false: each line is read when it is asked for
};

/// The lines of a scenario file, in their order. Of a regular file, a thread reads, unpacks and
/// parses the next lines while the owner plays those before. Whether a line waits for others of its
/// batch is then a matter of microseconds, because such a file never waits for whoever writes it.
/// A pipe or a terminal does; so its lines are read on the owner's thread, when they are asked for.
///
/// A line that cannot be read or parsed is told when the owner comes to it. The number of lines
/// that wait is bounded, however large the file is.
///
/// Threads: one owner. The thread begins when the owner asks for the second line: by then the
/// config was played, and has set the time zone, which must not change beside the parser. A batch
/// of lines belongs to the thread or to the owner; the lock is held only while one is handed over.
/// The destructor ends the thread, wherever it is.
///
/// Failure: the constructor throws InputError when the file cannot be opened; next() throws
/// LineError for a line that cannot be used, and ends the lines with it. Where the system gives no
/// thread, it throws std::system_error.
class CReadAhead {
public:
    CReadAhead(const std::string& path, ReadingOptions options);
    ~CReadAhead();
    CReadAhead(const CReadAhead&) = delete;
    CReadAhead& operator=(const CReadAhead&) = delete;

    /// The next line, valid until the next call; null at the end.
    const ParsedLine* next();

    /// Number of the line given last, or of the one that cannot be used.
    std::size_t number() const { return m_thread.joinable() ? m_number : m_reader.number(); }

private:
    /// A batch has so many lines, or fewer when they are long.
    static constexpr std::size_t MOST_LINES = 128;
    static constexpr std::size_t MOST_BYTES = 1 << 18;
    static constexpr std::size_t BATCHES = 16;
    using Batch = std::vector<ParsedLine>;

    /// Returns the length of its text; 0 at the end.
    std::size_t read(ParsedLine& line);

    // on the thread
    void readAll(const std::stop_token& stop);
    Batch* freeBatch(const std::stop_token& stop);
    bool fill(Batch& batch);

    // on the owner's
    const ParsedLine* nextAhead();
    bool takeBatch();
    void giveBack();

    const bool m_bTexts;
    CLineReader m_reader;  // this and the parser are the thread's, once there is one
    CEventParser m_parser;
    const bool m_bAhead;
    bool m_bBegun = false;
    ParsedLine m_line;  ///< the one that was read on the owner's thread

    std::array<Batch, BATCHES> m_batches;  ///< a ring
    Batch* m_pPlayed = nullptr;            ///< the owner's
    std::size_t m_next = 0;                ///< in that batch
    std::size_t m_number = 0;

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    // under m_mutex:
    std::size_t m_read = 0;      ///< batches that the thread has filled
    std::size_t m_returned = 0;  ///< batches that the owner has given back
    bool m_bEnded = false;       ///< no more batches come
    std::exception_ptr m_fault;  ///< why, when it is not the end of the file
    std::size_t m_faultNumber = 0;

    std::jthread m_thread;  // the last one, because it uses the others
};

}  // namespace replay
