#pragma once

#include "paper/faults.h"

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
    LatePast,
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
    Excluded,
    Times,
    Import,
    // what happens to the client
    Reload,
    Login,
    Disconnect,
    Midnight,
    Rollover,
    SameDate,
    Restart,
    Crash,
    CrashInSend,
    CrashInCancel,
    CrashAtStep,
    CrashInSave,
    Disk,
    DiskInSave,
    // what services of the client do
    FeesThrow,
    FeesEmpty,
    QuoteThrows,
    QuoteEmpty,
    InstrumentThrows,
    InstrumentEmpty,
    DataThrows,
    CommandThrows,
    CancelThrows,
    CancelEmpty,
    PastThrows,
    PastEmpty,
    PastLost,
};
inline constexpr std::size_t FAULT_COUNT = static_cast<std::size_t>(EFault::PastLost) + 1;

/// A service that fails, and how.
struct ServiceFault {
    EFault fault = EFault::FeesThrow;
    paper::EService service = paper::EService::FeeLimits;
    paper::EFault kind = paper::EFault::Throw;
};
/// All of them, from FeesThrow on. A data center that answers with nothing is not among them:
/// it says that there is nothing, and no rule can know better.
inline constexpr std::array<ServiceFault, FAULT_COUNT - static_cast<std::size_t>(EFault::FeesThrow)>
    SERVICE_FAULTS = {{
        {EFault::FeesThrow, paper::EService::FeeLimits, paper::EFault::Throw},
        {EFault::FeesEmpty, paper::EService::FeeLimits, paper::EFault::Null},
        {EFault::QuoteThrows, paper::EService::Quote, paper::EFault::Throw},
        {EFault::QuoteEmpty, paper::EService::Quote, paper::EFault::Null},
        {EFault::InstrumentThrows, paper::EService::Instrument, paper::EFault::Throw},
        {EFault::InstrumentEmpty, paper::EService::Instrument, paper::EFault::Null},
        {EFault::DataThrows, paper::EService::AccountData, paper::EFault::Throw},
        {EFault::CommandThrows, paper::EService::CommandCenter, paper::EFault::Throw},
        {EFault::CancelThrows, paper::EService::TradeClient, paper::EFault::Throw},
        {EFault::CancelEmpty, paper::EService::TradeClient, paper::EFault::Null},
        {EFault::PastThrows, paper::EService::History, paper::EFault::Throw},
        {EFault::PastEmpty, paper::EService::History, paper::EFault::Null},
        {EFault::PastLost, paper::EService::History, paper::EFault::Lost},
    }};

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

    void set(EFault fault, int percent) { m_percents[static_cast<std::size_t>(fault)] = percent; }
    int operator[](EFault fault) const { return m_percents[static_cast<std::size_t>(fault)]; }

private:
    std::array<int, FAULT_COUNT> m_percents{};
};

}  // namespace lab
