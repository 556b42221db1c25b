#pragma once

#include "replay/names.h"

#include <simdjson.h>

#include <string>

namespace replay {

/// The line "picture" without names. Throws LineError for a text of which it is not known whether
/// it names an account.
std::string anonymousPicture(const simdjson::dom::object& line, CNames& names);

}  // namespace replay
