#pragma once

#include "replay/linereader.h"
#include "replay/recordingplayer.h"
#include "replay/scenarioline.h"

#include <cstdint>
#include <string>
#include <string_view>

/// What the lines of a recording are.
namespace replay {

/// The microseconds of a moment's text, "yyyy-MM-dd hh:mm:ss.zzzzzz". Throws LineError.
std::int64_t readMicros(const std::string& text);

/// Whether a line of this "do" has a record.
bool isRecord(std::string_view kind);
/// Whether the line, which is no mark, takes a step: it has a moment.
bool takesStep(const CFields& fields, std::string_view kind);
/// What whoever looks on is told of a step.
RecordedStep stepOf(const std::string& kind, const CFields& fields);

/// The next whole line. A file whose writer was killed has no proper end.
bool nextLine(CLineReader& reader, std::string_view& line);

}  // namespace replay
