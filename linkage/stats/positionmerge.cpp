#include "linkage/stats/positionmerge.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/ledger.h"
#include "platform/utils/keys.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace TC {

namespace {

int within32Bits(std::int64_t value) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

}  // namespace

PositionPtr mergePosition(const PositionParts& parts) {
    if (parts.reports.empty()) return {};
    if (parts.reports.size() == 1) return parts.reports.begin()->second;

    std::int64_t volume = 0;
    std::int64_t available = 0;
    double value = 0.0;
    for (const auto& [key, report] : parts.reports) {
        volume += report->m_nVolume;
        available += report->m_nAvailable;
        if (report->m_nVolume != 0) value += report->m_nVolume * report->m_dCost;
    }
    const auto first = parts.reports.find(parts.key);
    const auto& named =
        first == parts.reports.end() ? parts.reports.begin()->second : first->second;
    PositionPtr merged(new vexservice::CPositionStatics(*named));
    merged->m_nRecordKey = parts.key;
    merged->m_nVolume = within32Bits(volume);
    merged->m_nAvailable = within32Bits(available);
    merged->m_dCost =
        volume != 0 ? value / static_cast<double>(volume) : parts.reports.begin()->second->m_dCost;
    return merged;
}

PositionPtr CLinkageManager::tryMergePosition(const PositionPtr& position) {
    if (!position) return {};
    const CLock lock(m_mutex);
    if (!m_pLedger->follows(position->m_strMarket, position->m_strCode)) return {};
    const std::string account =
        position->m_pAccountInfo ? position->m_pAccountInfo->getKey() : std::string();
    if (account.empty()) return position;

    PositionParts& parts =
        m_pPositionReports
            ->m_parts[account][utils::zorStockKey(position->m_strMarket, position->m_strCode)];
    if (parts.reports.empty()) parts.key = position->recordKey();
    parts.reports[position->recordKey()] = position;
    return mergePosition(parts);
}

}  // namespace TC
