#include "lab/schedule.h"

#include "lab/random.h"
#include "lab/times.h"
#include "platform/records/enums.h"

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
        drawServices();
        drawSaves();
        std::stable_sort(m_plan.steps.begin(), m_plan.steps.end(),
                         [](const Step& left, const Step& right) { return left.at < right.at; });
        for (std::size_t at = 0; at < m_plan.steps.size(); ++at) m_plan.steps[at].place = at + 1;
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
        m_plan.night = rolls(EFault::Midnight);
        m_plan.keepTimes = m_random.chance(50);
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
        const bool excluded = rolls(EFault::Excluded);
        m_plan.stocks.front().excluded = excluded && m_plan.stocks.size() > 1;
        if (!rolls(EFault::History) || m_plan.strategies.size() < 2) return;
        for (int left = m_random.between(1, 3); left > 0; --left) {
            Rest rest{.account = anyOf(m_plan.accounts), .stock = anyOf(m_plan.stocks)};
            rest.strategy = 1 + m_random.below(static_cast<int>(m_plan.strategies.size()) - 1);
            // What is never followed is never balanced.
            if (m_plan.stocks[static_cast<std::size_t>(rest.stock)].excluded) ++rest.stock;
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
        event(EFault::Disconnect, EStep::Disconnect, 1, 40);
        event(EFault::Import, EStep::Import, 0, 0);
    }

    bool has(EStep kind) const {
        return std::any_of(m_plan.steps.begin(), m_plan.steps.end(),
                           [kind](const Step& step) { return step.kind == kind; });
    }

    // A task that the data center keeps back is known to the market alone; the model does not
    // follow that.
    bool isBeyondTheModel(EFault fault) const {
        return fault == EFault::DataThrows && has(EStep::Task);
    }

    void drawServices() {
        for (std::size_t at = 0; at < SERVICE_FAULTS.size(); ++at) {
            const EFault fault = SERVICE_FAULTS[at].fault;
            const int times = m_random.between(1, 6);
            const std::size_t before = m_plan.steps.size();
            event(fault, EStep::Service, static_cast<int>(at), static_cast<int>(at));
            if (m_plan.steps.size() == before) continue;
            if (isBeyondTheModel(fault)) {
                m_plan.steps.pop_back();
                continue;
            }
            m_plan.steps.back().times = times;
            if (SERVICE_FAULTS[at].service != paper::EService::History) continue;
            Step ask = m_plan.steps.back();
            ask.kind = EStep::AskPast;
            m_plan.steps.push_back(ask);
        }
    }

    void drawSaves() {
        for (int left = m_random.between(0, 3); left > 0; --left) {
            if (!rolls(EFault::Times)) continue;
            add(EStep::Times, moment()).flag = m_random.chance(30);
        }
        event(EFault::CrashInSave, EStep::CrashInSave, 0, 40);
        if (has(EStep::CrashInSave)) m_plan.steps.back().keeps = m_random.below(1 << 16);
        event(EFault::DiskInSave, EStep::DiskInSave, 0, 40);
        if (has(EStep::DiskInSave)) m_plan.steps.back().times = m_random.between(1, 30);
        // Where history is saved at any time, the order of steps is left to the threads.
        if (m_plan.rests.empty()) event(EFault::CrashAtStep, EStep::CrashAtStep, 0, 60);
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
                                        "disconnect",
                                        "rollover",
                                        "same date",
                                        "ask for a past day",
                                        "import",
                                        "balance times",
                                        "service fails",
                                        "restart",
                                        "crash",
                                        "crash in a command",
                                        "crash in a cancellation",
                                        "crash at a step",
                                        "crash in a save",
                                        "disk",
                                        "disk in a save"};
    static_assert(std::size(NAMES) == static_cast<std::size_t>(EStep::DiskInSave) + 1);
    return NAMES[static_cast<std::size_t>(step)];
}

std::vector<int> Stock::types() const {
    std::vector<int> all;
    if (anyVolume) all.push_back(vexservice::STOCKTYPE_ANY_VOLUME_A);
    if (excluded) all.push_back(vexservice::STOCKTYPE_REPURCHASE);
    return all;
}

Plan planOf(std::uint64_t seed, const Dials& dials) { return CPlanner(seed, dials).plan(); }

}  // namespace lab
