#include "linkage/store/importreport.h"
#include "platform/services/clientconfig.h"
#include "replay/manageraccess.h"
#include "replay/operations.h"

#include <QFileInfo>

namespace replay {

namespace {

using Manager = TC::CLinkageManager;

template <void (*FUNCTION)(Manager&, const std::string&, const std::string&)>
constexpr Operation pairOperation(std::string_view name) {
    return {name, 2, [](Call& call) {
                FUNCTION(call.manager, std::string(call.arg(0).text()),
                         std::string(call.arg(1).text()));
                call.result.null();
            }};
}

/// The numbers of requests are not part of the format.
template <auto MEMBER>
void requestHistory(Call& call) {
    (call.manager.*MEMBER)(std::string(call.arg(0).text()), std::string(call.arg(1).text()),
                           std::string(call.arg(2).text()));
    call.result.null();
}

void historyBalance(Call& call) {
    TC::TradeStatData record;
    if (call.manager.historyBalance(std::string(call.arg(0).text()), record)) {
        write(call.result, record);
    } else {
        call.result.null();
    }
}

std::string_view kindText(TC::ImportReport::Kind kind) {
    switch (kind) {
        case TC::ImportReport::Kind::Deals:
            return "deals";
        case TC::ImportReport::Kind::Orders:
            return "orders";
        default:
            return "none";
    }
}

void writeDays(CJsonWriter& out, const std::vector<TC::ImportReport::Day>& days) {
    out.key("days");
    out.beginArray();
    for (const TC::ImportReport::Day& day : days) {
        out.beginObject();
        out.member("account", day.account);
        out.member("added", day.added);
        out.member("bought", day.bought);
        out.member("day", day.date);
        out.member("matched", day.matched);
        out.member("records", day.records);
        out.member("repeated", day.repeated);
        out.member("reported", day.reported);
        out.member("sold", day.sold);
        out.endObject();
    }
    out.endArray();
}

void write(CJsonWriter& out, const TC::ImportReport& report, bool withDays) {
    out.beginObject();
    out.member("added", report.added);
    if (withDays) writeDays(out, report.days);
    out.member("kind", kindText(report.kind));
    out.key("notes");
    writeList(out, report.notes);
    out.member("read", report.read);
    out.member("refusal", report.refusal.toStdString());
    out.key("skipped");
    out.beginArray();
    for (const TC::ImportReport::SkippedRow& row : report.skipped) {
        out.beginObject();
        out.member("reason", row.reason.toStdString());
        out.member("row", row.row);
        out.member("sheet", row.sheet.toStdString());
        out.endObject();
    }
    out.endArray();
    out.member("taken", report.taken);
    out.endObject();
}

void runAutoBalance(Call& call) {
    call.result.value(call.manager.runAutoBalance(std::string(call.arg(0).text()),
                                                  std::string(call.arg(1).text())));
}

/// A name alone is that of a file in the directory "Balance", when there is one.
QString statementOf(const Call& call) {
    const QString name = readArgument<QString>(call.arg(0));
    const QString kept = TC::getDataDir() + QStringLiteral("/Balance/") + name;
    return QFileInfo(name).isRelative() && QFileInfo::exists(kept) ? kept : name;
}

void importData(Call& call) {
    write(call.result, call.manager.importData(statementOf(call)), false);
}

void importPreview(Call& call) {
    write(call.result, call.manager.importPreview(statementOf(call)), true);
}

constexpr Operation ACTION_OPERATIONS[] = {
    operation<&Manager::requestAccounts>("requestAccounts"),
    operation<&Manager::requestAccount>("requestAccount"),
    {"runAutoBalance", 2, runAutoBalance},
    operation<&Manager::tryAutoBalance>("tryAutoBalance"),
    operation<&Manager::runAutoBalanceTimer>("runAutoBalanceTimer"),
    operation<&Manager::cancelAllOrders>("cancelAllOrders"),
    operation<&Manager::cancelAllTasks>("cancelAllTasks"),
    operation<&Manager::cancelTask>("cancelTask"),
    operation<&Manager::addBalanceTime>("addBalanceTime"),
    operation<&Manager::deleteBalanceTime>("deleteBalanceTime"),
    operation<&Manager::getBalanceTime>("getBalanceTime"),
    operation<&Manager::isAlreadyAdd>("isAlreadyAdd"),

    pairOperation<&TC::ManagerAccess::doStockBalance>("doStockBalance"),
    pairOperation<&TC::ManagerAccess::doStockBalanceBySignalTask>("doStockBalanceBySignalTask"),
    operation<&Manager::doHistoryBalance>("doHistoryBalance"),
    operation<&Manager::doHistoryBalanceBySignalTask>("doHistoryBalanceBySignalTask"),
    operation<&Manager::genTradeParam>("genTradeParam"),

    operation<&Manager::addHistoryStat>("addHistoryStat"),
    operation<&Manager::addHistoryLinkdata>("addHistoryLinkdata"),
    operation<&Manager::setHistoryStatDataId>("setHistoryStatDataId"),
    operation<&Manager::deleteHistoryAlreadyBalancedata>("deleteHistoryAlreadyBalancedata"),
    operation<&Manager::deleteHistoryLinkageData>("deleteHistoryLinkageData"),
    operation<&Manager::deleteAllHisTorydata>("deleteAllHisTorydata"),
    {"historyBalance", 1, historyBalance},
    operation<&Manager::historyStatCalculator>("historyStatCalculator"),
    operation<&Manager::writedata>("writedata"),
    operation<&Manager::writeBlanaceTime>("writeBlanaceTime"),

    operation<&Manager::startProfitCalculator>("startProfitCalculator"),
    operation<&Manager::stopProfitCalculator>("stopProfitCalculator"),
    operation<&Manager::startBalanceCalculator>("startBalanceCalculator"),
    operation<&Manager::stopBalanceCalculator>("stopBalanceCalculator"),

    {"requestAccountDeals", 3, requestHistory<&Manager::requestAccountDeals>},
    {"requestAccountOrders", 3, requestHistory<&Manager::requestAccountOrders>},
    {"importData", 1, importData},
    {"importPreview", 1, importPreview},
    operation<&Manager::undoImport>("undoImport"),
};

}  // namespace

std::span<const Operation> actionOperations() { return ACTION_OPERATIONS; }

}  // namespace replay
