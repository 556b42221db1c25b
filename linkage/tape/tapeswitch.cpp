#include "linkage/tape/tapeswitch.h"

namespace TC {

namespace {

struct Visiting {
    unsigned depth = 0;
    ITape* tape = nullptr;
};

thread_local Visiting t_visiting;

}  // namespace

CTapeSwitch::CVisit::CVisit(CTapeSwitch& tapeSwitch) : m_switch(tapeSwitch) {
    if (t_visiting.depth++ > 0) return;
    if (m_switch.enter()) t_visiting.tape = m_switch.m_pTape.load(std::memory_order_relaxed);
}

CTapeSwitch::CVisit::~CVisit() {
    if (--t_visiting.depth > 0) return;
    m_switch.m_state.fetch_sub(t_visiting.tape ? ONE_TAPED : 1);
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
    if (m_state.load() >= ONE_TAPED) return false;
    m_pTape.store(tape);
    m_state.fetch_or(ON);
    return true;
}

}  // namespace TC
