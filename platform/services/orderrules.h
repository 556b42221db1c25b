#pragma once

#include "platform/records/orderparam.h"
#include "platform/records/pricedata.h"
#include "platform/utils/singleton.h"

namespace vexservice {

/// How the client turns a user's settings and the newest quote into the price and
/// the settings of an order.
///
/// Threads: any; callers may hold locks: the library holds its own.
/// Ownership: nothing is kept of what is passed.
/// Failure: nothing throws. A missing quote is an empty pointer; a price that needs one is
/// then 0.
class LINKAGE_PLATFORM_EXPORT IOrderRules {
public:
    virtual ~IOrderRules() = default;

    /// Fills price type, price and the other settings of an order.
    virtual void orderSettingToParam(const COrderSetting& setting, CCodeOrderParam& order,
                                     EOperationType operation, int volume, double price,
                                     const boost::shared_ptr<CPriceData>& quote) = 0;

    /// The price that an order of this type gets; the protective price for a market
    /// type. `quote` belongs to the stock of the order.
    virtual double getPriceForOrder(const boost::shared_ptr<CPriceData>& quote,
                                    EPriceType priceType, EOperationType operation) = 0;

    /// Corrects the time in which the order is valid.
    virtual void fixTimeRange(CCodeOrderParam& order) = 0;
};

/// Prices by the installed rules.
struct LINKAGE_PLATFORM_EXPORT CPriceDataHelper {
    /// As IOrderRules::getPriceForOrder; the further arguments are not used.
    static double getPriceForOrder(const boost::shared_ptr<CPriceData>& quote, EPriceType priceType,
                                   EOperationType operation, int level,
                                   const boost::shared_ptr<CAutoPriceParam>& automatic, bool, bool,
                                   double basis);
};

/// Market-wide switches of the client. Threads: any, also under the library's lock. Failure:
/// nothing throws.
class LINKAGE_PLATFORM_EXPORT ConfigCollector {
public:
    virtual ~ConfigCollector() = default;
    /// The installed switches. Throws utils::ServiceMissing when there are none.
    static ConfigCollector* instance();
    /// Whether the registration rules hold: market orders need a protective price.
    virtual bool useRegistRules() = 0;
};

}  // namespace vexservice

namespace TC {

/// As IOrderRules::orderSettingToParam of the installed rules. Throws utils::ServiceMissing when
/// there are none.
LINKAGE_PLATFORM_EXPORT void orderSettingToParam(
    const vexservice::COrderSetting& setting, vexservice::CCodeOrderParam& order,
    vexservice::EOperationType operation, int volume, double price,
    const boost::shared_ptr<vexservice::CPriceData>& quote);

/// As IOrderRules::fixTimeRange of the installed rules. Throws utils::ServiceMissing when there are
/// none.
LINKAGE_PLATFORM_EXPORT void fixTimeRange(vexservice::CCodeOrderParam& order);

}  // namespace TC

extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<vexservice::IOrderRules>;
extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<vexservice::ConfigCollector>;
