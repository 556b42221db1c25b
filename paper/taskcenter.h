#pragma once

#include "paper/clientobserver.h"
#include "paper/datacenter.h"
#include "platform/records/taskdetail.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace paper {

class CExchange;

/// The algorithmic tasks that the client knows, and the operations on them. Tasks that
/// run in the client are operated through getTaskHandler(), those of the server by
/// their server key. Threads: any.
class CTaskCenter final : public vexservice::ITaskCenter,
                          public std::enable_shared_from_this<CTaskCenter> {
public:
    CTaskCenter(std::shared_ptr<CDataCenter> dataCenter, std::shared_ptr<CExchange> exchange,
                IClientObserver* observer);

    boost::shared_ptr<vexservice::ITaskHandler> getTaskHandler(std::uint64_t taskNumber) override;

    /// False when no such task is known.
    bool operateServerTask(const std::string& serverTaskKey,
                           const vexservice::CTaskOpRecord& record);
    void operate(std::uint64_t taskKey, bool server, const vexservice::CTaskOpRecord& record);

private:
    boost::shared_ptr<vexservice::CTaskDetail> find(std::uint64_t taskKey) const;
    std::optional<std::uint64_t> recordKey(const std::string& serverTaskKey);

    const std::shared_ptr<CDataCenter> m_pDataCenter;
    const std::shared_ptr<CExchange> m_pExchange;  ///< empty: operations are recorded only
    IClientObserver* const m_pObserver;
    std::mutex m_mutex;
    std::unordered_map<std::string, std::uint64_t> m_serverKeys;  ///< to record keys
};

}  // namespace paper
