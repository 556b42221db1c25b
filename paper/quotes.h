#pragma once

#include "paper/faults.h"
#include "platform/services/quoteclient.h"

#include <QHash>

#include <utility>

#include <boost/asio/io_service.hpp>
#include <boost/signals2/signal.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace paper {

/// The quote client: the newest price of each stock, its subscriptions, and minute
/// bars by day. Bars are answered on the loop.
class CQuotes final : public TC::CQuoteClient {
public:
    explicit CQuotes(boost::asio::io_service& service,
                     std::shared_ptr<CFaults> faults = std::make_shared<CFaults>());

    boost::shared_ptr<vexservice::CPriceData> getStockPrice(const QString& stockKey) override;
    boost::shared_ptr<TC::CQuoteRequest> request(
        const QString& stockKey, const TC::CQuoteRequest::Callback& callback) override;
    void queryMinuteBars(const QString& stockKey, const std::string& day,
                         const BarsAnswer& answer) override;

    boost::shared_ptr<vexservice::CPriceData> price(const std::string& stockKey) const;
    void setPrice(const std::string& stockKey, boost::shared_ptr<vexservice::CPriceData> price,
                  bool push);
    /// Adds bars to a day; a bar of the same minute is replaced.
    void setBars(const std::string& stockKey, const std::string& day,
                 const std::vector<TC::CMinuteBar>& bars);

private:
    using Signal = boost::signals2::signal<void(const boost::shared_ptr<vexservice::CPriceData>&)>;
    using DayOfStock = std::pair<std::string, std::string>;

    /// Shared with answers under way, which may outlive the quote client.
    struct State {
        std::mutex mutex;
        QHash<QString, boost::shared_ptr<vexservice::CPriceData>> prices;
        std::map<std::string, std::shared_ptr<Signal>> signals;
        std::map<DayOfStock, std::map<int, double>> closes;

        std::vector<TC::CMinuteBar> barsOf(const DayOfStock& day);
    };

    boost::asio::io_service& m_service;
    const std::shared_ptr<CFaults> m_pFaults;
    const std::shared_ptr<State> m_pState;
};

}  // namespace paper
