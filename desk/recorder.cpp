#include "desk/recorder.h"

#include "desk/daywitness.h"
#include "desk/pricetape.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/record/recordingoptions.h"
#include "platform/utils/clock.h"
#include "replay/recordingplayer.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>

namespace desk {

namespace {

/// Sessions that begin in the same second.
constexpr int MOST_OF_A_SECOND = 100;

/// A file that is open for its lock alone.
class CFileLock {
public:
    explicit CFileLock(const QString& path)
        : m_file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW)) {}
    ~CFileLock() {
        if (m_file >= 0) ::close(m_file);
    }
    CFileLock(const CFileLock&) = delete;
    CFileLock& operator=(const CFileLock&) = delete;

    bool tryLock(int kind) const { return m_file >= 0 && ::flock(m_file, kind | LOCK_NB) == 0; }
    int release() { return std::exchange(m_file, -1); }

private:
    int m_file;
};

/// Whether a file may be removed: one of ours, that nobody records into.
bool mayGo(const QFileInfo& file) {
    return replay::isRecording(file.filePath().toStdString()) &&
           CFileLock(file.filePath()).tryLock(LOCK_EX);
}

}  // namespace

bool CRecorder::isNameOfOurs(const QString& name) {
    static const QRegularExpression NAME("^linkage-desk-\\d{8}-\\d{6}(-\\d{1,2})?\\.rec$");
    return NAME.match(name).hasMatch();
}

void CRecorder::removeOldest(const QString& directory, std::uint64_t mostBytes) {
    std::uint64_t sum = 0;
    QFileInfoList ours;
    for (const QFileInfo& file :
         QDir(directory).entryInfoList(QDir::Files | QDir::NoSymLinks, QDir::Name)) {
        if (!isNameOfOurs(file.fileName())) continue;
        sum += static_cast<std::uint64_t>(file.size());
        ours << file;
    }
    for (const QFileInfo& file : ours) {  // a name begins with its time
        if (sum <= mostBytes) return;
        if (mayGo(file) && QFile::remove(file.filePath()))
            sum -= static_cast<std::uint64_t>(file.size());
    }
}

void CRecorder::sessionBegins(TC::CLinkageManager& manager) {
    letGo();
    if (!m_terms.everySession) return;
    removeOldest(m_terms.directory, m_terms.mostBytes);
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
    if (!manager.startRecording(*file, options)) return false;
    hold(*file);
    return true;
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

void CRecorder::hold(const QString& file) {
    letGo();
    CFileLock lock(file);
    if (lock.tryLock(LOCK_SH)) m_nHeld = lock.release();
}

void CRecorder::letGo() {
    if (m_nHeld >= 0) ::close(m_nHeld);
    m_nHeld = -1;
}

void CRecorder::tell(const std::string& fault) {
    m_witness.notes.add({.time = clockText(), .kind = EEvent::RecorderFault, .detail = fault});
}

}  // namespace desk
