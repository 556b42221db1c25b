#pragma once

#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/orderparam.h"
#include "platform/utils/singleton.h"
#include "platform/utils/vexerror.h"

#include <QMetaType>
#include <QObject>
#include <QString>

#include <boost/function.hpp>

#include <string>
#include <vector>

namespace TC {

/// The client's connection to the trading server.
///
/// Threads: calls from any thread; they return at once. Answers of history queries
/// come on a thread of the trade client, never inside the call, at most once each; a broken
/// connection may lose one. The signal is emitted on the trade client's thread.
/// Lock: the library holds its own while it asks for a cancellation, and not for past days.
/// Ownership: the client installs it before a manager's init() and takes it away after the manager
/// has gone; nobody changes a record that was passed to it.
/// Failure: nothing throws; an answer reports its error.
class LINKAGE_PLATFORM_EXPORT CTradeClient : public QObject {
    Q_OBJECT

public:
    /// Takes the orders of a past day, or the error that prevented the answer.
    using OrdersAnswer = boost::function<void(
        const utils::VexError&, const std::vector<boost::shared_ptr<vexservice::COrderDetail>>&)>;
    /// Takes the deals of a past day, or the error that prevented the answer.
    using DealsAnswer = boost::function<void(
        const utils::VexError&, const std::vector<boost::shared_ptr<vexservice::CDealDetail>>&)>;

    CTradeClient();
    ~CTradeClient() override;

    /// Asks for the cancellation of an order; its outcome is seen only in later
    /// reports of the order. Gives true when the request was sent; otherwise false, and `error`
    /// says why. A cancellation that comes too late changes nothing. The library always gives
    /// `batch` as -1, `remark` as "" and no `aux`; a trade client need not look at them.
    virtual bool cancelOrder(const boost::shared_ptr<vexservice::COrderDetail>& order,
                             QString& error, int batch, QString remark,
                             const boost::shared_ptr<COrderAuxInfo>& aux) = 0;

    /// The account's orders, or deals, of one past day ("yyyyMMdd"): all of the day, in any
    /// order; what the server filed before goes when the answer comes. A day without trading, or
    /// without records of the account, is answered too: without an error and without records. An
    /// error means that the day is not known; what was filed of it stays. Days that the calendar
    /// knows as days without trading are not asked for (marlo::IMarketCalendar).
    virtual void queryHistoryOrders(const std::string& accountKey, const std::string& day,
                                    const OrdersAnswer& answer) = 0;
    /// As queryHistoryOrders, for deals.
    virtual void queryHistoryDeals(const std::string& accountKey, const std::string& day,
                                   const DealsAnswer& answer) = 0;

Q_SIGNALS:
    /// The data of an account was initialised: the data center has its info and its records.
    void sigInitedAccountData(const vexservice::CAccountInfo& accountInfo);
};

}  // namespace TC

Q_DECLARE_METATYPE(vexservice::CAccountInfo)

extern template class LINKAGE_PLATFORM_EXPORT utils::CManualSingletonT<TC::CTradeClient>;
