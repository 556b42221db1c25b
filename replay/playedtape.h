#pragma once

#include "linkage/core/clinkagemanager.h"
#include "linkage/record/recording.h"
#include "linkage/tape/step.h"
#include "linkage/tape/tape.h"
#include "linkage/tape/taped.h"
#include "paper/clientobserver.h"
#include "replay/playfilter.h"
#include "replay/recordedinputs.h"
#include "replay/stepthreads.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace replay {

/// What the library does, and what the recording says.
struct Difference {
    std::string expected;
    std::string got;
};

/// A step while it is played.
struct PlayedStep {
    std::uint64_t number = 0;
    TC::Moment moment;
    std::string at;
    bool threaded = false;  ///< it may be left and resumed
    bool differs = false;   ///< nothing more of it is compared
    std::map<unsigned, std::pair<std::string, std::string>> answers;  ///< by call: question, JSON
    std::multimap<unsigned, std::function<void()>> callBacks;         ///< by call
    std::deque<std::string> marks;                                    ///< not compared yet
    std::shared_ptr<CStepThreads::CRun> run;
    std::size_t taken = 0;  ///< marks of the part in hand that stand in `marks`, or did
    unsigned holds = 0;     ///< since it is in hand
    bool done = false;
};

/// The tape that plays: it answers what the steps ask, and gathers what they do.
///
/// Threads: the manager's tape on the threads of steps, one at a time; everything else on the
/// owner's, while no step runs.
class CPlayedTape final : public TC::ITape {
public:
    /// `requests` sees what the library asks of the client; null: nobody. All must outlive the
    /// tape.
    CPlayedTape(CRecordedClient& client, paper::IClientObserver* requests);

    /// The manager's steps are played from now on.
    void playOn(TC::CLinkageManager& manager);
    /// Runs what a step does, on the calling thread.
    static void run(PlayedStep& step, const std::function<void()>& work);
    /// From now on the steps are told to `recorder` too; null: no more.
    void recordWith(TC::ITape* recorder) { m_pRecorder = recorder; }
    /// Has answers of its own; null: none.
    void setFilter(IPlayFilter* filter) { m_pFilter = filter; }
    /// From now on nothing is answered, compared or left.
    void letGo() { m_bFree = true; }

    /// Work that steps have left for later.
    RecordedWorks& works() { return m_works; }
    /// What the step that ran noticed by itself.
    std::optional<Difference> takeDifference() { return std::exchange(m_difference, {}); }

    TC::Moment begins(TC::CStep& step) override;
    void ends(TC::CStep& step) override;
    void wantsHold(TC::CStep& step) override;
    void holds(TC::CStep& step) override;
    void callsBack(TC::CStep& step, TC::TapeInput input) override;
    void changesWork(TC::CStep& step) override;
    void leaves(TC::CStep& step) override;
    bool keeps(const TC::Ticket& ticket, const boost::function<void()>& work) override;
    void raises(TC::CStep& step, unsigned call, const Signal& signal) override;
    void figures(TC::CStep& step, std::uint64_t value) override;
    TC::TapeAnswer asks(TC::CStep& step, unsigned call, const TC::TapeQuestion& question,
                        const std::function<TC::TapeAnswer()>& work) override;
    void acts(TC::CStep& step, const TC::TapeMark& act) override;

private:
    /// Null for what is no step of the recording.
    TC::ITape* recorder() const;
    TC::TapeAnswer answerOf(unsigned call, const TC::TapeQuestion& question);
    void takeOwnAnswer(unsigned call, const std::string& question);
    std::optional<TC::TapeAnswer> answerTo(const TC::TapeQuestion& question);
    void differ(const std::string& expected, const std::string& got);
    void takeMarks(TC::CStep& step);
    void callBack(unsigned call);
    void tell(const TC::TapeMark& act);

    CRecordedClient& m_client;
    paper::IClientObserver* const m_pRequests;
    TC::ITape* m_pRecorder = nullptr;
    IPlayFilter* m_pFilter = nullptr;
    const TC::CTapedClient m_taped;
    TC::SignalNames m_signalNames;
    RecordedWorks m_works;
    std::optional<Difference> m_difference;
    std::atomic<bool> m_bFree{false};
};

}  // namespace replay
