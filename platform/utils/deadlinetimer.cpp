#include "platform/utils/deadlinetimer.h"

#include "platform/utils/clock.h"

#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>

#include <chrono>

namespace utils {

void DeadlineTimer::expires_from_now(const boost::posix_time::time_duration& delay) {
    cancel();
    m_nDueMicros = currentClock().nowMicros() + delay.total_microseconds();
}

void DeadlineTimer::async_wait(Handler handler) {
    cancel();
    IClock& clock = currentClock();
    m_pWaits = clock.waits();
    if (m_pWaits) {
        auto end = [&service = m_service, handler = std::move(handler)](bool due) mutable {
            boost::system::error_code error;
            if (!due) error = boost::asio::error::operation_aborted;
            boost::asio::post(service, [handler = std::move(handler), error] { handler(error); });
        };
        m_place = m_pWaits->add(m_nDueMicros, std::move(end));
        return;
    }
    const auto running = std::make_shared<boost::asio::steady_timer>(m_service);
    m_pRunning = running;
    running->expires_after(std::chrono::microseconds(m_nDueMicros - clock.nowMicros()));
    running->async_wait([running, handler = std::move(handler)](
                            const boost::system::error_code& error) { handler(error); });
}

void DeadlineTimer::cancel() {
    if (const auto running = m_pRunning.lock()) running->cancel();
    if (!m_pWaits) return;
    if (const CWaits::End end = m_pWaits->take(m_place)) end(false);
}

}  // namespace utils
