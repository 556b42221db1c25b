#include "linkage/store/serverhistory.h"

#include "platform/utils/text.h"

#include <algorithm>

namespace TC {

namespace {

constexpr char FORMAT[] = "yyyyMMdd";

}  // namespace

QDate historyDay(const std::string& text) { return QDate::fromString(Pim::sToQs(text), FORMAT); }

std::string historyDate(const QDate& day) { return day.toString(FORMAT).toStdString(); }

LeftWork leftQuery(const char* name, const HistoryQuery& query) {
    const bool deals = query.records == EHistoryRecords::Deals;
    return {name,
            {std::to_string(query.request), deals ? "deals" : "orders", query.accountKey,
             historyDate(query.day), historyDate(query.last)}};
}

HistoryQuery queryOf(const LeftWork& work) {
    HistoryQuery query;
    query.request = work.number(0);
    query.records = work.text(1) == "deals" ? EHistoryRecords::Deals : EHistoryRecords::Orders;
    query.accountKey = work.text(2);
    query.day = historyDay(work.text(3));
    query.last = historyDay(work.text(4));
    return query;
}

std::string historyRangeFault(const QDate& first, const QDate& last, const QDate& tradeDate) {
    if (!first.isValid() || !last.isValid()) return "no such day";
    if (first > last) return "the first day is after the last";
    if (last > tradeDate) return "the last day has not come yet";
    if (first < QDate(1990, 1, 1)) return "the first day is before any exchange";
    return {};
}

// ------------------------------------------------------------------- requests

std::uint64_t CServerHistory::begin(HistoryRequest request) {
    request.number = ++m_nLastRequest;
    m_requests.emplace(request.number, std::move(request));
    if (m_requests.size() > MOST_REQUESTS) {
        const auto oldest = std::find_if(m_requests.begin(), m_requests.end(),
                                         [](const auto& each) { return each.second.isOver(); });
        if (oldest != m_requests.end()) m_requests.erase(oldest);
    }
    return m_nLastRequest;
}

void CServerHistory::setDays(std::uint64_t request, int days) {
    const auto at = m_requests.find(request);
    if (at != m_requests.end()) at->second.days = days;
}

std::vector<HistoryRequest> CServerHistory::requests() const {
    std::vector<HistoryRequest> all;
    all.reserve(m_requests.size());
    for (const auto& [number, request] : m_requests) all.push_back(request);
    return all;
}

// ----------------------------------------------------------------------- days

CServerHistory::Day& CServerHistory::day(const HistoryQuery& query) {
    return m_days[{query.records, query.accountKey, historyDate(query.day)}];
}

std::optional<HistoryDay> CServerHistory::findDay(EHistoryRecords records,
                                                  const std::string& accountKey,
                                                  const std::string& date) const {
    const auto at = m_days.find({records, accountKey, date});
    return at == m_days.end() ? std::nullopt : std::optional(at->second.result);
}

void CServerHistory::ask(HistoryQuery& query) {
    query.question = ++m_nLastQuestion;
    Day& asked = day(query);
    asked.asked = query.question;
    asked.result = {};
}

bool CServerHistory::takesAnswer(const HistoryQuery& query) {
    Day& asked = day(query);
    if (asked.answered > query.question) return false;
    asked.answered = query.question;
    return true;
}

void CServerHistory::endDay(const HistoryQuery& query, const HistoryDay& result) {
    Day& asked = day(query);
    if (asked.asked == query.question) asked.result = result;
    const auto at = m_requests.find(query.request);
    if (at == m_requests.end()) return;
    HistoryRequest& request = at->second;
    ++request.done;
    if (result.state != HistoryDay::EState::Failed) return;
    ++request.failed;
    request.fault = result.fault;
}

void CServerHistory::open(const HistoryQuery& query, const Timer& deadline) {
    m_open[query.question] = {query, deadline};
}

std::optional<HistoryQuery> CServerHistory::close(std::uint64_t question) {
    const auto at = m_open.find(question);
    if (at == m_open.end()) return std::nullopt;
    at->second.deadline->cancel();
    const HistoryQuery query = at->second.query;
    m_open.erase(at);
    return query;
}

}  // namespace TC
