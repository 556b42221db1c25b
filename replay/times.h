#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Moments of a scenario: local texts to numbers and back.
namespace replay {

/// Sets the time zone of the process to one of the time-zone database; false when it is
/// not there.
bool setTimeZone(const std::string& name);

/// Days are kept as seconds in 32 bits without a sign, which end in February 2106.
inline constexpr std::int64_t LAST_MOMENT = 4'294'967'295 * 1'000'000;  // microseconds

/// "yyyy-MM-dd hh:mm:ss" local, as microseconds since the epoch; -1 when it is none.
std::int64_t parseMoment(const std::string& text);
/// The same of a line's field. Throws LineError when it is none, or out of range.
std::int64_t readMoment(std::string_view field, const std::string& text);

/// The local midnight of a date "yyyyMMdd" in seconds since the epoch.
int dayNumber(std::string_view date);

/// The local date of a day number, "yyyyMMdd". The day of records whose trade date is
/// none, -1, reads as the second before the epoch.
std::string dateText(int day);

/// The clock's local date "yyyyMMdd" and time "hhmmss".
std::string todayText(std::int64_t micros);
std::string timeText(std::int64_t micros);
/// "hh:mm:ss.zzz", local.
std::string momentText(std::int64_t micros);

}  // namespace replay
