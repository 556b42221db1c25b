#include "linkage/store/serverhistory.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/copyinslices.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/recordscopy.h"
#include "linkage/store/importsettling.h"
#include "linkage/store/importstate.h"
#include "linkage/tape/services.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <map>
#include <type_traits>

namespace TC {

namespace {

constexpr char RUNNING_DAY[] = "records of the running day come with its reports";

constexpr char SERVICE_FAILED[] = "a service of the client failed";

HistoryDay failedDay(const std::string& fault) {
    return {.state = HistoryDay::EState::Failed, .fault = fault};
}

const char* operationOf(EHistoryRecords records) {
    return records == EHistoryRecords::Deals ? "TC::CLinkageManager::onQueryHistoryDeal"
                                             : "TC::CLinkageManager::onQueryHistoryOrder";
}

bool isKnownAccount(const std::string& accountKey) {
    return dataCenter().getAccountData(utils::hash(accountKey)) != nullptr;
}

// Whether the calendar knows that nothing was traded. A calendar that fails knows nothing.
bool isClosedDay(const char* operation, const std::string& date) {
    std::optional<bool> trades;
    attempt(operation, [&] {
        // A client may have no calendar.
        if (!utils::CSingletonT<marlo::IMarketCalendar>::exists()) return;
        trades = service<marlo::IMarketCalendar>().isTradingDay("SH", date);
    });
    return trades && !*trades;
}

// What a record has in common with the same one under another key; "" for no number.
template <class Record>
std::string traitsOf(const Record& record) {
    const std::string number = statement::systemNumber(record);
    return number.empty() ? number : statement::valuesOf(record) + '#' + number;
}

// What the trading system itself reported of a day, by number and values: the server may
// know the same under other keys.
template <class Record>
class CReported {
public:
    explicit CReported(const ByRecord<boost::shared_ptr<Record>>& records) {
        for (const auto& [key, record] : records) {
            if (!record->m_bImported) m_keys.emplace(traitsOf(*record), key);
        }
    }

    // Whether the record stands under another key; each stands for one.
    bool takes(const Record& record) {
        const std::string traits = traitsOf(record);
        if (traits.empty()) return false;
        const auto [begin, end] = m_keys.equal_range(traits);
        const bool isOwn = std::any_of(
            begin, end, [&](const auto& each) { return each.second == record.recordKey(); });
        if (isOwn || begin == end) return false;
        m_keys.erase(begin);
        return true;
    }

private:
    std::multimap<std::string, std::uint64_t> m_keys;
};

// The records of an answer that are of the day and followed.
template <class Record>
std::vector<boost::shared_ptr<Record>> ownRecords(
    CLedger& ledger, const HistoryQuery& query,
    const std::vector<boost::shared_ptr<Record>>& records) {
    const std::string date = historyDate(query.day);
    std::vector<boost::shared_ptr<Record>> own;
    own.reserve(records.size());
    int strays = 0;
    for (const auto& record : records) {
        if (!record) continue;
        if (!record->m_strTradeDate.empty() && record->m_strTradeDate != date) {
            ++strays;
        } else if (ledger.follows(record->m_strMarket, record->m_strCode)) {
            own.push_back(record);
        }
    }
    if (strays > 0) {
        LINKAGE_LOG_WARNING(operationOf(query.records),
                            "account {0}, day {1}: {2} records of other days left out",
                            query.accountKey, date, strays);
    }
    return own;
}

// Puts an answer in the place of what the server filed before. What was reported under a
// key of its own and has the same number stays as it was reported.
template <class Record>
void fileAnswer(CLedger& ledger, const HistoryQuery& query, CServerHistory::Filed& filed,
                const std::vector<boost::shared_ptr<Record>>& records) {
    const std::string date = historyDate(query.day);
    const int day = dayKey(date);
    constexpr bool DEALS = std::is_same_v<Record, vexservice::CDealDetail>;
    if constexpr (DEALS) {
        ledger.removeFiledDeals(day, query.accountKey, filed.keys);
    } else {
        ledger.removeFiledOrders(day, query.accountKey, filed.keys);
    }
    filed = {};
    CReported<Record> reported(recordsOfDay<Record>(ledger, query.accountKey, day));
    for (const auto& record : records) {
        if (reported.takes(*record)) continue;
        const std::string stockKey = utils::zorStockKey(record->m_strMarket, record->m_strCode);
        bool isNew = false;
        if constexpr (DEALS) {
            isNew = ledger.fileDeal(day, stockKey, query.accountKey, record);
        } else {
            isNew = ledger.fileOrder(day, stockKey, query.accountKey, record);
        }
        if (!isNew) continue;
        filed.keys.insert(record->recordKey());
        if constexpr (DEALS) {
            // A deal without a number has nothing in common with any other.
            const std::string traits = traitsOf(*record);
            if (!traits.empty()) filed.deals.emplace(traits, record->recordKey());
        }
    }
}

}  // namespace

CServerHistory::Filed& CServerHistory::filed(const HistoryQuery& query) {
    return m_filed[{query.records, query.accountKey, historyDate(query.day)}];
}

CServerHistory::Keys CServerHistory::filedKeys(EHistoryRecords records,
                                               const std::string& accountKey,
                                               const std::string& date) const {
    const auto at = m_filed.find({records, accountKey, date});
    return at == m_filed.end() ? Keys() : at->second.keys;
}

CServerHistory::Filed* CServerHistory::filedDeals(const std::string& accountKey,
                                                  const std::string& date) {
    if (m_filed.empty()) return nullptr;
    const auto at = m_filed.find({EHistoryRecords::Deals, accountKey, date});
    return at == m_filed.end() || at->second.deals.empty() ? nullptr : &at->second;
}

std::optional<std::uint64_t> CServerHistory::takeDeal(Filed& filed, const std::string& common,
                                                      std::uint64_t key) {
    const auto [begin, end] = filed.deals.equal_range(common);
    const auto found =
        std::find_if(begin, end, [&](const auto& each) { return each.second != key; });
    if (found == end) return std::nullopt;
    const std::uint64_t taken = found->second;
    filed.deals.erase(found);
    filed.keys.erase(taken);
    return taken;
}

void CLinkageManager::dropImported(const std::string& accountKey,
                                   const vexservice::CDealDetail& deal) {
    if (auto* const filed = m_pServerHistory->filedDeals(accountKey, deal.m_strTradeDate)) {
        const auto other = CServerHistory::takeDeal(*filed, traitsOf(deal), deal.recordKey());
        if (other) {
            const int day = m_pLedger->day(deal.m_strTradeDate);
            CServerHistory::Keys key{*other};
            m_pLedger->removeFiledDeals(day, accountKey, key);
            unreportImported(accountKey, day, *other);
        }
    }
    noteReported(accountKey, deal);
}

std::uint64_t CLinkageManager::requestAccountDeals(const std::string& accountKey,
                                                   const std::string& firstDay,
                                                   const std::string& lastDay) {
    return requestHistory({.records = EHistoryRecords::Deals,
                           .account = accountKey,
                           .first = firstDay,
                           .last = lastDay});
}

std::uint64_t CLinkageManager::requestAccountOrders(const std::string& accountKey,
                                                    const std::string& firstDay,
                                                    const std::string& lastDay) {
    return requestHistory({.records = EHistoryRecords::Orders,
                           .account = accountKey,
                           .first = firstDay,
                           .last = lastDay});
}

std::uint64_t CLinkageManager::requestHistory(const HistoryRequest& request) {
    if (!m_pEngine->hasStrand()) return 0;
    const CStep step(tape(), [&] {
        const bool deals = request.records == EHistoryRecords::Deals;
        return callOf(deals ? "requestAccountDeals" : "requestAccountOrders", request.account,
                      request.first, request.last);
    });
    HistoryQuery query{.records = request.records,
                       .accountKey = request.account,
                       .day = historyDay(request.first),
                       .last = historyDay(request.last)};
    {
        const CLock lock(m_mutex);
        query.request = m_pServerHistory->begin(request);
    }
    post(leftQuery("startHistory", query));
    return query.request;
}

std::vector<HistoryRequest> CLinkageManager::getHistoryRequests() const {
    const CLock lock(m_mutex);
    return m_pServerHistory->requests();
}

std::optional<HistoryDay> CLinkageManager::getHistoryDay(EHistoryRecords records,
                                                         const std::string& accountKey,
                                                         int day) const {
    const CLock lock(m_mutex);
    return m_pServerHistory->findDay(records, accountKey, dayText(day));
}

void CLinkageManager::startHistoryQuery(HistoryQuery query) {
    std::string fault = historyRangeFault(query.day, query.last, historyDay(m_pTradeDate->get()));
    if (fault.empty()) {
        bool known = false;
        const bool asked =
            attempt(operationOf(query.records), [&] { known = isKnownAccount(query.accountKey); });
        if (!known) fault = asked ? "no such account" : SERVICE_FAILED;
    }
    const bool canBeAsked = fault.empty();
    {
        const CLock lock(m_mutex);
        const auto days = canBeAsked ? query.day.daysTo(query.last) + 1 : 1;
        m_pServerHistory->setDays(query.request, static_cast<int>(days));
        if (!canBeAsked) m_pServerHistory->ask(query);
    }
    if (canBeAsked) return askHistoryDay(query);
    query.last = query.day;
    endHistoryDay(query, failedDay(fault));
}

void CLinkageManager::askHistoryDay(HistoryQuery query) {
    const std::string date = historyDate(query.day);
    {
        const CLock lock(m_mutex);
        m_pServerHistory->ask(query);
    }
    if (date == m_pTradeDate->get()) return endHistoryDay(query, failedDay(RUNNING_DAY));
    if (isClosedDay(operationOf(query.records), date)) {
        return endHistoryDay(query, {.state = HistoryDay::EState::NoTrading});
    }
    const std::uint64_t question = query.question;
    const auto deadline = boost::make_shared<utils::DeadlineTimer>(m_pEngine->m_strand->context());
    {
        const CLock lock(m_mutex);
        m_pServerHistory->open(query, deadline);
    }
    deadline->expires_from_now(boost::posix_time::seconds(CServerHistory::ANSWER_SECONDS));
    deadline->async_wait(guarded([this, question](const boost::system::error_code& error) {
        if (!error) post([this, question] { giveHistoryDayUp(question, "no answer"); });
    }));
    const bool asked = attempt(operationOf(query.records), [&] { sendHistoryQuestion(query); });
    if (!asked) giveHistoryDayUp(question, SERVICE_FAILED);
}

void CLinkageManager::sendHistoryQuestion(const HistoryQuery& query) {
    CTradeClient& client = service<CTradeClient>();
    const std::string date = historyDate(query.day);
    const std::uint64_t question = query.question;
    if (query.records == EHistoryRecords::Deals) {
        client.queryHistoryDeals(
            query.accountKey, date,
            guarded(
                [this, question](const utils::VexError& error, const std::vector<DealPtr>& deals) {
                    post([=, this] { onQueryHistoryDeal(question, error, deals); });
                }));
    } else {
        client.queryHistoryOrders(
            query.accountKey, date,
            guarded([this, question](const utils::VexError& error,
                                     const std::vector<OrderPtr>& orders) {
                post([=, this] { onQueryHistoryOrder(question, error, orders); });
            }));
    }
}

void CLinkageManager::giveHistoryDayUp(std::uint64_t question, const char* fault) {
    const CStep step(tape(),
                     [&] { return callOf("giveHistoryDayUp", static_cast<int>(question), fault); });
    CLock lock(m_mutex);
    const auto query = m_pServerHistory->close(question);
    lock.unlock();
    if (query) endHistoryDay(*query, failedDay(fault));
}

void CLinkageManager::onQueryHistoryDeal(std::uint64_t question, const utils::VexError& error,
                                         const std::vector<DealPtr>& deals) {
    takeHistoryAnswer(question, error, deals);
}

void CLinkageManager::onQueryHistoryOrder(std::uint64_t question, const utils::VexError& error,
                                          const std::vector<OrderPtr>& orders) {
    takeHistoryAnswer(question, error, orders);
}

template <class Record>
void CLinkageManager::takeHistoryAnswer(std::uint64_t question, const utils::VexError& error,
                                        const std::vector<boost::shared_ptr<Record>>& records) {
    const CStep step(tape(), [&] { return HistoryInput<Record>{question, error, records}; });
    CLock lock(m_mutex);
    const auto query = m_pServerHistory->close(question);
    if (!query) return;
    const std::string date = historyDate(query->day);
    std::vector<boost::shared_ptr<Record>> own;
    HistoryDay result{.state = HistoryDay::EState::Answered};
    if (!error.isOk()) {
        result = failedDay(fmt::format("error {0} {1}", error.m_nError, error.m_strText));
    } else if (date == m_pTradeDate->get()) {
        result = failedDay(RUNNING_DAY);
    } else if (!attempt(operationOf(query->records),
                        [&] { own = ownRecords(*m_pLedger, *query, records); })) {
        result = failedDay(SERVICE_FAILED);
    } else {
        const int day = dayKey(date);
        if (m_pServerHistory->takesAnswer(*query)) {
            fileAnswer(*m_pLedger, *query, m_pServerHistory->filed(*query), own);
            relinkImported<Record>(query->accountKey, day);
        }
        result.records =
            static_cast<int>(recordsOfDay<Record>(*m_pLedger, query->accountKey, day).size());
    }
    lock.unlock();
    endHistoryDay(*query, result);
}

// Tells that a day is over, without the manager's lock, so that a slot may do anything. The
// next day has its turn of the strand later: reports do not wait for a whole range.
void CLinkageManager::endHistoryDay(HistoryQuery query, const HistoryDay& result) {
    {
        const CLock lock(m_mutex);
        m_pServerHistory->endDay(query, result);
    }
    if (!result.fault.empty()) {
        LINKAGE_LOG_WARNING(operationOf(query.records), "account {0}, day {1}: {2}",
                            query.accountKey, historyDate(query.day), result.fault);
    }
    const QDateTime day = query.day.isValid() ? query.day.startOfDay() : QDateTime();
    raise(operationOf(query.records), [&] {
        if (query.records == EHistoryRecords::Deals) {
            Q_EMIT sigHistoryDealsDone(day, query.accountKey);
        } else {
            Q_EMIT sigHistoryOrdersDone(day, query.accountKey);
        }
    });
    if (query.day >= query.last) return;
    query.day = query.day.addDays(1);
    post(leftQuery("askHistory", query));
}

std::map<unsigned long long, DealPtr> CLinkageManager::getAccountDeals(
    const std::string& accountKey, int day) const {
    CLedger::CRecordsCopy<DealPtr> deals(*m_pLedger, {{accountKey}, {}, day});
    copyInSlices(
        m_mutex, [] {}, deals);
    return deals.takeByRecord();
}

std::map<unsigned long long, OrderPtr> CLinkageManager::getAccountOrders(
    const std::string& accountKey, int day) const {
    CLedger::CRecordsCopy<OrderPtr> orders(*m_pLedger, {{accountKey}, {}, day});
    copyInSlices(
        m_mutex, [] {}, orders);
    return orders.takeByRecord();
}

}  // namespace TC
