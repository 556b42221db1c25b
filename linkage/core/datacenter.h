#pragma once

#include "platform/services/tradercenter.h"

#include <boost/shared_ptr.hpp>

#include <vector>

namespace TC {

/// The parts of the trade services. Each throws utils::ServiceMissing while the client has none.
vexservice::IDataCenter& dataCenter();
vexservice::ITaskCenter& taskCenter();
vexservice::IFeeLimitService& feeLimitService();

using Records = std::vector<boost::shared_ptr<vexservice::IData>>;

Records recordsOf(const vexservice::CAccountData& data, int type);

/// The records of `now` that are not among those of `before`: new ones, and newer reports.
Records differing(const Records& before, Records now);

}  // namespace TC
