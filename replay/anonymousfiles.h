#pragma once

#include "replay/names.h"

#include <QByteArray>

#include <optional>
#include <string>
#include <string_view>

namespace replay {

/// A file of the directory "Balance" without names. Nothing for a file that the library does not
/// read, or cannot: it is left out. Throws LineError for what is not understood.
std::optional<QByteArray> anonymousFile(const std::string& name, const QByteArray& bytes,
                                        CNames& names);

/// The book of balances without names. Lines that the library cannot read are left out.
std::string anonymousBook(std::string_view text, CNames& names);
/// The file of the kept balance times without names.
std::string anonymousBalanceTimes(std::string_view text, CNames& names);

}  // namespace replay
