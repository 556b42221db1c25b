#pragma once

#include "adapters/strandengine.h"
#include "platform/utils/clock.h"
#include "platform/utils/waits.h"

#include <utility>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_service.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace paper {

/// The paper client on time that stands still until its owner moves it: for replay
/// and tests. Everything runs on the owner's thread.
class CVirtualLoop final : public utils::IClock {
public:
    /// Becomes the platform's clock, at `startMicros` since the epoch.
    explicit CVirtualLoop(std::int64_t startMicros);
    /// Puts the machine's clock back, unless another clock took this one's place.
    ~CVirtualLoop() override;

    /// The engine's service. Only the owner's thread runs it, in runToRest().
    boost::asio::io_service& service() { return m_service; }

    /// Further work that must come to rest with the loop (saves); returns whether it
    /// had anything to do.
    void setSettle(std::function<bool()> settle) { m_settle = std::move(settle); }

    /// Runs strand handlers, due timers and queued Qt calls until nothing is left.
    void runToRest();

    /// Moves the clock, stopping at each due time on the way, the last one included.
    void advanceTo(std::int64_t micros);
    /// As advanceTo(), from now on.
    void advanceSeconds(double seconds);

    std::int64_t nowMicros() const override { return m_now.load(std::memory_order_acquire); }
    std::shared_ptr<utils::CWaits> waits() const override { return m_pWaits; }

private:
    class CQtCalls;

    /// True when Qt calls or settling may have queued more.
    bool runOnce();
    bool deliverQtCalls();
    /// Ends the waits that are due; false when there are none.
    bool endWaits();

    std::atomic<std::int64_t> m_now;
    boost::asio::io_service m_service;
    boost::asio::executor_work_guard<boost::asio::io_service::executor_type> m_work;
    std::unique_ptr<CQtCalls> m_pQtCalls;
    std::function<bool()> m_settle;
    const std::shared_ptr<utils::CWaits> m_pWaits = std::make_shared<utils::CWaits>();
};

/// The paper client on the machine's clock, with threads: for programs.
using CRealLoop = adapters::CServiceThreads;

}  // namespace paper
