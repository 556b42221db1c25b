#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/curvedata.h"

namespace TC {

namespace {

constexpr std::int64_t CALCULATOR_MICROS = 3'000'000;

constexpr char STAT_CALCULATOR[] = "CLinkageManager::runStatCalculator";

}  // namespace

void CLinkageManager::runStatCalculator() {
    std::vector<CLedger::ProfitSum> sums;
    bool hadRecords = false;
    {
        const CLock lock(m_mutex);
        hadRecords = m_pLedger->hasFigures();
        attempt(STAT_CALCULATOR, [&] {
            if (hadRecords) sums = m_pLedger->revalue({limitRate(false), limitRate(true)});
        });
    }
    if (sigProfitChanged.empty()) sums.clear();
    for (const CLedger::ProfitSum& sum : sums) {
        raise(STAT_CALCULATOR, sigProfitChanged, sum.account, sum.strategy, sum.profit);
    }
    if (hadRecords) raise(STAT_CALCULATOR, sigStatDataChanged);
    armTimer(*m_pEngine->m_statTimer, *m_pEngine->m_strand, CALCULATOR_MICROS,
             guarded([this] { runStatCalculator(); }));
}

void CLinkageManager::startProfitCalculator() {
    switchCalculator(&CCurveData::m_bProfitCalcRunning);
}

void CLinkageManager::startBalanceCalculator() {
    switchCalculator(&CCurveData::m_bBalanceCalcRunning);
}

void CLinkageManager::switchCalculator(bool CCurveData::*own) {
    CLock lock(m_mutex);
    const bool running = m_pCurveData->isWanted();
    (*m_pCurveData).*own = true;
    lock.unlock();
    if (!running) runExtCalculator();
}

void CLinkageManager::stopProfitCalculator() {
    const CLock lock(m_mutex);
    m_pCurveData->m_bProfitCalcRunning = false;
}

void CLinkageManager::stopBalanceCalculator() {
    const CLock lock(m_mutex);
    m_pCurveData->m_bBalanceCalcRunning = false;
}

}  // namespace TC
