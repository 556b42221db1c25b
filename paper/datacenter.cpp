#include "paper/datacenter.h"

#include "platform/log.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/keys.h"
#include "platform/utils/referencedata.h"

#include <boost/container/static_vector.hpp>
#include <boost/make_shared.hpp>

#include <exception>
#include <utility>

namespace paper {

using namespace vexservice;

boost::shared_ptr<CAccountInfo> CPaperAccountData::getAccountInfo() const {
    const std::lock_guard lock(m_mutex);
    return m_pInfo;
}

void CPaperAccountData::getVector(int type, std::vector<boost::shared_ptr<IData>>& records) const {
    if (m_pFaults && m_pFaults->nothing(EService::AccountData, m_strKey)) return;
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

std::uint32_t CPaperAccountData::Records::placeOf(std::uint64_t recordKey) const {
    return places.find(utils::mixHash(recordKey), [&](std::uint32_t place) {
        return inOrder[place]->recordKey() == recordKey;
    });
}

void CPaperAccountData::Records::add(Record record) {
    places.add(utils::mixHash(record->recordKey()), static_cast<std::uint32_t>(inOrder.size()));
    inOrder.push_back(std::move(record));
}

void CPaperAccountData::keep(int type, const Record& record) {
    Record before;
    const std::lock_guard lock(m_mutex);
    Records& records = m_records[type];
    const std::uint32_t place = records.placeOf(record->recordKey());
    if (place == utils::CKeyIndex::NONE) {
        records.add(record);
    } else {
        before = std::exchange(records.inOrder[place], record);
    }
}

CPaperAccountData::Record CPaperAccountData::find(int type, std::uint64_t recordKey) const {
    const std::lock_guard lock(m_mutex);
    const auto records = m_records.find(type);
    if (records == m_records.end()) return {};
    const std::uint32_t place = records->second.placeOf(recordKey);
    return place == utils::CKeyIndex::NONE ? Record() : records->second.inOrder[place];
}

void CPaperAccountData::forget(int type, const std::function<bool(const INumberedData&)>& wanted) {
    const std::lock_guard lock(m_mutex);
    Records left;
    for (Record& record : m_records[type].inOrder) {
        if (wanted(*record)) left.add(std::move(record));
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

CDataCenter::CDataCenter(std::string tradeDate, std::shared_ptr<CFaults> faults)
    : m_pFaults(std::move(faults)),
      m_strTradeDate(std::move(tradeDate)),
      m_all{boost::make_shared<CPaperAccountData>(std::string()), {}, {}} {}

void CDataCenter::getAllAccountData(std::vector<boost::shared_ptr<CAccountData>>& accounts) const {
    if (m_pFaults->nothing(EService::AccountData)) return;
    const std::lock_guard lock(m_mutex);
    for (const std::string& key : m_keys) accounts.push_back(m_accounts.at(key).data);
}

boost::shared_ptr<CAccountData> CDataCenter::getAccountData(std::uint64_t hash) const {
    if (m_pFaults->nothing(EService::AccountData)) return {};
    const std::lock_guard lock(m_mutex);
    const auto at = m_byHash.find(hash);
    return at == m_byHash.end() ? nullptr : at->second;
}

boost::shared_ptr<CAccountData> CDataCenter::getGlobalAccountData() const {
    if (m_pFaults->nothing(EService::AccountData)) return {};
    return m_all.data;
}

std::string CDataCenter::getTradingDate() const {
    const std::lock_guard lock(m_mutex);
    return m_strTradeDate;
}

boost::signals2::connection CDataCenter::subscribe(const std::string& accountKey, int type,
                                                   const std::string&, const Callback& callback) {
    const std::lock_guard lock(m_mutex);
    Entry& entry = accountKey.empty() ? m_all : m_accounts[accountKey];
    std::unique_ptr<Signal>& signal = entry.subscribers[type];
    if (!signal) signal = std::make_unique<Signal>();
    return signal->connect(callback);
}

boost::shared_ptr<CStkExchangeRateLimit> CDataCenter::getFeeLimits(
    const boost::shared_ptr<CAccountInfo>& account, const std::string&, const std::string&) {
    if (!account || m_pFaults->nothing(EService::FeeLimits)) return {};
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
            entry.data = boost::make_shared<CPaperAccountData>(account.key, m_pFaults);
            m_keys.push_back(account.key);
            m_byHash[utils::hash(account.key)] = entry.data;
        }
        entry.data->setInfo(std::move(info));
        entry.fee = account.fee ? boost::make_shared<CStkExchangeRateLimit>(*account.fee) : nullptr;
    }
    utils::referenceDataChanged();
}

CPaperAccountData* CDataCenter::account(const std::string& accountKey) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_accounts.find(accountKey);
    return at == m_accounts.end() ? nullptr : at->second.data.get();
}

std::vector<std::string> CDataCenter::accountKeys() const {
    const std::lock_guard lock(m_mutex);
    return m_keys;
}

void CDataCenter::report(const std::string& accountKey, int type,
                         const CPaperAccountData::Record& record, bool push) {
    if (!record) return;
    CPaperAccountData* data = nullptr;
    boost::container::static_vector<Signal*, 2> subscribers;
    {
        const std::lock_guard lock(m_mutex);
        const auto addOf = [&](const Entry& entry) {
            const auto at = entry.subscribers.find(type);
            if (at != entry.subscribers.end()) subscribers.push_back(at->second.get());
        };
        if (type == DATA_TASK) data = m_all.data.get();
        if (const auto at = m_accounts.find(accountKey); at != m_accounts.end()) {
            if (!data) data = at->second.data.get();
            addOf(at->second);
        }
        addOf(m_all);
    }
    if (!data) return;
    data->keep(type, record);
    if (!push) return;
    for (Signal* signal : subscribers) (*signal)(accountKey, record);
}

void CDataCenter::beginTradingDate(const std::string& date) {
    std::vector<boost::shared_ptr<CPaperAccountData>> accounts;
    {
        const std::lock_guard lock(m_mutex);
        m_strTradeDate = date;
        for (const std::string& key : m_keys) accounts.push_back(m_accounts.at(key).data);
    }
    for (const auto& data : accounts) {
        data->forget(DATA_ORDER, [&](const INumberedData& record) {
            return static_cast<const COrderDetail&>(record).m_strTradeDate == date;
        });
        data->forget(DATA_DEAL, [&](const INumberedData& record) {
            return static_cast<const CDealDetail&>(record).m_strTradeDate == date;
        });
    }
    m_all.data->forget(DATA_TASK, [&](const INumberedData& record) {
        const auto& command = static_cast<const CTaskDetail&>(record).m_pCommand;
        return !command || command->m_strTradeDate == date;
    });
}

}  // namespace paper
