#pragma once

#include "replay/names.h"

#include <QByteArray>

#include <string>

namespace replay {

/// A statement of which only the rows are left that the library takes, in the columns that it
/// needs, and without names: a text, whatever the statement was. Empty for a file that the library
/// refuses, as it refuses the empty one.
///
/// `tradeDate` is the library's ("yyyyMMdd"). Throws LineError when the library would read other
/// rows of the text than of the statement.
QByteArray anonymousStatement(const QByteArray& statement, const std::string& tradeDate,
                              CNames& names);

}  // namespace replay
