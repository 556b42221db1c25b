#pragma once

#include "lab/schedule.h"

#include <cstdint>

namespace lab {

class CDay;
struct Pair;

/// Carries out the steps of a plan: sends and cancels orders, asks for balances, and does to
/// the client what the plan says.
class CTrader {
public:
    explicit CTrader(CDay& day) : m_day(day) {}

    void carryOut(const Step& step);
    /// Asks for a balance in the form of the step; nothing happens while the library is down.
    void ask(EStep kind, const Pair& pair);

private:
    void order(const Step& step);
    void cancel(const Step& step);
    void disturb(const Step& step);
    void call(EStep kind, const Pair& pair);

    CDay& m_day;
};

}  // namespace lab
