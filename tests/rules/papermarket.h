#pragma once

#include "paper/exchange.h"
#include "paper/loop.h"
#include "paper/taskcenter.h"

#include <fmt/format.h>
#include <boost/make_shared.hpp>

#include <map>
#include <string>
#include <vector>

namespace tests {

using namespace vexservice;
using Levels = std::vector<CPriceLevel>;

inline constexpr std::int64_t START = 1'704'159'000'000'000;  // 2024-01-02 09:30:00 in Shanghai
inline constexpr bool BUY = true;
inline constexpr bool SELL = false;

/// An exchange with one account and one stock, and the transcript of what it reports:
/// "o1:50:0" order 1 has status 50 and traded 0; "d1:100@10" deal 1; "t1:3:0" task 1.
class Market {
public:
    Market() : loop(START), dataCenter(std::make_shared<paper::CDataCenter>("20240102")) {
        dataCenter->setAccount({.key = "A"});
        instrument.market = "SH";
        instrument.code = "600000";
        instruments->set(instrument);
        quotes = boost::make_shared<paper::CQuotes>(loop.service());
        exchange = std::make_shared<paper::CExchange>(paper::CExchange::Services{
            loop.service(), dataCenter, instruments, quotes, "trader", "trader"});
        tasks = std::make_shared<paper::CTaskCenter>(dataCenter, exchange, nullptr);
        dataCenter->subscribe("A", DATA_ORDER, "", [this](auto&, auto& data) {
            const auto& order = static_cast<const COrderDetail&>(*data);
            orders[order.recordKey()] = order;
            say("o{}:{}:{}", order.recordKey(), int(order.m_eStatus), order.m_nTradedVolume);
        });
        dataCenter->subscribe("A", DATA_DEAL, "", [this](auto&, auto& data) {
            const auto& deal = static_cast<const CDealDetail&>(*data);
            deals.push_back(deal);
            say("d{}:{}@{}", deal.recordKey(), deal.m_nVolume, deal.m_dPrice);
        });
        dataCenter->subscribe("", DATA_TASK, "", [this](auto&, auto& data) {
            const auto& task = static_cast<const CTaskDetail&>(*data);
            say("t{}:{}:{}", task.recordKey(), int(task.m_eStatus),
                task.m_items.front()->m_nTradedVolume);
        });
    }

    void limits(double down, double up) {
        instrument.limitDown = down;
        instrument.limitUp = up;
        instruments->set(instrument);
    }

    // Each of these returns what was reported then, and since the one before.

    std::string price(double last, Levels asks = {}, Levels bids = {}) {
        auto data = boost::make_shared<CPriceData>();
        data->m_strStockKey = "SH600000";
        data->m_dLastPrice = last;
        data->m_asks = std::move(asks);
        data->m_bids = std::move(bids);
        quotes->setPrice("SH600000", data, true);
        exchange->quote("SH600000", *data);
        return said();
    }

    std::string send(bool buys, std::int64_t volume, double price, EPriceType type = PRTP_FIX) {
        exchange->submit({"A", "SH", "600000", buys, volume, type, price});
        return said();
    }

    std::string startTask(int volume, int slices, double seconds, bool server = true) {
        exchange->startTask({"A", "SH", "600000", BUY, volume, slices, seconds, "S", server});
        return said();
    }

    std::string cancel(std::uint64_t key) {
        exchange->cancel("A", key);
        return said();
    }

    std::string advance(double seconds) {
        loop.advanceSeconds(seconds);
        return said();
    }

    std::string said() {
        loop.runToRest();
        return std::exchange(m_said, {});
    }

    paper::CVirtualLoop loop;
    std::shared_ptr<paper::CDataCenter> dataCenter;
    std::shared_ptr<paper::CInstruments> instruments = std::make_shared<paper::CInstruments>();
    boost::shared_ptr<paper::CQuotes> quotes;
    std::shared_ptr<paper::CExchange> exchange;
    std::shared_ptr<paper::CTaskCenter> tasks;
    std::map<std::uint64_t, COrderDetail> orders;
    std::vector<CDealDetail> deals;

private:
    template <class... Values>
    void say(fmt::format_string<Values...> form, Values&&... values) {
        m_said += (m_said.empty() ? "" : " ") + fmt::format(form, std::forward<Values>(values)...);
    }

    paper::Instrument instrument;
    std::string m_said;
};

}  // namespace tests
