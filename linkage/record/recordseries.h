#pragma once

#include "linkage/record/recordingoptions.h"

#include <QDate>
#include <QDateTime>
#include <QString>

#include <cstdint>
#include <vector>

/// Recordings of a series: files of one folder, with one name but for a date, with or without a
/// time, and for a number at its end. "day-20260105-093000.rec" and "day-20260106-2.rec" are of one
/// series, and so are "day.rec" and "day-2.rec".
namespace TC {

/// A file's name, without its folder.
struct SeriesName {
    QString series;  ///< the same for all names of a series
    int number = 1;  ///< at the end of the name
};
SeriesName recordNameOf(const QString& name);

/// The path with the next number that no file has: "day-2.rec" behind "day.rec".
QString nextRecordPath(const QString& path);

/// A recording that is there.
struct SeriesFile {
    QString path;
    QDateTime begun;  ///< as its first line says
    int number = 1;
    std::uint64_t bytes = 0;
    bool stays = false;  ///< it is being written: it counts, and is not removed
};

/// Those that go, the oldest first.
std::vector<SeriesFile> outdated(std::vector<SeriesFile> files, const RecordingOptions& options,
                                 const QDate& today);

/// Removes the recordings of the series of `newest` that go; `newest` itself stays. What is no
/// recording stays, whatever its name. A file that cannot be removed is a line in the log.
///
/// Threads: any, one at a time for a folder.
void removeOutdated(const QString& newest, const RecordingOptions& options, const QDate& today);

}  // namespace TC
