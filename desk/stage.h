#pragma once

#include <QString>

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace desk {

class CPriceTape;
class CRecorder;
struct CDayWitness;

/// The stage cannot be set up; the text says why.
struct StageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What the desk plays: the client that feeds the library, and the clock on which it runs.
///
/// Threads: the engine's, from construction to destruction. The client lives inside. The
/// destructor also releases the manager.
class IStage {
public:
    static constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::max();

    virtual ~IStage() = default;

    /// Lets up to `micros` of client time pass, but gives the thread back after a hundredth of a
    /// second or two; time that was not used then is lost, not owed. A stage
    /// on the machine's clock ignores `micros`.
    virtual void step(std::int64_t micros) = 0;

    /// While the flag is raised, a step ends as soon as it can.
    void heed(const std::atomic<bool>& hurry) { m_pHurry = &hurry; }

    /// Whether it shows what was: nothing can be sent then, and nothing asked for that changes
    /// the library.
    virtual bool isRecording() const { return false; }

    /// Whether speed and pause mean anything here.
    virtual bool canBePaced() const = 0;

    /// Whether the recording ended without its end.
    virtual bool breaksOff() const { return false; }
    /// Share of the recording played, 0 to 1; negative where there is none.
    virtual double progress() const { return -1.0; }
    virtual bool ended() const { return false; }
    /// Whether the moment was reached at which the stage was to stop.
    virtual bool halted() const { return false; }
    /// Plays on after that moment.
    virtual void goOn() {}
    /// Why the recording ended early; empty otherwise.
    virtual std::string fault() const { return {}; }

protected:
    bool isHurried() const { return m_pHurry && *m_pHurry; }

private:
    const std::atomic<bool>* m_pHurry = nullptr;
};

/// Plays a scenario file on virtual time, up to the time of day `haltAt` ("hh:mm",
/// empty: to its end). Throws StageError when the file cannot be opened. The tape notes
/// the prices of all stocks that are quoted; the recorder hears of each manager before it begins.
/// Tape, witness and recorder must outlive the stage.
std::unique_ptr<IStage> makeScenarioStage(const QString& scenario, const QString& dataDir,
                                          const std::string& haltAt, CPriceTape& tape,
                                          CDayWitness& witness, CRecorder& recorder);

/// Plays the recording of a manager by the moments of its steps, likewise; its files are in a
/// directory of its own.
std::unique_ptr<IStage> makeRecordingStage(const QString& recording, const std::string& haltAt,
                                           CPriceTape& tape, CDayWitness& witness);

/// Runs the built-in market on the machine's clock.
std::unique_ptr<IStage> makeLiveStage(const QString& dataDir, CPriceTape& tape,
                                      CDayWitness& witness, CRecorder& recorder);

}  // namespace desk
