#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/stats/periodpoint.h"
#include "paper/loop.h"
#include "paper/paperclient.h"
#include "platform/services/rpcengine.h"
#include "replay/manageraccess.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <set>
#include <thread>
#include <vector>

// The manager as a client runs it: reports on threads of the data center, handlers on the
// strand, screens asking from elsewhere. The thread sanitizer judges the rest.

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

constexpr int REPORTS = 3000;

struct Market {
    QTemporaryDir directory;
    paper::CRealLoop loop{2};
    std::unique_ptr<paper::CPaperClient> client;

    Market() {
        paper::ClientConfig config;
        config.tradeDate = "20240102";
        config.dataDir = directory.path();
        client = std::make_unique<paper::CPaperClient>(loop.service(), config);
        client->setInstrument({.market = "SH", .code = "600000", .reference = 10.0});
        for (const char* key : {"A", "B"}) client->setAccount({.key = key, .id = key});
        Manager::instance()->init();
    }
    ~Market() {
        Manager::release();
        client.reset();
    }

    void report(const std::string& account, std::uint64_t key) {
        auto order = boost::make_shared<vexservice::COrderDetail>();
        fill(*order, account, key);
        order->m_eStatus = key % 3 ? vexservice::STATUS_REPORTED : vexservice::STATUS_SUCCEEDED;
        order->m_nTradedVolume = key % 3 ? 0 : 100;
        client->report(account, order);
        auto deal = boost::make_shared<vexservice::CDealDetail>();
        fill(*deal, account, key);
        deal->m_dAmount = 1000.0;
        deal->m_strTradeTime = "100000";
        client->report(account, deal);
    }

    template <class Record>
    void fill(Record& record, const std::string& account, std::uint64_t key) {
        record.m_nRecordKey = key;
        record.m_strMarket = "SH";
        record.m_strCode = "600000";
        record.m_dPrice = 10.0;
        record.m_nVolume = 100;
        record.m_strTradeDate = "20240102";
        record.m_pAccountInfo = client->accountInfo(account);
        record.m_pCommand = boost::make_shared<vexservice::CCommandRecord>();
        record.m_pCommand->m_strStrategyName = key % 2 ? "S" : "T";
    }

    void price(double last) {
        auto price = boost::make_shared<vexservice::CPriceData>();
        price->m_strStockKey = "SH600000";
        price->m_dLastPrice = last;
        client->setPrice("SH600000", price);
    }
};

/// Waits until everything that was posted before has been handled: each pass of the
/// strand takes all that waits.
void drain() {
    const auto strand = utils::CSingletonT<net::RPCEngine>::instance()->getStrand("linkage");
    for (int pass = 0; pass < 3; ++pass) {
        std::promise<void> done;
        strand->post([&] { done.set_value(); });
        done.get_future().wait();
    }
}

// A stream that is already under way when the accounts are loaded, and loaded again.
TEST(ManagerThreads, NothingOfALiveStreamIsLostWhileAccountsLoad) {
    for (int round = 0; round < 5; ++round) {
        Market market;
        TC::CLinkageManager& manager = *Manager::instance();
        std::vector<std::thread> streams;
        for (const char* account : {"A", "B"}) {
            streams.emplace_back([&market, account] {
                for (int key = 1; key <= REPORTS; ++key) {
                    market.report(account, static_cast<std::uint64_t>(key));
                }
            });
        }
        for (int again = 0; again < 5; ++again) {
            manager.requestAccounts();
            drain();
        }
        for (std::thread& each : streams) each.join();
        while (manager.getAccounts().size() < 2) drain();
        drain();
        for (const std::string account : {"A", "B"}) {
            const auto day =
                static_cast<int>(QDateTime::fromString("20240102", "yyyyMMdd").toSecsSinceEpoch());
            EXPECT_EQ(manager.getAccountOrders(account, day).size(), REPORTS);
            EXPECT_EQ(manager.getAccountDeals(account, day).size(), REPORTS);
            EXPECT_EQ(
                manager.getTradeStatDatas(account, "")["SH600000"]->deals().m_nBuyVolume.get(),
                REPORTS * 100);
        }
    }
}

// A pair that is equal before and after a load is not equal in its middle.
TEST(ManagerThreads, NobodySeesAnAccountHalfLoaded) {
    Market market;
    TC::CLinkageManager& manager = *Manager::instance();
    const auto report = [&](std::uint64_t key, vexservice::EEntrustBS direction) {
        auto order = boost::make_shared<vexservice::COrderDetail>();
        market.fill(*order, "A", key);
        order->m_eDirection = direction;
        order->m_eStatus = vexservice::STATUS_SUCCEEDED;
        order->m_nTradedVolume = order->m_nVolume;
        market.client->report("A", order);
        auto deal = boost::make_shared<vexservice::CDealDetail>();
        market.fill(*deal, "A", key);
        deal->m_pCommand = order->m_pCommand;
        deal->m_eDirection = direction;
        deal->m_dAmount = 1000.0;
        market.client->report("A", deal);
    };
    for (std::uint64_t key = 1; key <= 399; key += 2) {  // odd: all of the strategy S
        report(key, key < 200 ? vexservice::ENTRUST_BUY : vexservice::ENTRUST_SELL);
    }
    while (manager.getAccounts().size() < 2) drain();
    drain();
    ASSERT_EQ(manager.getTradeStatDatas("A", "S").size(), 1u);

    const auto day =
        static_cast<int>(QDateTime::fromString("20240102", "yyyyMMdd").toSecsSinceEpoch());
    std::atomic<bool> stop{false};
    std::atomic<int> seen{0};
    std::thread trader([&] {
        while (!stop) {
            TC::ManagerAccess::doStockBalance(manager, "A", "S");
            manager.addHistoryLinkdata("A", "S");
            const auto figures = manager.getTradeStatDatas("A", "S");
            EXPECT_EQ(figures.size(), 1u);
            for (const auto& [stock, record] : figures) {
                const auto deals = record->deals();
                EXPECT_EQ(deals.m_nBuyVolume.get(), deals.m_nSellVolume.get());
            }
            EXPECT_TRUE(manager.getHistoryLinkageData("AS").empty());
            for (const auto& stock : manager.previewBalance("A", "S", false).stocks) {
                EXPECT_EQ(stock.difference, 0);
            }
            ++seen;
        }
    });
    std::thread screen([&] {
        while (!stop) EXPECT_EQ(manager.getAccountOrders("A", day).size(), 200u);
    });
    while (seen == 0) std::this_thread::yield();
    const int before = seen;
    for (int round = 0; round < 300; ++round) {
        manager.requestAccount("A");
        drain();
    }
    EXPECT_GT(seen, before);
    stop = true;
    trader.join();
    screen.join();
    drain();
    EXPECT_EQ(manager.getAccountOrders("A", day).size(), 200u) << "a balance has sent an order";
}

TEST(ManagerThreads, IntakeWhileOthersAskRequestAndBalance) {
    Market market;
    TC::CLinkageManager& manager = *Manager::instance();
    while (manager.getAccounts().size() < 2) drain();

    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (const char* account : {"A", "B"}) {
        threads.emplace_back([&market, account] {
            for (int key = 1; key <= REPORTS; ++key) {
                market.report(account, static_cast<std::uint64_t>(key));
                if (key % 50 == 0) market.price(10.0 + key / 1000.0);
            }
        });
    }
    std::vector<std::thread> askers;
    askers.emplace_back([&] {
        while (!stop) {
            double sum = 0.0;
            for (const auto& [stock, record] : manager.getTradeStatDatas("A", "S")) {
                sum += record->deals().m_dBuyAmount + record->m_buyAmounts.sum();
            }
            EXPECT_GE(sum, 0.0);
            EXPECT_EQ(manager.getTradeDate(), "20240102");
            TC::TradeStatData stat;
            manager.historyBalance("AS", stat);
        }
    });
    askers.emplace_back([&] {
        for (int round = 0; !stop; ++round) {
            manager.requestAccount(round % 2 ? "A" : "B");
            manager.addBalanceTime("A:S", "15300" + std::to_string(round % 10));
            manager.getStocks();
            manager.runAutoBalance("A", "S");
            manager.state();
        }
    });
    for (std::thread& each : threads) each.join();
    stop = true;
    for (std::thread& each : askers) each.join();

    manager.requestAccounts();
    const int day = [] {
        QDateTime midnight = QDateTime::fromString("20240102", "yyyyMMdd");
        return static_cast<int>(midnight.toSecsSinceEpoch());
    }();
    drain();
    EXPECT_EQ(manager.getBuySellVolumes(day, "SH600000", {"A", "B"}).first, 2 * REPORTS * 100);
    EXPECT_EQ(manager.getRunningOrders("A", ""), REPORTS - REPORTS / 3);
}

// Until the statistics calculator has run in the middle of it all.
TEST(ManagerThreads, TotalsAndCurvesWhileIntakeAndCalculatorsWrite) {
    std::atomic<bool> revalued{false};  // outlives what raises the signal
    Market market;
    TC::CLinkageManager& manager = *Manager::instance();
    while (manager.getAccounts().size() < 2) drain();
    manager.sigProfitChanged.connect(
        [&](const std::string&, const std::string&, double) { revalued = true; });

    const std::function<void(int)> works[] = {
        [&](int round) {
            for (int count = 0; count < 20; ++count) {
                market.report(count % 2 ? "A" : "B",
                              static_cast<std::uint64_t>(20 * round + count));
            }
            market.price(10.0 + round % 100 / 100.0);
            drain();
        },
        [&](int round) {
            const std::set<std::string> strategies =
                round % 2 ? std::set<std::string>{"S"} : std::set<std::string>();
            EXPECT_EQ(manager.getTotalProfits({}, strategies, {}, true).size(), 1u);
            EXPECT_EQ(manager.getTotalBalances({}, strategies, {"SH600000"}, false).size(), 1u);
            for (const auto& [day, amounts] :
                 manager.getTotalBuySellAmounts({"A"}, strategies, {}, false)) {
                EXPECT_GE(amounts.first, amounts.second) << "every deal is a buy";
            }
            manager.getDealAmplitude({}, {});
            manager.getOrderNumberByPrice("S", 10.0, 0.01);
        },
        [&](int round) {
            manager.startProfitCalculator();
            const auto curve = manager.getPeriodCurve("A", round % 2 ? "S" : "");
            for (const auto& [minute, point] : curve) EXPECT_GE(point.buyVolume, 0) << minute;
            manager.historyStatCalculator();
            manager.stopProfitCalculator();
        },
    };
    std::vector<std::thread> threads;
    for (const auto& work : works) {
        threads.emplace_back([&work, &revalued] {
            for (int round = 0; !revalued; ++round) work(round);
        });
    }
    for (std::thread& each : threads) each.join();
    EXPECT_GT(manager.getTotalBuySellAmounts({}, {}, {}, true).begin()->second.first, 0.0);
}

// The client's objects emit on threads of their own; the slots run on the manager's.
TEST(ManagerThreads, AnnouncementsAreQueuedToTheManagersThread) {
    Market market;
    TC::CLinkageManager& manager = *Manager::instance();
    while (manager.getAccounts().size() < 2) drain();
    std::size_t accounts = 2;
    std::atomic<int> days{0};
    manager.m_sigNewTradingDay.connect(
        [&](const std::string& date) { days += date == "20240103"; });
    const std::function<void()> announcements[] = {
        [&] { market.client->accountReady("0"); },
        [&] { market.client->login(true, QString()); },
        [&] { market.client->newTradingDate("20240103", "20240103"); },
    };
    for (const auto& announce : announcements) {
        const std::string key = std::to_string(accounts - 2);
        market.client->setAccount({.key = key, .id = key});
        std::thread(announce).join();
        drain();
        EXPECT_EQ(manager.getAccounts().size(), accounts);
        QCoreApplication::processEvents();
        drain();
        EXPECT_EQ(manager.getAccounts().size(), ++accounts);
    }
    EXPECT_EQ(days, 1);
    EXPECT_EQ(manager.getTradeDate(), "20240103");
}

TEST(ManagerThreads, ReleaseInTheMiddleOfAStorm) {
    for (int round = 0; round < 5; ++round) {
        Market market;
        std::atomic<bool> stop{false};
        std::thread reporter([&] {
            for (std::uint64_t key = 1; !stop; ++key) {
                market.report("A", key);
                market.price(10.0);
            }
        });
        while (Manager::instance()->getRunningOrders("A", "") < 20 * round) drain();
        Manager::instance()->addBalanceTime("A:S", "150000");
        Manager::release();
        EXPECT_FALSE(Manager::exists());
        stop = true;
        reporter.join();
    }
}

}  // namespace
