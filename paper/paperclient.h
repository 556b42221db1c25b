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

/// @file
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
    /// Installs all services. `service` must outlive the client, and so must `observer`, which may
    /// be null.
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
    /// Adds a stock or describes it anew; announces that reference data has changed.
    void setInstrument(const Instrument& instrument);
    /// Adds an account or describes it anew, its fee limits included; announces that reference data
    /// has changed.
    void setAccount(const Account& account);
    /// The account's data, which stays as long as the client; null: no such account.
    const vexservice::CAccountData* account(const std::string& accountKey) const;
    /// The account's info record, empty when it has none.
    boost::shared_ptr<vexservice::CAccountInfo> accountInfo(const std::string& accountKey) const;
    /// Sets the user's order settings of a block: 2 is that of credit accounts, any other that of
    /// stock accounts. The price (yuan) is for PRTP_FIX.
    void setTradeSetting(int block, vexservice::EPriceType priceType, double price);

    // reports, kept by the data center and with `push` sent to its subscribers
    /// A report of an order.
    void report(const std::string& accountKey, boost::shared_ptr<vexservice::COrderDetail> order,
                bool push = true);
    /// A report of a deal.
    void report(const std::string& accountKey, boost::shared_ptr<vexservice::CDealDetail> deal,
                bool push = true);
    /// A report of a position.
    void report(const std::string& accountKey,
                boost::shared_ptr<vexservice::CPositionStatics> position, bool push = true);
    /// A report of an algorithmic task, which belongs to no single account.
    void report(boost::shared_ptr<vexservice::CTaskDetail> task, bool push = true);

    // quotes
    /// A new price of a stock. With `push` its subscribers get it. A paper exchange matches resting
    /// orders against its book.
    void setPrice(const std::string& stockKey, boost::shared_ptr<vexservice::CPriceData> price,
                  bool push = true);
    /// The minute bars that the history service has of a stock and day ("yyyyMMdd") from now on.
    void setBars(const std::string& stockKey, const std::string& day,
                 const std::vector<TC::CMinuteBar>& bars);

    // the trading server's past
    /// What the trading server answers for an account and day ("yyyyMMdd") from now on.
    void setServerHistory(const std::string& accountKey, const std::string& day,
                          const ServerDay& history);
    /// What the markets' calendar knows of a day; of other days it knows nothing.
    void setTradingDay(const std::string& day, bool trades);

    // announcements
    /// Makes `date` ("yyyyMMdd") the trade date and announces `signalDate`. Another date than
    /// before also ends the day of the paper exchange.
    void newTradingDate(const std::string& date, const std::string& signalDate);
    /// Emits the proxy client's status: login succeeded or failed, with a text for people.
    void login(bool ok, const QString& text);
    /// Emits that the account's data was initialised, whether or not the account is known.
    void accountReady(const std::string& accountKey);
    /// Raises the signal of the user configuration.
    void userDataChanged();

    // paper exchange only
    /// Whether the client has a paper exchange. Without one send(), startTask(), rejectOrders() and
    /// beSilent() do nothing.
    bool executes() const;
    /// Gives an order to the exchange, as somebody else than the library would.
    void send(const OrderRequest& order);
    /// Starts an algorithmic task at the exchange.
    void startTask(const TaskRequest& task);

    /// Rejects the next `times` orders of the account.
    void rejectOrders(const std::string& accountKey, int times);
    /// Refuses the next `times` commands as a whole: their completions have an error.
    void refuseCommands(int times);
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
