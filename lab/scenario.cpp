#include "lab/scenario.h"

#include "lab/times.h"
#include "paper/clientobserver.h"
#include "platform/log.h"
#include "platform/utils/keys.h"
#include "replay/disknames.h"
#include "replay/replay.h"
#include "replay/times.h"

#include <QDateTime>

#include <fmt/format.h>

#include <cmath>
#include <stdexcept>

namespace lab {

namespace {

using replay::CJsonWriter;

constexpr double MICROS = 1e6;

const char* sideOf(const Origin& of) { return of.buys ? "buy" : "sell"; }

/// Gathers the commands of a scenario that is played.
class CCommands final : public replay::IReplayWatcher, public paper::IClientObserver {
public:
    std::vector<SentLine> sent;

    paper::IClientObserver* requests() override { return this; }
    void onCancelOrder(const vexservice::COrderDetail&) override {}
    void onOperateTask(std::uint64_t, bool, const vexservice::CTaskOpRecord&) override {}
    void onCommand(const vexservice::COrderComandParam& command, int) override {
        for (const auto& order : command.m_orders) {
            sent.push_back(
                sentLine(replay::momentText(now()), order->m_pAccountInfo->getKey(),
                         utils::zorStockKey(order->m_stock.m_strMarket, order->m_stock.m_strCode),
                         order->m_eOperationType == vexservice::OPT_BUY, order->m_nVolume));
        }
    }
};

}  // namespace

SentLine sentLine(const std::string& at, const std::string& account, const std::string& stock,
                  bool buys, std::int64_t volume) {
    return fmt::format("{} {} {} {} {}", at, account, buys ? "buy" : "sell", volume, stock);
}

std::vector<SentLine> sentByReplay(const std::string& path) {
    CCommands commands;
    replay::COutput output([](std::string_view) {});
    const std::string fault = replay::playFile(path, {}, output, &commands);
    g_VexStdLogger.setLevel(ELogLevel::Off);  // a session lets the log speak when it ends
    if (!fault.empty()) throw std::runtime_error(fault);
    return commands.sent;
}

// -------------------------------------------------------------------------- lines

void CScenario::pass() {
    const std::int64_t passed = now() - m_nMoment;
    m_nMoment = now();
    if (passed <= 0) return;
    m_writer.beginObject();
    m_writer.member("do", "advance");
    m_writer.member("seconds", static_cast<double>(passed) / MICROS);
    end();
}

CJsonWriter& CScenario::line(const char* name) {
    pass();
    m_writer.beginObject();
    m_writer.member("do", name);
    return m_writer;
}

void CScenario::end() {
    m_writer.endObject();
    m_text.push_back('\n');
}

void CScenario::note(const std::string& text) {
    if (m_bWanted) fmt::format_to(std::back_inserter(m_text), "# {}\n", text);
}

void CScenario::begin(std::int64_t moment, const std::string& date,
                      const TC::LinkageOptions& options) {
    if (!m_bWanted) return;
    m_nMoment = moment;
    m_writer.beginObject();
    m_writer.member("do", "config");
    const QString now =
        QDateTime::fromMSecsSinceEpoch(moment / 1000).toString("yyyy-MM-dd hh:mm:ss");
    m_writer.member("now", now.toStdString());
    m_writer.member("tradeDate", date);
    m_writer.member("clientType", m_plan.clientType);
    m_writer.key("options");
    m_writer.beginObject();
    m_writer.member("guard", options.guard);
    m_writer.member("keepBalanceTimes", options.keepBalanceTimes);
    m_writer.member("roundSeconds", options.roundSeconds);
    m_writer.member("rounds", options.rounds);
    m_writer.endObject();
    end();
    addStocks(m_writer);
    for (const std::string& account : m_plan.accounts) {
        line("account").member("key", account);
        end();
    }
    note("the results of commands are told below, late or never");
    fault(paper::EService::CommandCenter, paper::EFault::Lost, ALL_CALLS);
}

void CScenario::addStocks(CJsonWriter& out) {
    for (const Stock& stock : m_plan.stocks) {
        line("instrument").member("market", stock.market);
        out.member("code", stock.code);
        out.member("reference", PRICE);
        out.member("unit", stock.unit);
        out.key("types");
        out.beginArray();
        for (const int type : stock.types()) out.value(type);
        out.endArray();
        out.member("detail", stock.detail);
        end();
        if (!stock.priced) continue;
        line("price").member("market", stock.market);
        out.member("code", stock.code);
        out.member("last", PRICE);
        end();
    }
}

void CScenario::finish() {
    if (m_bWanted) pass();
}

void CScenario::file(const std::string& name, const std::string& text) {
    if (!m_bWanted) return;
    CJsonWriter& out = line("writeFile");
    out.member("name", name);
    out.member("text", text);
    end();
}

void CScenario::plain(const char* name) {
    if (!m_bWanted) return;
    line(name);
    end();
}

// ------------------------------------------------------------------------ reports

void CScenario::addRecord(CJsonWriter& out, std::uint64_t key, const Origin& of) {
    const Stock& stock = m_plan.stocks[static_cast<std::size_t>(of.stock)];
    out.member("account", m_plan.accounts[static_cast<std::size_t>(of.account)]);
    out.member("key", key);
    out.member("market", stock.market);
    out.member("code", stock.code);
    out.member("side", sideOf(of));
    out.member("price", PRICE);
    out.member("strategy", of.strategy);
    out.member("strategy2", of.strategy);
    if (of.history) out.member("tag", HISTORY_TAG);
    if (of.command != 0) out.member("command", of.command);
}

void CScenario::order(const OrderReport& report, bool announced) {
    if (!m_bWanted) return;
    CJsonWriter& out = line("order");
    addRecord(out, report.key, report.of);
    out.member("volume", report.volume);
    out.member("status", static_cast<int>(report.status));
    out.member("traded", report.traded);
    out.member("amount", PRICE * static_cast<double>(report.traded));
    if (!announced) out.member("push", false);
    end();
}

void CScenario::deal(const DealReport& report, bool announced) {
    if (!m_bWanted) return;
    CJsonWriter& out = line("deal");
    addRecord(out, report.key, report.of);
    out.member("volume", report.volume);
    out.member("time", "100000");
    if (report.order != 0) out.member("order", report.order);
    if (!announced) out.member("push", false);
    end();
}

void CScenario::task(std::uint64_t key, const Origin& of, int status) {
    if (!m_bWanted) return;
    const Stock& stock = m_plan.stocks[static_cast<std::size_t>(of.stock)];
    CJsonWriter& out = line("task");
    out.member("key", key);
    out.member("status", status);
    out.key("items");
    out.beginArray();
    out.beginObject();
    out.member("account", m_plan.accounts[static_cast<std::size_t>(of.account)]);
    out.member("market", stock.market);
    out.member("code", stock.code);
    out.endObject();
    out.endArray();
    out.key("command");
    out.beginObject();
    out.member("strategy", of.strategy);
    out.member("strategy2", of.strategy);
    out.endObject();
    end();
}

// ------------------------------------------------------------------------- the rest

void CScenario::call(const char* op, std::initializer_list<std::string_view> arguments) {
    if (!m_bWanted) return;
    CJsonWriter& out = line("call");
    out.member("op", op);
    out.key("args");
    out.beginArray();
    for (const std::string_view each : arguments) out.value(each);
    out.endArray();
    end();
}

void CScenario::accountReady(const std::string& account) {
    if (!m_bWanted) return;
    line("accountReady").member("account", account);
    end();
}

void CScenario::login(bool ok) {
    if (!m_bWanted) return;
    line("login").member("ok", ok);
    end();
}

void CScenario::newTradingDate(const std::string& date) {
    if (!m_bWanted) return;
    line("newTradingDate").member("date", date);
    end();
}

void CScenario::result(int number, const std::string& error) {
    if (!m_bWanted || number == 0) return;
    CJsonWriter& out = line("commandResult");
    out.member("number", number);
    if (!error.empty()) out.member("error", error);
    end();
}

void CScenario::fault(paper::EService service, paper::EFault kind, int times) {
    if (!m_bWanted) return;
    CJsonWriter& out = line("fault");
    out.member("service", paper::nameOf(service));
    out.member("kind", paper::nameOf(kind));
    out.member("times", times);
    end();
}

std::size_t CScenario::place() {
    if (m_bWanted) pass();
    return m_text.size();
}

void CScenario::diskAt(std::size_t place, const TC::disk::Fault& fault) {
    if (!m_bWanted) return;
    const std::string before = text();
    m_text.resize(place);
    disk(fault);
    m_text.append(before.data() + place, before.data() + before.size());
}

void CScenario::disk(const TC::disk::Fault& fault) {
    if (!m_bWanted) return;
    CJsonWriter& out = line("disk");
    out.member("step", replay::nameOf(fault.step));
    out.member("after", fault.after);
    out.member("error", replay::nameOfError(fault.error));
    out.member("times", fault.times < 0 ? ALL_CALLS : fault.times);
    if (fault.keeps != 0) out.member("keeps", fault.keeps);
    end();
}

}  // namespace lab
