#include "paper/tasks.h"

#include "platform/utils/clock.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cmath>

namespace paper {

using namespace vexservice;

namespace {

constexpr double SHORTEST_RETRY_SECONDS = 1.0;
constexpr double LONGEST_SECONDS = 1e9;
constexpr double MICROS = 1e6;

/// When a part falls due, in microseconds after the start. Parts count from 1; the first is due at
/// once.
std::int64_t dueMicros(const TaskRequest& request, std::int64_t part) {
    const double share = request.seconds / request.slices;
    return std::llround(static_cast<double>(part - 1) * share * MICROS);
}

/// How many parts are due so long after the start.
std::int64_t partsDue(const TaskRequest& request, std::int64_t micros) {
    const double whole = request.seconds * MICROS;
    // Half a microsecond more, because the moments at which parts fall due are rounded.
    const double due = whole > 0.0
                           ? std::ceil((static_cast<double>(micros) + 0.5) * request.slices / whole)
                           : request.slices;
    return static_cast<std::int64_t>(std::clamp<double>(due, 1.0, request.slices));
}

/// How many shares the first `parts` parts have together.
int sharesOf(const TaskRequest& request, std::int64_t parts) {
    return static_cast<int>(request.volume * parts / request.slices);
}

/// The first part up to which more than `shares` shares are due. It may skip parts: a part of less
/// than one share may add none.
std::int64_t partAfter(const TaskRequest& request, int shares) {
    const std::int64_t slices = request.slices;
    return ((shares + std::int64_t{1}) * slices + request.volume - 1) / request.volume;
}

boost::shared_ptr<CTaskDetail> firstReport(const TaskRequest& request, std::uint64_t key) {
    auto item = boost::make_shared<CTaskItem>();
    item->m_strMarket = request.market;
    item->m_strCode = request.code;
    item->m_pAccountInfo = request.info;
    item->m_nVolume = request.volume;
    auto command = boost::make_shared<CCommandRecord>();
    command->m_strUser = request.user;
    command->m_strTradeDate = request.tradeDate;
    command->m_strStrategyName = request.strategy;
    auto task = boost::make_shared<CTaskDetail>();
    task->m_nRecordKey = key;
    task->m_bServerTask = request.server;
    task->m_items.push_back(item);
    task->m_pCommand = command;
    return task;
}

}  // namespace

void CTaskRunner::start(const TaskRequest& request, std::uint64_t taskKey) {
    m_started.insert(taskKey);
    Task& task = m_running[taskKey];
    task.request = request;
    task.request.slices = std::max(request.slices, 1);
    task.request.seconds = std::clamp(request.seconds, 0.0, LONGEST_SECONDS);
    task.report = firstReport(request, taskKey);
    task.startMicros = utils::currentClock().nowMicros();
    task.timer = std::make_unique<utils::DeadlineTimer>(m_service);
    if (request.volume <= 0) {
        end(taskKey, TASK_REJECTED);
        return;
    }
    report(task, TASK_RUNNING);
    onTime(taskKey);
}

void CTaskRunner::onTime(std::uint64_t taskKey) {
    const auto at = m_running.find(taskKey);
    if (at == m_running.end() || at->second.terminating) return;
    Task& task = at->second;
    // Several parts may have fallen due when the clock was late or they share a moment.
    const std::int64_t passed = utils::currentClock().nowMicros() - task.startMicros;
    task.partsDue = std::max({task.partsDue, task.partArmed, partsDue(task.request, passed)});
    sendSlice(task);
    armNext(task);
}

void CTaskRunner::armNext(Task& task) {
    const TaskRequest& request = task.request;
    const std::int64_t passed = utils::currentClock().nowMicros() - task.startMicros;
    const double share = std::max(request.seconds / request.slices, SHORTEST_RETRY_SECONDS);
    const std::int64_t retry = passed + std::llround(share * MICROS);
    std::int64_t due = retry;
    task.partArmed = 0;
    if (task.partsDue < request.slices) {
        const int shares = sharesOf(request, task.partsDue);
        const std::int64_t next = partAfter(request, shares);
        const bool unsent = task.openSlice == 0 && task.traded < shares;
        due = dueMicros(request, next);
        if (unsent && retry < due) {
            due = retry;
        } else {
            task.partArmed = next;
        }
    }
    task.timer->expires_from_now(boost::posix_time::microseconds(due - passed));
    m_entry.wakeTask(*task.timer, task.report->recordKey());
}

void CTaskRunner::sendSlice(Task& task) {
    if (task.openSlice != 0) return;
    // An order carries one part and what earlier parts did not trade.
    const std::int64_t next = std::max(task.partsSent + 1, partAfter(task.request, task.traded));
    const std::int64_t part = std::min(next, task.partsDue);
    OrderRequest order;
    order.volume = sharesOf(task.request, part) - task.traded;
    if (order.volume <= 0) return;
    order.account = task.request.account;
    order.market = task.request.market;
    order.code = task.request.code;
    order.buys = task.request.buys;
    order.priceType = PRTP_COMPETE;
    order.price = m_entry.slicePrice(order);
    if (order.price <= 0.0) return;
    order.strategy = task.request.strategy;
    order.task = task.report->recordKey();
    task.partsSent = part;
    task.openSlice = m_entry.place(order);
}

void CTaskRunner::onSlice(std::uint64_t taskKey, int tradedMore, EEntrustStatus status) {
    const auto at = m_running.find(taskKey);
    if (at == m_running.end()) return;
    Task& task = at->second;
    task.traded += tradedMore;
    const bool open = isRunningStatus(status);
    if (!open) task.openSlice = 0;
    if (task.traded >= task.request.volume) {
        end(taskKey, TASK_COMPLETED);
        return;
    }
    if (!open && task.terminating) {
        end(taskKey, TASK_CANCELED);
        return;
    }
    if (status == STATUS_JUNK) {
        // It does not try again: a price beyond the day's limits, for example, would be rejected
        // again.
        end(taskKey, TASK_REJECTED);
        return;
    }
    if (tradedMore > 0) report(task, TASK_RUNNING);
    if (status == STATUS_SUCCEEDED) sendSlice(task);
}

bool CTaskRunner::terminate(std::uint64_t taskKey) {
    if (m_started.count(taskKey) == 0) return false;
    const auto at = m_running.find(taskKey);
    if (at == m_running.end()) return true;
    Task& task = at->second;
    task.terminating = true;
    task.timer->cancel();
    if (task.openSlice == 0) {
        end(taskKey, TASK_CANCELED);
    } else {
        m_entry.cancelSoon(task.request.account, task.openSlice);
    }
    return true;
}

void CTaskRunner::report(Task& task, ETaskStatus status) {
    auto next = boost::make_shared<CTaskDetail>(*task.report);
    next->m_eStatus = status;
    auto item = boost::make_shared<CTaskItem>(*task.report->m_items.front());
    item->m_nTradedVolume = task.traded;
    next->m_items = {item};
    task.report = next;
    m_entry.reportTask(next);
}

void CTaskRunner::end(std::uint64_t taskKey, ETaskStatus status) {
    const auto at = m_running.find(taskKey);
    report(at->second, status);
    m_running.erase(at);
}

void CTaskRunner::forgetAll() {
    m_running.clear();
    m_started.clear();
}

}  // namespace paper
