#pragma once

#include "platform/services/quoteclient.h"

#include <memory>
#include <string>

namespace adapters {

/// A quote client that keeps the newest price of each stock and tells it to those who asked for it.
/// Whoever reads the wire gives it prices; minute bars stay to be answered (queryMinuteBars).
///
/// Threads: any. A price is delivered on the thread that gives it and with no lock held, never
/// inside request(). Prices of one stock must come one after another.
/// Failure: a callback that throws is logged, and does not keep the price from the others.
class CQuoteBoard : public TC::CQuoteClient {
public:
    CQuoteBoard();
    ~CQuoteBoard() override;
    CQuoteBoard(const CQuoteBoard&) = delete;
    CQuoteBoard& operator=(const CQuoteBoard&) = delete;

    boost::shared_ptr<vexservice::CPriceData> getStockPrice(const QString& stockKey) override;
    boost::shared_ptr<TC::CQuoteRequest> request(
        const QString& stockKey, const TC::CQuoteRequest::Callback& callback) override;

    /// Keeps a price (a new object each time; empty: not known any more), and with `push` tells it
    /// to those who asked for the stock.
    void setPrice(const std::string& stockKey, boost::shared_ptr<vexservice::CPriceData> price,
                  bool push = true);
    /// The newest price, or an empty pointer.
    boost::shared_ptr<vexservice::CPriceData> price(const std::string& stockKey) const;

protected:
    /// Somebody asks for a stock for the first time: subscribe to it on the wire. Called inside
    /// request(), on its thread and maybe under the library's lock, and without a lock of this
    /// object: hand over and return.
    virtual void onFirstRequest(const std::string& stockKey);

private:
    struct State;
    const std::unique_ptr<State> m_pState;
};

}  // namespace adapters
