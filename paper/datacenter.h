#pragma once

#include "adapters/recordcenter.h"
#include "paper/clientdata.h"
#include "paper/faults.h"
#include "platform/services/tradercenter.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace paper {

/// The records of one account, with the faults that reading them shows.
class CPaperAccountData final : public adapters::CAccountRecords {
public:
    CPaperAccountData(std::string key, std::shared_ptr<CFaults> faults)
        : CAccountRecords(std::move(key)), m_pFaults(std::move(faults)) {}

    void getVector(int type,
                   std::vector<boost::shared_ptr<vexservice::IData>>& records) const override;

private:
    const std::shared_ptr<CFaults> m_pFaults;
};

/// The trade data center, with the fee limits of its accounts and the faults of both.
///
/// Threads: as adapters::CRecordCenter.
class CDataCenter final : public adapters::CRecordCenter, public vexservice::IFeeLimitService {
public:
    explicit CDataCenter(std::string tradeDate,
                         std::shared_ptr<CFaults> faults = std::make_shared<CFaults>());

    void getAllAccountData(
        std::vector<boost::shared_ptr<vexservice::CAccountData>>& accounts) const override;
    boost::shared_ptr<vexservice::CAccountData> getAccountData(std::uint64_t hash) const override;
    boost::shared_ptr<vexservice::CAccountData> getGlobalAccountData() const override;
    boost::shared_ptr<vexservice::CStkExchangeRateLimit> getFeeLimits(
        const boost::shared_ptr<vexservice::CAccountInfo>& account, const std::string& market,
        const std::string& code) override;

    /// Adds an account or describes it anew, its fee limits included.
    void setAccount(const Account& account);

private:
    boost::shared_ptr<adapters::CAccountRecords> makeAccount(
        const std::string& accountKey) const override;

    const std::shared_ptr<CFaults> m_pFaults;
    std::mutex m_feeMutex;
    std::unordered_map<std::string, boost::shared_ptr<vexservice::CStkExchangeRateLimit>> m_fees;
};

}  // namespace paper
