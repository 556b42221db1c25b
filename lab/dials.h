#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace lab {

/// What goes wrong, or at least not as usual, on a day in the laboratory.
enum class EFault {
    // how reports are told
    Late,
    Doubled,
    Reordered,
    Missed,
    DealFirst,
    DealBehind,
    LateOrder,
    Unnamed,
    // what the command center does
    Unnumbered,
    NoAnswer,
    LateAnswer,
    Refused,
    RefusedLater,
    TooLateRefused,
    Vanished,
    // what the market does
    Rejected,
    LateCancel,
    CrossedCancel,
    NoCancel,
    // what the trader does
    Twice,
    Manual,
    AtOnce,
    History,
    Task,
    OddLots,
    NoPrice,
    NoInstrument,
    // what happens to the client
    Reload,
    Login,
    Rollover,
    SameDate,
    Restart,
    Crash,
    CrashInSend,
    CrashInCancel,
    Disk,
};
inline constexpr std::size_t FAULT_COUNT = static_cast<std::size_t>(EFault::Disk) + 1;

const char* nameOf(EFault fault);
/// What it means, in a few words.
const char* meaningOf(EFault fault);

/// How often each kind happened.
using FaultCounts = std::array<long, FAULT_COUNT>;

/// How often each fault is to happen, in percent of its occasions.
class Dials {
public:
    /// All at their usual rates.
    static Dials usual();
    static Dials none();

    /// "all", "none", or names with commas between them: what is not named does not happen.
    /// "late=40" sets a rate, "late" takes the usual one, "all,crash=0" changes one of all.
    /// Nothing when a name or a rate is unknown.
    static std::optional<Dials> parse(std::string_view text);

    int operator[](EFault fault) const { return m_percents[static_cast<std::size_t>(fault)]; }

private:
    std::array<int, FAULT_COUNT> m_percents{};
};

}  // namespace lab
