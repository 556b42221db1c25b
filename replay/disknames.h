#pragma once

#include "linkage/store/diskfaults.h"

#include <optional>
#include <string_view>

namespace replay {

/// The step or error of the disk that has this name in scenarios ("flush", "any"; "ENOSPC",
/// "crash"), if any.
std::optional<TC::disk::EStep> stepNamed(std::string_view name);
std::optional<int> errorNamed(std::string_view name);

/// The other way round. An error that has no name gives "".
std::string_view nameOf(TC::disk::EStep step);
std::string_view nameOfError(int error);

}  // namespace replay
