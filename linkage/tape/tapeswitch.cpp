#include "linkage/tape/tapeswitch.h"

namespace TC {

namespace {

struct Visiting {
    unsigned depth = 0;
    ITape* tape = nullptr;
};

thread_local Visiting t_visiting;

}  // namespace

CTapeSwitch::CVisit::CVisit(const std::shared_ptr<CTapeSwitch>& tapeSwitch) {
    if (t_visiting.depth++ > 0) return;
    m_pSwitch = tapeSwitch;
    if (m_pSwitch->enter()) t_visiting.tape = m_pSwitch->m_pTape.load(std::memory_order_relaxed);
}

CTapeSwitch::CVisit::~CVisit() {
    --t_visiting.depth;
    if (!m_pSwitch) return;
    m_pSwitch->m_state.fetch_sub(t_visiting.tape ? ONE_TAPED : 1);
    t_visiting.tape = nullptr;
}

ITape* CTapeSwitch::CVisit::tape() const { return t_visiting.tape; }

// It counts as another step until it is known to be on the tape, so that none is ever missed.
bool CTapeSwitch::enter() {
    if ((m_state.fetch_add(1) & ON) == 0) return false;
    m_state.fetch_add(ONE_TAPED - 1);
    return true;
}

bool CTapeSwitch::turnOn(ITape* tape) {
    if (isOn() || isUsed()) return false;
    m_pTape.store(tape);
    m_state.fetch_or(ON);
    return true;
}

}  // namespace TC
