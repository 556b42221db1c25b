#pragma once

#include <cstdint>

namespace TC {

/// What the library goes by that no service answers and no report brings.
struct Moment {
    std::int64_t micros = 0;     ///< since the epoch, by the platform's clock
    std::uint64_t revision = 0;  ///< of the client's reference data: instruments, fees

    static Moment ofPlatform();
    bool operator==(const Moment&) const = default;
};

/// The time in microseconds since the epoch. In a step that is recorded it stands still, so a step
/// that is played again sees the time that it saw.
std::int64_t nowMicros();

/// utils::referenceDataRevision(). It stands still likewise: a change is seen by the next step.
std::uint64_t referenceRevision();

/// While it lives, one moment stands still on this thread. They do not nest.
class CHeldMoment {
public:
    explicit CHeldMoment(const Moment& moment);
    ~CHeldMoment();
    CHeldMoment(const CHeldMoment&) = delete;
    CHeldMoment& operator=(const CHeldMoment&) = delete;

private:
    const Moment m_moment;
};

}  // namespace TC
