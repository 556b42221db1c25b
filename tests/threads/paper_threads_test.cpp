#include "paper/loop.h"
#include "paper/paperclient.h"
#include "platform/services/tradercenter.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// The paper client on the machine's clock, with threads.
namespace {

using namespace vexservice;

TEST(PaperThreads, ReportEachOrderInTurnWhoeverSendsAndQuotes) {
    constexpr int SENDERS = 3;
    constexpr int ORDERS = 200;
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::uint64_t, std::string> statuses;
    int filled = 0;
    paper::CRealLoop loop(2);
    paper::ClientConfig config;
    config.tradeDate = "20240102";
    config.executes = true;
    paper::CPaperClient client(loop.service(), config);
    paper::Account account;
    account.key = "A";
    client.setAccount(account);
    const paper::OrderRequest request = {"A", "SH", "600000", true, 100, PRTP_FIX, 10.0};
    const auto quote = [&](double last) {
        auto price = boost::make_shared<CPriceData>();
        price->m_strStockKey = "SH600000";
        price->m_dLastPrice = last;
        client.setPrice("SH600000", price);
    };
    const boost::signals2::scoped_connection heard =
        TraderCenter::instance()->getDataCenter()->subscribe(
            "A", DATA_ORDER, "", [&](const std::string&, const boost::shared_ptr<IData>& data) {
                const auto order = boost::static_pointer_cast<COrderDetail>(data);
                const std::lock_guard lock(mutex);
                statuses[order->recordKey()] += std::to_string(order->m_eStatus) + " ";
                filled += order->m_eStatus == STATUS_SUCCEEDED;
                changed.notify_all();
            });
    std::vector<std::thread> threads;
    for (int sender = 0; sender < SENDERS; ++sender) {
        threads.emplace_back([&] {
            for (int i = 0; i < ORDERS; ++i) {
                client.send(request);
                if (i % 10 == 0) quote(i % 20 ? 9.9 : 10.1);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    quote(10.0);
    std::unique_lock lock(mutex);
    const bool all = changed.wait_for(lock, std::chrono::seconds(60),
                                      [&] { return filled == SENDERS * ORDERS; });
    EXPECT_TRUE(all) << filled;
    EXPECT_EQ(statuses.size(), std::size_t(SENDERS * ORDERS));
    for (const auto& [key, text] : statuses) EXPECT_EQ(text, "49 50 56 ") << key;
    lock.unlock();
    // Cancels, slices and reports that are still under way find nobody any more.
    client.startTask({"A", "SH", "600000", true, 1000, 1000, 1.0});
    client.send(request);
}

}  // namespace
