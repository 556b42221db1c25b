#pragma once

#include "platform/records/idata.h"

namespace vexservice {

/// What is known of one trading account.
struct LINKAGE_PLATFORM_EXPORT CAccountInfo : IData {
    std::string m_strKey;     ///< account key, unique in the client
    std::string m_strID;      ///< account ID as the broker writes it
    std::string m_strName;    ///< the account's name, for people
    int m_nType = 0;          ///< EAccountType
    std::string m_strBroker;  ///< brokerage company

    std::string getKey() const override { return m_strKey; }

    /// The key by which the data center finds the account's data.
    std::uint64_t hash() const;
};

}  // namespace vexservice
