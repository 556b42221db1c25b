#pragma once

#include <boost/asio/io_service.hpp>

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace paper {

/// The services of the client that can be told to fail, and which of their calls count.
/// FeeLimits: getFeeLimits. Quote: getStockPrice, request. Instrument: getInstrumentDetail.
/// AccountData: getAllAccountData, getAccountData, getGlobalAccountData, and getVector of an
/// account. CommandCenter: createCommand, operateServerTask. TradeClient: cancelOrder. History:
/// queryHistoryOrders, queryHistoryDeals, queryMinuteBars. Calendar: lastTradeDate, isTradingDay.
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
inline constexpr std::size_t SERVICE_COUNT = 8;  ///< how many services there are

/// How a call fails. Throw: it throws before it has done anything. Null: it answers with nothing:
/// an empty pointer or list, 0, false, a command without a number. Lost: the service takes the
/// call, does nothing about it and never answers; a call that answers at once answers with nothing.
enum class EFault { None, Throw, Null, Lost };

/// The service or fault that has this name in scenarios ("feeLimits", "throw"), if any.
std::optional<EService> serviceNamed(std::string_view name);
/// The fault of a name, likewise.
std::optional<EFault> faultNamed(std::string_view name);
/// The other way round.
std::string_view nameOf(EService service);
/// The name of a fault, likewise.
std::string_view nameOf(EFault fault);

/// Thrown by a service that was told to throw.
struct ServiceFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The faults that services of the client still have to show. Threads: any. Until the first fault
/// is set, a call costs one relaxed load.
class CFaults {
public:
    /// The next `times` calls fail so. It replaces an earlier fault of the service.
    void set(EService service, EFault fault, int times);

    /// Counts a call and returns how it fails. Throws ServiceFault for EFault::Throw. `what` says
    /// what is asked for: an account key where records of an account are read.
    EFault next(EService service, std::string_view what = {});

    /// The same for a call that answers at once: true when it is to answer with nothing.
    bool nothing(EService service, std::string_view what = {}) {
        return next(service, what) != EFault::None;
    }

    /// Sees every call before it is answered or throws. Set it before the first call; it must not
    /// call back into the client.
    using Watch = std::function<void(EService service, EFault fault, std::string_view what)>;
    /// Sets who sees the calls. An empty function takes him away.
    void watch(Watch watch);

    /// An answer that comes later than the call, on the loop: of History. Whoever took the answers
    /// with answerThrough() gives each when he likes, or never.
    using Answer = std::function<void()>;
    /// Gives the answer: posts it to the loop, or hands it to whoever took the answers.
    void answer(boost::asio::io_service& loop, Answer answer) const;
    /// Hands all further answers to a function, which may keep them. It is called on the thread
    /// that asks. Set it before the first call.
    void answerThrough(std::function<void(Answer answer)> through);

private:
    struct Left {
        EFault fault = EFault::None;
        int times = 0;
    };

    std::atomic<bool> m_bAny{false};
    Watch m_watch;
    std::function<void(Answer)> m_through;
    std::mutex m_mutex;
    std::array<Left, SERVICE_COUNT> m_left;
};

}  // namespace paper
