#include "linkage/store/serverhistory.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/store/importsettling.h"
#include "linkage/store/importstate.h"
#include "platform/log.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <map>
#include <type_traits>

namespace TC {

namespace {

constexpr char FORMAT[] = "yyyyMMdd";

const char* operationOf(EHistoryRecords records) {
    return records == EHistoryRecords::Deals ? "TC::CLinkageManager::onQueryHistoryDeal"
                                             : "TC::CLinkageManager::onQueryHistoryOrder";
}

bool isKnownAccount(const std::string& accountKey) {
    auto* center = vexservice::TraderCenter::instance()->getDataCenter();
    return center->getAccountData(utils::hash(accountKey)) != nullptr;
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

// Puts an answer in the place of what the server filed before. What was reported under a
// key of its own and has the same number stays as it was reported.
template <class Record>
void fileAnswer(CLedger& ledger, const HistoryQuery& query, CServerHistory::Filed& filed,
                const std::vector<boost::shared_ptr<Record>>& records) {
    const std::string date = query.day.toString(FORMAT).toStdString();
    const int day = dayKey(date);
    constexpr bool DEALS = std::is_same_v<Record, vexservice::CDealDetail>;
    const auto removeFiled = [&](const CServerHistory::Keys& keys) {
        if constexpr (DEALS) {
            ledger.removeFiledDeals(day, query.accountKey, keys);
        } else {
            ledger.removeFiledOrders(day, query.accountKey, keys);
        }
    };
    removeFiled(filed.keys);
    filed = {};
    CReported<Record> reported(recordsOfDay<Record>(ledger, query.accountKey, day));
    int strays = 0;
    for (const auto& record : records) {
        if (!record) continue;
        if (!record->m_strTradeDate.empty() && record->m_strTradeDate != date) {
            ++strays;
            continue;
        }
        if (!ledger.follows(record->m_strMarket, record->m_strCode)) continue;
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
    if (strays > 0) {
        VEX_INFO(operationOf(query.records),
                 "account {0}, day {1}: {2} records of other days left out", query.accountKey, date,
                 strays);
    }
}

}  // namespace

QDate historyDay(const std::string& text) { return QDate::fromString(Pim::sToQs(text), FORMAT); }

std::string historyRangeFault(const QDate& first, const QDate& last, const QDate& tradeDate) {
    if (!first.isValid() || !last.isValid()) return "no such day";
    if (first > last) return "the first day is after the last";
    if (last > tradeDate) return "the last day has not come yet";
    if (first < QDate(1990, 1, 1)) return "the first day is before any exchange";
    return {};
}

std::uint64_t CServerHistory::open(const HistoryQuery& query, const Timer& deadline) {
    m_open[++m_nLast] = {query, deadline};
    return m_nLast;
}

std::optional<HistoryQuery> CServerHistory::close(std::uint64_t number) {
    const auto at = m_open.find(number);
    if (at == m_open.end()) return std::nullopt;
    at->second.deadline->cancel();
    const HistoryQuery query = at->second.query;
    m_open.erase(at);
    return query;
}

CServerHistory::Filed& CServerHistory::filed(const HistoryQuery& query) {
    return m_filed[{query.records, query.accountKey, query.day.toString(FORMAT).toStdString()}];
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
            m_pLedger->removeFiledDeals(day, accountKey, {*other});
            unreportImported(accountKey, day, *other);
        }
    }
    noteReported(accountKey, deal);
}

void CLinkageManager::requestAccountDeals(const std::string& accountKey,
                                          const std::string& firstDay, const std::string& lastDay) {
    const HistoryQuery query{EHistoryRecords::Deals, accountKey, historyDay(firstDay), {}};
    post([this, query, lastDay] { startHistoryQuery(query, lastDay); });
}

void CLinkageManager::requestAccountOrders(const std::string& accountKey,
                                           const std::string& firstDay,
                                           const std::string& lastDay) {
    const HistoryQuery query{EHistoryRecords::Orders, accountKey, historyDay(firstDay), {}};
    post([this, query, lastDay] { startHistoryQuery(query, lastDay); });
}

void CLinkageManager::startHistoryQuery(HistoryQuery query, const std::string& lastDay) {
    query.last = historyDay(lastDay);
    std::string fault = historyRangeFault(query.day, query.last, historyDay(m_pTradeDate->get()));
    if (fault.empty() && !isKnownAccount(query.accountKey)) fault = "no such account";
    if (fault.empty()) {
        askHistoryDay(query);
        return;
    }
    query.last = query.day;
    endHistoryDay(query, fault);
}

void CLinkageManager::askHistoryDay(const HistoryQuery& query) {
    const std::string date = query.day.toString(FORMAT).toStdString();
    if (date == m_pTradeDate->get()) {
        endHistoryDay(query, "records of the running day come with its reports");
        return;
    }
    const auto deadline = boost::make_shared<utils::DeadlineTimer>(m_pEngine->m_strand->context());
    std::uint64_t number = 0;
    {
        const CLock lock(m_mutex);
        number = m_pServerHistory->open(query, deadline);
    }
    deadline->expires_from_now(boost::posix_time::seconds(CServerHistory::ANSWER_SECONDS));
    deadline->async_wait(guarded([this, number](const boost::system::error_code& error) {
        if (!error) post([this, number] { giveHistoryDayUp(number); });
    }));

    CTradeClient& client = *utils::CManualSingletonT<CTradeClient>::instance();
    if (query.records == EHistoryRecords::Deals) {
        client.queryHistoryDeals(query.accountKey, date,
                                 guarded([this, number](const utils::VexError& error,
                                                        const std::vector<DealPtr>& deals) {
                                     post([=, this] { onQueryHistoryDeal(number, error, deals); });
                                 }));
    } else {
        client.queryHistoryOrders(
            query.accountKey, date,
            guarded(
                [this, number](const utils::VexError& error, const std::vector<OrderPtr>& orders) {
                    post([=, this] { onQueryHistoryOrder(number, error, orders); });
                }));
    }
}

void CLinkageManager::giveHistoryDayUp(std::uint64_t number) {
    CLock lock(m_mutex);
    const auto query = m_pServerHistory->close(number);
    lock.unlock();
    if (query) endHistoryDay(*query, "no answer");
}

void CLinkageManager::onQueryHistoryDeal(std::uint64_t number, const utils::VexError& error,
                                         const std::vector<DealPtr>& deals) {
    takeHistoryAnswer(number, error, deals);
}

void CLinkageManager::onQueryHistoryOrder(std::uint64_t number, const utils::VexError& error,
                                          const std::vector<OrderPtr>& orders) {
    takeHistoryAnswer(number, error, orders);
}

template <class Record>
void CLinkageManager::takeHistoryAnswer(std::uint64_t number, const utils::VexError& error,
                                        const std::vector<boost::shared_ptr<Record>>& records) {
    CLock lock(m_mutex);
    const auto query = m_pServerHistory->close(number);
    if (!query) return;
    std::string fault;
    if (error.isOk()) {
        fileAnswer(*m_pLedger, *query, m_pServerHistory->filed(*query), records);
        relinkImported<Record>(query->accountKey,
                               dayKey(query->day.toString(FORMAT).toStdString()));
    } else {
        fault = fmt::format("error {0} {1}", error.m_nError, error.m_strText);
    }
    lock.unlock();
    endHistoryDay(*query, fault);
}

// Tells that a day is over, without the manager's lock, so that a slot may do anything, and
// asks for the next day. A day without an answer is the last one, because days after a gap
// would look like the whole range.
void CLinkageManager::endHistoryDay(HistoryQuery query, const std::string& fault) {
    if (!fault.empty()) {
        VEX_INFO(operationOf(query.records), "account {0}, day {1}: {2}", query.accountKey,
                 query.day.toString(FORMAT).toStdString(), fault);
        query.last = query.day;
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
    askHistoryDay(query);
}

std::map<unsigned long long, DealPtr> CLinkageManager::getAccountDeals(
    const std::string& accountKey, int day) const {
    const CLock lock(m_mutex);
    return m_pLedger->accountDeals(accountKey, day);
}

std::map<unsigned long long, OrderPtr> CLinkageManager::getAccountOrders(
    const std::string& accountKey, int day) const {
    const CLock lock(m_mutex);
    return m_pLedger->accountOrders(accountKey, day);
}

}  // namespace TC
