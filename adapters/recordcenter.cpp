#include "adapters/recordcenter.h"

#include "adapters/delivery.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/keys.h"

#include <boost/container/flat_map.hpp>
#include <boost/container/static_vector.hpp>
#include <boost/make_shared.hpp>
#include <boost/signals2/signal.hpp>

#include <mutex>
#include <unordered_map>
#include <utility>

namespace adapters {

using namespace vexservice;

struct CRecordCenter::State {
    using Signal =
        boost::signals2::signal<void(const std::string&, const boost::shared_ptr<IData>&),
                                DeliverToAll>;
    /// An entry is never removed, nor are its data and its signals. Somebody may subscribe to an
    /// account before it is set.
    struct Entry {
        boost::shared_ptr<CAccountRecords> data;
        boost::container::flat_map<int, std::unique_ptr<Signal>> subscribers;
    };

    mutable std::mutex mutex;
    std::string tradeDate;
    std::vector<std::string> keys;  ///< in the order of appearance
    std::unordered_map<std::string, Entry> accounts;
    std::unordered_map<std::uint64_t, boost::shared_ptr<CAccountRecords>> byHash;
    Entry all;  ///< the tasks of all accounts, and the subscribers to every account
};

CRecordCenter::CRecordCenter(std::string tradeDate) : m_pState(std::make_unique<State>()) {
    m_pState->tradeDate = std::move(tradeDate);
    m_pState->all.data = boost::make_shared<CAccountRecords>(std::string());
}

CRecordCenter::~CRecordCenter() = default;

boost::shared_ptr<CAccountRecords> CRecordCenter::makeAccount(const std::string& accountKey) const {
    return boost::make_shared<CAccountRecords>(accountKey);
}

void CRecordCenter::getAllAccountData(
    std::vector<boost::shared_ptr<CAccountData>>& accounts) const {
    const std::lock_guard lock(m_pState->mutex);
    for (const std::string& key : m_pState->keys) {
        accounts.push_back(m_pState->accounts.at(key).data);
    }
}

boost::shared_ptr<CAccountData> CRecordCenter::getAccountData(std::uint64_t hash) const {
    const std::lock_guard lock(m_pState->mutex);
    const auto at = m_pState->byHash.find(hash);
    return at == m_pState->byHash.end() ? nullptr : at->second;
}

boost::shared_ptr<CAccountData> CRecordCenter::getGlobalAccountData() const {
    return m_pState->all.data;
}

std::string CRecordCenter::getTradingDate() const {
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->tradeDate;
}

boost::signals2::connection CRecordCenter::subscribe(const std::string& accountKey, int type,
                                                     const std::string&, const Callback& callback) {
    const std::lock_guard lock(m_pState->mutex);
    State::Entry& entry = accountKey.empty() ? m_pState->all : m_pState->accounts[accountKey];
    std::unique_ptr<State::Signal>& signal = entry.subscribers[type];
    if (!signal) signal = std::make_unique<State::Signal>();
    return signal->connect(callback);
}

void CRecordCenter::setAccount(const std::string& accountKey,
                               boost::shared_ptr<CAccountInfo> info) {
    const std::lock_guard lock(m_pState->mutex);
    State::Entry& entry = m_pState->accounts[accountKey];
    if (!entry.data) {
        entry.data = makeAccount(accountKey);
        m_pState->keys.push_back(accountKey);
        m_pState->byHash[utils::hash(accountKey)] = entry.data;
    }
    entry.data->setInfo(std::move(info));
}

CAccountRecords* CRecordCenter::account(const std::string& accountKey) const {
    const std::lock_guard lock(m_pState->mutex);
    const auto at = m_pState->accounts.find(accountKey);
    return at == m_pState->accounts.end() ? nullptr : at->second.data.get();
}

CAccountRecords& CRecordCenter::globalData() const { return *m_pState->all.data; }

std::vector<std::string> CRecordCenter::accountKeys() const {
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->keys;
}

void CRecordCenter::report(const std::string& accountKey, int type,
                           const CAccountRecords::Record& record, bool push) {
    if (!record) return;
    CAccountRecords* data = nullptr;
    boost::container::static_vector<State::Signal*, 2> subscribers;
    {
        const std::lock_guard lock(m_pState->mutex);
        const auto addOf = [&](const State::Entry& entry) {
            const auto at = entry.subscribers.find(type);
            if (at != entry.subscribers.end()) subscribers.push_back(at->second.get());
        };
        if (type == DATA_TASK) data = m_pState->all.data.get();
        if (const auto at = m_pState->accounts.find(accountKey); at != m_pState->accounts.end()) {
            if (!data) data = at->second.data.get();
            addOf(at->second);
        }
        addOf(m_pState->all);
    }
    if (!data) return;
    data->keep(type, record);
    if (!push) return;
    for (State::Signal* signal : subscribers) (*signal)(accountKey, record);
}

void CRecordCenter::beginTradingDate(const std::string& date) {
    std::vector<boost::shared_ptr<CAccountRecords>> accounts;
    {
        const std::lock_guard lock(m_pState->mutex);
        m_pState->tradeDate = date;
        for (const std::string& key : m_pState->keys) {
            accounts.push_back(m_pState->accounts.at(key).data);
        }
    }
    for (const auto& data : accounts) {
        data->forget(DATA_ORDER, [&](const INumberedData& record) {
            return static_cast<const COrderDetail&>(record).m_strTradeDate == date;
        });
        data->forget(DATA_DEAL, [&](const INumberedData& record) {
            return static_cast<const CDealDetail&>(record).m_strTradeDate == date;
        });
    }
    globalData().forget(DATA_TASK, [&](const INumberedData& record) {
        const auto& command = static_cast<const CTaskDetail&>(record).m_pCommand;
        return !command || command->m_strTradeDate == date;
    });
}

}  // namespace adapters
