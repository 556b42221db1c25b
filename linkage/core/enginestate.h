#pragma once

#include "linkage/core/inbox.h"
#include "linkage/core/reconciliation.h"
#include "linkage/record/recordingoptions.h"
#include "linkage/tape/leftworks.h"
#include "platform/utils/deadlinetimer.h"

#include <QString>

#include <boost/asio/strand.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace TC {

/// Ends its subscription when it is destroyed.
using TaskConnection = boost::signals2::scoped_connection;

/// The recording in hand, and whether another file follows it.
struct RecordSeries {
    QString file;
    RecordingOptions options;
    std::int64_t begun = 0;  ///< microseconds since the epoch
    bool goesOn = false;
};

/// Work that failed because of a service and will be tried again, by name.
struct Retries {
    static constexpr std::int64_t FIRST = 5'000'000;  ///< microseconds
    static constexpr std::int64_t LONGEST = 300'000'000;

    std::map<std::string, LeftWork> works;
    std::int64_t wait = FIRST;  ///< how long the next one waits
};

/// What the manager has running in the client's engine: its strand, what waits for the
/// strand, its timers, and the subscriptions that belong to no account. init() sets it; the
/// manager's lock guards it. The start timer has a lock of its own besides, because
/// runAutoBalance arms it after giving the manager's lock back.
struct EngineState {
    using Timer = boost::shared_ptr<utils::DeadlineTimer>;

    boost::shared_ptr<boost::asio::io_service::strand> m_strand;
    std::atomic<bool> m_bReady{false};  ///< the strand is there; any thread may ask
    Timer m_extTimer;
    Timer m_statTimer;
    Timer m_autoBalanceTimer;
    Timer m_historyStatTimer;
    Timer m_balanceTimer;
    Timer m_saveTimer;    ///< armed on the strand only
    Timer m_importTimer;  ///< likewise
    Timer m_recordTimer;
    std::uint64_t m_nRecordTimes = 0;  ///< how often it was set
    int m_nRecordSeconds = 0;          ///< how long recordings have lasted
    RecordSeries m_recordSeries;
    std::future<void> m_recordTidying;  ///< of files that are over; its end is waited for
    std::mutex m_balanceTimerMutex;

    Retries m_retries;
    Timer m_retryTimer;

    /// Closures in the client's engine may outlive the manager.
    const std::shared_ptr<CLeftWorks> m_pLeft = std::make_shared<CLeftWorks>();

    void setStrand(boost::shared_ptr<boost::asio::io_service::strand> strand) {
        m_strand = std::move(strand);
        m_bReady.store(true, std::memory_order_release);
    }
    bool hasStrand() const { return m_bReady.load(std::memory_order_acquire); }

    CInbox m_inbox;
    std::vector<InboxItem> m_batch;  ///< the batch in work; only the strand uses it
    std::size_t m_nInARow = 0;       ///< reports since the strand gave way; likewise

    /// The reports of an account that were announced and not handled yet. On the strand.
    void gatherWaiting(const std::string& accountKey, WaitingReports& found) const {
        CInbox::gatherFrom(m_batch, accountKey, found);
        m_inbox.gather(accountKey, found);
    }

    boost::shared_ptr<TaskConnection> m_taskConnection;
    boost::signals2::connection m_userDataConnection;
};

/// The load of all accounts, as work that runs later.
LeftWork loadAccounts(ELoadCause cause);

/// Sets a timer whose handler runs on the strand. The handler does not learn whether the wait
/// was cancelled: an armed timer always fires, at its time or when it is set again.
template <class Handler>
void armTimer(utils::DeadlineTimer& timer, boost::asio::io_service::strand& strand,
              std::int64_t micros, Handler handler) {
    timer.expires_from_now(boost::posix_time::microseconds(micros));
    timer.async_wait(strand.wrap(
        [handler = std::move(handler)](const boost::system::error_code&) mutable { handler(); }));
}

}  // namespace TC
