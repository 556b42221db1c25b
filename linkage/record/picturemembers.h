#pragma once

#include "linkage/balance/balancestate.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/core/accounts.h"
#include "linkage/core/quotes.h"
#include "linkage/core/reconciling.h"
#include "linkage/ledger/ledger.h"
#include "linkage/stats/curvedata.h"
#include "linkage/stats/positionmerge.h"
#include "linkage/store/historystate.h"
#include "linkage/store/importstate.h"
#include "linkage/store/serverhistory.h"
#include "linkage/tape/leftworks.h"

#include <array>
#include <concepts>
#include <map>
#include <mutex>
#include <string>
#include <type_traits>

/// The picture of a manager in the middle of its day: everything that decides what it does next.
/// Each class says here once what it consists of; one visitor writes that (CPictureWriter), another
/// one reads it (replay). A member that is added to one of these classes, and that decides
/// something, belongs here too: verifying a recording that was begun in the middle shows the lack.
///
/// Left out is what follows from the rest (indexes), what only tells a client of changes
/// (CChangeJournal), and what an operation has only while it runs: there is none during a picture.
namespace TC {

namespace picture {

template <class T>
concept List = requires(const T& list) {
    list.begin();
    list.size();
}
&&!std::is_same_v<T, std::string>;

template <class T>
concept Record = std::derived_from<T, vexservice::IData> &&
    !std::is_same_v<std::remove_const_t<T>, vexservice::CAccountInfo>;

template <class T>
concept Object = std::is_class_v<T> && !List<T> && !std::is_same_v<T, std::string>;

}  // namespace picture

struct PictureMembers {
    // ------------------------------------------------------------------ figures and small records

    template <class P>
    static void of(P& p, LinkagePeriodExtData& figures) {
        number(p, "bought", figures.deals().m_nBuyVolume);
        number(p, "sold", figures.deals().m_nSellVolume);
        number(p, "boughtAmount", figures.deals().m_dBuyAmount);
        number(p, "soldAmount", figures.deals().m_dSellAmount);
        number(p, "commission", figures.deals().m_dCommission);
        number(p, "profit", figures.worth().m_dProfit);
        number(p, "value", figures.worth().m_dPositionValue);
        sum(p, "orderBuys", figures.m_buyVolumes);
        sum(p, "orderSells", figures.m_sellVolumes);
        sum(p, "orderBuyAmounts", figures.m_buyAmounts);
        sum(p, "orderSellAmounts", figures.m_sellAmounts);
        number(p, "plain", figures.m_bPlain);
        number(p, "closeValue", figures.m_dCloseValue);
    }
    template <class P>
    static void of(P& p, LinkagePeriodTradeData& deals) {
        p("bought", deals.m_nBuyVolume);
        p("sold", deals.m_nSellVolume);
        p("boughtAmount", deals.m_dBuyAmount);
        p("soldAmount", deals.m_dSellAmount);
        p("commission", deals.m_dCommission);
    }
    template <class P>
    static void of(P& p, vexservice::CAccountInfo& info) {
        p("key", info.m_strKey);
        p("id", info.m_strID);
        p("name", info.m_strName);
        p("type", info.m_nType);
        p("broker", info.m_strBroker);
    }
    template <class P>
    static void of(P& p, vexservice::CStkExchangeRateLimit& fee) {
        p("rate", fee.m_dRate);
        p("minimum", fee.m_dMinimum);
        p("transfer", fee.m_dTransfer);
        p("stamp", fee.m_dStamp);
    }
    template <class P>
    static void of(P& p, DayLimits& limits) {
        p("up", limits.up);
        p("down", limits.down);
    }
    template <class P>
    static void of(P& p, DayTotals& totals) {
        p("bought", totals.boughtVolume);
        p("sold", totals.soldVolume);
        p("boughtAmount", totals.boughtAmount);
        p("soldAmount", totals.soldAmount);
    }
    template <class P>
    static void of(P& p, ledger::Day& day) {
        p("asked", day.asked);
        p("orders", day.orders);
        p("deals", day.deals);
        p("totals", day.totals);
    }
    template <class P>
    static void of(P& p, PositionParts& parts) {
        p("key", parts.key);
        p("reports", parts.reports);
    }
    template <class P, class Record>
    static void of(P& p, CRunningRecords<Record>& running) {
        p("sets", running.m_sets);
    }

    // ------------------------------------------------------------------------------- the rooms

    /// linkage/record/picturemanager.h
    template <class P>
    static void of(P& p, CLinkageManager& manager);

    template <class P>
    static void of(P& p, LeftWork& work) {
        p("name", work.name);
        p("with", work.arguments);
    }

    /// linkage/record/pictureledger.h
    template <class P>
    static void of(P& p, CLedger& ledger);

    template <class P>
    static void of(P& p, CQuotes& quotes) {
        p("historyPrices", quotes.m_historyPrices);
        p.requests("requests", quotes.m_requests);
        p("markers", quotes.m_markers);
        p("requestEpoch", quotes.m_nRequestEpoch);
        p("markerEpoch", quotes.m_nMarkerEpoch);
    }

    template <class P>
    static void of(P& p, RecordChanges& changes) {
        p("added", changes.added);
        p("changed", changes.changed);
        p("gone", changes.gone);
    }
    template <class P>
    static void of(P& p, Reconciliation& found) {
        p("at", found.at);
        p("account", found.account);
        p("cause", found.cause);
        p("orders", found.orders);
        p("deals", found.deals);
        p("positions", found.positions);
    }
    template <class P>
    static void of(P& p, CReconciliations::Opening& opening) {
        p("tradeDate", opening.tradeDate);
        p("volumes", opening.volumes);
    }
    template <class P>
    static void of(P& p, CReconciliations& reconciliations) {
        p("all", reconciliations.m_all);
        p("openings", reconciliations.m_openings);
    }

    template <class P, class T>
    static void of(P& p, CRenewed<T>& renewed) {
        p("held", renewed.m_held);
        p("next", renewed.m_next);
        p("run", renewed.m_nRun);
    }
    template <class P, class T>
    static void of(P& p, CShared<T>& shared) {
        p("is", shared.change());
    }
    template <class P>
    static void of(P& p, CCurveData::Bars& bars) {
        p("closes", bars.closes);
        p("minutes", bars.tradingMinutes);
        p("answered", bars.answered);
        p("askedFinished", bars.askedFinished);
        p("asked", bars.askedMicros);
        p("wait", bars.waitMicros);
        p("traded", bars.traded);
    }
    template <class P>
    static void of(P& p, CCurveData& curves) {
        p("profits", curves.m_bProfitCalcRunning);
        p("balances", curves.m_bBalanceCalcRunning);
        p("date", curves.m_strDate);
        p("midnight", curves.m_nMidnight);
        p("bars", curves.m_bars);
        p("seen", curves.m_seen);
        p("totals", curves.m_totals);
        p("suspects", curves.m_suspects);
        p("run", curves.m_nRun);
        p("ended", curves.m_nEnded);
        p("running", curves.m_bRunning);
        p("rounds", curves.m_nRounds);
        p("due", curves.m_due);
        p("renewed", curves.m_renewedStocks);
        p("runToday", curves.m_bRunToday);
    }

    template <class P>
    static void of(P& p, PositionReports& reports) {
        p("parts", reports.m_parts);
    }

    template <class P>
    static void of(P& p, BalanceState& balance) {
        p("starts", balance.m_autoBalanceStarts);
        p("watched", balance.m_bAutoBalanceRunning);
        if (!p.isExact()) published(p, "times", balance.m_balanceTimes);
        p("keptTimes", balance.m_strKeptTimes);
    }

    template <class P>
    static void of(P& p, TradeStatData& stat) {
        p("id", stat.m_nId);
        p("account", stat.m_strAccountKey);
        p("accountId", stat.m_strFundAccountId);
        p("accountName", stat.m_strAccountName);
        p("accountType", stat.m_strAccountType);
        p("broker", stat.m_strBroker);
        p("strategy", stat.m_strStrategy);
        p("added", stat.m_strAddDate);
        p("balanceTime", stat.m_strBalanceTime);
        p("bought", stat.m_nTotalBuyVolume);
        p("sold", stat.m_nTotalSellVolume);
        p("boughtAmount", stat.m_dTotalBuyAmount);
        p("soldAmount", stat.m_dTotalSellAmount);
        p("value", stat.m_dTotalPositionValue);
    }
    template <class P>
    static void of(P& p, HistoryState& history) {
        published(p, "stats", history.m_historyStatData);
        p("figures", history.m_historyLinkageData);
        p("added", history.m_alreadyAddedKeys);
        p("tradeKeys", history.m_writtenTradeKeys);
        p("owners", history.m_owners);
        p("orders", history.m_historyOrders);
        p("tasks", history.m_historyTasks);
        if (p.isExact()) return;
        published(p, "refused", history.m_refusedNames);
        p("written", history.m_strWriteTime);
        p("shared", history.m_picture.m_shared);
    }

    template <class P>
    static void of(P& p, HistoryRequest& request) {
        p("number", request.number);
        p("records", request.records);
        p("account", request.account);
        p("first", request.first);
        p("last", request.last);
        p("days", request.days);
        p("done", request.done);
        p("failed", request.failed);
        p("fault", request.fault);
    }
    template <class P>
    static void of(P& p, HistoryQuery& query) {
        p("request", query.request);
        p("question", query.question);
        p("records", query.records);
        p("account", query.accountKey);
        date(p, "day", query.day);
        date(p, "last", query.last);
    }
    template <class P>
    static void of(P& p, HistoryDay& day) {
        p("state", day.state);
        p("records", day.records);
        p("fault", day.fault);
    }
    template <class P>
    static void of(P& p, CServerHistory::Day& day) {
        p("result", day.result);
        p("asked", day.asked);
        p("answered", day.answered);
    }
    template <class P>
    static void of(P& p, CServerHistory::Open& open) {
        p("query", open.query);
        p.timer(open.deadline);
    }
    template <class P>
    static void of(P& p, CServerHistory::Filed& filed) {
        p("keys", filed.keys);
        p("deals", filed.deals);
    }
    template <class P>
    static void of(P& p, CServerHistory& history) {
        p("lastRequest", history.m_nLastRequest);
        p("requests", history.m_requests);
        p("days", history.m_days);
        p("lastQuestion", history.m_nLastQuestion);
        p("open", history.m_open);
        p("filed", history.m_filed);
    }

    template <class P, class Records>
    requires requires { typename Records::Ptr; }
    static void of(P& p, Records& records) {
        p("groups", records.m_groups);
        p("reported", records.m_reported);
        p("keys", records.m_keys);
        p("toLink", records.m_toLink);
        p("touched", records.m_touched);
        p("toFile", records.m_toFile);
        p("toRemove", records.m_toRemove);
        p("linked", records.m_bLinked);
        if (P::READS) records.noteChange();
    }
    /// The records of an imported day that meet, and what they consist of.
    template <class P, class Group>
    requires requires(Group group) { group.isTouched; }
    static void of(P& p, Group& group) {
        p("reported", group.reported);
        p("rows", group.rows);
        p("filed", group.filed);
        p("touched", group.isTouched);
    }
    template <class P, class Row>
    requires requires(Row row) { row.fate; }
    static void of(P& p, Row& row) {
        p("import", row.import);
        p("record", row.record);
        p("fate", row.fate);
    }
    template <class P, class Reported>
    requires requires(Reported reported) { reported.number, reported.time, reported.key; }
    static void of(P& p, Reported& reported) {
        p("key", reported.key);
        p("number", reported.number);
        p("time", reported.time);
    }
    template <class P>
    static void of(P& p, ImportSummary& summary) {
        p("number", summary.number);
        if (!p.isExact()) p("path", summary.path);
        p("kind", summary.kind);
        p("time", summary.time);
        p("records", summary.records);
    }
    template <class P>
    static void of(P& p, ImportState& imports) {
        p("deals", imports.deals);
        p("orders", imports.orders);
        p("summaries", imports.summaries);
        p("lastNumber", imports.lastNumber);
        p("refiling", imports.refiling);
    }

    /// The balances stand as lines of their book, which have all of each.
    template <class P>
    static void of(P& p, CGuardedBalances& guarded) {
        p("date", guarded.m_strDate);
        p("last", guarded.m_nLast);
        p.balances("balances", guarded.m_balances);
        changes(p, guarded);
        p("active", guarded.m_active);
        p("senders", guarded.m_senders);
        p("ownOrders", guarded.m_ownOrders);
        p("unread", guarded.m_bUnread);
        p("allLoading", guarded.m_bAllLoading);
        p("inLoad", guarded.m_inLoad);
        p("generation", guarded.m_nGeneration);
        p("loadedIn", guarded.m_loadedIn);
        p("finals", guarded.m_finals);
        p("news", guarded.m_news);
        p("dirty", guarded.m_dirty);
        p("changed", guarded.m_changed);
        p("changes", guarded.m_nChanges);
        p("armedFor", guarded.m_armedFor);
        p("bookWaits", guarded.m_bBookWaits);
        if (p.isExact()) return;
        bool posted = guarded.m_bWritePosted.load();
        p("bookPosted", posted);
        if (P::READS) guarded.m_bWritePosted.store(posted);
    }

    // ------------------------------------------------------------------------------------ shapes

    template <class P, class Relaxed>
    static void number(P& p, const char* name, Relaxed& number) {
        auto value = number.get();
        p(name, value);
        if (P::READS) number.set(value);
    }
    /// A sum of doubles is two of them.
    template <class P, class T>
    static void sum(P& p, const char* name, utils::TRecordSum<T>& sum) {
        std::pair<T, T> parts{sum.sum(), sum.rest()};
        if (!P::READS && parts == std::pair<T, T>()) return;
        p(name, parts);
        if (!P::READS) return;
        sum.replace(0, parts.first);
        sum.replace(0, parts.second);
    }
    template <class P, class T>
    static void published(P& p, const char* name, CPublished<T>& published) {
        published.with([&](T& value) { p(name, value); });
    }
    template <class P>
    static void date(P& p, const char* name, QDate& date) {
        std::string text = historyDate(date);
        p(name, text);
        if (P::READS) date = historyDay(text);
    }
    template <class P>
    static void changes(P& p, CGuardedBalances& guarded) {
        std::map<int, std::uint64_t> changed;
        std::map<int, std::int64_t> tried;
        for (const auto& [number, balance] : guarded.m_balances) {
            changed[number] = balance.changedAt;
            if (balance.retryAt != 0) tried[number] = balance.retryAt;
        }
        p("changedAt", changed);
        p("retryAt", tried);
        if (!P::READS) return;
        for (auto& [number, balance] : guarded.m_balances) {
            balance.changedAt = changed[number];
            balance.retryAt = tried[number];
        }
    }
};

}  // namespace TC
