#include "linkage/store/filedrecords.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/copyinslices.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/recordscopy.h"
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
    CServerHistory::Keys answered;
    std::unordered_map<std::uint64_t, int> imports;
    const auto ask = [&](auto& copy, const auto& days) {
        copyInSlices(
            m_mutex,
            [&] {
                answered = m_pServerHistory->filedKeys(records, accountKey, dayText(day));
                const auto imported = days.find({accountKey, day});
                if (imported != days.end()) imports = imported->second.origins();
            },
            copy);
        return sourcesOf(copy.takeByRecord(), answered, imports);
    };
    if (records == EHistoryRecords::Deals) {
        CLedger::CRecordsCopy<DealPtr> deals(*m_pLedger, {{accountKey}, {}, day});
        return ask(deals, m_pImports->deals);
    }
    CLedger::CRecordsCopy<OrderPtr> orders(*m_pLedger, {{accountKey}, {}, day});
    return ask(orders, m_pImports->orders);
}

}  // namespace TC
