#include "paper/datacenter.h"

#include "platform/log.h"
#include "platform/utils/keys.h"
#include "platform/utils/referencedata.h"

#include <boost/make_shared.hpp>

#include <exception>

namespace paper {

using namespace vexservice;

boost::shared_ptr<CAccountInfo> CPaperAccountData::getAccountInfo() const {
    const std::lock_guard lock(m_mutex);
    return m_pInfo;
}

void CPaperAccountData::getVector(int type, std::vector<boost::shared_ptr<IData>>& records) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_records.find(type);
    if (at == m_records.end()) return;
    const std::vector<Record>& kept = at->second.inOrder;
    records.insert(records.end(), kept.begin(), kept.end());
}

void CPaperAccountData::setInfo(boost::shared_ptr<CAccountInfo> info) {
    const std::lock_guard lock(m_mutex);
    m_pInfo = std::move(info);
}

void CPaperAccountData::keep(int type, const Record& record) {
    const std::lock_guard lock(m_mutex);
    Records& records = m_records[type];
    const auto [at, added] =
        records.places.try_emplace(record->recordKey(), records.inOrder.size());
    if (added) {
        records.inOrder.push_back(record);
    } else {
        records.inOrder[at->second] = record;
    }
}

CPaperAccountData::Record CPaperAccountData::find(int type, std::uint64_t recordKey) const {
    const std::lock_guard lock(m_mutex);
    const auto records = m_records.find(type);
    if (records == m_records.end()) return {};
    const auto at = records->second.places.find(recordKey);
    return at == records->second.places.end() ? Record() : records->second.inOrder[at->second];
}

void CPaperAccountData::forget(int type, const std::function<bool(const INumberedData&)>& wanted) {
    const std::lock_guard lock(m_mutex);
    Records left;
    for (Record& record : m_records[type].inOrder) {
        if (!wanted(*record)) continue;
        left.places.emplace(record->recordKey(), left.inOrder.size());
        left.inOrder.push_back(std::move(record));
    }
    m_records[type] = std::move(left);
}

template <class Slots>
void CDataCenter::DeliverToAll::operator()(Slots first, Slots last) const {
    for (; first != last; ++first) {
        try {
            *first;
        } catch (const std::exception& fault) {
            g_VexStdLogger.error("paper::CDataCenter", fault.what());
        }
    }
}

CDataCenter::CDataCenter(std::string tradeDate)
    : m_strTradeDate(std::move(tradeDate)),
      m_pGlobal(boost::make_shared<CPaperAccountData>(std::string())) {}

void CDataCenter::getAllAccountData(std::vector<boost::shared_ptr<CAccountData>>& accounts) const {
    const std::lock_guard lock(m_mutex);
    for (const std::string& key : m_keys) accounts.push_back(m_accounts.at(key).data);
}

boost::shared_ptr<CAccountData> CDataCenter::getAccountData(std::uint64_t hash) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_byHash.find(hash);
    return at == m_byHash.end() ? nullptr : at->second;
}

boost::shared_ptr<CAccountData> CDataCenter::getGlobalAccountData() const { return m_pGlobal; }

std::string CDataCenter::getTradingDate() const {
    const std::lock_guard lock(m_mutex);
    return m_strTradeDate;
}

boost::signals2::connection CDataCenter::subscribe(const std::string& accountKey, int type,
                                                   const std::string&, const Callback& callback) {
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Signal>& signal = m_signals[{accountKey, type}];
    if (!signal) signal = std::make_shared<Signal>();
    return signal->connect(callback);
}

boost::shared_ptr<CStkExchangeRateLimit> CDataCenter::getFeeLimits(
    const boost::shared_ptr<CAccountInfo>& account, const std::string&, const std::string&) {
    if (!account) return {};
    const std::lock_guard lock(m_mutex);
    const auto at = m_accounts.find(account->getKey());
    return at == m_accounts.end() ? nullptr : at->second.fee;
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
        const std::lock_guard lock(m_mutex);
        Entry& entry = m_accounts[account.key];
        if (!entry.data) {
            entry.data = boost::make_shared<CPaperAccountData>(account.key);
            m_keys.push_back(account.key);
            m_byHash[utils::hash(account.key)] = entry.data;
        }
        entry.data->setInfo(std::move(info));
        entry.fee = account.fee ? boost::make_shared<CStkExchangeRateLimit>(*account.fee) : nullptr;
    }
    utils::referenceDataChanged();
}

boost::shared_ptr<CPaperAccountData> CDataCenter::account(const std::string& accountKey) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_accounts.find(accountKey);
    return at == m_accounts.end() ? nullptr : at->second.data;
}

std::vector<std::string> CDataCenter::accountKeys() const {
    const std::lock_guard lock(m_mutex);
    return m_keys;
}

std::vector<std::shared_ptr<CDataCenter::Signal>> CDataCenter::subscribers(
    const std::string& accountKey, int type) {
    std::vector<std::shared_ptr<Signal>> found;
    const std::lock_guard lock(m_mutex);
    const auto collect = [&](const std::string& key) {
        const auto at = m_signals.find({key, type});
        if (at != m_signals.end()) found.push_back(at->second);
    };
    collect(accountKey);
    if (!accountKey.empty()) collect(std::string());
    return found;
}

void CDataCenter::report(const std::string& accountKey, int type,
                         const CPaperAccountData::Record& record, bool push) {
    const auto data = type == DATA_TASK ? m_pGlobal : account(accountKey);
    if (!record || !data) return;
    data->keep(type, record);
    if (!push) return;
    for (const auto& signal : subscribers(accountKey, type)) (*signal)(accountKey, record);
}

void CDataCenter::beginTradingDate(const std::string& date) {
    std::vector<boost::shared_ptr<CPaperAccountData>> accounts;
    {
        const std::lock_guard lock(m_mutex);
        m_strTradeDate = date;
        for (const auto& [key, entry] : m_accounts) accounts.push_back(entry.data);
    }
    for (const auto& data : accounts) {
        data->forget(DATA_ORDER, [&](const INumberedData& record) {
            return static_cast<const COrderDetail&>(record).m_strTradeDate == date;
        });
        data->forget(DATA_DEAL, [&](const INumberedData& record) {
            return static_cast<const CDealDetail&>(record).m_strTradeDate == date;
        });
    }
    m_pGlobal->forget(DATA_TASK, [&](const INumberedData& record) {
        const auto& command = static_cast<const CTaskDetail&>(record).m_pCommand;
        return !command || command->m_strTradeDate == date;
    });
}

}  // namespace paper
