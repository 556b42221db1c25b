#pragma once

#include "platform/records/orderparam.h"
#include "platform/records/taskoprecord.h"
#include "platform/utils/bsonalias.h"
#include "platform/utils/singleton.h"
#include "platform/utils/vexerror.h"

#include <boost/function.hpp>

namespace TC {

/// Sends commands and operations on server tasks.
///
/// Threads: any. Calls return at once; completions come later on a thread of the
/// command center, if at all, and never inside the call. A caller may hold locks.
/// Ownership: commands and records are the command center's from the call on, and not
/// changed by the caller any more; it may keep completions as long as it likes.
/// Failure: nothing throws. A completion tells of an error; what became of an order is
/// seen in its reports alone.
class PLATFORM_EXPORT CDovCommandCenter {
public:
    virtual ~CDovCommandCenter() = default;

    /// Sends the orders of a command. `completion` may be empty.
    ///
    /// The completion names the command: it comes without an error and with a number above
    /// 0, no other command's, after the call and before any report of the command's orders.
    /// The carriers of these orders and of their deals have this number. When it comes with
    /// an error, at once or later, no order of the whole command will come; what the command
    /// already has of orders or deals stands. A command center that cannot give numbers
    /// leaves the completion uncalled or gives 0, and its carriers have 0.
    virtual void createCommand(const boost::shared_ptr<vexservice::COrderComandParam>& command,
                               const boost::function<void(utils::VexError, int)>& completion,
                               bool checked, int source) = 0;

    /// Operates a task on the server, named by CTaskHelper::genServerTaskKey.
    virtual void operateServerTask(
        const std::string& serverTaskKey,
        const boost::shared_ptr<vexservice::CTaskOpRecord>& record,
        const boost::shared_ptr<vexservice::CAccountInfo>& account,
        const boost::function<void(const utils::VexError&, bson::BSONObj)>& completion) = 0;
};

}  // namespace TC

extern template class PLATFORM_EXPORT utils::CSingletonT<TC::CDovCommandCenter>;
