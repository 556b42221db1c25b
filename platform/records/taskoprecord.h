#pragma once

#include "platform/records/enums.h"

#include <cstdint>
#include <string>

namespace vexservice {

/// An operation on a running algorithmic task.
struct CTaskOpRecord {
    ETaskOperation m_eOperation = TASK_OP_TERMINATE;  ///< what is to be done
    std::int64_t m_nTime = 0;                         ///< milliseconds since the epoch
    std::string m_strOperator;                        ///< name of the user who asks for it
    std::string m_strRemark;                          ///< why, for people
};

}  // namespace vexservice
