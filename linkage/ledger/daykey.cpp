#include "linkage/ledger/daykey.h"

#include "linkage/tape/moment.h"
#include "platform/utils/text.h"

#include <QDateTime>

#include <algorithm>
#include <cstdlib>

namespace TC {

namespace {

std::string nowAs(const char* format) {
    const auto millis = nowMicros() / 1000;
    return QDateTime::fromMSecsSinceEpoch(millis).toString(format).toStdString();
}

// Qt reads a text by its format slowly, and every date that a client gives is of this form.
bool isEightDigits(const std::string& date) {
    return date.size() == 8 && std::all_of(date.begin(), date.end(),
                                           [](char each) { return each >= '0' && each <= '9'; });
}

}  // namespace

int dayKey(const std::string& date) {
    QDateTime midnight;
    if (isEightDigits(date)) {
        const int number = std::atoi(date.c_str());
        midnight = QDateTime({number / 10000, number / 100 % 100, number % 100}, QTime(0, 0));
    } else {
        midnight = QDateTime::fromString(Pim::sToQs(date), "yyyyMMdd");
    }
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
