#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

/// A file that cannot be opened or written; the text says why.
struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The lines of a scenario file, plain or gzip-compressed.
///
/// Threads: one. Failure: throws InputError when the file cannot be opened, and LineError
/// for the line at which it cannot be read on.
class CLineReader {
public:
    /// `path` "-" reads standard input.
    explicit CLineReader(const std::string& path);
    ~CLineReader();
    CLineReader(const CLineReader&) = delete;
    CLineReader& operator=(const CLineReader&) = delete;

    /// The next line that is neither blank nor a comment; false at the end. A byte-order mark
    /// before the first line is left out. The text is valid until the next call. The memory behind
    /// it is readable, because the JSON parser loads more bytes at once than the line may have.
    bool next(std::string_view& line);

    /// Number of the line given last, counted from 1 over all lines.
    std::size_t number() const { return m_number; }

    /// How much of the file was read, 0 to 1; negative where its size is not known.
    double progress() const;

    /// Whether it is a regular file, whose reading never waits for somebody who writes.
    bool isRegular() const;

private:
    bool nextRaw(std::string_view& line);
    bool fill();

    struct File;
    std::unique_ptr<File> m_pFile;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_number = 0;
    bool m_bEnded = false;
};

}  // namespace replay
