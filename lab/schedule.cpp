#include "lab/schedule.h"

#include "lab/random.h"
#include "lab/times.h"

#include <algorithm>
#include <iterator>

namespace lab {

namespace {

constexpr int OPENING = 8'000;  // milliseconds in which the day's first orders go out
constexpr std::uint64_t PLAN = 1;

/// Draws the parts of a plan in a fixed order.
class CPlanner {
public:
    CPlanner(std::uint64_t seed, const Dials& dials)
        : m_random(CRandom::of(seed, PLAN, 0)), m_dials(dials) {
        m_plan.seed = seed;
        m_plan.dials = dials;
    }

    Plan plan() {
        drawClient();
        drawStocks();
        m_nEnd = m_random.between(40'000, 160'000);
        drawOpening();
        drawAsks();
        drawManual();
        drawEvents();
        std::stable_sort(m_plan.steps.begin(), m_plan.steps.end(),
                         [](const Step& left, const Step& right) { return left.at < right.at; });
        return std::move(m_plan);
    }

private:
    bool rolls(EFault fault) { return m_random.chance(m_dials[fault]); }
    template <class List>
    int anyOf(const List& list) {
        return m_random.below(static_cast<int>(list.size()));
    }
    /// A moment after the opening, in milliseconds.
    int moment() { return m_random.between(OPENING, m_nEnd); }

    Step& add(EStep kind, int milliseconds) {
        Step step{.at = milliseconds * MILLI, .kind = kind};
        step.account = anyOf(m_plan.accounts);
        step.strategy = anyOf(m_plan.strategies);
        step.stock = anyOf(m_plan.stocks);
        return m_plan.steps.emplace_back(step);
    }

    void drawClient() {
        static const char* const STRATEGIES[] = {"", "grid", "pairs", "trend"};
        m_plan.clientType = m_random.chance(50) ? 3 : 1;
        m_plan.rounds = m_random.chance(50) ? 1 : m_random.between(2, 3);
        m_plan.roundSeconds = m_random.between(3, 20);
        m_plan.named = !rolls(EFault::Unnamed);
        m_plan.numbered = !rolls(EFault::Unnumbered);
        m_plan.accounts = {"A"};
        if (m_random.chance(30)) m_plan.accounts.emplace_back("B");
        const int strategies = m_random.between(1, 4);
        m_plan.strategies.assign(STRATEGIES, STRATEGIES + strategies);
    }

    void drawStocks() {
        static const Stock STOCKS[] = {
            {"SH", "600000"}, {"SZ", "000001"}, {"SH", "600004"}, {"SZ", "000002"}};
        m_plan.stocks.assign(STOCKS, STOCKS + m_random.between(1, 4));
        for (Stock& stock : m_plan.stocks) {
            if (m_random.chance(15)) stock.unit = 200;
            stock.anyVolume = m_random.chance(10);
        }
        if (rolls(EFault::NoPrice)) m_plan.stocks.back().priced = false;
        if (rolls(EFault::NoInstrument)) m_plan.stocks.back().detail = false;
        if (!rolls(EFault::History) || m_plan.strategies.size() < 2) return;
        for (int left = m_random.between(1, 3); left > 0; --left) {
            Rest rest{.account = anyOf(m_plan.accounts), .stock = anyOf(m_plan.stocks)};
            rest.strategy = 1 + m_random.below(static_cast<int>(m_plan.strategies.size()) - 1);
            rest.bought = 100 * m_random.below(20) + m_random.below(2) * 50;
            rest.sold = 100 * m_random.below(20);
            m_plan.rests.push_back(rest);
        }
    }

    void order(int milliseconds) {
        Step& step = add(EStep::Order, milliseconds);
        step.flag = m_random.chance(60);
        step.amount = 100 * m_random.between(1, 20);
        if (rolls(EFault::OddLots)) step.amount += m_random.between(1, 99);
    }

    void drawOpening() {
        for (int left = m_random.between(2, 8); left > 0; --left) order(m_random.below(OPENING));
    }

    /// A strategy rather than the whole account, which ends the strategies' balances.
    void ask(EStep kind, int milliseconds, int account, int strategy) {
        Step& step = add(kind, milliseconds);
        step.account = account;
        step.strategy = strategy;
    }

    void drawAsks() {
        for (int left = m_random.between(1, 6); left > 0; --left) {
            const int at = moment();
            const int account = anyOf(m_plan.accounts);
            int strategy = anyOf(m_plan.strategies);
            if (strategy == 0 && m_random.chance(50)) strategy = anyOf(m_plan.strategies);
            const auto kind = m_random.chance(85) ? EStep::Ask : EStep::AskNow;
            ask(kind, at, account, strategy);
            if (rolls(EFault::Twice)) {
                ask(kind, at + m_random.below(9'000), account, strategy);
            }
            if (rolls(EFault::Twice)) {
                ask(kind, at + m_random.below(20'000), account, anyOf(m_plan.strategies));
            }
            if (m_random.chance(10)) ask(EStep::Try, at + 6'000, account, strategy);
            if (!rolls(EFault::AtOnce)) continue;
            ask(m_random.chance(50) ? EStep::SendAtOnce : EStep::SendGrouped,
                at + m_random.below(40'000), account, strategy);
        }
        if (m_plan.rests.empty()) return;
        for (int left = m_random.between(1, 4); left > 0; --left) {
            const Rest& rest = m_plan.rests[static_cast<std::size_t>(anyOf(m_plan.rests))];
            ask(m_random.chance(50) ? EStep::HistoryAtOnce : EStep::HistoryGrouped, moment(),
                rest.account, m_random.chance(10) ? 0 : rest.strategy);
        }
    }

    void drawManual() {
        for (int left = m_random.between(0, 6); left > 0; --left) {
            const int at = moment();
            if (rolls(EFault::Manual)) order(at);
        }
        for (int left = m_random.between(0, 2); left > 0; --left) add(EStep::Cancel, moment());
    }

    void event(EFault fault, EStep kind, int least, int most) {
        const bool happens = rolls(fault);
        const int at = moment();
        const int amount = m_random.between(least, most);
        const bool flag = m_random.chance(50);
        if (!happens) return;
        Step& step = add(kind, at);
        step.amount = amount;
        step.flag = flag;
    }

    void drawEvents() {
        event(EFault::Reload, EStep::Request, 0, 0);
        event(EFault::Reload, EStep::Ready, 0, 0);
        event(EFault::Reload, EStep::Ready, 0, 0);
        event(EFault::Login, EStep::Login, 0, 0);
        event(EFault::Rollover, EStep::Rollover, 0, 0);
        event(EFault::SameDate, EStep::SameDate, 0, 0);
        event(EFault::Restart, EStep::Restart, 0, 20);
        event(EFault::Crash, EStep::Crash, 0, 20);
        event(EFault::CrashInSend, EStep::CrashInSend, 0, 20);
        event(EFault::CrashInSend, EStep::CrashInSend, 0, 80);
        event(EFault::CrashInCancel, EStep::CrashInCancel, 0, 20);
        event(EFault::Disk, EStep::Disk, 0, 23);
        event(EFault::Task, EStep::Task, 5, 60);
    }

    CRandom m_random;
    const Dials m_dials;
    Plan m_plan;
    int m_nEnd = 0;
};

}  // namespace

const char* nameOf(EStep step) {
    static const char* const NAMES[] = {"order",
                                        "cancel",
                                        "ask",
                                        "ask now",
                                        "send at once",
                                        "send grouped",
                                        "send history",
                                        "send history grouped",
                                        "try",
                                        "task",
                                        "request",
                                        "ready",
                                        "login",
                                        "rollover",
                                        "same date",
                                        "restart",
                                        "crash",
                                        "crash in a command",
                                        "crash in a cancellation",
                                        "disk"};
    static_assert(std::size(NAMES) == static_cast<std::size_t>(EStep::Disk) + 1);
    return NAMES[static_cast<std::size_t>(step)];
}

Plan planOf(std::uint64_t seed, const Dials& dials) { return CPlanner(seed, dials).plan(); }

}  // namespace lab
