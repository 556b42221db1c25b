#pragma once

#include "platform/services/tradercenter.h"

namespace TC {

inline vexservice::IDataCenter& dataCenter() {
    return *vexservice::TraderCenter::instance()->getDataCenter();
}

}  // namespace TC
