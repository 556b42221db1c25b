#include "paper/tasks.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cmath>

namespace paper {

using namespace vexservice;

namespace {

constexpr double SHORTEST_RETRY_SECONDS = 1.0;

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
    task.request.seconds = std::max(request.seconds, 0.0);
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
    // Several slices may have fallen due when the clock was late or they share a moment.
    const double share = task.request.seconds / task.request.slices;
    const std::int64_t now = utils::currentClock().nowMicros();
    do {
        ++task.slicesDue;
    } while (task.slicesDue < task.request.slices &&
             task.startMicros + std::llround(task.slicesDue * share * 1e6) <= now);
    sendSlice(task);
    armNext(task);
}

void CTaskRunner::armNext(Task& task) {
    const double share = task.request.seconds / task.request.slices;
    const std::int64_t now = utils::currentClock().nowMicros();
    const std::int64_t due =
        task.slicesDue < task.request.slices
            ? task.startMicros + std::llround(task.slicesDue * share * 1e6)
            : now + std::llround(std::max(share, SHORTEST_RETRY_SECONDS) * 1e6);
    task.timer->expires_from_now(boost::posix_time::microseconds(due - now));
    m_entry.wakeTask(*task.timer, task.report->recordKey());
}

void CTaskRunner::sendSlice(Task& task) {
    if (task.openSlice != 0) return;
    const std::int64_t slices = task.request.slices;
    const std::int64_t due = std::min<std::int64_t>(task.slicesDue, slices);
    OrderRequest order;
    order.volume = task.request.volume * due / slices - task.traded;
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
