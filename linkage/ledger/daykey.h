#pragma once

#include <string>

namespace TC {

/// The day key of a date "yyyyMMdd": its local midnight in seconds since the epoch.
/// -1 for a text that is no date.
int dayKey(const std::string& date);

/// The date of a day key, "yyyyMMdd".
std::string dayText(int day);

/// Today by the platform's clock, local, "yyyyMMdd", and the moment "yyyyMMddhhmmss".
std::string todayText();
std::string nowText();

}  // namespace TC
