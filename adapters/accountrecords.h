#pragma once

#include "platform/services/accountdata.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace adapters {

/// Keeps the records of one account, or of all accounts together: of each type the newest report of
/// each record key, in the order in which the keys first appeared.
///
/// Threads: any; each call is a consistent picture of its own.
class CAccountRecords : public vexservice::CAccountData {
public:
    /// A record as it is kept: every kind of record has a number.
    using Record = boost::shared_ptr<vexservice::INumberedData>;

    /// An account without info record and without records.
    explicit CAccountRecords(std::string key);
    ~CAccountRecords() override;

    std::string getKey() const override { return m_strKey; }
    boost::shared_ptr<vexservice::CAccountInfo> getAccountInfo() const override;
    void getVector(int type,
                   std::vector<boost::shared_ptr<vexservice::IData>>& records) const override;

    /// Sets the info record; empty while the account is not loaded. Give a new one for each change.
    void setInfo(boost::shared_ptr<vexservice::CAccountInfo> info);
    /// Keeps a report (EDataType) in the place of the one before it. An empty one is left out.
    void keep(int type, const Record& record);
    /// The newest report of a record key, or an empty pointer.
    Record find(int type, std::uint64_t recordKey) const;
    /// Drops the records of a type that are not wanted; the others stay in their order. `wanted` is
    /// called under the lock of this object, and must not call it.
    void forget(int type, const std::function<bool(const vexservice::INumberedData&)>& wanted);

private:
    struct Records;

    const std::string m_strKey;
    mutable std::mutex m_mutex;
    boost::shared_ptr<vexservice::CAccountInfo> m_pInfo;
    std::map<int, std::unique_ptr<Records>> m_records;
};

}  // namespace adapters
