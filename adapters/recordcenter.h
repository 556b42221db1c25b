#pragma once

#include "adapters/accountrecords.h"
#include "platform/services/tradercenter.h"

#include <memory>
#include <string>
#include <vector>

namespace adapters {

/// A trade data center that keeps records and tells of them. Whoever reads the wire gives it
/// accounts and reports; it does the rest of IDataCenter: the newest report of each record, kept
/// before it is announced, and subscribers of one account or of all.
///
/// Threads: any. News is delivered on the reporting thread and with no lock held, never inside
/// subscribe(). Reports of one record must come one after another, from whichever threads.
/// Ownership: accounts stay until the data center goes.
/// Failure: a subscriber that throws is logged, and does not keep the news from the others.
class CRecordCenter : public vexservice::IDataCenter {
public:
    /// Without accounts, on a trade date ("yyyyMMdd").
    explicit CRecordCenter(std::string tradeDate);
    ~CRecordCenter() override;
    CRecordCenter(const CRecordCenter&) = delete;
    CRecordCenter& operator=(const CRecordCenter&) = delete;

    void getAllAccountData(
        std::vector<boost::shared_ptr<vexservice::CAccountData>>& accounts) const override;
    boost::shared_ptr<vexservice::CAccountData> getAccountData(std::uint64_t hash) const override;
    boost::shared_ptr<vexservice::CAccountData> getGlobalAccountData() const override;
    std::string getTradingDate() const override;
    boost::signals2::connection subscribe(const std::string& accountKey, int type,
                                          const std::string& filter,
                                          const Callback& callback) override;

    /// Adds an account, or gives it another info record; empty: it has none by now. Somebody may
    /// have subscribed to the account before. Emit CTradeClient::sigInitedAccountData when its
    /// records are there, so that the library loads it.
    void setAccount(const std::string& accountKey,
                    boost::shared_ptr<vexservice::CAccountInfo> info);
    /// The account's records; null: no such account.
    CAccountRecords* account(const std::string& accountKey) const;
    /// The records of no single account: the tasks.
    CAccountRecords& globalData() const;
    /// The keys of all accounts, in the order in which they came.
    std::vector<std::string> accountKeys() const;

    /// Keeps a report (EDataType), and with `push` tells it to the subscribers. A report of an
    /// account that was never set goes nowhere, nor does an empty one. Tasks have the account key
    /// "". The record is not changed afterwards; news of it is a new one.
    void report(const std::string& accountKey, int type, const CAccountRecords::Record& record,
                bool push = true);

    /// Begins a trade date: orders, deals and tasks of other dates are forgotten. A task without a
    /// command belongs to no date and stays. Emit CExchangeClient::sigNewTradingDate afterwards.
    void beginTradingDate(const std::string& date);

protected:
    /// Makes the records of a new account, for data centers whose accounts do more. Called under
    /// the data center's lock.
    virtual boost::shared_ptr<CAccountRecords> makeAccount(const std::string& accountKey) const;

private:
    struct State;
    const std::unique_ptr<State> m_pState;
};

}  // namespace adapters
