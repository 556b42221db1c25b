#pragma once

#include "common/keyindex.h"
#include "paper/clientdata.h"
#include "paper/faults.h"
#include "platform/services/tradercenter.h"

#include <boost/container/flat_map.hpp>
#include <boost/signals2/signal.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace paper {

/// The records of one account (or of all accounts together): per type the newest
/// report of each record key, in the order in which the keys first appeared.
class CPaperAccountData final : public vexservice::CAccountData {
public:
    using Record = boost::shared_ptr<vexservice::INumberedData>;

    /// `faults`: the faults that getVector shows; may be empty.
    explicit CPaperAccountData(std::string key, std::shared_ptr<CFaults> faults = {})
        : m_strKey(std::move(key)), m_pFaults(std::move(faults)) {}

    std::string getKey() const override { return m_strKey; }
    boost::shared_ptr<vexservice::CAccountInfo> getAccountInfo() const override;
    void getVector(int type,
                   std::vector<boost::shared_ptr<vexservice::IData>>& records) const override;

    void setInfo(boost::shared_ptr<vexservice::CAccountInfo> info);
    void keep(int type, const Record& record);
    /// The newest report of a record key, or an empty pointer.
    Record find(int type, std::uint64_t recordKey) const;
    /// Drops the records of a type that are not wanted; the others stay in their order.
    void forget(int type, const std::function<bool(const vexservice::INumberedData&)>& wanted);

private:
    struct Records {
        std::vector<Record> inOrder;
        utils::CKeyIndex places;

        /// The place of a record key, or CKeyIndex::NONE.
        std::uint32_t placeOf(std::uint64_t recordKey) const;
        void add(Record record);
    };

    const std::string m_strKey;
    const std::shared_ptr<CFaults> m_pFaults;
    mutable std::mutex m_mutex;
    boost::shared_ptr<vexservice::CAccountInfo> m_pInfo;
    boost::container::flat_map<int, Records> m_records;
};

/// The trade data center, with the fee limits of its accounts.
///
/// Threads: any; news is delivered on the reporting thread, with no lock held. A
/// subscriber that throws does not keep the news from the others.
class CDataCenter final : public vexservice::IDataCenter, public vexservice::IFeeLimitService {
public:
    explicit CDataCenter(std::string tradeDate,
                         std::shared_ptr<CFaults> faults = std::make_shared<CFaults>());

    void getAllAccountData(
        std::vector<boost::shared_ptr<vexservice::CAccountData>>& accounts) const override;
    boost::shared_ptr<vexservice::CAccountData> getAccountData(std::uint64_t hash) const override;
    boost::shared_ptr<vexservice::CAccountData> getGlobalAccountData() const override;
    std::string getTradingDate() const override;
    boost::signals2::connection subscribe(const std::string& accountKey, int type,
                                          const std::string& filter,
                                          const Callback& callback) override;
    boost::shared_ptr<vexservice::CStkExchangeRateLimit> getFeeLimits(
        const boost::shared_ptr<vexservice::CAccountInfo>& account, const std::string& market,
        const std::string& code) override;

    void setAccount(const Account& account);
    /// The account's data, which stays as long as the data center; null: no such account.
    CPaperAccountData* account(const std::string& accountKey) const;
    CPaperAccountData& globalData() const { return *m_all.data; }
    std::vector<std::string> accountKeys() const;

    /// Keeps a report, and with `push` sends it to the subscribers; a report of an
    /// account that was never set goes nowhere. Tasks have the account key "".
    void report(const std::string& accountKey, int type, const CPaperAccountData::Record& record,
                bool push);

    /// Begins a trade date: orders, deals and tasks of other dates are forgotten. A
    /// task without a command belongs to no date and stays.
    void beginTradingDate(const std::string& date);

private:
    struct DeliverToAll {
        using result_type = void;
        template <class Slots>
        void operator()(Slots first, Slots last) const;
    };
    using Signal = boost::signals2::signal<
        void(const std::string&, const boost::shared_ptr<vexservice::IData>&), DeliverToAll>;
    using Signals = boost::container::flat_map<int, std::unique_ptr<Signal>>;
    /// An entry is never removed, nor are its data and its signals. Somebody may subscribe to an
    /// account before it is set.
    struct Entry {
        boost::shared_ptr<CPaperAccountData> data;
        boost::shared_ptr<vexservice::CStkExchangeRateLimit> fee;
        Signals subscribers;
    };

    const std::shared_ptr<CFaults> m_pFaults;
    mutable std::mutex m_mutex;
    std::string m_strTradeDate;
    std::vector<std::string> m_keys;  ///< in the order of appearance
    std::unordered_map<std::string, Entry> m_accounts;
    std::unordered_map<std::uint64_t, boost::shared_ptr<CPaperAccountData>> m_byHash;
    Entry m_all;  ///< the tasks of all accounts, and the subscribers to every account
};

}  // namespace paper
