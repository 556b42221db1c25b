#pragma once

#include "paper/requests.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/deadlinetimer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>

namespace paper {

/// What the tasks need of the exchange. Called with the exchange's lock held.
class IOrderEntry {
public:
    /// Sends an order and returns its record key. onSlice() tells later what becomes of the order.
    virtual std::uint64_t place(const OrderRequest& request) = 0;
    virtual void cancelSoon(const std::string& accountKey, std::uint64_t orderKey) = 0;
    /// The price of a slice sent now; 0 while there is none.
    virtual double slicePrice(const OrderRequest& request) const = 0;
    virtual void reportTask(const boost::shared_ptr<vexservice::CTaskDetail>& task) = 0;
    /// Calls onTime() of the task when the timer is due.
    virtual void wakeTask(utils::DeadlineTimer& timer, std::uint64_t taskKey) = 0;

protected:
    ~IOrderEntry() = default;
};

/// The algorithmic tasks of the exchange.
///
/// The parts of a task fall due evenly over its time, the first at once. Each is sent at the best
/// price of the opposite side. A task has one slice open at a time: parts that fall due meanwhile
/// go out one by one, each when the one before is filled. What a slice did not trade because it was
/// cancelled, or because there was no price, is sent with the next part; after the last part it is
/// sent again at the same interval (at least a second). A slice that is rejected ends its task as
/// rejected.
///
/// Threads: every call with the exchange's lock held.
class CTaskRunner {
public:
    CTaskRunner(boost::asio::io_service& service, IOrderEntry& entry)
        : m_service(service), m_entry(entry) {}

    void start(const TaskRequest& request, std::uint64_t taskKey);
    void onSlice(std::uint64_t taskKey, int tradedMore, vexservice::EEntrustStatus status);
    void onTime(std::uint64_t taskKey);
    /// False when no such task was ever started here.
    bool terminate(std::uint64_t taskKey);
    void forgetAll();

private:
    struct Task {
        TaskRequest request;
        boost::shared_ptr<const vexservice::CTaskDetail> report;  ///< the newest
        std::int64_t startMicros = 0;
        std::int64_t partsDue = 0;
        std::int64_t partsSent = 0;
        std::int64_t partArmed = 0;  ///< the part that falls due when the timer ends; 0: none
        int traded = 0;
        std::uint64_t openSlice = 0;
        bool terminating = false;
        std::unique_ptr<utils::DeadlineTimer> timer;
    };

    void sendSlice(Task& task);
    void armNext(Task& task);
    void report(Task& task, vexservice::ETaskStatus status);
    void end(std::uint64_t taskKey, vexservice::ETaskStatus status);

    boost::asio::io_service& m_service;
    IOrderEntry& m_entry;
    std::map<std::uint64_t, Task> m_running;
    std::unordered_set<std::uint64_t> m_started;
};

}  // namespace paper
