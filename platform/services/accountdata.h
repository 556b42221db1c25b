#pragma once

#include "platform/records/accountinfo.h"

#include <vector>

namespace vexservice {

/// The data center's data of one account.
///
/// Threads: any; each call is a consistent picture of its own.
/// Lock: the library holds its own while it asks for the info of a balance's account; records, and
/// the info where an account is loaded, it asks for without it.
/// Ownership: shared; the records it gives out are not changed afterwards.
/// Failure: nothing throws; unknown data gives an empty pointer or no records.
class LINKAGE_PLATFORM_EXPORT CAccountData : public IData {
public:
    /// May be empty while the account's data is not loaded.
    virtual boost::shared_ptr<CAccountInfo> getAccountInfo() const = 0;

    /// Appends the newest report of each record of one EDataType, in the order in
    /// which the records first appeared. Each record has the class of its type (see EDataType), and
    /// none is null. Unknown types give nothing.
    virtual void getVector(int type, std::vector<boost::shared_ptr<IData>>& records) const = 0;
};

}  // namespace vexservice
