#include "replay/observers.h"

#include "linkage/record/recordlines.h"
#include "platform/log.h"

#include <optional>

namespace replay {

void CRequestObserver::onCancelOrder(const vexservice::COrderDetail& order) {
    CJsonWriter& out = m_output.beginLine();
    out.written(m_output.at());
    out.member("key", order.recordKey());
    out.member("out", "cancelOrder");
    m_output.endLine();
}

void CRequestObserver::onOperateTask(std::uint64_t taskKey, bool server,
                                     const vexservice::CTaskOpRecord& record) {
    CJsonWriter& out = m_output.beginLine();
    out.written(m_output.at());
    out.member("key", taskKey);
    out.member("operation", static_cast<int>(record.m_eOperation));
    out.member("operator", record.m_strOperator);
    out.member("out", "operateTask");
    out.member("remark", record.m_strRemark);
    out.member("server", server);
    m_output.endLine();
}

void CRequestObserver::onCommand(const vexservice::COrderComandParam& command, int number) {
    CJsonWriter& out = m_output.beginLine();
    out.written(m_output.at());
    TC::writeCommand(out, command, m_bNumbers ? std::optional(number) : std::nullopt);
    m_output.endLine();
}

CSignalObserver::CSignalObserver(TC::CLinkageManager& manager, COutput& output) : m_output(output) {
    plain(manager.sigStocksChanged, "stocksChanged");
    plain(manager.sigStrategysChanged, "strategysChanged");
    plain(manager.sigStatDataChanged, "statDataChanged");
    plain(manager.sigHistoryCleared, "historyCleared");
    m_connections.emplace_back(manager.sigProfitChanged.connect(
        [this, signal = nameOf("profitChanged")](const std::string& account,
                                                 const std::string& strategy, double profit) {
            line(signal, [&](CJsonWriter& args) {
                args.value(account);
                args.value(strategy);
                args.value(profit);
            });
        }));
    m_connections.emplace_back(manager.m_sigNewTradingDay.connect(
        [this, signal = nameOf("newTradingDay")](const std::string& date) {
            line(signal, [&](CJsonWriter& args) { args.value(date); });
        }));
    m_connections.emplace_back(
        manager.sigBalanceChanged.connect([this, signal = nameOf("balanceChanged")](int number) {
            line(signal, [&](CJsonWriter& args) { args.value(number); });
        }));
    connectQtSignals(manager);
}

void CSignalObserver::connectQtSignals(TC::CLinkageManager& manager) {
    const auto dayDone = [this](std::string_view name) {
        return [this, signal = nameOf(name)](const QDateTime& day, const std::string& account) {
            line(signal, [&](CJsonWriter& args) {
                args.value(day.toString(QStringLiteral("yyyyMMdd")).toStdString());
                args.value(account);
            });
        };
    };
    using Sender = TC::CLinkageManager;
    connect(&manager, &Sender::sigCancelTask, this,
            [this, signal = nameOf("cancelTask")](int number, const QString& text) {
                line(signal, [&](CJsonWriter& args) {
                    args.value(number);
                    args.value(text.toStdString());
                });
            });
    connect(&manager, &Sender::sigHistoryDealsDone, this, dayDone("historyDealsDone"));
    connect(&manager, &Sender::sigHistoryOrdersDone, this, dayDone("historyOrdersDone"));
}

std::string CSignalObserver::nameOf(std::string_view signal) {
    return "\"name\":\"" + std::string(signal) + "\",\"out\":\"signal\"";
}

template <class Args>
void CSignalObserver::line(const std::string& name, const Args& args) {
    CJsonWriter& out = m_output.beginLine();
    out.key("args");
    out.beginArray();
    args(out);
    out.endArray();
    out.written(m_output.at());
    out.written(name);
    m_output.endLine();
}

void CSignalObserver::plain(boost::signals2::signal<void()>& signal, std::string_view name) {
    m_connections.emplace_back(
        signal.connect([this, name = nameOf(name)] { line(name, [](CJsonWriter&) {}); }));
}

CLogObserver::CLogObserver(COutput* output) : m_output(output) {
    g_VexStdLogger.setLevel(m_output ? ELogLevel::Info : ELogLevel::Off);
    g_VexStdLogger.setReceiver([this](const CVexLogger::Line& logged) {
        if (m_bMuted) return;
        if (std::this_thread::get_id() == m_owner) {
            line(logged.message);
            return;
        }
        const std::lock_guard lock(m_mutex);
        m_foreign.emplace_back(logged.message);
    });
}

CLogObserver::~CLogObserver() {
    g_VexStdLogger.setReceiver({});
    g_VexStdLogger.setLevel(ELogLevel::Info);
}

void CLogObserver::collect() {
    std::vector<std::string> lines;
    {
        const std::lock_guard lock(m_mutex);
        lines.swap(m_foreign);
    }
    for (const std::string& message : lines) line(message);
}

void CLogObserver::line(std::string_view message) {
    CJsonWriter& out = m_output->beginLine();
    out.written(m_output->at());
    out.member("out", "log");
    out.member("text", message);
    m_output->endLine();
}

}  // namespace replay
