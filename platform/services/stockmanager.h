#pragma once

#include "platform/records/instrumentdetail.h"
#include "platform/utils/singleton.h"

#include <QString>

#include <memory>
#include <string>

namespace TC {

/// The instrument manager.
///
/// Threads: any, also under the library's lock.
/// A detail is never changed after it was handed out: a change makes
/// a new one and is announced by utils::referenceDataChanged().
/// Failure: nothing throws.
class LINKAGE_PLATFORM_EXPORT CStockManager {
public:
    virtual ~CStockManager() = default;

    /// By stock key ("SH600000"); empty when there is no detail.
    virtual std::shared_ptr<vexservice::CInstrumentDetail> getInstrumentDetail(
        const QString& stockKey) = 0;

    /// As the other one, by market and code.
    std::shared_ptr<vexservice::CInstrumentDetail> getInstrumentDetail(const std::string& market,
                                                                       const std::string& code);
};

}  // namespace TC

namespace vexservice {

/// Which stock belongs to which types, and in what units it trades.
/// Threads: any, also under the library's lock.
/// A change is announced by utils::referenceDataChanged(). Failure: nothing throws; a
/// stock that nobody described is of no type.
class LINKAGE_PLATFORM_EXPORT StockTypeCenter {
public:
    virtual ~StockTypeCenter() = default;
    /// Whether a stock is of a type. The library asks for those of vexservice::EStockType.
    virtual bool isTypedStock(int type, const std::string& market, const std::string& code) = 0;
    /// The minimum trading unit (lot) in shares, at least 1.
    virtual int tradeMinUnit(const std::string& market, const std::string& code) = 0;
};

/// As StockTypeCenter::isTypedStock; the last text is not used.
LINKAGE_PLATFORM_EXPORT bool isTypedStock(int type, const std::string& market,
                                          const std::string& code, const std::string& unused);

/// As StockTypeCenter::tradeMinUnit.
LINKAGE_PLATFORM_EXPORT int getTradeMinUnit(const std::string& market, const std::string& code);

}  // namespace vexservice

extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<TC::CStockManager>;
extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<vexservice::StockTypeCenter>;
