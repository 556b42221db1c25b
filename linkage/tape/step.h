#pragma once

#include "linkage/tape/moment.h"
#include "linkage/tape/tape.h"
#include "linkage/tape/tapepart.h"
#include "linkage/tape/tapeswitch.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace TC {

/// One step of the manager: what it does because of one report, one timer, one call of the client.
/// Without a tape it does nothing but tell that its thread is in a step.
///
/// Threads: lives on the stack of the thread that takes the step.
class CStep {
public:
    /// `make` gives what the step is taken for; it is called only with a tape. A step within a step
    /// belongs to the outer one.
    template <class MakeInput>
    CStep(const std::shared_ptr<CTapeSwitch>& tapeSwitch, const MakeInput& make)
        : m_visit(tapeSwitch) {
        if (ITape* const tape = m_visit.tape()) begin(*tape, make);
    }
    ~CStep() {
        if (m_pTape || m_pOuter) end();
    }
    CStep(const CStep&) = delete;
    CStep& operator=(const CStep&) = delete;

    /// The step that the calling thread takes; null: none that is on a tape, or it is outside the
    /// library. What a client asks the library from there decides nothing.
    static CStep* current();

    /// The step in hand changes something that a lock of its own guards, and has that lock.
    static void takesPlace() {
        if (CStep* const step = current()) step->tape().holds(*step);
    }

    ITape& tape() const { return *m_pTape; }
    /// What the tape keeps of the step's part in hand.
    TapePart& part() { return m_part; }
    /// Counts what the step asks of others, and what it tells them.
    unsigned nextCall() { return ++m_nCalls; }
    unsigned calls() const { return m_nCalls; }
    /// Names work that the step leaves for later.
    Ticket nextTicket(const char* name) { return {m_part.step, name, ++m_tickets[name]}; }

    /// While it lives, the step is outside the library: what comes in then is the client's.
    class COutside {
    public:
        explicit COutside(CStep* step) : m_pStep(step) {
            if (m_pStep) ++m_pStep->m_nOutside;
        }
        ~COutside() {
            if (m_pStep) --m_pStep->m_nOutside;
        }
        COutside(const COutside&) = delete;
        COutside& operator=(const COutside&) = delete;

    private:
        CStep* m_pStep;
    };

private:
    template <class MakeInput>
    void begin(ITape& tape, const MakeInput& make) {
        CStep* const outer = innermost();
        if (outer && outer->m_nOutside == 0) return;
        // The step itself must not notice that there is no memory for what it is taken for.
        try {
            if (outer) {
                outer->m_pTape->callsBack(*outer, make());
            } else {
                m_part.take(make());
            }
        } catch (...) {
            tape.lacksMemory();
        }
        if (!outer) return open(tape);
        m_pOuter = outer;
        m_nOutsideOfOuter = std::exchange(outer->m_nOutside, 0);
    }
    static CStep* innermost();
    void open(ITape& tape);
    void end();

    const CTapeSwitch::CVisit m_visit;
    ITape* m_pTape = nullptr;
    TapePart m_part;
    unsigned m_nCalls = 0;
    int m_nOutside = 0;
    std::map<std::string_view, unsigned> m_tickets;
    std::optional<CHeldMoment> m_moment;
    CStep* m_pOuter = nullptr;
    int m_nOutsideOfOuter = 0;
};

/// Asks `work` for a decision that neither the manager's state nor a service makes. On a tape the
/// decision is an answer under this name.
template <class Work>
bool decideOnTape(const char* name, const Work& work) {
    CStep* const step = CStep::current();
    if (!step) return work();
    const TapeAnswer answer = step->tape().asks(*step, step->nextCall(), {name, {}},
                                                [&] { return TapeAnswer(bool{work()}); });
    return std::get<bool>(answer);
}

}  // namespace TC
