#pragma once

#include <string>

namespace TC {

/// The day key of a date "yyyyMMdd": its local midnight in seconds since the epoch.
/// -1 for a text that is no date.
int dayKey(const std::string& date);

/// The date of a day key, "yyyyMMdd".
std::string dayText(int day);

/// The local date "yyyyMMdd" and the local moment "yyyyMMddhhmmss", by the platform's clock.
std::string todayText();
std::string nowText();

}  // namespace TC
