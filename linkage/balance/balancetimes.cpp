#include "linkage/balance/balancetimes.h"

#include <algorithm>
#include <sstream>

namespace TC {

namespace {

constexpr std::size_t TIME_SIZE = 6;

std::string escaped(const std::string& key) {
    std::string text;
    for (const char c : key) {
        if (c == '\\') {
            text += "\\\\";
        } else if (c == '\n') {
            text += "\\n";
        } else if (c == '\r') {
            text += "\\r";
        } else {
            text += c;
        }
    }
    return text;
}

std::string unescaped(const std::string& text) {
    std::string key;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            key += text[i];
            continue;
        }
        const char c = text[++i];
        key += c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
    return key;
}

}  // namespace

bool isTimeOfDay(const std::string& text) {
    const bool digits =
        text.size() == TIME_SIZE &&
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits && text.substr(0, 2) < "24" && text[2] < '6' && text[4] < '6';
}

std::string balanceTimesText(const std::map<std::string, std::string>& times) {
    std::string text;
    for (const auto& [key, time] : times) {
        // The history files may hold any text as a time.
        if (isTimeOfDay(time)) text += time + " " + escaped(key) + "\n";
    }
    return text;
}

std::map<std::string, std::string> readBalanceTimes(const std::string& text) {
    std::map<std::string, std::string> times;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        // A last line that broke off has no key, or half of one: only lines with a line end
        // count.
        if (lines.eof() || line.size() <= TIME_SIZE || line[TIME_SIZE] != ' ') continue;
        const std::string time = line.substr(0, TIME_SIZE);
        if (isTimeOfDay(time)) times[unescaped(line.substr(TIME_SIZE + 1))] = time;
    }
    return times;
}

}  // namespace TC
