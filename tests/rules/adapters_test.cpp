#include "adapters/quoteboard.h"
#include "adapters/recordcenter.h"
#include "adapters/strandengine.h"
#include "platform/log.h"
#include "platform/records/orderdetail.h"
#include "platform/utils/keys.h"

#include <boost/make_shared.hpp>

#include <atomic>
#include <future>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

// The bases of adapters by themselves; tests/rules/paperservices_test.cpp has more of the records,
// and adaptercheck holds the paper client to the contracts, which is made of them.

namespace {

using namespace vexservice;

boost::shared_ptr<CPriceData> priceOf(double last) {
    auto price = boost::make_shared<CPriceData>();
    price->m_dLastPrice = last;
    return price;
}

class CBoard final : public adapters::CQuoteBoard {
public:
    void queryMinuteBars(const QString&, const std::string&, const BarsAnswer&) override {}
    std::vector<std::string> wanted;

private:
    void onFirstRequest(const std::string& stockKey) override {
        wanted.push_back(stockKey);
        // A wire that answers at once: the board is not locked.
        setPrice(stockKey, priceOf(1.0));
    }
};

TEST(QuoteBoard, TellsWhatIsKeptToWhoeverStillAsks) {
    CBoard board;
    std::vector<double> heard;
    const auto thrower =
        board.request("SH600000", [](const auto&) { throw std::runtime_error("no"); });
    EXPECT_EQ(board.wanted, std::vector<std::string>{"SH600000"});
    auto request = board.request("SH600000", [&](const boost::shared_ptr<CPriceData>& price) {
        EXPECT_EQ(board.getStockPrice("SH600000"), price) << "kept before it is told";
        heard.push_back(price->m_dLastPrice);
    });
    EXPECT_EQ(board.wanted.size(), 1U) << "asked for once on the wire";
    EXPECT_TRUE(heard.empty()) << "nothing inside the request";
    board.setPrice("SH600000", priceOf(2.0));
    board.setPrice("SH600000", priceOf(3.0), false);
    board.setPrice("SZ000001", priceOf(4.0));
    EXPECT_EQ(heard, std::vector<double>{2.0}) << "although the one before threw";
    EXPECT_EQ(board.price("SH600000")->m_dLastPrice, 3.0);
    EXPECT_FALSE(board.price("SH600009"));
    request.reset();
    board.setPrice("SH600000", priceOf(5.0));
    EXPECT_EQ(heard.size(), 1U);
}

TEST(QuoteBoard, RequestsOutliveIt) {
    boost::shared_ptr<TC::CQuoteRequest> request;
    {
        CBoard board;
        request = board.request("SH600000", [](const auto&) {});
    }
    request.reset();
}

// While reports of many orders come on several threads, each is found when it is heard of.
TEST(RecordCenter, KeepsBeforeItTellsOnEveryThread) {
    adapters::CRecordCenter center("20240102");
    center.setAccount("A", {});
    EXPECT_FALSE(center.account("A")->getAccountInfo());
    EXPECT_EQ(center.getAccountData(utils::hash("A")).get(), center.account("A"));
    std::atomic<int> found{0};
    std::atomic<int> lost{0};
    const boost::signals2::scoped_connection connection = center.subscribe(
        "A", DATA_ORDER, "", [&](const std::string&, const boost::shared_ptr<IData>& told) {
            const auto key = boost::static_pointer_cast<INumberedData>(told)->recordKey();
            (center.account("A")->find(DATA_ORDER, key) == told ? found : lost) += 1;
            // No lock is held: whoever hears may ask for everything.
            if (center.accountKeys().empty() || center.getTradingDate().empty()) ++lost;
        });
    std::vector<std::thread> threads;
    for (std::uint64_t first = 0; first < 4; ++first) {
        threads.emplace_back([&, first] {
            for (std::uint64_t key = first; key < 2000; key += 4) {
                const auto order = boost::make_shared<COrderDetail>();
                order->m_nRecordKey = key;
                order->m_strTradeDate = "20240102";
                center.report("A", DATA_ORDER, order);
            }
        });
    }
    for (std::thread& each : threads) each.join();
    center.report("A", DATA_ORDER, {});
    center.account("A")->keep(DATA_ORDER, {});
    EXPECT_EQ(found, 2000);
    EXPECT_EQ(lost, 0);
    std::vector<boost::shared_ptr<IData>> orders;
    center.account("A")->getVector(DATA_ORDER, orders);
    EXPECT_EQ(orders.size(), 2000U);
}

TEST(ThreadEngine, RunsItsStrandsUntilItStops) {
    // A thread that leaves a handler may write its line behind that of the next handler.
    std::multiset<std::string> said;
    g_VexStdLogger.setReceiver([&](const CVexLogger::Line& line) { said.emplace(line.message); });
    {
        adapters::CThreadEngine engine(2);
        const auto strand = engine.getStrand("linkage");
        EXPECT_EQ(engine.getStrand("linkage"), strand);
        EXPECT_NE(engine.getStrand("other"), strand);
        strand->post([] { throw std::runtime_error("a handler fails"); });
        strand->post([] { throw 5; });
        std::promise<void> ran;
        strand->post([&] { ran.set_value(); });
        ran.get_future().wait();
        engine.stop();
        strand->post([] { ADD_FAILURE() << "dropped"; });
        engine.stop();
    }
    g_VexStdLogger.setReceiver({});
    EXPECT_EQ(said, (std::multiset<std::string>{"a handler fails",
                                                "something that is no std::exception was thrown"}));
}

}  // namespace
