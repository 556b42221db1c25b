#include "linkage/record/recordseries.h"

#include "platform/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <zlib.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <tuple>
#include <utility>

namespace TC {

namespace {

constexpr char REMOVE_OUTDATED[] = "TC::removeOutdated";

/// A file that is open for its lock alone.
class CLockedFile {
public:
    explicit CLockedFile(const QString& path)
        : m_file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW)) {}
    ~CLockedFile() {
        if (m_file >= 0) ::close(m_file);
    }
    CLockedFile(const CLockedFile&) = delete;
    CLockedFile& operator=(const CLockedFile&) = delete;

    /// False while somebody writes the file.
    bool tryLock() const { return m_file >= 0 && ::flock(m_file, LOCK_EX | LOCK_NB) == 0; }

private:
    const int m_file;
};

/// Where the end of a name begins: ".rec", ".jsonl.gz".
int endOf(const QString& name) {
    int dot = name.lastIndexOf('.');
    if (dot > 0 && name.mid(dot) == ".gz") {
        const int before = name.lastIndexOf('.', dot - 1);
        if (before > 0) dot = before;
    }
    return dot > 0 ? dot : name.size();
}

struct Parts {
    QString name;
    int number = 1;
    QString end;
};

Parts partsOf(const QString& name) {
    static const QRegularExpression NUMBERED(QStringLiteral("^(.*[^-])-([1-9]\\d{0,5})$"));
    const int end = endOf(name);
    Parts parts{name.left(end), 1, name.mid(end)};
    const auto found = NUMBERED.match(parts.name);
    if (!found.hasMatch() || found.captured(2) == "1") return parts;
    // The end of a date or a time is no number of the file.
    static const QRegularExpression MOMENT_ENDS(
        QStringLiteral("(^|\\D)(\\d{4}-\\d\\d-\\d\\d|\\d{8}-\\d{6}|\\d\\d-\\d\\d-\\d\\d)$"));
    if (MOMENT_ENDS.match(parts.name).hasMatch()) return parts;
    parts.name = found.captured(1);
    parts.number = found.captured(2).toInt();
    return parts;
}

/// When a recording began; invalid for a file that is none.
QDateTime beginningOf(const QString& path) {
    constexpr std::string_view FIRST = R"({"do":"config","recorded":)";
    constexpr std::string_view NOW = R"("now":")";
    constexpr char FORMAT[] = "yyyy-MM-dd hh:mm:ss";
    std::array<char, 512> head{};
    const gzFile file = gzopen(QFile::encodeName(path).constData(), "rb");
    if (!file) return {};
    const int size = gzread(file, head.data(), static_cast<unsigned>(head.size()));
    gzclose(file);
    std::string_view line(head.data(), static_cast<std::size_t>(std::max(size, 0)));
    line = line.substr(0, line.find('\n'));
    const std::size_t at = line.find(NOW);
    if (!line.starts_with(FIRST) || at == std::string_view::npos) return {};
    const std::string_view now = line.substr(at + NOW.size(), sizeof(FORMAT) - 1);
    return QDateTime::fromString(QString::fromLatin1(now.data(), static_cast<int>(now.size())),
                                 FORMAT);
}

std::vector<SeriesFile> seriesOf(const QFileInfo& newest) {
    const QString series = recordNameOf(newest.fileName()).series;
    std::vector<SeriesFile> files;
    for (const QFileInfo& each : newest.dir().entryInfoList(QDir::Files | QDir::NoSymLinks)) {
        const SeriesName name = recordNameOf(each.fileName());
        if (name.series != series) continue;
        QDateTime begun = beginningOf(each.filePath());
        if (!begun.isValid()) continue;
        files.push_back({each.filePath(), std::move(begun), name.number,
                         static_cast<std::uint64_t>(each.size()),
                         each == newest || !CLockedFile(each.filePath()).tryLock()});
    }
    return files;
}

void removeRecording(const QString& path) {
    if (::unlink(QFile::encodeName(path).constData()) == 0) return;
    LINKAGE_LOG_WARNING(REMOVE_OUTDATED, "the old recording {0} stays: {1}", path.toStdString(),
                        std::strerror(errno));
}

}  // namespace

SeriesName recordNameOf(const QString& name) {
    static const QRegularExpression MOMENT(QStringLiteral(
        "(?<!\\d)((?:19|20)\\d\\d)(-?)(\\d\\d)\\2(\\d\\d)([-_T]\\d\\d([-:]?)\\d\\d\\6\\d\\d)?"
        "(?!\\d)"));
    const Parts parts = partsOf(name);
    QString series = parts.name;
    auto found = MOMENT.globalMatch(series);
    while (found.hasNext()) {
        const auto moment = found.next();
        const auto part = [&](int at) { return moment.captured(at).toInt(); };
        if (!QDate::isValid(part(1), part(3), part(4))) continue;
        // "/" stands in no file's name.
        series.replace(moment.capturedStart(), moment.capturedLength(), '/');
        break;
    }
    return {series + '/' + parts.end, parts.number};
}

QString nextRecordPath(const QString& path) {
    const QFileInfo file(path);
    const Parts parts = partsOf(file.fileName());
    for (int number = parts.number + 1;; ++number) {
        QString next = file.dir().filePath(
            QStringLiteral("%1-%2%3").arg(parts.name).arg(number).arg(parts.end));
        if (!QFileInfo::exists(next)) return next;
    }
}

std::vector<SeriesFile> outdated(std::vector<SeriesFile> files, const RecordingOptions& options,
                                 const QDate& today) {
    std::sort(files.begin(), files.end(), [](const SeriesFile& a, const SeriesFile& b) {
        return std::tie(a.begun, a.number) < std::tie(b.begun, b.number);
    });
    std::uint64_t bytes = 0;
    for (const SeriesFile& file : files) bytes += file.bytes;
    std::size_t count = files.size();
    std::vector<SeriesFile> gone;
    for (const SeriesFile& file : files) {
        if (file.stays) continue;
        const bool old = options.keepDays > 0 &&
                         file.begun.date().daysTo(today) > std::int64_t{options.keepDays};
        const bool many = options.keepFiles > 0 && count > options.keepFiles;
        const bool large = options.keepBytes > 0 && bytes > options.keepBytes;
        if (!old && !many && !large) break;
        --count;
        bytes -= file.bytes;
        gone.push_back(file);
    }
    return gone;
}

void removeOutdated(const QString& newest, const RecordingOptions& options, const QDate& today) {
    if (options.keepFiles == 0 && options.keepDays == 0 && options.keepBytes == 0) return;
    for (const SeriesFile& each : outdated(seriesOf(QFileInfo(newest)), options, today)) {
        removeRecording(each.path);
    }
}

}  // namespace TC
