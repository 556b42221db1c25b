#include "lab/shrink.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <fstream>
#include <utility>

namespace lab {

namespace {

constexpr int MOST_TRIES = 2'000;

class CShrinker {
public:
    CShrinker(Plan plan, const PlayDay& play)
        : m_plan(std::move(plan)),
          m_play(play),
          m_outcome(play(m_plan)),
          m_bViolates(!m_outcome.violations.empty()) {}

    Shrunk shrink() {
        const std::size_t before = m_plan.steps.size();
        // What is left out may let more be left out.
        for (int round = 0; round < 3; ++round) {
            const auto kept = std::pair(m_plan.steps.size(), dialsOn());
            leaveOutSteps();
            turnDialsOff();
            simplify();
            if (kept == std::pair(m_plan.steps.size(), dialsOn())) break;
        }
        const std::size_t after = m_plan.steps.size();
        const std::size_t dials = dialsOn();
        return {std::move(m_plan), std::move(m_outcome), m_nTries, before, after, dials};
    }

private:
    bool fails(const Outcome& outcome) const {
        return m_bViolates ? !outcome.violations.empty() : outcome.tooMuch;
    }

    /// Keeps the plan when it still fails.
    bool takes(const Plan& plan) {
        if (m_nTries >= MOST_TRIES) return false;
        ++m_nTries;
        Outcome outcome = m_play(plan);
        if (!fails(outcome)) return false;
        m_plan = plan;
        m_outcome = std::move(outcome);
        return true;
    }

    std::size_t dialsOn() const {
        std::size_t on = 0;
        for (std::size_t at = 0; at < FAULT_COUNT; ++at) {
            if (m_plan.dials[static_cast<EFault>(at)] > 0) ++on;
        }
        return on;
    }

    void leaveOutSteps() {
        for (std::size_t size = std::max<std::size_t>(m_plan.steps.size() / 2, 1); size > 0;
             size /= 2) {
            for (std::size_t at = 0; at < m_plan.steps.size();) {
                Plan plan = m_plan;
                const auto from = plan.steps.begin() + static_cast<std::ptrdiff_t>(at);
                const auto count = std::min(size, plan.steps.size() - at);
                plan.steps.erase(from, from + static_cast<std::ptrdiff_t>(count));
                if (!takes(plan)) at += size;
            }
        }
    }

    void turnDialsOff() {
        for (std::size_t at = 0; at < FAULT_COUNT; ++at) {
            const auto fault = static_cast<EFault>(at);
            if (m_plan.dials[fault] == 0) continue;
            Plan plan = m_plan;
            plan.dials.set(fault, 0);
            takes(plan);
        }
    }

    template <class Change>
    void tryTo(Change change) {
        Plan plan = m_plan;
        change(plan);
        takes(plan);
    }

    void simplify() {
        if (m_plan.rounds > 1) tryTo([](Plan& plan) { plan.rounds = 1; });
        if (m_plan.night) tryTo([](Plan& plan) { plan.night = false; });
        if (m_plan.keepTimes) tryTo([](Plan& plan) { plan.keepTimes = false; });
        if (!m_plan.named) tryTo([](Plan& plan) { plan.named = true; });
        if (!m_plan.numbered) tryTo([](Plan& plan) { plan.numbered = true; });
        if (!m_plan.rests.empty()) tryTo([](Plan& plan) { plan.rests.clear(); });
    }

    Plan m_plan;
    const PlayDay& m_play;
    Outcome m_outcome;
    const bool m_bViolates;  ///< the day as it was had a violation
    int m_nTries = 0;
};

}  // namespace

Shrunk shrink(Plan plan, const PlayDay& play) { return CShrinker(std::move(plan), play).shrink(); }

std::string writeScenario(const Outcome& outcome, const std::string& path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << outcome.scenario;
    file.close();
    if (!file) return "it cannot be written";
    std::vector<SentLine> played;
    try {
        played = sentByReplay(path);
    } catch (const std::exception& fault) {
        return fault.what();
    }
    for (std::size_t at = 0; at < std::max(played.size(), outcome.sent.size()); ++at) {
        const SentLine here = at < outcome.sent.size() ? outcome.sent[at] : "nothing";
        const SentLine there = at < played.size() ? played[at] : "nothing";
        if (here != there) return fmt::format("order {}: {}, not {}", at + 1, there, here);
    }
    return {};
}

}  // namespace lab
