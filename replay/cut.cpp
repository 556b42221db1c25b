#include "replay/cut.h"

#include "linkage/record/recording.h"
#include "replay/accountfilter.h"
#include "replay/manageraccess.h"
#include "replay/shownday.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace replay {

namespace {

/// What a play shows at its end.
struct Shown {
    std::uint64_t begun = 0;  ///< steps before the beginning of the part
    std::string whole;
    std::vector<std::string> ofAccounts;
};

/// A recording while it is played, and the requests of the accounts.
struct Play {
    Play(const std::string& path, const CutOptions& options)
        : name(path), requests(options.accounts), player(path, {.watcher = &requests}) {
        check();
    }

    /// Plays to the rest behind so many steps.
    void to(std::uint64_t steps) {
        while (player.verdict().steps < steps || !player.isAtRest()) next();
    }
    void next() {
        const bool more = player.playNext();
        check();
        if (!more) throw CopyFault(name + ": it ends before the step that is looked for");
    }
    void check() const {
        const RecordingVerdict& verdict = player.verdict();
        if (!verdict.fault.empty()) throw CopyFault(verdict.fault);
        if (!verdict.difference) return;
        throw CopyFault(name + ':' + std::to_string(verdict.difference->line) +
                        ": the library does something else than the recording says; expected " +
                        verdict.difference->expected + ", got " + verdict.difference->got);
    }
    Shown shown(const CutOptions& options, std::uint64_t begun) {
        TC::CLinkageManager& manager = *player.manager();
        Shown shown{begun, wholeState(manager), {}};
        if (!options.accounts.empty()) shown.ofAccounts = shownOf(manager, options.accounts);
        for (std::string& each : requests.behind(begun)) {
            shown.ofAccounts.push_back(std::move(each));
        }
        return shown;
    }

    const std::string name;
    CShownRequests requests;
    CRecordingPlayer player;
};

class CCutting {
public:
    CCutting(const std::string& recording, const CutOptions& options)
        : m_recording(recording), m_options(options), m_plan(planCut(recording, options)) {}

    RecordingVerdict cut(CCopyDraft& draft) {
        draft.take();
        const Shown written = write(draft.path());
        // Without other accounts' reports another day was played.
        const Shown expected = m_options.accounts.empty() ? written : original(written.begun);
        Play copy(draft.path(), m_options);
        copy.player.playToEnd();
        const RecordingVerdict& verdict = copy.player.verdict();
        if (!verdict.fault.empty()) throw CopyFault(verdict.fault);
        if (verdict.difference) {
            throw CopyFault(notShown("what it was written from") + "; its line " +
                            std::to_string(verdict.difference->line) + " differs");
        }
        const Shown found = copy.shown(m_options, 0);
        if (found.whole != written.whole) throw CopyFault(notShown("what it was written from"));
        compare(expected.ofAccounts, found.ofAccounts);
        return verdict;
    }

private:
    /// Plays the recording, and the part while it is written.
    Shown write(const std::string& path) {
        std::optional<CAccountFilter> filter;
        Play play(m_recording, m_options);
        const auto recorder = begin(play, filter, path);
        const std::uint64_t begun = play.player.verdict().steps;
        play.player.recordWith(recorder.get());
        play.to(m_plan.last);
        play.player.recordWith(nullptr);
        recorder->stop();
        const TC::RecordingState state = recorder->state();
        if (!state.fault.empty()) throw CopyFault(path + ": " + state.fault);
        return play.shown(m_options, begun);
    }

    /// The recorder at the first rest at which a recording can begin.
    std::unique_ptr<TC::CRecording> begin(Play& play, std::optional<CAccountFilter>& filter,
                                          const std::string& path) {
        play.to(m_plan.before);
        const bool fromStart = !play.player.manager();
        TC::CLinkageManager& manager = play.player.makeManager();
        std::optional<std::pair<std::string, TC::RecordingPicture>> start;
        while (!fromStart && !start) {
            const bool rests = play.player.isAtRest();
            if (rests && play.player.verdict().steps >= m_plan.last) throw CopyFault(noBeginning());
            if (rests) start = TC::ManagerAccess::recordingStart(manager);
            if (!start) play.next();
        }
        if (!m_options.accounts.empty()) {
            filter.emplace(manager, m_options.accounts, m_plan.works);
            filter->dropOthers();
            if (start) start = TC::ManagerAccess::recordingStart(manager);
            play.player.setFilter(&*filter);
        }
        auto recorder = std::make_unique<TC::CRecording>(
            manager, path, UNLIMITED, start ? start->first : m_plan.head, start.has_value(),
            [&manager] { return TC::ManagerAccess::hasLock(manager); });
        if (start) {
            recorder->waitFor({{}, [picture = start->second] { return picture; }});
            recorder->begin([] {});
            recorder->takePicture();
        }
        return recorder;
    }

    Shown original(std::uint64_t begun) {
        Play play(m_recording, m_options);
        play.to(m_plan.last);
        const auto known = play.player.manager()->state().accounts;
        for (const std::string& account : m_options.accounts) {
            if (known.contains(account)) continue;
            throw CopyFault("--account: \"" + account + "\" is no account of " + m_recording);
        }
        return play.shown(m_options, begun);
    }

    void compare(const std::vector<std::string>& expected,
                 const std::vector<std::string>& found) const {
        const auto [is, got] =
            std::mismatch(expected.begin(), expected.end(), found.begin(), found.end());
        if (is == expected.end() && got == found.end()) return;
        const std::string one = is == expected.end() ? "(nothing)" : *is;
        const std::string other = got == found.end() ? "(nothing)" : *got;
        throw CopyFault(notShown("what the recording shows of the accounts") + "; expected " +
                        around(one, other) + ", got " + around(other, one));
    }
    /// The beginning of a text, and what stands around where it parts from another.
    static std::string around(const std::string& text, const std::string& other) {
        constexpr std::size_t NAME = 40;
        constexpr std::size_t SHOWN = 80;
        const auto [at, ignored] =
            std::mismatch(text.begin(), text.end(), other.begin(), other.end());
        const auto parts = static_cast<std::size_t>(at - text.begin());
        if (parts <= NAME + SHOWN) return text.substr(0, NAME + 2 * SHOWN);
        return text.substr(0, NAME) + " ... " + text.substr(parts - SHOWN, 2 * SHOWN);
    }
    std::string notShown(const char* what) const {
        return m_recording + ": a copy of this part does not show " + what;
    }
    std::string noBeginning() const {
        return m_recording + ": at no moment of the part a recording can begin";
    }

    static constexpr TC::RecordingOptions UNLIMITED{0, std::numeric_limits<std::uint64_t>::max()};

    const std::string& m_recording;
    const CutOptions& m_options;
    const CutPlan m_plan;
};

}  // namespace

RecordingCopy cutRecording(const std::string& recording, const std::string& into,
                           const CutOptions& options) {
    return makeCopy(recording, into,
                    [&](CCopyDraft& draft) { return CCutting(recording, options).cut(draft); });
}

}  // namespace replay
