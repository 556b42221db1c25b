#include "linkage/balance/balanceplan.h"
#include "linkage/core/reconciliation.h"
#include "linkage/stats/periodpoint.h"
#include "replay/operations.h"

#include <array>

/// Operations whose results are reports of the library's own: plans, curves, what was missed.
namespace replay {

namespace {

using Manager = TC::CLinkageManager;

/// The name of an enumerator, by its place.
template <std::size_t N, class Enum>
std::string_view nameOf(const std::array<std::string_view, N>& names, Enum value) {
    const auto at = static_cast<std::size_t>(value);
    return at < N ? names[at] : "other";
}

constexpr std::array<std::string_view, 3> FORMS = {"signalTask", "grouped", "groupedHistory"};
constexpr std::array<std::string_view, 5> REFUSALS = {"", "noAccountData", "noAccountInfo",
                                                      "wrongAccountType", "noFigures"};
constexpr std::array<std::string_view, 6> OUTCOMES = {"order",        "balanced", "belowLot",
                                                      "noInstrument", "waiting",  "taskRunning"};

void writeStock(CJsonWriter& out, const TC::StockBalance& stock) {
    const bool order = stock.outcome == TC::EBalanceOutcome::Order;
    out.beginObject();
    out.member("bought", stock.bought);
    out.member("difference", stock.difference);
    out.member("outcome", nameOf(OUTCOMES, stock.outcome));
    if (order) {
        out.member("price", stock.price);
        out.member("priceType", static_cast<int>(stock.priceType));
        out.member("side", stock.side == vexservice::OPT_BUY ? "buy" : "sell");
    }
    out.member("sold", stock.sold);
    if (order) out.member("volume", stock.volume);
    out.endObject();
}

void writePlan(CJsonWriter& out, const TC::BalancePlan& plan) {
    out.beginObject();
    out.member("form", nameOf(FORMS, plan.form));
    out.member("refusal", nameOf(REFUSALS, plan.refusal));
    out.key("stocks");
    out.beginObject();
    for (const TC::StockBalance& stock : plan.stocks) {
        out.textKey(stock.stockKey);
        writeStock(out, stock);
    }
    out.endObject();
    out.endObject();
}

/// Plans of (account, strategy, grouped).
template <auto MEMBER>
constexpr Operation preview(std::string_view name) {
    return {name, 3,
            [](Call& call) {
                const bool grouped = call.has(2) && call.arg(2).flag();
                writePlan(call.result,
                          (call.manager.*MEMBER)(std::string(call.arg(0).text()),
                                                 std::string(call.arg(1).text()), grouped));
            },
            1};
}

void getPeriodCurve(Call& call) {
    const auto curve = call.manager.getPeriodCurve(std::string(call.arg(0).text()),
                                                   std::string(call.arg(1).text()));
    writeMap(call.result, curve, [](CJsonWriter& out, const TC::PeriodPoint& point) {
        out.beginArray();
        out.value(point.profit);
        out.value(point.positionValue);
        out.endArray();
    });
}

void writeChanges(CJsonWriter& out, const TC::RecordChanges& changes, bool changing) {
    out.beginObject();
    if (changing) out.member("changed", changes.changed);
    out.member("gone", changes.gone);
    out.member("new", changes.added);
    out.endObject();
}

void getReconciliations(Call& call) {
    CJsonWriter& out = call.result;
    out.beginArray();
    for (const TC::Reconciliation& each : call.manager.getReconciliations()) {
        out.beginObject();
        out.member("account", each.account);
        out.member("at", momentText(each.at));
        out.member("cause", TC::textOf(each.cause));
        out.key("deals");
        writeChanges(out, each.deals, false);
        out.key("orders");
        writeChanges(out, each.orders, true);
        out.key("positions");
        write(out, each.positions);
        out.endObject();
    }
    out.endArray();
}

constexpr Operation REPORT_OPERATIONS[] = {
    {"getReconciliations", 0, getReconciliations},
    {"getPeriodCurve", 2, getPeriodCurve},
    preview<&Manager::previewBalance>("previewStockBalance"),
    preview<&Manager::previewHistoryBalance>("previewHistoryBalance"),
};

}  // namespace

std::span<const Operation> reportOperations() { return REPORT_OPERATIONS; }

}  // namespace replay
