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
        RecordSource& source = sources[key];
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
    const CLock lock(m_mutex);
    const auto sources = [&]<class Record>(const ImportState::Days<Record>& days) {
        const auto imported = days.find({accountKey, day});
        return sourcesOf(recordsOfDay<Record>(*m_pLedger, accountKey, day),
                         m_pServerHistory->filedKeys(records, accountKey, dayText(day)),
                         imported == days.end() ? std::unordered_map<std::uint64_t, int>()
                                                : imported->second.origins());
    };
    return records == EHistoryRecords::Deals
               ? sources.operator()<vexservice::CDealDetail>(m_pImports->deals)
               : sources.operator()<vexservice::COrderDetail>(m_pImports->orders);
}

}  // namespace TC
