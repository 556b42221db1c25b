#pragma once

#include "platform/records/orderdetail.h"
#include "platform/records/orderparam.h"
#include "platform/records/taskoprecord.h"

#include <cstdint>
#include <string>

namespace paper {

/// Sees what the library asks of the client, and what the client does about it. Called on the
/// thread that asks; it must not call back into the client.
class IClientObserver {
public:
    virtual ~IClientObserver() = default;
    /// The library asks for the cancellation of this order.
    virtual void onCancelOrder(const vexservice::COrderDetail& order) = 0;
    /// `server`: the operation went to the command center, otherwise to the local task center.
    virtual void onOperateTask(std::uint64_t taskKey, bool server,
                               const vexservice::CTaskOpRecord& record) = 0;
    /// `number`: the number that the command center gave the command.
    virtual void onCommand(const vexservice::COrderComandParam& command, int number) = 0;
    /// The paper exchange made this order for the command.
    virtual void onCommandOrder(const vexservice::COrderComandParam& /*command*/,
                                const std::string& /*accountKey*/, std::uint64_t /*orderKey*/) {}
    /// The client's scheduler asks the library for a balance, because its time in the table has
    /// come.
    virtual void onBalanceTime(const std::string& /*accountKey*/, const std::string& /*strategy*/) {
    }
};

}  // namespace paper
