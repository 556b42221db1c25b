#include "linkage/store/importsettling.h"

#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/copyinslices.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/published.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/daykey.h"
#include "linkage/store/import/importlines.h"
#include "linkage/store/importstate.h"
#include "platform/log.h"

#include <boost/make_shared.hpp>

#include <limits>
#include <optional>

// How imported records come into the ledger and leave it, beside what the trading system
// reports.

namespace TC {

namespace {

using vexservice::CDealDetail;
using vexservice::COrderDetail;

constexpr char READ_IMPORTS[] = "TC::CLinkageManager::readImports";
constexpr std::int64_t IMPORT_RETRY_MICROS = 30'000'000;

/// A report that meets no more records than these is settled at once, with so many others that
/// wait: one that it has left, but no large part of an import that is being filed.
constexpr std::size_t SETTLED_AT_ONCE = 64;
constexpr std::size_t SETTLED_BESIDE = 8;

/// A day of an account with changes that are not in the ledger yet.
template <class Days>
std::optional<int> unsettledDay(const Days& days, const std::string& accountKey) {
    for (auto at = days.lower_bound({accountKey, std::numeric_limits<int>::min()});
         at != days.end() && at->first.first == accountKey; ++at) {
        if (!at->second.isSettled()) return at->first.second;
    }
    return std::nullopt;
}

/// Tells a day what the ledger has of it, in slices where the caller does not hold the lock. `find`
/// gives the day's records in the hold of the last slice; null: nobody needs it any more.
template <class Record, class Find>
void linkReported(CRecursiveMutex& mutex, CLedger& ledger, const std::string& accountKey, int day,
                  Find find) {
    CFiledCopy<Record> filed(ledger, {{accountKey}, {}, day});
    copyInSlices(
        mutex,
        [&] {
            if (auto* const records = find()) records->link(filed.takeReports());
        },
        filed);
}

}  // namespace

// ------------------------------------------------------------------- the files

// Records are filed when their account is requested: only then is it known.
void CLinkageManager::readImports() {
    const CLock lock(m_mutex);
    for (const int number : m_pImports->store.numbers()) {
        m_pImports->lastNumber = number;
        const auto text = m_pImports->store.load(number);
        if (!text) continue;
        statement::StoredImport import = statement::importOf(*text);
        import.summary.number = number;
        if (import.damaged > 0) {
            LINKAGE_LOG_WARNING(READ_IMPORTS, "import {0}: {1} lines cannot be read", number,
                                import.damaged);
        }
        m_pImports->summaries[number] = import.summary;
        for (const auto& [account, deal] : import.deals) {
            m_pImports->deals[{account, m_pLedger->day(deal->m_strTradeDate)}].add(number, deal);
        }
        for (const auto& [account, order] : import.orders) {
            m_pImports->orders[{account, m_pLedger->day(order->m_strTradeDate)}].add(number, order);
        }
    }
}

void CLinkageManager::finishImports() { m_pImports->store.finish(); }

void CLinkageManager::retryImportsLater() {
    const CLock lock(m_mutex);
    armTimer(*m_pEngine->m_importTimer, *m_pEngine->m_strand, IMPORT_RETRY_MICROS,
             guarded([this] { m_pImports->store.retry(); }));
}

// ------------------------------------------------------------------- the ledger

template <class Record>
bool CLinkageManager::settleImported(const std::string& accountKey, int day, std::size_t most) {
    auto& days = m_pImports->of<Record>();
    const auto at = days.find({accountKey, day});
    if (at == days.end()) return false;
    const auto account = m_pAccounts->m_infos.find(accountKey);
    // What belongs to an account that was never requested waits for its request.
    if (account == m_pAccounts->m_infos.end()) return false;
    if (!at->second.isLinked()) {
        linkReported<Record>(m_mutex, *m_pLedger, accountKey, day, [&] { return &at->second; });
    }
    const auto changes = at->second.settle(most);
    if (auto* const gone = at->second.toRemove()) {
        if constexpr (std::is_same_v<Record, CDealDetail>) {
            m_pLedger->removeFiledDeals(day, accountKey, *gone, LOOKS_PER_HOLD);
        } else {
            m_pLedger->removeFiledOrders(day, accountKey, *gone, LOOKS_PER_HOLD);
        }
    }
    for (const auto& record : changes) {
        auto filed = record;
        if (filed->m_pAccountInfo != account->second) {
            // A record that was handed out never changes.
            filed = boost::make_shared<Record>(*record);
            filed->m_pAccountInfo = account->second;
        }
        if constexpr (std::is_same_v<Record, CDealDetail>) {
            importDeal(accountKey, filed);
        } else {
            importOrder(accountKey, filed);
        }
    }
    return !at->second.isSettled();
}

template bool CLinkageManager::settleImported<CDealDetail>(const std::string&, int, std::size_t);
template bool CLinkageManager::settleImported<COrderDetail>(const std::string&, int, std::size_t);

// Of the running day the ledger may have very much. What belongs to an account that was never
// requested waits for its request.
template <class Record>
void CLinkageManager::linkDay(const std::string& accountKey, int day) {
    auto& days = m_pImports->of<Record>();
    const auto wanted = [&] {
        const auto at = days.find({accountKey, day});
        const bool isWanted = at != days.end() && !at->second.isLinked() &&
                              m_pAccounts->m_infos.count(accountKey) > 0;
        return isWanted ? &at->second : nullptr;
    };
    CLock lock(m_mutex);
    if (!wanted()) return;
    lock.unlock();
    linkReported<Record>(m_mutex, *m_pLedger, accountKey, day, wanted);
}

template <class Record>
void CLinkageManager::settleDay(const std::string& accountKey, int day) {
    linkDay<Record>(accountKey, day);
    for (bool more = true; more; m_mutex.giveWay()) {
        const CLock lock(m_mutex);
        more = settleImported<Record>(accountKey, day, ROWS_PER_HOLD);
    }
}

template void CLinkageManager::settleDay<CDealDetail>(const std::string&, int);
template void CLinkageManager::settleDay<COrderDetail>(const std::string&, int);

// Also with many records of equal values, each report must stay cheap: then they are settled
// once for all the reports that wait.
template <class Record>
void CLinkageManager::noteReported(const std::string& accountKey, const Record& record) {
    auto& days = m_pImports->of<Record>();
    if (days.empty()) return;
    const int day = m_pLedger->day(record.m_strTradeDate);
    const auto at = days.find({accountKey, day});
    if (at == days.end() || !at->second.isLinked()) return;
    const std::size_t meets = at->second.report(record);
    if (meets == 0) return;
    if (meets <= SETTLED_AT_ONCE) settleImported<Record>(accountKey, day, meets + SETTLED_BESIDE);
    if (!at->second.isSettled()) refileLater(accountKey);
}

template void CLinkageManager::noteReported(const std::string&, const CDealDetail&);
template void CLinkageManager::noteReported(const std::string&, const COrderDetail&);

void CLinkageManager::unreportImported(const std::string& accountKey, int day, std::uint64_t key) {
    const auto at = m_pImports->deals.find({accountKey, day});
    if (at != m_pImports->deals.end()) at->second.unreport(key);
}

template <class Record>
void CLinkageManager::relinkImported(const std::string& accountKey, int day) {
    auto& days = m_pImports->of<Record>();
    const auto at = days.find({accountKey, day});
    if (at == days.end()) return;
    linkReported<Record>(m_mutex, *m_pLedger, accountKey, day, [&] { return &at->second; });
    if (settleImported<Record>(accountKey, day, ROWS_PER_HOLD)) refileLater(accountKey);
}

template void CLinkageManager::relinkImported<CDealDetail>(const std::string&, int);
template void CLinkageManager::relinkImported<COrderDetail>(const std::string&, int);

void CLinkageManager::forgetReported(const std::string& accountKey, const std::vector<int>& days) {
    for (const int day : days) {
        relinkImported<CDealDetail>(accountKey, day);
        relinkImported<COrderDetail>(accountKey, day);
    }
}

void CLinkageManager::restartImported(const std::string& accountKey) {
    const int today = dayKey(m_pTradeDate->get());
    bool any = false;
    const auto restart = [&](auto& days) {
        for (auto at = days.lower_bound({accountKey, std::numeric_limits<int>::min()});
             at != days.end() && at->first.first == accountKey; ++at) {
            if (at->first.second == today) {
                at->second.link({});
                at->second.forgetFiled();
            }
            any = any || !at->second.isSettled();
        }
    };
    restart(m_pImports->deals);
    restart(m_pImports->orders);
    if (any) refileLater(accountKey);
}

void CLinkageManager::refileLater(const std::string& accountKey) {
    if (!m_pEngine->hasStrand() || !m_pImports->refiling.insert(accountKey).second) return;
    post(LeftWork("refile", {accountKey}));
}

// A slice to each turn of the strand, so that reports never wait for a whole statement.
void CLinkageManager::refileImported(const std::string& accountKey) {
    const CLock lock(m_mutex);
    const int today = dayKey(m_pTradeDate->get());
    const std::size_t stocks = m_pLedger->countStocks(today);
    m_pImports->refiling.erase(accountKey);
    // Of an account that is not followed nothing would be settled.
    bool more = m_pAccounts->m_infos.count(accountKey) > 0;
    if (const auto day = unsettledDay(m_pImports->deals, accountKey); day && more) {
        settleImported<CDealDetail>(accountKey, *day, ROWS_PER_HOLD);
    } else if (const auto next = unsettledDay(m_pImports->orders, accountKey); next && more) {
        settleImported<COrderDetail>(accountKey, *next, ROWS_PER_HOLD);
    } else {
        more = false;
    }
    if (m_pLedger->countStocks(today) != stocks) {
        raise("TC::CLinkageManager::refileImported", sigStocksChanged);
    }
    if (more) refileLater(accountKey);
}

}  // namespace TC
