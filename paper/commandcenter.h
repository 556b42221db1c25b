#pragma once

#include "paper/clientobserver.h"
#include "paper/faults.h"
#include "platform/services/dovcommandcenter.h"

#include <boost/asio/io_service.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace paper {

class CExchange;
class CTaskCenter;

/// The command center. Orders go to the paper exchange, if there is one; completions
/// come on the loop, those of commands before any report of their orders.
class CCommandCenter final : public TC::CDovCommandCenter {
public:
    CCommandCenter(boost::asio::io_service& service, std::shared_ptr<CExchange> exchange,
                   std::shared_ptr<CTaskCenter> tasks, IClientObserver* observer,
                   std::shared_ptr<CFaults> faults = std::make_shared<CFaults>());

    /// Calls the completion of a command once more; with an error text it tells that no order
    /// of the command will come. False when no command has this number.
    bool repeatResult(int number, const std::string& error);

    /// The next `times` commands are refused: their completions have an error, and no order comes.
    void refuse(int times);

    void createCommand(const boost::shared_ptr<vexservice::COrderComandParam>& command,
                       const boost::function<void(utils::VexError, int)>& completion, bool checked,
                       int source) override;
    void operateServerTask(
        const std::string& serverTaskKey,
        const boost::shared_ptr<vexservice::CTaskOpRecord>& record,
        const boost::shared_ptr<vexservice::CAccountInfo>& account,
        const boost::function<void(const utils::VexError&, mongo::BSONObj)>& completion) override;

private:
    using Completion = boost::function<void(utils::VexError, int)>;

    int number(const Completion& completion);
    void complete(const Completion& completion, const utils::VexError& error, int number);
    bool refuses();

    boost::asio::io_service& m_service;
    const std::shared_ptr<CExchange> m_pExchange;
    const std::shared_ptr<CTaskCenter> m_pTasks;
    const std::shared_ptr<CFaults> m_pFaults;
    IClientObserver* const m_pObserver;
    std::mutex m_mutex;
    int m_nCommands = 0;
    int m_nRefusals = 0;                      ///< that are still to come
    std::map<int, Completion> m_completions;  ///< by number of the command; the newest ones only
};

}  // namespace paper
