#include "linkage/ledger/daykey.h"

#include "platform/utils/clock.h"
#include "platform/utils/text.h"

#include <QDateTime>

namespace TC {

namespace {

std::string nowAs(const char* format) {
    const auto millis = utils::currentClock().nowMicros() / 1000;
    return QDateTime::fromMSecsSinceEpoch(millis).toString(format).toStdString();
}

}  // namespace

int dayKey(const std::string& date) {
    const QDateTime midnight = QDateTime::fromString(Pim::sToQs(date), "yyyyMMdd");
    if (!midnight.isValid()) return -1;
    return static_cast<int>(static_cast<unsigned>(midnight.toSecsSinceEpoch()));
}

std::string dayText(int day) {
    return QDateTime::fromSecsSinceEpoch(static_cast<unsigned>(day))
        .toString("yyyyMMdd")
        .toStdString();
}

std::string todayText() { return nowAs("yyyyMMdd"); }

std::string nowText() { return nowAs("yyyyMMddhhmmss"); }

}  // namespace TC
