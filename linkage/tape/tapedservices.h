#pragma once

#include "platform/services/clientconfig.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"

#include <tuple>

namespace TC {

/// The services that a tape stands before; null: the installed one is asked.
using TapedServices =
    std::tuple<vexservice::IDataCenter*, vexservice::ITaskCenter*, vexservice::IFeeLimitService*,
               CStockManager*, vexservice::StockTypeCenter*, vexservice::IOrderRules*,
               vexservice::ConfigCollector*, CQuoteClient*, CDovCommandCenter*, CTradeClient*,
               CUserConfig*, CTimeService*, marlo::IMarketCalendar*>;

}  // namespace TC
