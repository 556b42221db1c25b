#include "linkage/core/clinkagemanager.h"
#include "linkage/store/importsettling.h"
#include "linkage/store/importstate.h"
#include "linkage/store/importstore.h"
#include "linkage/tape/step.h"
#include "platform/log.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace TC {

bool CLinkageManager::undoImport(int number) {
    const CStep step(tape(), [&] { return callOf("undoImport", number); });
    {
        const CLock lock(m_mutex);
        // Whoever takes it back first does.
        if (m_pImports->summaries.erase(number) == 0) return false;
    }
    takeImportBack(number);
    LINKAGE_LOG_INFO("TC::CLinkageManager::undoImport", "Import {0} was taken back", number);
    return true;
}

void CLinkageManager::takeImportBack(int number) {
    m_pImports->store.remove(number);
    dropImport<vexservice::CDealDetail>(number);
    dropImport<vexservice::COrderDetail>(number);
}

template <class Record>
void CLinkageManager::dropImport(int number) {
    std::vector<ImportState::Place> places;
    {
        const CLock lock(m_mutex);
        for (const auto& [place, records] : m_pImports->of<Record>()) places.push_back(place);
    }
    for (const auto& place : places) {
        std::uint64_t next = 0;
        for (bool more = true; more; m_mutex.giveWay()) {
            const CLock lock(m_mutex);
            const auto at = m_pImports->of<Record>().find(place);
            more = at != m_pImports->of<Record>().end() &&
                   at->second.drop(number, LOOKS_PER_HOLD, next);
        }
        settleDay<Record>(place.first, place.second);
        forgetDay<Record>(place);
    }
}

// Without an import, reports of the day have nothing to meet any more.
template <class Record>
void CLinkageManager::forgetDay(const std::pair<std::string, int>& place) {
    typename ImportState::Days<Record>::node_type gone;  // is destroyed without the lock
    const CLock lock(m_mutex);
    auto& days = m_pImports->of<Record>();
    const auto at = days.find(place);
    if (at == days.end() || at->second.hasImports()) return;
    if (at->second.isSettled() || !at->second.isLinked()) gone = days.extract(at);
}

std::vector<ImportSummary> CLinkageManager::getImports() const {
    const CLock lock(m_mutex);
    std::vector<ImportSummary> imports;
    for (const auto& [number, summary] : m_pImports->summaries) imports.push_back(summary);
    return imports;
}

}  // namespace TC
