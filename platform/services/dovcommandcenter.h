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
/// command center, if at all, and never inside the call. A caller may hold locks: the library holds
/// its own.
/// Ownership: commands and records belong to the command center from the call on, and the caller
/// does not change them any more. The command center may keep completions as long as it likes.
/// Failure: nothing throws. A completion reports an error of the request; what became of an order
/// shows only in its reports.
class LINKAGE_PLATFORM_EXPORT CDovCommandCenter {
public:
    virtual ~CDovCommandCenter() = default;

    /// Sends the orders of a command. `completion` may be empty. The library always gives `checked`
    /// as true and `source` as 0; a command center need not look at them. Who starts balances is
    /// the client: the library calls this only after it was asked for one.
    ///
    /// The carriers of the orders, and of their deals, have the strategy names that the orders
    /// had. The command's tag comes back: when its secondary strategy name is "历史配平", that text
    /// is the tag of these carriers, and no other carrier has it.
    ///
    /// The completion names the command: it is called without an error and with a number above 0
    /// that no other command has, after this call and before any report of the command's orders.
    /// The carriers of these orders and of their deals have this number. When the completion is
    /// called with an error, at once or later, no further order of the whole command will come;
    /// orders and deals that the command already has stay valid. A command center that cannot give
    /// numbers does not call the completion or gives 0, and its carriers have 0.
    virtual void createCommand(const boost::shared_ptr<vexservice::COrderComandParam>& command,
                               const boost::function<void(utils::VexError, int)>& completion,
                               bool checked, int source) = 0;

    /// Operates a task on the server, named by CTaskHelper::genServerTaskKey.
    virtual void operateServerTask(
        const std::string& serverTaskKey,
        const boost::shared_ptr<vexservice::CTaskOpRecord>& record,
        const boost::shared_ptr<vexservice::CAccountInfo>& account,
        const boost::function<void(const utils::VexError&, mongo::BSONObj)>& completion) = 0;
};

}  // namespace TC

extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<TC::CDovCommandCenter>;
