#pragma once

#include <map>
#include <string>

/// The table of balance times as texts.
namespace TC {

/// The whole table, with LinkageOptions::keepBalanceTimes; beside the three history files.
inline constexpr char BALANCE_TIMES_FILE[] = "balancetimes.txt";

/// Whether a text is a time of day "hhmmss", 000000 to 235959.
bool isTimeOfDay(const std::string& text);

/// The table as the text of its file: a line "hhmmss key" for each entry, in key order.
/// Backslashes and line ends in a key are escaped.
std::string balanceTimesText(const std::map<std::string, std::string>& times);

/// The table of a text. Lines of any other form are left out.
std::map<std::string, std::string> readBalanceTimes(const std::string& text);

}  // namespace TC
