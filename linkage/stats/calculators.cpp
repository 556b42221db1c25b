#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/curvedata.h"
#include "linkage/tape/step.h"

#include <bit>
#include <cstdint>

namespace TC {

namespace {

constexpr std::int64_t CALCULATOR_MICROS = 3'000'000;

/// So many new records are put in order in one hold of the lock.
constexpr std::size_t SORTED_PER_HOLD = 1000;

constexpr char STAT_CALCULATOR[] = "CLinkageManager::runStatCalculator";

}  // namespace

void CLinkageManager::runStatCalculator() {
    std::vector<CLedger::ProfitSum> sums;
    bool hadRecords = false;
    {
        CLock lock(m_mutex);
        for (bool more = true; more;) {
            more = false;
            attempt(STAT_CALCULATOR, [&] { more = m_pLedger->sortGrown(SORTED_PER_HOLD); });
            if (!more) break;
            lock.unlock();
            m_mutex.giveWay();
            lock.relock();
        }
        hadRecords = m_pLedger->hasFigures();
        attempt(STAT_CALCULATOR, [&] {
            if (hadRecords) sums = m_pLedger->revalue({limitRate(false), limitRate(true)});
        });
    }
    if (CStep* const step = CStep::current()) {
        for (const CLedger::ProfitSum& sum : sums)
            step->tape().figures(*step, std::bit_cast<std::uint64_t>(sum.profit));
    }
    if (sigProfitChanged.empty()) sums.clear();
    for (const CLedger::ProfitSum& sum : sums) {
        raise(STAT_CALCULATOR, sigProfitChanged, sum.account, sum.strategy, sum.profit);
    }
    if (hadRecords) raise(STAT_CALCULATOR, sigStatDataChanged);
    armTimer(*m_pEngine->m_statTimer, *m_pEngine->m_strand, CALCULATOR_MICROS,
             guarded(later({"pass", {}})));
}

void CLinkageManager::startProfitCalculator() {
    switchCalculator("startProfitCalculator", &CCurveData::m_bProfitCalcRunning);
}

void CLinkageManager::startBalanceCalculator() {
    switchCalculator("startBalanceCalculator", &CCurveData::m_bBalanceCalcRunning);
}

void CLinkageManager::switchCalculator(const char* operation, bool CCurveData::*own) {
    const CStep step(tape(), [&] { return callOf(operation); });
    CLock lock(m_mutex);
    const bool running = m_pCurveData->isWanted();
    (*m_pCurveData).*own = true;
    lock.unlock();
    if (!running) runExtCalculator();
}

void CLinkageManager::stopProfitCalculator() {
    const CStep step(tape(), [] { return callOf("stopProfitCalculator"); });
    const CLock lock(m_mutex);
    m_pCurveData->m_bProfitCalcRunning = false;
}

void CLinkageManager::stopBalanceCalculator() {
    const CStep step(tape(), [] { return callOf("stopBalanceCalculator"); });
    const CLock lock(m_mutex);
    m_pCurveData->m_bBalanceCalcRunning = false;
}

}  // namespace TC
