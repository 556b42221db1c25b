#include "replay/eventplayer.h"

#include "platform/services/clientconfig.h"
#include "platform/utils/text.h"
#include "replay/operations.h"
#include "replay/times.h"

#include <QDir>
#include <QFile>

#include <cmath>

namespace replay {

namespace {

using ManagerSingleton = utils::CSingletonT<TC::CLinkageManager>;

constexpr double MICROS = 1e6;

std::string inQuotes(std::string_view text) { return "\"" + std::string(text) + "\""; }

}  // namespace

CEventPlayer::CEventPlayer(const paper::ClientConfig& config, const TC::LinkageOptions& options,
                           paper::CPaperClient& client, paper::CVirtualLoop& loop, COutput& output,
                           QString balanceDir, std::string record, std::size_t recordFrom,
                           std::function<void(TC::CLinkageManager&)> managerMade)
    : m_config(config),
      m_options(options),
      m_client(client),
      m_loop(loop),
      m_output(output),
      m_balanceDir(std::move(balanceDir)),
      m_record(std::move(record)),
      m_nRecordFrom(recordFrom),
      m_managerMade(std::move(managerMade)) {
    TC::disk::begin();
}

CEventPlayer::~CEventPlayer() {
    m_pSignals.reset();
    ManagerSingleton::release();
    TC::disk::end();
}

void CEventPlayer::play(const Event& event) {
    const bool isDue = !m_record.empty() && !m_bRecorded && m_nPlayed >= m_nRecordFrom;
    if (isDue && m_pSignals && ManagerSingleton::instance()->isInited()) {
        startRecording(*ManagerSingleton::instance());
    }
    ++m_nPlayed;
    std::visit([this](const auto& kind) { on(kind); }, event);
}

std::int64_t CEventPlayer::target(const AdvanceEvent& event) const {
    const std::int64_t now = m_loop.nowMicros();
    if (!event.to) {
        const std::int64_t target = now + std::llround(event.seconds * MICROS);
        if (target > LAST_MOMENT) {
            throw LineError("field \"seconds\": number out of range: time ends in 2106");
        }
        return target;
    }
    const std::int64_t target = readMoment("to", *event.to);
    if (target < now) throw LineError("field \"to\": " + inQuotes(*event.to) + " has passed");
    return target;
}

// ------------------------------------------------------------------ preconditions

boost::shared_ptr<vexservice::CAccountInfo> CEventPlayer::needAccount(
    const std::string& account) const {
    const vexservice::CAccountData* const data = m_client.account(account);
    if (!data) throw LineError("account " + inQuotes(account) + " has no \"account\" line");
    return data->getAccountInfo();
}

void CEventPlayer::needPaperExchange(std::string_view event) const {
    if (!m_client.executes()) throw LineError(inQuotes(event) + " needs the paper exchange");
}

TC::CLinkageManager& CEventPlayer::needManager(std::string_view event) const {
    if (!ManagerSingleton::exists()) throw LineError(inQuotes(event) + " without a manager");
    return *ManagerSingleton::instance();
}

QString CEventPlayer::pathOf(const std::string& name) const {
    const bool plain = !name.empty() && name != "." && name != ".." &&
                       name.find_first_of(std::string_view("/\\\0", 3)) == std::string::npos;
    if (!plain) throw LineError("field \"name\": " + inQuotes(name) + " is no plain file name");
    return m_balanceDir + QLatin1Char('/') + Pim::sToQs(name);
}

// -------------------------------------------------------------------- client's data

void CEventPlayer::on(const ConfigEvent&) { throw LineError("a second \"config\""); }

void CEventPlayer::on(const InstrumentEvent& event) { m_client.setInstrument(event.instrument); }

void CEventPlayer::on(const AccountEvent& event) { m_client.setAccount(event.account); }

void CEventPlayer::on(const TradeSettingEvent& event) {
    m_client.setTradeSetting(event.block, event.priceType, event.price);
}

void CEventPlayer::on(const BarsEvent& event) {
    m_client.setBars(event.stockKey, event.date, event.bars);
}

void CEventPlayer::on(const ServerHistoryEvent& event) {
    const auto info = needAccount(event.account);
    for (const auto& order : event.day.orders) order->m_pAccountInfo = info;
    for (std::size_t i = 0; i < event.day.deals.size(); ++i) {
        vexservice::CDealDetail& deal = *event.day.deals[i];
        deal.m_pAccountInfo = info;
        if (!event.timed[i]) deal.m_strTradeTime = timeText(m_loop.nowMicros());
    }
    m_client.setServerHistory(event.account, event.date, event.day);
}

// -------------------------------------------------------------------------- reports

void CEventPlayer::on(const OrderEvent& event) {
    event.order->m_pAccountInfo = needAccount(event.account);
    if (!event.dated) event.order->m_strTradeDate = m_client.tradeDate();
    m_client.report(event.account, event.order, event.push);
}

void CEventPlayer::on(const DealEvent& event) {
    event.deal->m_pAccountInfo = needAccount(event.account);
    if (!event.dated) event.deal->m_strTradeDate = m_client.tradeDate();
    if (!event.timed) event.deal->m_strTradeTime = timeText(m_loop.nowMicros());
    m_client.report(event.account, event.deal, event.push);
}

void CEventPlayer::on(const TaskEvent& event) {
    for (std::size_t i = 0; i < event.accounts.size(); ++i) {
        event.task->m_items[i]->m_pAccountInfo = needAccount(event.accounts[i]);
    }
    if (vexservice::CCommandRecord* command = event.task->m_pCommand.get()) {
        const bool userless = m_config.clientType == TC::CLIENT_TYPE_3;
        if (!event.named && !userless) command->m_strUser = m_config.userName;
        if (!event.dated) command->m_strTradeDate = m_client.tradeDate();
    }
    m_client.report(event.task, event.push);
}

void CEventPlayer::on(const PositionEvent& event) {
    event.position->m_pAccountInfo = needAccount(event.account);
    m_client.report(event.account, event.position, event.push);
}

void CEventPlayer::on(const PriceEvent& event) {
    m_client.setPrice(event.stockKey, event.price, event.push);
}

// -------------------------------------------------------------------- announcements

void CEventPlayer::on(const AdvanceEvent& event) { m_loop.advanceTo(target(event)); }

void CEventPlayer::on(const NewTradingDateEvent& event) {
    m_client.newTradingDate(event.date, event.signalDate);
}

void CEventPlayer::on(const LoginEvent& event) { m_client.login(event.ok, Pim::sToQs(event.text)); }

void CEventPlayer::on(const AccountReadyEvent& event) { m_client.accountReady(event.account); }

void CEventPlayer::on(const UserDataChangedEvent&) { m_client.userDataChanged(); }

// ------------------------------------------------------------------- paper exchange

void CEventPlayer::on(const SendEvent& event) {
    needPaperExchange("send");
    needAccount(event.order.account);
    m_client.send(event.order);
}

void CEventPlayer::on(const StartTaskEvent& event) {
    needPaperExchange("startTask");
    needAccount(event.task.account);
    m_client.startTask(event.task);
}

void CEventPlayer::on(const RejectEvent& event) {
    needPaperExchange("reject");
    needAccount(event.account);
    m_client.rejectOrders(event.account, event.times);
}

void CEventPlayer::on(const SilentEvent& event) {
    needPaperExchange("silent");
    m_client.beSilent(event.seconds);
}

// -------------------------------------------------------------------------- faults

void CEventPlayer::on(const CommandResultEvent& event) {
    if (m_client.repeatCommandResult(event.number, event.error)) return;
    throw LineError("field \"number\": there is no command " + std::to_string(event.number));
}

void CEventPlayer::on(const FaultEvent& event) {
    m_client.setFault(event.service, event.kind, event.times);
}

void CEventPlayer::on(const DiskEvent& event) { TC::disk::fail(event.fault); }

// The disk crashes before the manager is released, so nothing that the manager still does is left
// on it.
void CEventPlayer::on(const CrashEvent&) {
    TC::disk::crash();
    m_pSignals.reset();
    ManagerSingleton::release();
    TC::disk::restart();
}

// ------------------------------------------------------------------------- manager

TC::CLinkageManager& CEventPlayer::takeManager() {
    TC::CLinkageManager& manager = *ManagerSingleton::instance();
    if (!m_pSignals) {
        m_pSignals = std::make_unique<CSignalObserver>(manager, m_output);
        manager.setOptions(m_options);
        m_bRecorded = false;
        if (!m_record.empty() && m_nRecordFrom == 0) startRecording(manager);
        if (m_managerMade) m_managerMade(manager);
    }
    return manager;
}

void CEventPlayer::startRecording(TC::CLinkageManager& manager) {
    m_bRecorded = true;
    const std::string file = numberedName(m_record, ++m_nRecorded);
    const QString path = QFile::decodeName(file.c_str());
    const std::string why = QFile::exists(path) ? "it exists" : "it cannot be made";
    if (!manager.startRecording(path)) {
        throw LineError(inQuotes(file) + " cannot be written: " + why);
    }
}

void CEventPlayer::on(const CreateEvent&) { takeManager(); }

void CEventPlayer::on(const InitEvent&) { takeManager().init(); }

void CEventPlayer::on(const ReleaseEvent&) {
    ManagerSingleton::release();
    m_pSignals.reset();
}

void CEventPlayer::on(const CallEvent& event) {
    const Operation& operation = findOperation(event);
    TC::CLinkageManager& manager = needManager("call");
    simdjson::dom::array json;
    if (event.args) json = event.args->get_array().value();
    const CList args(json, Place{nullptr, "args", -1});
    m_result.clear();
    CJsonWriter result(m_result);
    Call call{manager, args, result};
    operation.run(call);

    CJsonWriter& out = m_output.beginLine();
    out.written(m_output.at());
    out.member("op", event.op);
    out.member("out", "result");
    out.key("value");
    out.written(viewOf(m_result));
    m_output.endLine();
}

void CEventPlayer::on(const DumpEvent&) {
    const TC::ManagerState state = needManager("dump").state();
    CJsonWriter& out = m_output.beginLine();
    out.written(m_output.at());
    out.member("out", "dump");
    out.key("state");
    writeState(out, state);
    m_output.endLine();
}

// --------------------------------------------------------------------------- files

void CEventPlayer::on(const FileEvent& event) {
    QFile file(pathOf(event.name));
    CJsonWriter& out = m_output.beginLine();
    out.written(m_output.at());
    out.member("name", event.name);
    out.member("out", "file");
    out.key("text");
    if (file.open(QIODevice::ReadOnly)) {
        out.value(file.readAll().toStdString());
    } else {
        out.null();
    }
    m_output.endLine();
}

void CEventPlayer::on(const WriteFileEvent& event) {
    QFile file(pathOf(event.name));
    QDir().mkpath(m_balanceDir);
    const bool written = file.open(QIODevice::WriteOnly) &&
                         file.write(event.text.data(), static_cast<qint64>(event.text.size())) ==
                             static_cast<qint64>(event.text.size()) &&
                         file.flush();
    if (!written) {
        throw LineError("field \"name\": " + inQuotes(event.name) +
                        " cannot be written: " + file.errorString().toStdString());
    }
}

}  // namespace replay
