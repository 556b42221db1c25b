#pragma once

#include "paper/clientdata.h"
#include "paper/clientobserver.h"
#include "paper/faults.h"
#include "paper/requests.h"
#include "platform/records/positionstatics.h"
#include "platform/records/pricedata.h"
#include "platform/records/taskdetail.h"
#include "platform/services/accountdata.h"
#include "platform/services/connections.h"
#include "platform/services/quoteclient.h"

#include <boost/asio/io_service.hpp>

#include <memory>
#include <string>
#include <vector>

/// A client of its own: every service of platform/, in memory, without a broker.
namespace paper {

class CInstruments;
class CDataCenter;
class CExchange;
class CUserSettings;

/// Installs itself as every service of the platform while it lives.
///
/// Threads: the operations below may be called from any thread; the library's callbacks run on the
/// calling thread. Reports of orders and deals that the paper exchange makes are published on the
/// loop.
class CPaperClient {
public:
    CPaperClient(boost::asio::io_service& service, const ClientConfig& config,
                 IClientObserver* observer = nullptr);
    /// Takes all services out of the platform. The manager must be gone by now.
    ~CPaperClient();
    /// Where the loop has threads, the scheduler must be stopped before the manager is
    /// released: it may be asking the manager for a balance at this moment.
    void stopScheduler();
    CPaperClient(const CPaperClient&) = delete;
    CPaperClient& operator=(const CPaperClient&) = delete;

    // reference data
    void setInstrument(const Instrument& instrument);
    void setAccount(const Account& account);
    /// The account's data, which stays as long as the client; null: no such account.
    const vexservice::CAccountData* account(const std::string& accountKey) const;
    /// The account's info record, empty when it has none.
    boost::shared_ptr<vexservice::CAccountInfo> accountInfo(const std::string& accountKey) const;
    void setTradeSetting(int block, vexservice::EPriceType priceType, double price);

    // reports, kept by the data center and with `push` sent to its subscribers
    void report(const std::string& accountKey, boost::shared_ptr<vexservice::COrderDetail> order,
                bool push = true);
    void report(const std::string& accountKey, boost::shared_ptr<vexservice::CDealDetail> deal,
                bool push = true);
    void report(const std::string& accountKey,
                boost::shared_ptr<vexservice::CPositionStatics> position, bool push = true);
    void report(boost::shared_ptr<vexservice::CTaskDetail> task, bool push = true);

    // quotes
    void setPrice(const std::string& stockKey, boost::shared_ptr<vexservice::CPriceData> price,
                  bool push = true);
    void setBars(const std::string& stockKey, const std::string& day,
                 const std::vector<TC::CMinuteBar>& bars);

    // the trading server's past
    void setServerHistory(const std::string& accountKey, const std::string& day,
                          const ServerDay& history);
    /// What the markets' calendar knows of a day; of other days it knows nothing.
    void setTradingDay(const std::string& day, bool trades);

    // announcements
    void newTradingDate(const std::string& date, const std::string& signalDate);
    void login(bool ok, const QString& text);
    void accountReady(const std::string& accountKey);
    void userDataChanged();

    // paper exchange only
    bool executes() const;
    void send(const OrderRequest& order);
    void startTask(const TaskRequest& task);

    /// Rejects the next `times` orders of the account.
    void rejectOrders(const std::string& accountKey, int times);
    /// For so many seconds the exchange takes orders and cancellations without answering; then it
    /// answers.
    void beSilent(double seconds);

    // faults of the services
    /// The next `times` calls of the service fail so.
    void setFault(EService service, EFault fault, int times);
    /// Sees every call of a service that faults count; see CFaults::watch.
    void watchServices(CFaults::Watch watch);
    /// See CFaults::answerThrough.
    void answerThrough(std::function<void(CFaults::Answer answer)> through);
    /// Calls the completion of a command once more, with an error unless the text is empty. False
    /// when no command has this number.
    bool repeatCommandResult(int number, const std::string& error);

    /// The client's trade date, "yyyyMMdd". It does not follow the platform's clock.
    std::string tradeDate() const;

private:
    struct Services;
    std::unique_ptr<Services> m_pServices;
};

}  // namespace paper
