#pragma once

#include "linkage/tape/jsonwriter.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace replay {

using TC::appendNumber;
using TC::TextBuffer;
using TC::viewOf;

/// The library's writer under a name of this folder, whose functions write() it finds.
class CJsonWriter : public TC::CJsonWriter {
public:
    using TC::CJsonWriter::CJsonWriter;
};

/// The output of the replay: JSON lines, gathered in a large buffer.
///
/// Threads: one.
class COutput {
public:
    using Sink = std::function<void(std::string_view)>;

    /// `sink` takes finished lines, many at a time.
    explicit COutput(Sink sink);
    ~COutput();
    COutput(const COutput&) = delete;
    COutput& operator=(const COutput&) = delete;

    /// Opens a line's object; endLine() closes it.
    CJsonWriter& beginLine();
    void endLine();

    /// The member "at" as JSON: the time of day "hh:mm:ss.zzz" by the platform's clock.
    std::string_view at();
    /// Forgets the time of day that was kept; to be called when the time zone has changed.
    void forgetTime() { m_nAtMillis = m_nOffsetSpan = -1; }

    void flush();
    /// Ends what one line of input gave with an empty line, and flushes.
    void endAnswer();

private:
    Sink m_sink;
    TextBuffer m_buffer;
    CJsonWriter m_writer{m_buffer};
    std::int64_t m_nAtMillis = -1;
    std::string m_at;
    std::int64_t m_nOffsetSpan = -1;
    std::int64_t m_nOffsetMillis = 0;  ///< local time less UTC in that span
};

}  // namespace replay
