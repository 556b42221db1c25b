#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace TC {

/// The files of the book of balances, one per trade date.
///
/// Threads: one call at a time. Failure: false, or no text; nothing throws.
class IBookFile {
public:
    struct Text {
        bool readable = true;  ///< a file that is not there is readable and empty
        std::string bytes;
    };

    virtual ~IBookFile() = default;

    /// Appends whole lines to the book of a date ("yyyyMMdd"). True when they are on disk.
    virtual bool append(const std::string& date, const std::string& lines) = 0;

    virtual Text read(const std::string& date) = 0;
};

/// Keeps the book. Most lines tell what has happened: they are noted, and the next flush()
/// writes them; no balance waits for that. The line that tells what is about to be sent is
/// written at once, with everything noted before it. Noted lines that cannot be written stay
/// noted for the next time, and the log says so.
///
/// Threads: any. It never takes the manager's lock.
class CBookWriter {
public:
    explicit CBookWriter(std::unique_ptr<IBookFile> file) : m_pFile(std::move(file)) {}

    void note(const std::string& date, const std::string& line);

    /// True when the line, and all before it, is on disk. A line that is not is dropped.
    bool writeNow(const std::string& date, const std::string& line);

    /// Writes what is noted; false when some of it stays noted.
    bool flush();

    bool hasLines() const;

    IBookFile::Text read(const std::string& date);

    /// How many lines may wait while the disk fails; older ones are dropped, and the log says
    /// so.
    static constexpr std::size_t MOST_LINES = 10'000;

private:
    struct Line {
        std::string date;
        std::string text;
    };

    bool writeNoted();

    const std::unique_ptr<IBookFile> m_pFile;
    std::mutex m_writeMutex;  ///< held while the file is read or written; taken before the next
    mutable std::mutex m_mutex;
    std::deque<Line> m_lines;
    bool m_bFailed = false;
};

}  // namespace TC
