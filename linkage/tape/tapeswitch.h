#pragma once

#include "linkage/tape/leftworks.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace TC {

class ITape;

/// Where the manager's steps learn whether they are on a tape. It counts the threads that are in a
/// step, so that whoever turns a tape on knows when no step is under way that is not on it.
///
/// Threads: any.
class CTapeSwitch {
public:
    /// While one lives, its thread is in a step; one within another belongs to it. A slot of the
    /// client may release the manager meanwhile, so it keeps the switch.
    class CVisit {
    public:
        explicit CVisit(const std::shared_ptr<CTapeSwitch>& tapeSwitch);
        ~CVisit();
        CVisit(const CVisit&) = delete;
        CVisit& operator=(const CVisit&) = delete;

        /// What the step is on; null: nothing.
        ITape* tape() const;

    private:
        std::shared_ptr<CTapeSwitch> m_pSwitch;  ///< null: within another one
    };

    /// Steps that begin from now on are on the tape. False, and nothing happens, while steps of an
    /// earlier tape are under way. One call at a time.
    bool turnOn(ITape* tape);
    /// Steps that begin from now on are on none. Those on the tape go on there.
    void turnOff() { m_state.fetch_and(~ON); }
    bool isOn() const { return (m_state.load() & ON) != 0; }
    /// Whether a step is under way on a tape.
    bool isUsed() const { return (m_state.load() & ~ON) >= ONE_TAPED; }
    /// Whether a step is under way that is on no tape.
    bool hasOthers() const { return (m_state.load() & OTHERS) != 0; }

    /// Work that waits under a number up to `last` was left before the tape began.
    void setLeft(std::uint64_t last, std::map<std::uint64_t, LeftWork> works) {
        m_left = std::move(works);
        m_nLeftBefore.store(last);
    }
    std::uint64_t leftBefore() const { return m_nLeftBefore.load(); }
    /// That work. For the picture of the tape's beginning.
    const std::map<std::uint64_t, LeftWork>& left() const { return m_left; }

private:
    static constexpr std::uint64_t ON = std::uint64_t{1} << 63;
    static constexpr std::uint64_t ONE_TAPED = std::uint64_t{1} << 32;
    static constexpr std::uint64_t OTHERS = ONE_TAPED - 1;

    bool enter();

    std::atomic<std::uint64_t> m_state{0};  ///< ON, steps on the tape, other steps
    std::atomic<ITape*> m_pTape{nullptr};
    std::atomic<std::uint64_t> m_nLeftBefore{0};
    std::map<std::uint64_t, LeftWork> m_left;
};

}  // namespace TC
