#include "replay/times.h"

#include "replay/scenarioline.h"

#include <fmt/format.h>

#include <QDateTime>
#include <QString>
#include <QTimeZone>

#include <array>
#include <cstdlib>
#include <ctime>

namespace replay {

namespace {

std::string formatted(std::time_t seconds, const char* format) {
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 32> text;
    return std::string(text.data(), std::strftime(text.data(), text.size(), format, &local));
}

}  // namespace

bool setTimeZone(const std::string& name) {
    // Qt reads "UTC+08:00" as eight hours east, the C library as eight hours west.
    const bool offset = name.starts_with("UTC+") || name.starts_with("UTC-");
    if (name.empty() || offset) return false;
    if (!QTimeZone(QByteArray::fromStdString(name)).isValid()) return false;
    setenv("TZ", name.c_str(), 1);
    tzset();
    return true;
}

std::int64_t parseMoment(const std::string& text) {
    const QDateTime moment =
        QDateTime::fromString(QString::fromStdString(text), QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    return moment.isValid() ? moment.toMSecsSinceEpoch() * 1000 : -1;
}

std::int64_t readMoment(std::string_view field, const std::string& text) {
    const std::int64_t moment = parseMoment(text);
    const std::string where = "field \"" + std::string(field) + "\": ";
    if (moment < 0) throw LineError(where + "\"" + text + "\" is no date and time");
    if (moment > LAST_MOMENT) throw LineError(where + "number out of range: time ends in 2106");
    return moment;
}

int dayNumber(std::string_view date) {
    const QDateTime day = QDateTime::fromString(
        QString::fromUtf8(date.data(), static_cast<int>(date.size())), QStringLiteral("yyyyMMdd"));
    return static_cast<int>(static_cast<std::uint32_t>(day.toSecsSinceEpoch()));
}

std::string dateText(int day) {
    return formatted(day == -1 ? -1 : static_cast<std::uint32_t>(day), "%Y%m%d");
}
std::string todayText(std::int64_t micros) { return formatted(micros / 1'000'000, "%Y%m%d"); }
std::string timeText(std::int64_t micros) { return formatted(micros / 1'000'000, "%H%M%S"); }

std::string momentText(std::int64_t micros) {
    return fmt::format("{}.{:03}", formatted(micros / 1'000'000, "%H:%M:%S"),
                       micros / 1'000 % 1'000);
}

}  // namespace replay
