#pragma once

#include "replay/names.h"

#include <QByteArray>

#include <optional>
#include <string>

namespace replay {

/// A file of the directory "Balance" without names. Nothing for a file that the library does not
/// read, or cannot: it is left out. Throws LineError for what is not understood.
std::optional<QByteArray> anonymousFile(const std::string& name, const QByteArray& bytes,
                                        CNames& names);

}  // namespace replay
