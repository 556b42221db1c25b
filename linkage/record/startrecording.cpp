#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/ledger/daykey.h"
#include "linkage/record/recording.h"
#include "linkage/record/recordlines.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTimeZone>

#include <exception>

namespace TC {

namespace {

constexpr char START_RECORDING[] = "CLinkageManager::startRecording";
constexpr std::int64_t FLUSH_MICROS = 1'000'000;

CStepHolds g_stepHolds;

void writeOptions(CJsonWriter& out, const LinkageOptions& options) {
    out.key("options");
    out.beginObject();
    out.member("guard", options.guard);
    out.member("rounds", options.rounds);
    out.member("roundSeconds", options.roundSeconds);
    out.member("keepBalanceTimes", options.keepBalanceTimes);
    out.member("filedTotals", options.filedTotals);
    out.member("keepDays", options.keepDays);
    out.endObject();
}

// Bytes, because the files may be of the system's code page.
void writeFileLine(TextBuffer& text, const QString& name, const QByteArray& bytes) {
    CJsonWriter out(text);
    out.beginObject();
    out.member("do", "writeFile");
    out.member("name", name.toStdString());
    out.member("base64", bytes.toBase64().toStdString());
    out.endObject();
    text.push_back('\n');
}

/// What the manager has read so far.
std::string pictureOf(bool clientType3, const LinkageOptions& options) {
    TextBuffer text;
    CJsonWriter out(text);
    out.beginObject();
    out.member("do", "config");
    out.member("recorded", 1);
    out.member("now", momentText(nowMicros()).substr(0, sizeof("yyyy-MM-dd hh:mm:ss") - 1));
    out.member("timeZone", QTimeZone::systemTimeZoneId().toStdString());
    out.member("clientType", clientType3 ? int{CLIENT_TYPE_3} : int{CLIENT_TYPE_STANDARD});
    out.member("fileEncoding", utils::CSingletonT<CAppConfig>::instance()->fileEncoding());
    writeOptions(out, options);
    out.endObject();
    text.push_back('\n');
    const QDir directory(getDataDir() + QStringLiteral("/Balance"));
    QDirIterator files(directory.path(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly)) continue;
        writeFileLine(text, directory.relativeFilePath(file.fileName()), file.readAll());
    }
    return std::string(viewOf(text));
}

}  // namespace

bool CLinkageManager::startRecording(const QString& file, const RecordingOptions& options) {
    const CLock lock(m_mutex);
    if (m_bInited || m_pRecording) {
        LINKAGE_LOG_WARNING(
            START_RECORDING, "{0} is not recorded: {1}", file.toStdString(),
            m_bInited ? "the manager was initialised before" : "a recording was begun before");
        return false;
    }
    try {
        finishSaves();
        m_pRecording = makeRoom<CRecording>(*this, QFile::encodeName(file).toStdString(), options,
                                            pictureOf(m_bClientType3, m_options),
                                            [this] { return m_mutex.isMine(); });
    } catch (const std::exception& fault) {
        LINKAGE_LOG_WARNING(START_RECORDING, "{0} is not recorded: {1}", file.toStdString(),
                            fault.what());
        return false;
    }
    setTape(m_pRecording.get());
    return true;
}

void CLinkageManager::stopRecording() {
    m_pTape.store(nullptr, std::memory_order_release);
    CRecording* recording = nullptr;
    {
        const CLock lock(m_mutex);
        recording = m_pRecording.get();
    }
    // The file is finished without the lock.
    if (recording) recording->stop();
}

std::optional<RecordingState> CLinkageManager::getRecording() const {
    const CLock lock(m_mutex);
    if (!m_pRecording) return std::nullopt;
    return m_pRecording->state();
}

void CLinkageManager::setTape(ITape* tape) {
    m_mutex.setWatch(&g_stepHolds);
    m_pTape.store(tape, std::memory_order_release);
}

// What was recorded is on disk a second later, also while nothing happens.
void CLinkageManager::flushRecordingLater() {
    armTimer(*m_pEngine->m_recordTimer, *m_pEngine->m_strand, FLUSH_MICROS, guarded([this] {
        if (!tape()) return;
        m_pRecording->flushSoon();
        flushRecordingLater();
    }));
}

}  // namespace TC
