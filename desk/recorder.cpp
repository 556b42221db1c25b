#include "desk/recorder.h"

#include "desk/daywitness.h"
#include "desk/pricetape.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/record/recordingoptions.h"
#include "platform/utils/clock.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace desk {

namespace {

/// Sessions that begin in the same second.
constexpr int MOST_OF_A_SECOND = 100;

}  // namespace

void CRecorder::sessionBegins(TC::CLinkageManager& manager) {
    if (!m_terms.everySession) return;
    if (!begin(manager)) tell("the file cannot be made: " + m_terms.directory.toStdString());
}

bool CRecorder::recordNow(TC::CLinkageManager& manager) {
    const auto recording = manager.getRecording();
    return (recording && recording->running) || begin(manager);  // asked for twice
}

bool CRecorder::begin(TC::CLinkageManager& manager) {
    const auto file = freeFile();
    if (!file) return false;
    TC::RecordingOptions options;
    options.mostBytes = std::min(options.mostBytes, m_terms.mostBytes);
    options.goesOn = true;
    options.keepDays = m_terms.mostDays;
    options.keepBytes = m_terms.mostBytes;
    return manager.startRecording(*file, options);
}

/// A name that no file has; empty when there is none.
std::optional<QString> CRecorder::freeFile() const {
    const QDir directory(m_terms.directory);
    if (m_terms.directory.isEmpty() || !directory.mkpath(QStringLiteral("."))) return std::nullopt;
    const QString begun = QDateTime::fromMSecsSinceEpoch(utils::currentClock().nowMicros() / 1000)
                              .toString(QStringLiteral("yyyyMMdd-HHmmss"));
    for (int number = 1; number < MOST_OF_A_SECOND; ++number) {
        const QString apart = number == 1 ? QString() : QStringLiteral("-%1").arg(number);
        const QString path =
            directory.filePath(QStringLiteral("linkage-desk-%1%2.rec").arg(begun, apart));
        if (!QFileInfo::exists(path)) return path;
    }
    return std::nullopt;
}

void CRecorder::tell(const std::string& fault) {
    m_witness.notes.add({.time = clockText(), .kind = EEvent::RecorderFault, .detail = fault});
}

}  // namespace desk
