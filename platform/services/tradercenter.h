#pragma once

#include "platform/records/ratelimit.h"
#include "platform/records/taskoprecord.h"
#include "platform/services/accountdata.h"
#include "platform/utils/singleton.h"

#include <boost/function.hpp>
#include <boost/signals2/connection.hpp>

#include <vector>

namespace vexservice {

/// The trade data center: every account, its records, and news of them.
///
/// Threads: any. Callbacks come on the data center's own threads, and with no lock of the data
/// center held. A callback that was under way when its connection was cut may still come once.
/// Lock: the library holds its own while it asks for an account of a balance, and for the trade
/// date in init(); all else it asks for without it.
/// Order: a record is kept before it is announced; whoever hears of it finds it, or a newer report
/// of it, among the account's records. Reports of one record come in their order: what has traded
/// never falls, and an order that was final does not run again. The newest report of each record
/// was announced, unless a load of the whole account brought it, which
/// CTradeClient::sigInitedAccountData tells.
/// Dates: each order and deal has its trade date. Those of other dates may be among an account's
/// records; they belong to that account and to the strategy of their own carrier, and count under
/// their own date.
/// Ownership: records and accounts are shared and outlive their replacement.
/// Failure: an unknown account gives an empty pointer, nothing throws.
class LINKAGE_PLATFORM_EXPORT IDataCenter {
public:
    /// Takes one new record of an account. See IDataCenter for threads and order.
    using Callback =
        boost::function<void(const std::string& accountKey, const boost::shared_ptr<IData>&)>;

    virtual ~IDataCenter() = default;

    /// Every account, in the order in which they first appeared.
    virtual void getAllAccountData(
        std::vector<boost::shared_ptr<CAccountData>>& accounts) const = 0;

    /// The account whose key has this hash (utils::hash), or an empty pointer.
    virtual boost::shared_ptr<CAccountData> getAccountData(std::uint64_t hash) const = 0;

    /// Data that belongs to no single account: the algorithmic tasks.
    virtual boost::shared_ptr<CAccountData> getGlobalAccountData() const = 0;

    /// The current trade date, "yyyyMMdd".
    virtual std::string getTradingDate() const = 0;

    /// News of one EDataType of one account, or of all accounts with an empty key.
    /// Subscribing delivers nothing by itself. The library always gives `filter` as "", which means
    /// all news of the type; a data center need not know any other.
    virtual boost::signals2::connection subscribe(const std::string& accountKey, int type,
                                                  const std::string& filter,
                                                  const Callback& callback) = 0;
};

/// Takes operations on one task that runs in the client. Called under the library's lock.
class LINKAGE_PLATFORM_EXPORT ITaskHandler {
public:
    virtual ~ITaskHandler() = default;
    /// Does what the record asks for. What became of it shows only in the task's reports.
    virtual void operate(const boost::shared_ptr<CTaskOpRecord>& record) = 0;
};

/// The tasks that run in the client rather than on the server. Threads: any, also under
/// locks of the caller: the library holds its own. Failure: nothing throws.
class LINKAGE_PLATFORM_EXPORT ITaskCenter {
public:
    virtual ~ITaskCenter() = default;
    /// By the task's record key. Empty when the client runs no task of this number.
    virtual boost::shared_ptr<ITaskHandler> getTaskHandler(std::uint64_t taskNumber) = 0;
};

/// Fee limits of accounts. Threads: any; the library holds no lock. Failure: nothing throws.
class LINKAGE_PLATFORM_EXPORT IFeeLimitService {
public:
    virtual ~IFeeLimitService() = default;
    /// Empty when none are known. A change is announced by referenceDataChanged().
    virtual boost::shared_ptr<CStkExchangeRateLimit> getFeeLimits(
        const boost::shared_ptr<CAccountInfo>& account, const std::string& market,
        const std::string& code) = 0;
};

/// Gives access to the trade services; the client installs it at its start.
///
/// Threads: any, also under the library's lock. Ownership: the center owns its services; pointers
/// stay valid until it goes. Failure: none of the three is ever null.
class LINKAGE_PLATFORM_EXPORT TraderCenter {
public:
    virtual ~TraderCenter() = default;

    /// Throws utils::ServiceMissing before a client has installed one.
    static TraderCenter* instance();
    /// Puts the client's center in place, or takes it away (empty). Belongs to start and shutdown,
    /// when no other thread uses the center.
    static void install(boost::shared_ptr<TraderCenter> center);

    /// Accounts and their records.
    virtual IDataCenter* getDataCenter() = 0;
    /// The tasks that run in the client.
    virtual ITaskCenter* getTaskCenter() = 0;
    /// Fee limits of accounts.
    virtual IFeeLimitService* getFeeLimitService() = 0;
};

}  // namespace vexservice

extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<vexservice::TraderCenter>;
