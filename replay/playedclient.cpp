#include "replay/playedclient.h"

#include "replay/eventparser.h"
#include "replay/times.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <string>
#include <variant>

namespace replay {

CRecordedClock::CRecordedClock() { utils::setClock(this); }

CRecordedClock::~CRecordedClock() {
    m_pWaits->clear();
    utils::setClock(nullptr);
}

void CPlayedClient::begin(const CFields& line) {
    if (m_pPaper) throw LineError("a second \"config\"");
    if (!line.find("recorded")) throw LineError("is no recording: \"recorded\" is missing");
    const std::string zone(line.text("timeZone"));
    if (!setTimeZone(zone)) throw LineError("field \"timeZone\": \"" + zone + "\" is unknown");
    paper::ClientConfig config;
    config.clientType = line.whole<int>("clientType");
    config.fileEncoding = line.text("fileEncoding", config.fileEncoding);
    config.dataDir = m_options.dataDir;
    if (config.dataDir.isEmpty()) {
        m_pTemporary = std::make_unique<QTemporaryDir>();
        config.dataDir = m_pTemporary->path();
    }
    m_balanceDir = config.dataDir + QStringLiteral("/Balance");
    const auto event = std::get<ConfigEvent>(CEventParser().parse(line));
    m_managerOptions = event.options;
    config.tradeDate = event.tradeDate.value_or("20000101");
    m_clock.set(readMoment("now", event.now));
    m_pPaper = std::make_unique<paper::CPaperClient>(m_service, config, nullptr);
    if (!m_options.watcher) return;
    m_told.emplace(*m_pPaper, *m_options.watcher);
    m_options.watcher->clientIsThere(*m_pPaper, config.clientType);
}

void CPlayedClient::writeFile(const CFields& line) {
    if (!m_pPaper) throw LineError("\"writeFile\" before \"config\"");
    const std::string name(line.text("name"));
    // Recordings come from others: nothing is written beside the directory.
    const QString below = QDir::cleanPath(QString::fromStdString(name));
    if (name.empty() || QDir::isAbsolutePath(below) || below.startsWith("..")) {
        throw LineError("field \"name\": \"" + name + "\" is no place in the directory");
    }
    const QString path = m_balanceDir + QLatin1Char('/') + below;
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    const std::string_view text = line.text("base64");
    const QByteArray bytes =
        QByteArray::fromBase64(QByteArray::fromRawData(text.data(), static_cast<int>(text.size())));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        throw LineError("field \"name\": " + path.toStdString() + " cannot be written");
    }
}

void CPlayedClient::end() {
    m_told.reset();
    m_pPaper.reset();
}

}  // namespace replay
