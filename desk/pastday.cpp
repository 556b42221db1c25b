#include "desk/pastday.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "linkage/store/importreport.h"
#include "platform/utils/keys.h"
#include "replay/times.h"

#include <QDateTime>

#include <algorithm>
#include <map>
#include <tuple>

namespace desk {

namespace {

using TC::EHistoryRecords;
using vexservice::CDealDetail;
using vexservice::COrderDetail;

std::string dateText(int day) {
    return QDateTime::fromSecsSinceEpoch(day).toString("yyyyMMdd").toStdString();
}

void fillOwn(const CDealDetail& deal, FiledRow& row) {
    row.time = deal.m_strTradeTime;
    row.number = deal.m_strDealID;
    row.traded = deal.m_nVolume;
    row.amount = deal.m_dAmount;
}

void fillOwn(const COrderDetail& order, FiledRow& row) {
    row.number = order.m_strSysID;
    row.traded = order.m_nTradedVolume;
    row.amount = order.m_dTradedAmount;
    row.status = order.m_eStatus;
}

template <class Record>
FiledRow rowOf(std::uint64_t key, const Record& record) {
    FiledRow row;
    row.key = key;
    row.stock = utils::zorStockKey(record.m_strMarket, record.m_strCode);
    row.strategy = TC::strategyOf(record.m_pCommand.get());
    row.buys = vexservice::isBuyByDirection(record.m_eDirection, record.m_eOffsetFlag);
    row.price = record.m_dPrice;
    row.volume = record.m_nVolume;
    fillOwn(record, row);
    return row;
}

/// Whether a question for the day is under way.
bool isAsked(const TC::CLinkageManager& manager, EHistoryRecords records, const PastDay& day) {
    const auto requests = manager.getHistoryRequests();
    return std::any_of(requests.begin(), requests.end(), [&](const TC::HistoryRequest& request) {
        return request.records == records && request.account == day.account && !request.isOver() &&
               request.first <= day.date && day.date <= request.last;
    });
}

template <class Records>
FiledRows rowsOf(const TC::CLinkageManager& manager, EHistoryRecords kind, const PastDay& day,
                 const Records& records) {
    std::map<int, std::string> files;
    for (const TC::ImportSummary& import : manager.getImports()) files[import.number] = import.path;
    const int dayNumber = replay::dayNumber(day.date);
    const auto sources = manager.getRecordSources(kind, day.account, dayNumber);
    FiledRows filed;
    filed.isAsked = isAsked(manager, kind, day);
    filed.answer = manager.getHistoryDay(kind, day.account, dayNumber);
    filed.rows.reserve(records.size());
    for (const auto& [key, record] : records) {
        FiledRow row = rowOf(key, *record);
        // A record may have gone between the two queries.
        if (const auto source = sources.find(key); source != sources.end())
            row.source = source->second;
        if (const auto file = files.find(row.source.import); file != files.end())
            row.file = file->second;
        filed.rows.push_back(std::move(row));
    }
    std::sort(filed.rows.begin(), filed.rows.end(),
              [](const FiledRow& left, const FiledRow& right) {
                  return std::tie(left.time, left.number, left.key) <
                         std::tie(right.time, right.number, right.key);
              });
    return filed;
}

}  // namespace

PastDay takePastDay(const TC::CLinkageManager& manager, const std::string& account,
                    const std::string& date) {
    PastDay day{.account = account, .date = date, .tradeDate = manager.getTradeDate()};
    const auto filed = manager.getFiledDays(account);
    day.days.reserve(filed.size());
    for (auto at = filed.rbegin(); at != filed.rend(); ++at) day.days.push_back(dateText(*at));
    if (date.empty()) day.date = day.days.empty() ? day.tradeDate : day.days.front();
    const int dayNumber = replay::dayNumber(day.date);
    day.deals =
        rowsOf(manager, EHistoryRecords::Deals, day, manager.getAccountDeals(account, dayNumber));
    day.orders =
        rowsOf(manager, EHistoryRecords::Orders, day, manager.getAccountOrders(account, dayNumber));
    return day;
}

}  // namespace desk
