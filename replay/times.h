#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Moments of a scenario: local texts to numbers and back.
namespace replay {

/// Sets the time zone of the process to one of the time-zone database; false when it is
/// not there.
bool setTimeZone(const std::string& name);

/// Days are kept as seconds in 32 bits without a sign; these end in February 2106.
inline constexpr std::int64_t LAST_MOMENT = 4'294'967'295 * 1'000'000;  // microseconds

/// "yyyy-MM-dd hh:mm:ss" local, as microseconds since the epoch; -1 when it is none.
std::int64_t parseMoment(const std::string& text);
/// Reads such a text from a line's field. Throws LineError when it is no moment, or out of range.
std::int64_t readMoment(std::string_view field, const std::string& text);

/// The local midnight of a date "yyyyMMdd" in seconds since the epoch.
int dayNumber(std::string_view date);

/// The local date of a day number, "yyyyMMdd". Records without a valid trade date have the day -1,
/// which gives the date of the second before the epoch.
std::string dateText(int day);

/// The local date "yyyyMMdd" and the local time "hhmmss" of a moment.
std::string todayText(std::int64_t micros);
std::string timeText(std::int64_t micros);
/// "hh:mm:ss.zzz", local.
std::string momentText(std::int64_t micros);

}  // namespace replay
