#include "linkage/store/filedrecords.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/daykey.h"
#include "linkage/store/importsettling.h"
#include "linkage/store/importstate.h"
#include "linkage/store/serverhistory.h"

// What is filed of an account under past days, and where it comes from.

namespace TC {

namespace {

using Sources = std::map<unsigned long long, RecordSource>;

template <class Record>
Sources sourcesOf(const ByRecord<boost::shared_ptr<Record>>& records,
                  const CServerHistory::Keys& answered,
                  const std::unordered_map<std::uint64_t, int>& imports) {
    Sources sources;
    for (const auto& [key, record] : records) {
        RecordSource& source = sources.emplace_hint(sources.end(), key, RecordSource())->second;
        if (record->m_bImported) {
            const auto import = imports.find(key);
            source = {RecordSource::EKind::Imported, import == imports.end() ? 0 : import->second};
        } else if (answered.count(key) > 0) {
            source.kind = RecordSource::EKind::Answered;
        }
    }
    return sources;
}

}  // namespace

std::set<int> CLinkageManager::getFiledDays(const std::string& accountKey) const {
    const CLock lock(m_mutex);
    return m_pLedger->filedDays(accountKey);
}

Sources CLinkageManager::getRecordSources(EHistoryRecords records, const std::string& accountKey,
                                          int day) const {
    const bool ofDeals = records == EHistoryRecords::Deals;
    CLedger::RecordList<DealPtr> deals;
    CLedger::RecordList<OrderPtr> orders;
    CServerHistory::Keys answered;
    std::unordered_map<std::uint64_t, int> imports;
    {
        // What is copied under the lock is brought into order without it.
        const CLock lock(m_mutex);
        const auto importsOf = [&](const auto& days) {
            const auto imported = days.find({accountKey, day});
            if (imported != days.end()) imports = imported->second.origins();
        };
        answered = m_pServerHistory->filedKeys(records, accountKey, dayText(day));
        if (ofDeals) {
            deals = m_pLedger->listDeals(accountKey, day);
            importsOf(m_pImports->deals);
        } else {
            orders = m_pLedger->listOrders(accountKey, day);
            importsOf(m_pImports->orders);
        }
    }
    return ofDeals ? sourcesOf(CLedger::byRecord(std::move(deals)), answered, imports)
                   : sourcesOf(CLedger::byRecord(std::move(orders)), answered, imports);
}

}  // namespace TC
