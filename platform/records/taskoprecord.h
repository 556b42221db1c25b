#pragma once

#include "platform/records/enums.h"

#include <cstdint>
#include <string>

namespace vexservice {

/// An operation on a running algorithmic task.
struct CTaskOpRecord {
    ETaskOperation m_eOperation = TASK_OP_TERMINATE;
    std::int64_t m_nTime = 0;  ///< milliseconds since the epoch
    std::string m_strOperator;
    std::string m_strRemark;
};

}  // namespace vexservice
