#pragma once

#include "replay/names.h"

#include <simdjson.h>

#include <optional>
#include <string>
#include <string_view>

namespace replay {

/// Copies the lines of a recording without names, each twice: once for CNames to learn from.
///
/// Threads: one. Failure: throws LineError for a line with something in it that is not known, and
/// so might name an account.
class CAnonymousLines {
public:
    explicit CAnonymousLines(CNames& names) : m_names(names) {}

    /// From the first line on.
    void begin() { m_strTradeDate.clear(); }
    /// The line without names; "" for one that nobody needs. The memory behind the line is
    /// readable, as for every parser of lines.
    std::string copy(std::string_view line);

private:
    using Element = simdjson::dom::element;
    using Object = simdjson::dom::object;

    std::string copyFile(const Object& line);
    std::string copyCall(const Object& line);
    std::string copyAnswer(const Object& line);
    std::string copyPicture(const Object& line);

    CNames& m_names;
    simdjson::dom::parser m_parser;
    std::string m_strTradeDate;  ///< that the library knows
};

/// A line of the book of balances without names; nothing for one that is no JSON.
std::optional<std::string> anonymousBookLine(std::string_view line, CNames& names);

}  // namespace replay
