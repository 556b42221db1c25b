#pragma once

#include "linkage/core/clinkagemanager.h"
#include "paper/paperclient.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace TC {
class ITape;
}

namespace replay {

class IPlayFilter;

/// Where a recording and the library of today part.
struct RecordingDifference {
    std::size_t line = 0;  ///< of the file
    std::string at;        ///< time of the step, "yyyy-MM-dd hh:mm:ss.zzzzzz"
    std::string expected;  ///< what the recording says
    std::string got;       ///< what the library does now
};

/// What came of a recording that was played.
struct RecordingVerdict {
    std::uint64_t steps = 0;
    std::uint64_t marks = 0;  ///< commands, cancellations, signals and sums that were compared
    std::optional<RecordingDifference> difference;  ///< the first one; none: all is the same
    std::uint64_t differentSteps = 0;               ///< steps with a difference
    bool breaksOff = false;  ///< the file has no end: who recorded was killed, or records still
    std::string fault;       ///< "FILE:LINE: what is wrong" where the file cannot be read on
};

/// "N steps differ, the first at line L, TIME"; empty when none does.
std::string differenceText(const RecordingVerdict& verdict);

/// What a step of a recording is taken for.
struct RecordedStep {
    std::string kind;       ///< the "do" of its line: "order", "price", "call", "work" ...
    std::string op;         ///< of a call
    std::string account;    ///< of a call for an account and a strategy
    std::string strategy;   ///< likewise
    int asker = 0;          ///< of a call of runAutoBalance: TC::EBalanceAsker
    bool ok = false;        ///< of a login
    int balance = 0;        ///< of the result of a guarded balance's command: the balance,
    std::size_t index = 0;  ///< the how manieth command of the balance, from 0 on,
    int command = 0;        ///< and its number; 0: none
};

/// Looks on while a recording is played.
class IRecordingWatcher {
public:
    virtual ~IRecordingWatcher() = default;
    /// The client is there, and no manager yet. The client is told what the lines tell of
    /// instruments, prices, accounts and records; the manager does not hear it from there.
    virtual void clientIsThere(paper::CPaperClient& /*client*/, int /*clientType*/) {}
    /// The client is about to be told of a stock for the first time.
    virtual void stockIsThere(const std::string& /*stockKey*/) {}
    /// The manager is there, and has taken no step yet.
    virtual void managerIsThere(TC::CLinkageManager& /*manager*/) {}
    /// The manager is at rest, and takes this step next.
    virtual void before(const RecordedStep& /*step*/) {}
    /// Takes the step by calling `work`, on the thread of the step.
    virtual void takes(const RecordedStep& /*step*/, const std::function<void()>& work) { work(); }
    /// Sees what the library asks of the client; commands have the number 0, because it is not
    /// known yet. Null: nobody.
    virtual paper::IClientObserver* requests() { return nullptr; }
};

struct PlayOptions {
    QString dataDir;  ///< empty: a temporary one, removed afterwards
    /// Differences are counted, and the play goes on; otherwise it ends at the first one.
    bool passesDifferences = false;
    IRecordingWatcher* watcher = nullptr;  ///< must outlive the player; null: nobody
};

/// Plays a recording (CLinkageManager::startRecording) step by step, in the order in which its
/// steps held the manager's lock, with the answers that the services gave, and compares what the
/// library does with what it did.
///
/// The clock of the platform is the player's while it lives. Between two calls the manager is at
/// rest, and may be asked; whoever changes something in it makes it differ from the recording.
///
/// Threads: one, with a QCoreApplication; steps that waited for one another in the middle run on
/// threads of their own, one at a time. There must be no manager and no client before. The
/// destructor releases the manager.
class CRecordingPlayer {
public:
    static constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::max();

    /// Makes the client. Throws replay::InputError when the file cannot be opened.
    explicit CRecordingPlayer(const std::string& path, const PlayOptions& options = {});
    ~CRecordingPlayer();
    CRecordingPlayer(const CRecordingPlayer&) = delete;
    CRecordingPlayer& operator=(const CRecordingPlayer&) = delete;

    /// The moment of the next step, in microseconds since the epoch; NEVER when the play is over.
    /// Steps of several threads may stand in another order than their moments.
    std::int64_t nextMicros() const;
    /// Plays the next step, or its next part. False when nothing is left to be played: the
    /// recording has ended, breaks off or cannot be read on, or the play ended at a difference.
    bool playNext();
    /// Plays what is due by then, and lets the clock go there.
    void playUntil(std::int64_t micros);
    void playToEnd();

    /// Time of the recording: that of its beginning, of the newest step, or where playUntil()
    /// went.
    std::int64_t nowMicros() const;
    bool isOver() const { return nextMicros() == NEVER; }
    /// How far it has come.
    const RecordingVerdict& verdict() const;
    /// How much of the file was read, 0 to 1.
    double progress() const;
    /// Null before the first step.
    TC::CLinkageManager* manager() const;

    // for who makes another recording of this one
    /// The manager before its first step. Throws LineError when the file does not begin as a
    /// recording does.
    TC::CLinkageManager& makeManager();
    /// Whether no step is in its middle. The lines before that of the next step are read already.
    bool isAtRest() const;
    /// What the manager does from now on is told to `recorder` too, as if nothing were played. At
    /// rest only; null ends it.
    void recordWith(TC::ITape* recorder);
    /// From now on steps are left out, and nothing is compared any more. It must outlive the
    /// player.
    void setFilter(IPlayFilter* filter);

private:
    class CPlay;
    const std::unique_ptr<CPlay> m_pPlay;
};

/// Whether the file begins as a recording does; false when it cannot be read, and for "-". Reads
/// its first line.
bool isRecording(const std::string& path);

struct VerifyOptions {
    QString dataDir;  ///< empty: a temporary one, removed afterwards
    /// Sees the manager when all was played, before it is released.
    std::function<void(TC::CLinkageManager&)> finished;
};

/// Plays a recording to its end, or to the first difference, by the rules of CRecordingPlayer.
RecordingVerdict verifyRecording(const std::string& path, const VerifyOptions& options = {});

}  // namespace replay
