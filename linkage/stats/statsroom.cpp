#include "linkage/core/clinkagemanager.h"
#include "linkage/core/published.h"
#include "linkage/stats/curvedata.h"
#include "linkage/stats/positionmerge.h"
#include "linkage/tape/moment.h"

namespace TC {

RoomPtr<CCurveData> CLinkageManager::makeCurveData() { return makeRoom<CCurveData>(); }

RoomPtr<PositionReports> CLinkageManager::makePositionReports() {
    return makeRoom<PositionReports>();
}

void CLinkageManager::newStatsDay() { m_pCurveData->newDay(m_pTradeDate->get()); }

void CLinkageManager::notePriceNow(const std::string& stockKey, double price) {
    m_pCurveData->notePrice(stockKey, price, nowMicros());
}

void CLinkageManager::dropStatsOf(const std::string& accountKey) {
    m_pCurveData->suspectAccount(accountKey);
    m_pPositionReports->drop(accountKey);
}

}  // namespace TC
