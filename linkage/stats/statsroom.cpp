#include "linkage/core/clinkagemanager.h"
#include "linkage/stats/curvedata.h"
#include "linkage/stats/positionmerge.h"

namespace TC {

RoomPtr<CCurveData> CLinkageManager::makeCurveData() { return makeRoom<CCurveData>(); }

RoomPtr<PositionReports> CLinkageManager::makePositionReports() {
    return makeRoom<PositionReports>();
}

void CLinkageManager::newStatsDay() { m_pCurveData->newDay(); }

void CLinkageManager::dropStatsOf(const std::string& accountKey) {
    m_pCurveData->forgetAccount(accountKey);
    m_pPositionReports->drop(accountKey);
}

}  // namespace TC
