#pragma once

#include "linkage/tape/jsonwriter.h"

#include <simdjson.h>

#include <optional>
#include <string_view>

namespace replay {

/// Writes a number, a flag or a null again.
void writeTextless(TC::CJsonWriter& out, const simdjson::dom::element& from);

/// The figure that CJsonWriter::writesExactly() writes as this text; nothing for other texts.
std::optional<double> notFinite(std::string_view text);

/// Of a text it is not known whether it names an account; `what` has it. Throws LineError.
[[noreturn]] void refuseText(std::string_view what);

}  // namespace replay
