#pragma once

#include "paper/clientobserver.h"
#include "platform/services/dovcommandcenter.h"

#include <boost/asio/io_service.hpp>

#include <atomic>
#include <memory>

namespace paper {

class CExchange;
class CTaskCenter;

/// The command center. Orders go to the paper exchange, if there is one; completions
/// come on the loop.
class CCommandCenter final : public TC::CDovCommandCenter {
public:
    CCommandCenter(boost::asio::io_service& service, std::shared_ptr<CExchange> exchange,
                   std::shared_ptr<CTaskCenter> tasks, IClientObserver* observer);

    void createCommand(const boost::shared_ptr<vexservice::COrderComandParam>& command,
                       const boost::function<void(utils::VexError, int)>& completion, bool checked,
                       int source) override;
    void operateServerTask(
        const std::string& serverTaskKey,
        const boost::shared_ptr<vexservice::CTaskOpRecord>& record,
        const boost::shared_ptr<vexservice::CAccountInfo>& account,
        const boost::function<void(const utils::VexError&, bson::BSONObj)>& completion) override;

private:
    boost::asio::io_service& m_service;
    const std::shared_ptr<CExchange> m_pExchange;
    const std::shared_ptr<CTaskCenter> m_pTasks;
    IClientObserver* const m_pObserver;
    std::atomic<int> m_nCommands{0};
};

}  // namespace paper
