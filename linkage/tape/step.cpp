#include "linkage/tape/step.h"

namespace TC {

namespace {

thread_local CStep* t_step = nullptr;

}  // namespace

CStep* CStep::innermost() { return t_step; }

CStep* CStep::current() { return t_step && t_step->m_nOutside == 0 ? t_step : nullptr; }

void CStep::open(ITape& tape) {
    m_pTape = &tape;
    t_step = this;
    // Several reports may be taken in while the strand has the lock.
    m_part.inHold = tape.hasLock();
    m_part.moment = tape.begins(*this);
    m_moment.emplace(m_part.moment);
}

void CStep::end() {
    if (m_pOuter) {
        m_pOuter->m_nOutside = m_nOutsideOfOuter;
        return;
    }
    m_moment.reset();
    m_pTape->ends(*this);
    t_step = nullptr;
}

}  // namespace TC
