#include "paper/taskcenter.h"

#include "paper/exchange.h"

#include <boost/make_shared.hpp>

namespace paper {

using namespace vexservice;

namespace {

class CLocalTaskHandler final : public ITaskHandler {
public:
    CLocalTaskHandler(std::shared_ptr<CTaskCenter> center, std::uint64_t taskKey)
        : m_pCenter(std::move(center)), m_nTaskKey(taskKey) {}

    void operate(const boost::shared_ptr<CTaskOpRecord>& record) override {
        if (record) m_pCenter->operate(m_nTaskKey, false, *record);
    }

private:
    const std::shared_ptr<CTaskCenter> m_pCenter;
    const std::uint64_t m_nTaskKey;
};

}  // namespace

CTaskCenter::CTaskCenter(std::shared_ptr<CDataCenter> dataCenter,
                         std::shared_ptr<CExchange> exchange, IClientObserver* observer)
    : m_pDataCenter(std::move(dataCenter)),
      m_pExchange(std::move(exchange)),
      m_pObserver(observer) {}

boost::shared_ptr<CTaskDetail> CTaskCenter::find(std::uint64_t taskKey) const {
    return boost::static_pointer_cast<CTaskDetail>(
        m_pDataCenter->globalData().find(DATA_TASK, taskKey));
}

boost::shared_ptr<ITaskHandler> CTaskCenter::getTaskHandler(std::uint64_t taskNumber) {
    const auto task = find(taskNumber);
    if (!task || task->m_bServerTask) return {};
    return boost::make_shared<CLocalTaskHandler>(shared_from_this(), taskNumber);
}

std::optional<std::uint64_t> CTaskCenter::recordKey(const std::string& serverTaskKey) {
    const std::lock_guard lock(m_mutex);
    auto at = m_serverKeys.find(serverTaskKey);
    if (at == m_serverKeys.end()) {
        std::vector<boost::shared_ptr<IData>> tasks;
        m_pDataCenter->globalData().getVector(DATA_TASK, tasks);
        m_serverKeys.clear();
        for (const auto& data : tasks) {
            const auto task = boost::static_pointer_cast<CTaskDetail>(data);
            m_serverKeys[CTaskHelper::genServerTaskKey(task)] = task->recordKey();
        }
        at = m_serverKeys.find(serverTaskKey);
    }
    if (at == m_serverKeys.end()) return std::nullopt;
    return at->second;
}

bool CTaskCenter::operateServerTask(const std::string& serverTaskKey, const CTaskOpRecord& record) {
    const auto key = recordKey(serverTaskKey);
    if (!key || !find(*key)) return false;
    operate(*key, true, record);
    return true;
}

void CTaskCenter::operate(std::uint64_t taskKey, bool server, const CTaskOpRecord& record) {
    if (m_pObserver) m_pObserver->onOperateTask(taskKey, server, record);
    if (m_pExchange && record.m_eOperation == TASK_OP_TERMINATE) m_pExchange->terminate(taskKey);
}

}  // namespace paper
