#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/ledger/daykey.h"
#include "linkage/record/picturemanager.h"
#include "linkage/record/picturewriter.h"
#include "linkage/record/recording.h"
#include "linkage/record/recordlines.h"
#include "linkage/record/recordseries.h"
#include "linkage/record/statesum.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTimeZone>

#include <chrono>
#include <exception>
#include <future>
#include <utility>

namespace TC {

namespace {

constexpr char START_RECORDING[] = "CLinkageManager::startRecording";
constexpr std::int64_t FLUSH_MICROS = 1'000'000;
/// How long a recording that cannot begin yet waits before it tries again.
constexpr std::int64_t BEGIN_MICROS = 10'000;
/// How long a file must last if another one is to follow it: each begins with a picture.
constexpr std::int64_t LEAST_MICROS = 60'000'000;
/// Of a file so much may be left when the next one begins, so that hardly anything is missing.
constexpr std::uint64_t SPARE_PART = 8;

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

void writeFiles(TextBuffer& text, const QStringList& names) {
    const QDir directory(getDataDir() + QStringLiteral("/Balance"));
    QDirIterator files(directory.path(), names, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly)) continue;
        writeFileLine(text, directory.relativeFilePath(file.fileName()), file.readAll());
    }
}

/// The line that every recording begins with.
void writeConfig(TextBuffer& text, bool clientType3, const LinkageOptions& options, bool middle) {
    CJsonWriter out(text);
    out.beginObject();
    out.member("do", "config");
    out.member("recorded", 1);
    if (middle) out.member("middle", true);
    out.member("now", momentText(nowMicros()).substr(0, sizeof("yyyy-MM-dd hh:mm:ss") - 1));
    out.member("timeZone", QTimeZone::systemTimeZoneId().toStdString());
    out.member("clientType", clientType3 ? int{CLIENT_TYPE_3} : int{CLIENT_TYPE_STANDARD});
    out.member("fileEncoding", utils::CSingletonT<CAppConfig>::instance()->fileEncoding());
    writeOptions(out, options);
    out.endObject();
    text.push_back('\n');
}

std::string leftText(const std::map<std::uint64_t, LeftWork>& works) {
    TextBuffer text;
    CJsonWriter out(text);
    out.beginArray();
    for (const auto& [number, work] : works) {
        out.beginObject();
        out.member("name", work.name);
        out.member("number", number);
        out.key("with");
        out.beginArray();
        for (const std::string& argument : work.arguments) out.value(argument);
        out.endArray();
        out.endObject();
    }
    out.endArray();
    return std::string(viewOf(text));
}

/// Finishes recordings that no step is on any more, and removes old ones: on a thread of its own,
/// because files take time. While one is under way, what is left waits for the next one.
void tidyRecordings(EngineState& engine, std::vector<std::shared_ptr<CRecording>>& earlier) {
    std::future<void>& tidying = engine.m_recordTidying;
    if (tidying.valid() && tidying.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        return;
    }
    const QDate today = QDateTime::fromMSecsSinceEpoch(nowMicros() / 1000).date();
    try {
        tidying = std::async(std::launch::async, [over = std::exchange(earlier, {}),
                                                  series = engine.m_recordSeries, today] {
            for (const auto& recording : over) recording->stop();
            removeOutdated(series.file, series.options, today);
        });
    } catch (const std::exception& fault) {
        LINKAGE_LOG_WARNING(START_RECORDING, "old recordings stay: {0}", fault.what());
    }
}

}  // namespace

std::string CLinkageManager::recordingHead() const {
    const CLock lock(m_mutex);
    TextBuffer head;
    writeConfig(head, m_bClientType3, m_options, m_bInited);
    QStringList names;
    // In the middle of a day only the book may be read again.
    if (m_bInited) names << QStringLiteral("balances-*.jsonl");
    writeFiles(head, names);
    return std::string(viewOf(head));
}

bool CLinkageManager::startRecording(const QString& file, const RecordingOptions& options) {
    const CLock lock(m_mutex);
    const auto refuse = [&](const std::string& why) {
        LINKAGE_LOG_WARNING(START_RECORDING, "{0} is not recorded: {1}", file.toStdString(), why);
        return false;
    };
    if (m_pRecording && m_pRecording->state().running) return refuse("a recording goes on");
    // One that has ended by itself may still be the tape of new steps.
    m_pTape->turnOff();
    if (!m_bInited && m_pTape->isUsed()) return refuse("a step of the recording before goes on");
    try {
        makeRecording(file, options);
    } catch (const std::exception& fault) {
        return refuse(fault.what());
    }
    m_mutex.setWatch(&g_stepHolds);
    if (!m_bInited) {
        tidyRecordings(*m_pEngine, m_earlier);
        return setTape(m_pRecording.get());
    }
    beginRecording();
    return true;
}

void CLinkageManager::makeRecording(const QString& file, const RecordingOptions& options) {
    if (m_bInited) {
        m_pBook->flush();
    } else {
        finishSaves();
    }
    auto recording = std::make_shared<CRecording>(*this, QFile::encodeName(file).toStdString(),
                                                  options, recordingHead(), m_bInited,
                                                  [this] { return m_mutex.isMine(); });
    if (m_bInited) {
        CRecording* const waiting = recording.get();
        recording->waitFor(
            {[this, waiting] { tryRecording(*waiting); }, [this] { return takePicture(); }});
    }
    if (m_pRecording) m_earlier.push_back(std::move(m_pRecording));
    m_pRecording = std::move(recording);
    m_pEngine->m_recordSeries = {file, options, nowMicros(), options.goesOn};
}

// First new steps are on the tape, then those from before are over. The picture is of a moment at
// which no step is in its middle, and no work waits that a picture cannot tell: the recording keeps
// what comes behind. Until there is such a moment it waits.
void CLinkageManager::beginRecording() {
    if (!m_pTape->isOn()) m_pTape->turnOn(m_pRecording.get());
    if (m_pTape->isOn()) tryRecording(*m_pRecording);
    m_pRecording->takePicture();
    if (!m_pRecording->state().waits) {
        tidyRecordings(*m_pEngine, m_earlier);
        return flushRecordingLater();
    }
    armRecordTimer(BEGIN_MICROS, [this]() LINKAGE_REQUIRES(m_mutex) {
        if (m_pRecording->state().running) beginRecording();
    });
}

// No work is added or removed between the look at it and the beginning.
void CLinkageManager::tryRecording(CRecording& recording) const {
    m_pEngine->m_pLeft->with([&](const auto& works, std::uint64_t last) {
        if (m_pTape->hasOthers()) return;
        for (const auto& [number, work] : works) {
            if (!work.known) return;
        }
        recording.begin([&] { m_pTape->setLeft(last, works); });
    });
}

// Balance times change without the manager's lock, and to set one twice is to set it once.
RecordingPicture CLinkageManager::takePicture() {
    TextBuffer state;
    CJsonWriter out(state);
    out.writesExactly();
    CPictureWriter writer(out);
    writer.write(*this);
    return {momentText(nowMicros()), std::string(viewOf(state)), leftText(m_pTape->left()),
            m_pTape->leftBefore(), writer.records()};
}

std::optional<RecordingPicture> CLinkageManager::pictureAtRest() {
    const CLock lock(m_mutex);
    const bool isKnown = m_pEngine->m_pLeft->with([&](const auto& works, std::uint64_t last) {
        for (const auto& [number, work] : works) {
            if (!work.known) return false;
        }
        m_pTape->setLeft(last, works);
        return true;
    });
    if (!isKnown || !m_bInited) return std::nullopt;
    return takePicture();
}

std::string CLinkageManager::exactState() {
    const CLock lock(m_mutex);
    TextBuffer state;
    CJsonWriter out(state);
    out.writesExactly();
    CPictureWriter writer(out, true);
    writer.write(*this);
    return std::string(viewOf(state));
}

// A step of its own, so that whoever plays the recording sums up the same state.
void CLinkageManager::noteState(bool sums) {
    const CStep step(tape(), [] { return callOf("noteState"); });
    CStep* const taped = CStep::current();
    if (!taped) return;
    const CLock lock(m_mutex);
    CStateSum sum;
    CPictureWriter writer(sum, true);
    if (sums) writer.write(*this);
    taped->tape().acts(*taped, StateMark{sum.sum()});
}

void CLinkageManager::stopRecording() {
    bool running = false;
    {
        const CLock lock(m_mutex);
        running = m_pRecording && m_pRecording->state().running;
    }
    if (running) noteState();
    std::vector<std::shared_ptr<CRecording>> recordings;
    std::future<void> tidying;
    {
        const CLock lock(m_mutex);
        m_pTape->turnOff();
        m_pEngine->m_recordSeries.goesOn = false;
        recordings = m_earlier;
        if (m_pRecording) recordings.push_back(m_pRecording);
        tidying = std::move(m_pEngine->m_recordTidying);
    }
    // The files are finished without the lock.
    for (const auto& recording : recordings) recording->stop();
    if (tidying.valid()) tidying.wait();
}

std::optional<RecordingState> CLinkageManager::getRecording() const {
    const CLock lock(m_mutex);
    if (!m_pRecording) return std::nullopt;
    return m_pRecording->state();
}

bool CLinkageManager::setTape(ITape* tape) {
    m_mutex.setWatch(&g_stepHolds);
    return m_pTape->turnOn(tape);
}

// What was recorded is on disk a second later, also while nothing happens.
void CLinkageManager::flushRecordingLater() {
    armRecordTimer(FLUSH_MICROS, [this]() LINKAGE_REQUIRES(m_mutex) {
        if (recordingIsFull() && recordInNextFile()) return;
        if (!m_pRecording->state().running) return;
        const int seconds = m_pRecording->options().stateSeconds;
        if (seconds > 0 && ++m_pEngine->m_nRecordSeconds % seconds == 0) noteState();
        m_pRecording->flushSoon();
        flushRecordingLater();
    });
}

/// Whether another file is to follow now.
bool CLinkageManager::recordingIsFull() const {
    const RecordSeries& series = m_pEngine->m_recordSeries;
    const std::uint64_t most = series.options.mostBytes;
    if (!series.goesOn || most == 0) return false;
    const RecordingState state = m_pRecording->state();
    return state.fault == CRecording::FULL ||
           (state.running && state.bytes > most - most / SPARE_PART);
}

/// Begins the file that follows. False, once and for all, when there is none.
bool CLinkageManager::recordInNextFile() {
    RecordSeries& series = m_pEngine->m_recordSeries;
    const auto refuse = [&](const std::string& why) {
        LINKAGE_LOG_WARNING(START_RECORDING, "no recording follows {0}: {1}",
                            series.file.toStdString(), why);
        series.goesOn = false;
        return false;
    };
    if (nowMicros() - series.begun < LEAST_MICROS) return refuse("it was full within a minute");
    try {
        makeRecording(nextRecordPath(series.file), RecordingOptions(series.options));
    } catch (const std::exception& fault) {
        return refuse(fault.what());
    }
    m_pTape->turnOff();
    m_earlier.back()->flushSoon();  // the next one may have to wait
    beginRecording();
    return true;
}

// A timer that is set again fires for the first time at once; only the newest time counts, or the
// timers of two recordings would set each other for ever.
void CLinkageManager::armRecordTimer(std::int64_t micros, Work work) {
    EngineState& engine = *m_pEngine;
    const std::uint64_t time = ++engine.m_nRecordTimes;
    armTimer(*engine.m_recordTimer, *engine.m_strand, micros,
             guarded([this, time, work = std::move(work)] {
                 const CLock lock(m_mutex);
                 if (time == m_pEngine->m_nRecordTimes) work();
             }));
}

}  // namespace TC
