#include "paper/datacenter.h"

#include "platform/utils/referencedata.h"

#include <boost/make_shared.hpp>

namespace paper {

using namespace vexservice;

void CPaperAccountData::getVector(int type, std::vector<boost::shared_ptr<IData>>& records) const {
    if (m_pFaults->nothing(EService::AccountData, getKey())) return;
    CAccountRecords::getVector(type, records);
}

CDataCenter::CDataCenter(std::string tradeDate, std::shared_ptr<CFaults> faults)
    : CRecordCenter(std::move(tradeDate)), m_pFaults(std::move(faults)) {}

boost::shared_ptr<adapters::CAccountRecords> CDataCenter::makeAccount(
    const std::string& accountKey) const {
    return boost::make_shared<CPaperAccountData>(accountKey, m_pFaults);
}

void CDataCenter::getAllAccountData(std::vector<boost::shared_ptr<CAccountData>>& accounts) const {
    if (m_pFaults->nothing(EService::AccountData)) return;
    CRecordCenter::getAllAccountData(accounts);
}

boost::shared_ptr<CAccountData> CDataCenter::getAccountData(std::uint64_t hash) const {
    if (m_pFaults->nothing(EService::AccountData)) return {};
    return CRecordCenter::getAccountData(hash);
}

boost::shared_ptr<CAccountData> CDataCenter::getGlobalAccountData() const {
    if (m_pFaults->nothing(EService::AccountData)) return {};
    return CRecordCenter::getGlobalAccountData();
}

boost::shared_ptr<CStkExchangeRateLimit> CDataCenter::getFeeLimits(
    const boost::shared_ptr<CAccountInfo>& account, const std::string&, const std::string&) {
    if (!account || m_pFaults->nothing(EService::FeeLimits)) return {};
    const std::lock_guard lock(m_feeMutex);
    const auto at = m_fees.find(account->getKey());
    return at == m_fees.end() ? nullptr : at->second;
}

void CDataCenter::setAccount(const Account& account) {
    boost::shared_ptr<CAccountInfo> info;
    if (account.info) {
        info = boost::make_shared<CAccountInfo>();
        info->m_strKey = account.key;
        info->m_strID = account.id;
        info->m_strName = account.name;
        info->m_nType = account.type;
        info->m_strBroker = account.broker;
    }
    {
        const std::lock_guard lock(m_feeMutex);
        m_fees[account.key] =
            account.fee ? boost::make_shared<CStkExchangeRateLimit>(*account.fee) : nullptr;
    }
    CRecordCenter::setAccount(account.key, std::move(info));
    utils::referenceDataChanged();
}

}  // namespace paper
