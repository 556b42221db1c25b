#pragma once

#include "linkage/core/mutex.h"
#include "linkage/record/partqueue.h"
#include "linkage/record/recordfile.h"
#include "linkage/record/recordingoptions.h"
#include "linkage/record/tapetext.h"
#include "linkage/tape/step.h"
#include "linkage/tape/taped.h"

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace TC {

class CLinkageManager;

/// Tells the tape of the step in hand when its thread takes the manager's lock.
class CStepHolds final : public IHoldWatch {
public:
    void wants() override {
        if (CStep* const step = CStep::current()) step->tape().wantsHold(*step);
    }
    void has() override {
        if (CStep* const step = CStep::current()) step->tape().holds(*step);
    }
};

/// The names of a manager's signals, by address.
using SignalNames = std::array<std::pair<const void*, const char*>, 8>;
SignalNames signalNames(const CLinkageManager& manager);

/// Adds a signal to what a part of a step did. Of the profits, one signal for each strategy, the
/// sum is in the figures.
void addSignal(TapePart& part, const SignalNames& names, const ITape::Signal& signal);

/// Adds a figure to the check sum that a part of a step ends with so far.
void addFigures(TapePart& part, std::uint64_t value);

/// The tape that writes. Threads that take steps hand over what they did, a part of a step at a
/// time; a thread of its own brings the parts into their order and writes them.
///
/// Threads: any. Failure: what goes wrong ends the recording with a log line; no step notices.
class CRecording final : public ITape {
public:
    static constexpr char FULL[] = "the file has its full size";  ///< as a fault

    /// Writes the first lines: of the configuration, and of the files that the manager has read.
    /// `waits`: nothing comes before begin(). Throws std::runtime_error when the file cannot be
    /// made.
    CRecording(const CLinkageManager& manager, const std::string& file,
               const RecordingOptions& options, const std::string& head, bool waits,
               std::function<bool()> locked);
    /// Ends the recording.
    ~CRecording() override;
    CRecording(const CRecording&) = delete;
    CRecording& operator=(const CRecording&) = delete;

    /// What a recording that waits asks of the manager.
    struct Beginning {
        /// No step is in its middle: calls begin() if the recording can begin now. Called without
        /// a lock of the recording.
        std::function<void()> atRest;
        /// What the manager is; called with its lock.
        std::function<RecordingPicture()> picture;
    };
    /// Before any step is on a recording that waits.
    void waitFor(Beginning beginning) { m_beginning = std::move(beginning); }
    /// A recording that waits begins, and leaves out what was before. False while a step is in its
    /// middle. The picture is taken when a thread has the manager's lock next, before it does
    /// anything. `begun` is called when it begins.
    bool begin(const std::function<void()>& begun);
    /// Takes the picture if it is due. With the manager's lock.
    void takePicture();
    /// Ends it: what was handed over is on disk when this returns.
    void stop();
    /// Asks for what was handed over to be on disk soon.
    void flushSoon() { m_queue.flush(); }
    RecordingState state() const;
    const RecordingOptions& options() const { return m_options; }

    Moment begins(CStep& step) override;
    void ends(CStep& step) override;
    void wantsHold(CStep& /*step*/) override {}
    void holds(CStep& step) override;
    void callsBack(CStep& step, TapeInput input) override;
    void changesWork(CStep& step) override;
    void leaves(CStep& step) override;
    bool keeps(const Ticket& /*ticket*/, const boost::function<void()>& /*work*/) override {
        return false;
    }
    void raises(CStep& step, unsigned call, const Signal& signal) override;
    void lacksMemory() override;
    void figures(CStep& step, std::uint64_t value) override;
    TapeAnswer asks(CStep& step, unsigned call, const TapeQuestion& question,
                    const std::function<TapeAnswer()>& work) override;
    PricePtr asksPrice(CStep& step, unsigned call, const QString& key,
                       const std::function<PricePtr()>& work) override;
    void acts(CStep& step, const TapeMark& act) override;

private:
    void place(CStep& step);
    void handOver(TapePart&& part);
    void drop(TapePart&& part);
    void notePrice(TapePart& part, unsigned call, const QString& key, const PricePtr& price);
    template <class Work>
    void note(const Work& work);
    void end(const char* fault) noexcept;

    void write();
    bool beginText();
    void prefetch(std::span<const TapePart> parts);
    void writePart(TapePart& part);
    void writeParts(std::span<TapePart> parts);
    void writeAll(std::span<TapePart> parts) noexcept;
    void writeEnd() noexcept;

    const RecordingOptions m_options;
    const CTapedClient m_client;
    const SignalNames m_signalNames;

    std::atomic<bool> m_bRunning{true};
    std::atomic<std::uint64_t> m_nLost{0};  ///< parts after its end
    Beginning m_beginning;
    std::atomic<bool> m_bWaits;  ///< it has not begun: nothing is kept
    std::atomic<bool> m_bPictureDue{false};

    // Of the threads that take steps; what the writing thread writes is not beside them.
    alignas(64) std::atomic<std::uint64_t> m_nSteps{0};
    std::atomic<std::uint64_t> m_nPlaces{0};
    /// Prices that were answered under the manager's lock, by a hash of their addresses. The lock
    /// guards them.
    std::vector<std::unique_ptr<const TapePrice>> m_prices;
    CPartQueue m_queue;

    alignas(64) std::mutex m_stopMutex;  ///< held while the thread ends
    mutable std::mutex m_stateMutex;
    RecordingState m_state;
    unsigned m_nBegun = 0;  ///< steps that had a place while it waited, and go on
    std::optional<RecordingPicture> m_picture;  ///< not written yet
    std::unique_ptr<TapePart::Rest> m_pDropped;

    // of the writing thread
    std::map<std::uint64_t, TapePart> m_early;  ///< parts before which others are missing, by place
    std::uint64_t m_nNext = 1;                  ///< place of the next part; begin() sets it
    std::uint64_t m_nWritten = 0;               ///< steps that the state does not count yet
    TapeUnit m_unit;
    CTapeText m_text;
    CRecordFile m_file;
    std::thread m_thread;
};

}  // namespace TC
