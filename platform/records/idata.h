#pragma once

#include "platform/export.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace vexservice {

/// The kinds of records that the data center hands out and announces, each with its class.
enum EDataType : int {
    DATA_TASK = 541,      ///< CTaskDetail, of all accounts together
    DATA_ORDER = 542,     ///< COrderDetail
    DATA_DEAL = 544,      ///< CDealDetail
    DATA_POSITION = 547,  ///< CPositionStatics
};

/// The common base of all records. Records are shared, not copied; whoever
/// publishes a record does not change it afterwards but publishes a new one.
struct LINKAGE_PLATFORM_EXPORT IData {
    virtual ~IData();

    /// The text key of the record: an account record's account key, otherwise the
    /// record key in decimal.
    virtual std::string getKey() const = 0;
};

/// A record that is named by a number: each later report of the same order, deal,
/// task or position of an account carries the same one.
struct LINKAGE_PLATFORM_EXPORT INumberedData : IData {
    /// One for each order, deal, task or position, over all its reports.
    std::uint64_t m_nRecordKey = 0;

    /// The number that all reports of one order, deal, task or position share.
    std::uint64_t recordKey() const { return m_nRecordKey; }
    std::string getKey() const override;
};

}  // namespace vexservice
