#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Moments of a scenario: local texts to numbers and back.
namespace replay {

/// Sets the time zone of the process; false when the system does not know it.
bool setTimeZone(const std::string& name);

/// "yyyy-MM-dd hh:mm:ss" local, as microseconds since the epoch; -1 when it is none.
std::int64_t parseMoment(const std::string& text);

/// The local midnight of a date "yyyyMMdd" in seconds since the epoch.
int dayNumber(std::string_view date);

/// The local date of a day number, "yyyyMMdd".
std::string dateText(int day);

/// The clock's local date "yyyyMMdd" and time "hhmmss".
std::string todayText(std::int64_t micros);
std::string timeText(std::int64_t micros);

}  // namespace replay
