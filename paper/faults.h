#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace paper {

/// What of the client can be told to fail, by the calls that count:
/// FeeLimits: getFeeLimits. Quote: getStockPrice, request. Instrument: getInstrumentDetail.
/// AccountData: getAllAccountData, getAccountData, getGlobalAccountData, getVector.
/// CommandCenter: createCommand, operateServerTask. TradeClient: cancelOrder. History:
/// queryHistoryOrders, queryHistoryDeals, queryMinuteBars. Calendar: lastTradeDate.
enum class EService {
    FeeLimits,
    Quote,
    Instrument,
    AccountData,
    CommandCenter,
    TradeClient,
    History,
    Calendar,
};
inline constexpr std::size_t SERVICE_COUNT = 8;

/// How a call fails. Throw: before it did anything. Null: it answers with nothing: an empty
/// pointer or list, 0, false, a command without a number. Lost: it is taken, nothing becomes
/// of it and no answer ever comes; a call that answers at once answers with nothing.
enum class EFault { None, Throw, Null, Lost };

/// By the names of the scenarios ("feeLimits", "throw"); nothing for any other name.
std::optional<EService> serviceNamed(std::string_view name);
std::optional<EFault> faultNamed(std::string_view name);

/// What a service throws that was told to.
struct ServiceFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Faults that the services of the client still have to show. Threads: any. A call costs one
/// relaxed load while there is none.
class CFaults {
public:
    /// The next `times` calls fail so; what was left of an earlier fault of the service goes.
    void set(EService service, EFault fault, int times);

    /// Counts a call: how it fails. Throws ServiceFault for EFault::Throw.
    EFault next(EService service);

    /// The same for a call that answers at once: true when it is to answer with nothing.
    bool nothing(EService service) { return next(service) != EFault::None; }

private:
    struct Left {
        EFault fault = EFault::None;
        int times = 0;
    };

    std::atomic<bool> m_bAny{false};
    std::mutex m_mutex;
    std::array<Left, SERVICE_COUNT> m_left;
};

}  // namespace paper
