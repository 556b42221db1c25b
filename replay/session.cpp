#include "replay/session.h"

#include "replay/times.h"

#include <QDir>
#include <QFile>

namespace replay {

namespace {

constexpr int MOST_TOGETHER = 256;

}  // namespace

/// Writes requests out and passes them on.
class CSession::CRequests final : public paper::IClientObserver {
public:
    CRequests(COutput& output, bool guard, paper::IClientObserver* next)
        : m_written(output, guard), m_next(next) {}

    void onCancelOrder(const vexservice::COrderDetail& order) override {
        m_written.onCancelOrder(order);
        if (m_next) m_next->onCancelOrder(order);
    }
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override {
        m_written.onOperateTask(taskKey, server, record);
        if (m_next) m_next->onOperateTask(taskKey, server, record);
    }
    void onCommand(const vexservice::COrderComandParam& command, int number) override {
        m_written.onCommand(command, number);
        if (m_next) m_next->onCommand(command, number);
    }
    void onCommandOrder(const vexservice::COrderComandParam& command, const std::string& accountKey,
                        std::uint64_t orderKey) override {
        if (m_next) m_next->onCommandOrder(command, accountKey, orderKey);
    }
    void onBalanceTime(const std::string& accountKey, const std::string& strategy) override {
        if (m_next) m_next->onBalanceTime(accountKey, strategy);
    }

private:
    CRequestObserver m_written;
    paper::IClientObserver* m_next;
};

CSession::CSession(SessionOptions options, COutput& output)
    : m_options(std::move(options)), m_output(output) {}

CSession::~CSession() {
    // What the library logs while it is taken down is no part of the scenario.
    m_pLog.reset();
    const CLogObserver silence(nullptr);
    m_pPlayer.reset();
    m_pClient.reset();
    m_pLoop.reset();
}

void CSession::start(const ConfigEvent& event) {
    if (!setTimeZone(event.timeZone)) {
        throw LineError("field \"timeZone\": \"" + event.timeZone + "\" is unknown");
    }
    const std::int64_t now = readMoment("now", event.now);

    paper::ClientConfig config = event.client;
    config.tradeDate = event.tradeDate.value_or(todayText(now));
    config.dataDir = m_options.dataDir;
    if (config.dataDir.isEmpty()) {
        m_pTemporary = std::make_unique<QTemporaryDir>();
        if (!m_pTemporary->isValid()) {
            throw std::runtime_error("no temporary directory can be made: " +
                                     m_pTemporary->errorString().toStdString());
        }
        config.dataDir = m_pTemporary->path();
    }
    m_balanceDir = config.dataDir + QStringLiteral("/Balance");

    m_output.forgetTime();
    m_pLog = std::make_unique<CLogObserver>(m_options.log ? &m_output : nullptr);
    m_pLoop = std::make_unique<paper::CVirtualLoop>(now);
    m_pLoop->setSettle([this] { return settle(); });
    m_bGuard = event.options.guard;
    m_pRequests = std::make_unique<CRequests>(m_output, event.options.guard, m_options.requests);
    m_pClient =
        std::make_unique<paper::CPaperClient>(m_pLoop->service(), config, m_pRequests.get());
    m_pPlayer = std::make_unique<CEventPlayer>(config, event.options, *m_pClient, *m_pLoop,
                                               m_output, m_balanceDir, m_options.record,
                                               m_options.recordFrom, m_options.managerMade);
}

bool CSession::settle() {
    using Singleton = utils::CSingletonT<TC::CLinkageManager>;
    if (Singleton::exists()) Singleton::instance()->finishSaves();
    m_pLog->collect();
    return false;
}

void CSession::play(const Event& event) {
    const auto* config = std::get_if<ConfigEvent>(&event);
    if (config && !m_pPlayer) {
        start(*config);
        return;
    }
    if (!m_pPlayer) {
        throw LineError("\"" + std::string(eventName(event)) + "\" before \"config\"");
    }
    if (std::holds_alternative<AdvanceEvent>(event)) {
        m_pPlayer->play(event);  // comes to rest before time passes, and after it
        m_nWaiting = 0;
        return;
    }
    const bool report = joins(event);
    if (!report) rest();
    // A process that has crashed logs nothing.
    const bool gone = std::holds_alternative<CrashEvent>(event);
    m_pLog->mute(gone);
    m_pPlayer->play(event);
    m_pLog->mute(false);
    if (++m_nWaiting >= (report ? MOST_TOGETHER : 1)) rest();
}

bool CSession::joins(const Event& event) const {
    const bool report =
        std::holds_alternative<OrderEvent>(event) || std::holds_alternative<DealEvent>(event);
    // With the guard, what a report makes it send must be answered before the next report comes.
    return report && !m_bGuard && !m_pClient->executes();
}

void CSession::rest() {
    if (m_nWaiting == 0) return;
    m_nWaiting = 0;
    m_pLoop->runToRest();
}

void CSession::advanceTo(std::int64_t micros) {
    m_pLoop->advanceTo(micros);
    m_pLoop->runToRest();
}

std::vector<std::pair<std::string, std::string>> CSession::balanceFiles() const {
    std::vector<std::pair<std::string, std::string>> files;
    const QDir dir(m_balanceDir);
    for (const QString& name : dir.entryList(QDir::Files, QDir::Name)) {
        QFile file(dir.filePath(name));
        if (file.open(QIODevice::ReadOnly)) {
            files.emplace_back(name.toStdString(), file.readAll().toStdString());
        }
    }
    return files;
}

}  // namespace replay
