#pragma once

#include "platform/utils/waits.h"

#include <utility>

#include <boost/asio/io_service.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/system/error_code.hpp>

#include <functional>
#include <memory>

namespace utils {

/// An asio timer on the platform's clock. While that clock runs by itself, the timer waits in the
/// engine. On a clock that stands still it waits with the clock (IClock::waits()), and timers that
/// are due at the same moment end in the order in which they began to wait.
///
/// Threads: one at a time; the handler runs in the service. Errors: a wait that is cut
/// short ends with operation_aborted. A timer may outlive the service; a wait ends with the service
/// then, and its handler is not called.
class LINKAGE_PLATFORM_EXPORT DeadlineTimer {
public:
    /// Takes the end of a wait: no error when the moment has come.
    using Handler = std::function<void(const boost::system::error_code&)>;

    /// A timer whose handlers run in the service. It waits for nothing yet.
    explicit DeadlineTimer(boost::asio::io_service& service) : m_service(service) {}
    ~DeadlineTimer() { cancel(); }
    DeadlineTimer(const DeadlineTimer&) = delete;
    DeadlineTimer& operator=(const DeadlineTimer&) = delete;

    /// Sets the timer anew; a wait under way is cut short.
    void expires_from_now(const boost::posix_time::time_duration& delay);
    /// One wait at a time: another that is under way is cut short.
    void async_wait(Handler handler);
    /// Cuts a wait short; its handler is called with operation_aborted. Does nothing when none is
    /// under way.
    void cancel();

private:
    boost::asio::io_service& m_service;
    std::int64_t m_nDueMicros = 0;
    std::weak_ptr<boost::asio::steady_timer> m_pRunning;  ///< the wait in the service owns it
    std::shared_ptr<CWaits> m_pWaits;  ///< of the clock at the last wait; may be empty
    CWaits::Place m_place;
};

}  // namespace utils
