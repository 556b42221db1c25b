#pragma once

#include "platform/utils/deadlinetimer.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace paper {

/// Starts balances at the times of the balance-time table.
///
/// At every whole second it looks at the table, on the loop, because nobody tells it of changes.
/// While the table is unchanged and its next time has not come, such a look does nothing more. It
/// starts the balances whose times of day have come since it last looked, in the order of the
/// table, each once a day. A time that had already passed when the scheduler started, or when the
/// time was set, is left out until the next day. Texts that are no "hhmmss" are never due.
///
/// Threads: any.
class CScheduler final : public std::enable_shared_from_this<CScheduler> {
public:
    /// Key (account, ":", strategy) to time of day.
    using Table = std::map<std::string, std::string>;
    /// What the scheduler asks and starts, on the loop. None of the functions may be empty, and
    /// none may call stop().
    struct Client {
        /// The balance-time table as it is now.
        std::function<Table()> table;
        /// Account keys, to split the keys of the table.
        std::function<std::vector<std::string>()> accounts;
        /// Starts a balance.
        std::function<void(const std::string& account, const std::string& strategy)> balance;
    };

    /// It does nothing before start(). The service must outlive it.
    CScheduler(boost::asio::io_service& service, Client client);

    /// Begins to look at the table at the next whole second. Call it once.
    void start();
    /// Starts no balance after this, and waits for those that are being started. Whoever takes the
    /// manager down must call it before that, and without the manager's lock.
    void stop();

private:
    void arm();
    void tick();
    void serve(const Table& table, std::int64_t now);

    const Client m_client;
    utils::DeadlineTimer m_timer;
    std::int64_t m_nServedMicros = 0;
    Table m_table;                   ///< as last seen
    std::int64_t m_nNextMicros = 0;  ///< no time of m_table is due before it
    std::mutex m_mutex;              ///< held while balances are started
    bool m_bStopped = false;
};

/// The account and the strategy of a table key: the account is the longest of the
/// accounts that the key begins with, followed by ":" (either name may contain one).
/// False when there is none.
bool splitBalanceKey(const std::string& key, const std::vector<std::string>& accounts,
                     std::string& account, std::string& strategy);

/// The keys whose time came after `from` and not after `to` (microseconds since the
/// epoch; the times are local), in key order.
std::vector<std::string> dueKeys(const CScheduler::Table& table, std::int64_t fromMicros,
                                 std::int64_t toMicros);

/// The moment after `micros` at which the next time of the table comes; the largest number if there
/// is none.
std::int64_t nextDue(const CScheduler::Table& table, std::int64_t micros);

}  // namespace paper
