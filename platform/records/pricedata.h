#pragma once

#include "platform/records/idata.h"

#include <cmath>
#include <limits>
#include <vector>

namespace vexservice {

/// One level of the book.
struct CPriceLevel {
    double m_dPrice = 0.0;    ///< yuan
    long long m_nVolume = 0;  ///< shares
};

/// The quote client's picture of one stock.
struct LINKAGE_PLATFORM_EXPORT CPriceData : IData {
    /// What the last price holds while none is known.
    static constexpr double UNKNOWN = std::numeric_limits<double>::max();

    std::string m_strStockKey;        ///< the stock key ("SH600000")
    double m_dLastPrice = UNKNOWN;    ///< yuan
    std::vector<CPriceLevel> m_asks;  ///< best first, up to ten
    std::vector<CPriceLevel> m_bids;  ///< best first, up to ten

    std::string getKey() const override { return m_strStockKey; }
    /// Whether a last price is known.
    bool hasLastPrice() const { return std::fabs(m_dLastPrice - UNKNOWN) > 0.00001; }
};

}  // namespace vexservice

namespace TC {
using vexservice::CPriceData;
}
