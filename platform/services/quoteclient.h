#pragma once

#include "platform/records/pricedata.h"
#include "platform/utils/singleton.h"

#include <QString>

#include <boost/function.hpp>

#include <string>
#include <vector>

namespace TC {

/// One bar of a minute chart.
struct CMinuteBar {
    int m_nMinute = 0;      ///< end of the bar, minute of the day (9:31 is 571)
    double m_dClose = 0.0;  ///< yuan
};

/// A live price subscription; it ends when the object goes.
class LINKAGE_PLATFORM_EXPORT CQuoteRequest {
public:
    /// Takes a new price. See CQuoteClient for the thread.
    using Callback = boost::function<void(const boost::shared_ptr<vexservice::CPriceData>&)>;

    virtual ~CQuoteRequest() = default;

    /// Asks the quote client for the prices of a stock key. Delivers nothing by itself; later
    /// prices reach the callback on the quote client's thread. A price that is under way may still
    /// come while the request is being dropped. Returns an empty pointer when no subscription can
    /// be had now; whoever still wants it asks again later.
    static boost::shared_ptr<CQuoteRequest> makeRequest(const QString& stockKey,
                                                        const Callback& callback);
};

/// The client's quotes. Stocks are named by their stock key ("SH600000").
///
/// Threads: calls from any thread; callbacks on the quote client's thread, never inside a
/// call, and with no lock of the quote client held. A caller may hold locks: no call waits for a
/// callback.
/// Lock: the library holds its own while it asks for prices and subscriptions, and may hold it when
/// it drops one; minute bars it asks for without it.
/// Order: a price is kept before it is delivered; whoever hears of it gets it, or a newer one, from
/// getStockPrice().
/// Ownership: the client installs it before a manager's init() and takes it away after the manager
/// has gone; the caller holds the requests that he made.
/// Failure: nothing throws; what is not known is an empty pointer or an empty list.
class LINKAGE_PLATFORM_EXPORT CQuoteClient {
public:
    /// Takes the bars of a day. See CQuoteClient for the thread.
    using BarsAnswer = boost::function<void(const std::vector<CMinuteBar>&)>;

    virtual ~CQuoteClient() = default;

    /// The newest price, or an empty pointer when the stock was never quoted.
    virtual boost::shared_ptr<vexservice::CPriceData> getStockPrice(const QString& stockKey) = 0;

    /// See CQuoteRequest::makeRequest.
    virtual boost::shared_ptr<CQuoteRequest> request(const QString& stockKey,
                                                     const CQuoteRequest::Callback& callback) = 0;

    /// The minute bars of one day ("yyyyMMdd") that the history service has by now, in time order.
    /// There may be none, and there may be gaps. Answered once, later; a broken connection may lose
    /// an answer. While minutes are missing the library asks again: each minute of the day, and
    /// from half an hour after the close on less and less often, at least once an hour. A bar of
    /// an opening auction (minute 565 or 570) may be among them.
    virtual void queryMinuteBars(const QString& stockKey, const std::string& day,
                                 const BarsAnswer& answer) = 0;
};

}  // namespace TC

extern template class LINKAGE_PLATFORM_EXPORT utils::CManualSingletonT<TC::CQuoteClient>;
