#pragma once

#include "paper/instruments.h"
#include "paper/matching.h"
#include "paper/outbox.h"
#include "paper/quotes.h"
#include "paper/tasks.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace paper {

/// A broker with a matching engine: takes orders, matches them with the quotes, and
/// reports what becomes of them through the outbox.
///
/// Orders and deals get record keys from 1 upwards, each kind its own; keys that the account's
/// records already use are skipped. Threads: any; one operation at a time.
class CExchange final : public std::enable_shared_from_this<CExchange>, private IOrderEntry {
public:
    struct Services {
        boost::asio::io_service& service;
        std::shared_ptr<CDataCenter> dataCenter;
        std::shared_ptr<CInstruments> instruments;
        boost::shared_ptr<CQuotes> quotes;
        std::string user;      ///< the user of the orders' commands
        std::string taskUser;  ///< the user of the tasks' commands
    };

    explicit CExchange(const Services& services);

    /// Sends an order; returns its record key.
    std::uint64_t submit(const OrderRequest& request);

    /// Runs `work` on the loop when all reports made so far have been published, and before any
    /// later one is.
    void tell(std::function<void()> work) { m_pOutbox->add(std::move(work)); }

    /// Rejects the next `times` orders of the account.
    void rejectNext(const std::string& accountKey, int times);

    /// For so many seconds the exchange takes orders and cancellations and does nothing about them;
    /// then it does all of it, in order. Orders that rest already are matched meanwhile.
    void beSilent(double seconds);

    /// Cancels the order in one second, if it still runs then; also an order that only the data
    /// center knows. An order without account info does not say whose it is; then the account is
    /// "".
    void cancel(const std::string& accountKey, std::uint64_t orderKey);

    void quote(const std::string& stockKey, const vexservice::CPriceData& price);

    void startTask(const TaskRequest& request);

    /// Ends a task when its open slice has been cancelled, or at once when it has none. Also a task
    /// that only the data center knows.
    void terminate(std::uint64_t taskKey);

    /// Forgets the orders and tasks that still run; they get no further report.
    void beginTradingDate();

private:
    struct Order {
        std::string account;
        boost::shared_ptr<const vexservice::COrderDetail> report;  ///< the newest
        bool buys = true;
        std::optional<Price> limit;
        double amount = 0.0;  ///< traded, in ten-thousandths of a yuan
        std::uint64_t task = 0;
    };
    struct Stock {
        CBook book;
        std::map<std::uint64_t, Order> working;  ///< oldest first
    };
    struct Issued {
        std::string account;
        std::string stock;
    };
    struct Change {
        std::uint64_t task;
        int volume;
        vexservice::EEntrustStatus status;
    };

    // IOrderEntry, with the lock held
    std::uint64_t place(const OrderRequest& request) override;
    void cancelSoon(const std::string& accountKey, std::uint64_t orderKey) override;
    double slicePrice(const OrderRequest& request) const override;
    void reportTask(const boost::shared_ptr<vexservice::CTaskDetail>& task) override;
    void wakeTask(utils::DeadlineTimer& timer, std::uint64_t taskKey) override;

    void enter(const OrderRequest& request, std::uint64_t key);
    bool isSilent() const { return m_nSilences > 0; }
    void endSilence();
    bool takesReject(const std::string& accountKey);
    /// Why the exchange does not take an order; empty when it does.
    std::string faultOf(const OrderRequest& request) const;
    Order makeOrder(const OrderRequest& request, std::uint64_t key) const;
    void match(Stock& stock, std::uint64_t key);
    void fill(Order& order, const Fill& fill);
    void report(Order& order, vexservice::EEntrustStatus status, int traded);
    void reportDeal(const Order& order, const Fill& fill);
    void finish(Stock& stock, std::uint64_t key, vexservice::EEntrustStatus status);
    void reject(Stock& stock, std::uint64_t key, const std::string& why);
    void cancelNow(const std::string& accountKey, std::uint64_t orderKey);
    void cancelForeign(const std::string& accountKey, std::uint64_t orderKey);
    std::string ownerOf(std::uint64_t orderKey) const;
    void tellTasks();
    std::uint64_t nextKey(const std::string& accountKey, int type, std::uint64_t& last) const;

    const Services m_services;
    const std::shared_ptr<COutbox> m_pOutbox;
    std::mutex m_mutex;
    std::unordered_map<std::string, Stock> m_stocks;
    std::unordered_map<std::uint64_t, Issued> m_issued;  ///< today's orders, final ones too
    std::uint64_t m_nLastOrder = 0;
    std::uint64_t m_nLastDeal = 0;
    std::uint64_t m_nLastTask = 0;
    std::deque<Change> m_changes;          ///< of slices, not yet told to their tasks
    std::map<std::string, int> m_rejects;  ///< how many orders of an account are still rejected
    int m_nSilences = 0;                   ///< silences that have not ended
    std::vector<std::function<void()>> m_held;  ///< what waits for the end of the silence
    CTaskRunner m_tasks;
};

}  // namespace paper
