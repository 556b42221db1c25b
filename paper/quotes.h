#pragma once

#include "adapters/quoteboard.h"
#include "paper/faults.h"

#include <utility>

#include <boost/asio/io_service.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace paper {

/// The quote client, with minute bars by day and the faults of both. Bars are answered on the loop.
class CQuotes final : public adapters::CQuoteBoard {
public:
    explicit CQuotes(boost::asio::io_service& service,
                     std::shared_ptr<CFaults> faults = std::make_shared<CFaults>());

    boost::shared_ptr<vexservice::CPriceData> getStockPrice(const QString& stockKey) override;
    boost::shared_ptr<TC::CQuoteRequest> request(
        const QString& stockKey, const TC::CQuoteRequest::Callback& callback) override;
    void queryMinuteBars(const QString& stockKey, const std::string& day,
                         const BarsAnswer& answer) override;

    /// Adds bars to a day; a bar of the same minute is replaced.
    void setBars(const std::string& stockKey, const std::string& day,
                 const std::vector<TC::CMinuteBar>& bars);

private:
    using DayOfStock = std::pair<std::string, std::string>;

    /// Shared with answers under way, which may outlive the quote client.
    struct Bars {
        std::mutex mutex;
        std::map<DayOfStock, std::map<int, double>> closes;

        std::vector<TC::CMinuteBar> of(const DayOfStock& day);
    };

    boost::asio::io_service& m_service;
    const std::shared_ptr<CFaults> m_pFaults;
    const std::shared_ptr<Bars> m_pBars;
};

}  // namespace paper
