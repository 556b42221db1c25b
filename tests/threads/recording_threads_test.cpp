#include "linkage/core/clinkagemanager.h"
#include "linkage/store/importreport.h"
#include "paper/loop.h"
#include "paper/paperclient.h"
#include "platform/services/rpcengine.h"
#include "platform/utils/clock.h"
#include "platform/utils/waits.h"
#include "replay/anonymise.h"
#include "replay/cut.h"
#include "replay/linereader.h"
#include "replay/manageraccess.h"
#include "replay/output.h"
#include "replay/recordingplayer.h"
#include "replay/records.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// What a recording of a manager in a storm of threads says must be what the library does when the
// recording is played, to the last signal and to the whole state.

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

/// Time that a thread of the test moves, so that timers fire in the middle of everything.
class CMovedClock final : public utils::IClock {
public:
    CMovedClock() { utils::setClock(this); }
    ~CMovedClock() override {
        m_pWaits->clear();
        utils::setClock(nullptr);
    }
    void move(std::int64_t micros) {
        const std::int64_t now = m_now.fetch_add(micros) + micros;
        for (const auto& end : m_pWaits->takeDue(now)) end(true);
    }
    std::int64_t nowMicros() const override { return m_now.load(); }
    std::shared_ptr<utils::CWaits> waits() const override { return m_pWaits; }

private:
    // 2024-01-02 10:00:00 in Shanghai
    std::atomic<std::int64_t> m_now{1'704'160'800'000'000};
    const std::shared_ptr<utils::CWaits> m_pWaits = std::make_shared<utils::CWaits>();
};

/// One kind of what happens in a storm, with numbers of its own.
struct Gust {
    std::mt19937 random;
    int below(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
    std::string account() { return below(2) == 0 ? "A" : "B"; }
    std::string strategy() { return std::string(1, "STU"[below(3)]); }
    std::string stock() { return below(2) == 0 ? "600000" : "600001"; }
};

class CStorm {
public:
    /// `middle`: the recording begins in the middle of the storm.
    CStorm(unsigned seed, bool guard, const QString& recording, bool middle,
           const TC::RecordingOptions& terms = {})
        : m_nSeed(seed), m_recording(recording), m_bMiddle(middle) {
        paper::ClientConfig config;
        config.tradeDate = "20240102";
        config.dataDir = m_directory.path();
        config.executes = seed % 2 == 0;
        m_pClient = std::make_unique<paper::CPaperClient>(m_loop.service(), config);
        for (const char* const code : {"600000", "600001"}) {
            m_pClient->setInstrument({.market = "SH", .code = code, .reference = 10.0});
        }
        for (const char* const key : {"A", "B"}) {
            m_pClient->setAccount({.key = key, .id = key, .fee = {{0.0003, 5.0, 0.0, 0.001}}});
        }
        TC::LinkageOptions options;
        options.guard = guard;
        manager().setOptions(options);
        if (!middle) {
            EXPECT_TRUE(manager().startRecording(recording, terms));
        }
        manager().init();
    }
    ~CStorm() { release(); }

    void release() {
        Manager::release();
        m_loop.stop();
        m_pClient.reset();
    }

    static TC::CLinkageManager& manager() { return *Manager::instance(); }

    void blow() {
        std::vector<std::function<void(Gust&, int)>> gusts = {
            [this](Gust& gust, int at) { report(gust, at); },
            [this](Gust& gust, int at) { report(gust, at); },
            [this](Gust& gust, int at) { price(gust, at); },
            [this](Gust& gust, int at) { request(gust, at); },
            [this](Gust& gust, int at) { balance(gust, at); },
            [this](Gust& gust, int at) { history(gust, at); },
            [this](Gust& gust, int at) { fail(gust, at); },
        };
        std::atomic<int> running{0};
        std::vector<std::thread> threads;
        for (std::size_t kind = 0; kind < gusts.size(); ++kind) {
            ++running;
            threads.emplace_back([&, kind] {
                Gust gust{std::mt19937(m_nSeed * 31 + static_cast<unsigned>(kind))};
                for (int at = 1; at <= TIMES; ++at) {
                    try {
                        gusts[kind](gust, at);
                    } catch (const std::runtime_error&) {
                        // A service that fails on the thread of a call makes the call fail.
                    }
                }
                --running;
            });
        }
        for (int at = 0; running > 0 || at < 20; ++at) {
            QCoreApplication::processEvents();
            std::this_thread::yield();
            // On a quick machine hours would pass.
            if (at >= MOVES) continue;
            if (m_bMiddle && at == 5) {
                EXPECT_TRUE(manager().startRecording(m_recording));
            }
            m_clock.move(200'000);
            // Qt's queue between threads is not built for the thread sanitizer.
            if (at % 20 == 0) m_pClient->login(true, QString());
            if (at % 30 == 0) m_pClient->accountReady("B");
            if (at == 40) m_pClient->newTradingDate("20240103", "20240103");
        }
        for (std::thread& each : threads) each.join();
    }

    /// Waits until nothing waits for the strand any more: work may leave further work.
    void calm() {
        const auto strand = utils::CSingletonT<net::RPCEngine>::instance()->getStrand("linkage");
        for (int pass = 0; pass < 200; ++pass) {
            std::promise<void> done;
            strand->post([&] { done.set_value(); });
            done.get_future().wait();
            QCoreApplication::processEvents();
        }
    }

    void pass(std::int64_t micros) { m_clock.move(micros); }

private:
    static constexpr int TIMES = 150;
    static constexpr int MOVES = 400;

    template <class Record>
    void fill(Record& record, Gust& gust, const std::string& account, std::uint64_t key) {
        record.m_nRecordKey = key;
        record.m_strMarket = "SH";
        record.m_strCode = gust.stock();
        record.m_eDirection =
            gust.below(2) == 0 ? vexservice::ENTRUST_BUY : vexservice::ENTRUST_SELL;
        record.m_dPrice = 10.0 + 0.01 * gust.below(20);
        record.m_nVolume = 100 * (1 + gust.below(5));
        record.m_strTradeDate = m_pClient->tradeDate();
        record.m_pAccountInfo = m_pClient->accountInfo(account);
        record.m_pCommand = boost::make_shared<vexservice::CCommandRecord>();
        record.m_pCommand->m_strStrategyName = gust.strategy();
        if (gust.below(20) == 0) record.m_pCommand->m_strTag = "历史配平";
    }

    void report(Gust& gust, int /*at*/) {
        const std::string account = gust.account();
        const auto key = static_cast<std::uint64_t>(1 + gust.below(400));
        if (gust.below(3) > 0) {
            auto order = boost::make_shared<vexservice::COrderDetail>();
            fill(*order, gust, account, key);
            const bool open = gust.below(2) == 0;
            order->m_eStatus = open ? vexservice::STATUS_REPORTED : vexservice::STATUS_SUCCEEDED;
            order->m_nTradedVolume = open ? 0 : order->m_nVolume;
            order->m_dTradedAmount = order->m_nTradedVolume * order->m_dPrice;
            m_pClient->report(account, order);
            return;
        }
        auto deal = boost::make_shared<vexservice::CDealDetail>();
        fill(*deal, gust, account, key);
        deal->m_dAmount = deal->m_dPrice * deal->m_nVolume;
        deal->m_strTradeTime = "100000";
        deal->m_strDealID = std::to_string(key);
        m_pClient->report(account, deal);
    }

    void price(Gust& gust, int at) {
        if (at % 15 == 0) TC::ManagerAccess::noteState(manager());
        auto price = boost::make_shared<vexservice::CPriceData>();
        const std::string key = "SH" + gust.stock();
        price->m_strStockKey = key;
        price->m_dLastPrice = 10.0 + 0.01 * gust.below(50);
        price->m_asks = {{price->m_dLastPrice + 0.01, 500}};
        m_pClient->setPrice(key, price);
    }

    void request(Gust& gust, int at) {
        manager().getTradeStatDatas(gust.account(), gust.strategy());
        manager().getStocks();
        if (at % 10 == 0) manager().requestAccount(gust.account());
        if (at % 30 == 0) manager().requestAccountDeals("A", "20231227", "20231228");
        if (at == 5) manager().startProfitCalculator();
        if (at % 40 == 0) importStatement(gust);
    }

    void importStatement(Gust& gust) {
        const QString path = m_directory.path() + "/statement.csv";
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        QByteArray text("成交编号,成交日期,证券代码,买卖,成交价格,成交数量\n");
        for (int row = 0; row < 500; ++row) {
            text += QByteArray::number(10000 + gust.below(900)) + ",20231229,600000,买入,10,100\n";
        }
        file.write(text);
        file.close();
        const auto report = manager().importData(path, {.account = "A"});
        if (report.number % 2 == 1) manager().undoImport(report.number);
    }

    void balance(Gust& gust, int at) {
        const std::string account = gust.account();
        const std::string strategy = gust.strategy();
        if (at % 7 == 0) manager().runAutoBalance(account, strategy);
        if (at % 11 == 0) manager().cancelAllOrders(account, strategy);
        if (at % 13 == 0) manager().runAutoBalanceTimer(account, strategy);
        if (at % 17 == 0) manager().doHistoryBalance(account, strategy);
        manager().addBalanceTime(account + ":" + strategy, "0930" + std::to_string(10 + at % 40));
        if (at % 5 == 0) manager().deleteBalanceTime(account + ":" + strategy);
    }

    void history(Gust& gust, int at) {
        const std::string account = gust.account();
        const std::string strategy = gust.strategy();
        if (at % 6 == 0) manager().addHistoryLinkdata(account, strategy);
        if (at % 9 == 0) {
            TC::TradeStatData stat;
            stat.m_strAccountKey = account;
            stat.m_strStrategy = strategy;
            stat.m_nTotalBuyVolume = at;
            manager().addHistoryStat(account + strategy, stat);
        }
        if (at % 8 == 0) manager().historyStatCalculator();
        if (at % 20 == 0) manager().writedata(true);
        if (at % 50 == 0) manager().deleteHistoryAlreadyBalancedata();
        manager().getTotalProfits({}, {}, {}, true);
    }

    void fail(Gust& gust, int at) {
        if (at % 10 != 0) return;
        constexpr paper::EService SERVICES[] = {paper::EService::FeeLimits, paper::EService::Quote,
                                                paper::EService::AccountData,
                                                paper::EService::CommandCenter};
        m_pClient->setFault(SERVICES[gust.below(4)],
                            gust.below(2) == 0 ? paper::EFault::Throw : paper::EFault::Null, 2);
    }

    const unsigned m_nSeed;
    const QString m_recording;
    const bool m_bMiddle;
    const QTemporaryDir m_directory;
    CMovedClock m_clock;
    paper::CRealLoop m_loop{2};
    std::unique_ptr<paper::CPaperClient> m_pClient;
};

std::string stateText(TC::CLinkageManager& manager) {
    replay::TextBuffer text;
    replay::CJsonWriter out(text);
    replay::writeState(out, manager.state());
    return std::string(replay::viewOf(text));
}

/// Where two long texts part, with what stands around it.
std::string firstDifference(const std::string& left, const std::string& right) {
    if (left == right) return {};
    const auto at = static_cast<std::size_t>(
        std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first - left.begin());
    const std::size_t from = at < 300 ? 0 : at - 300;
    return "played: " + left.substr(from, 500) + "\nlive:   " + right.substr(from, 500);
}

class RecordingThreads : public testing::TestWithParam<std::tuple<bool, bool>> {};

TEST_P(RecordingThreads, AStormIsPlayedAgainWithoutADifference) {
    // Each repetition is another storm.
    static unsigned seed = 0;
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(++seed);
        const QTemporaryDir directory;
        const QString path = directory.path() + "/storm.jsonl.gz";
        std::string live;
        {
            CStorm storm(seed, std::get<0>(GetParam()), path, std::get<1>(GetParam()));
            storm.blow();
            storm.calm();
            CStorm::manager().stopRecording();
            live = stateText(CStorm::manager()) + TC::ManagerAccess::stateText(CStorm::manager());
            const auto recording = CStorm::manager().getRecording();
            ASSERT_TRUE(recording && recording->fault.empty());
            // In the middle it begins where no step is in its middle, which may take its time.
            EXPECT_GT(recording->steps, std::get<1>(GetParam()) ? 0u : 300u);
        }
        std::string played;
        replay::VerifyOptions options;
        options.finished = [&](TC::CLinkageManager& manager) {
            played = stateText(manager) + TC::ManagerAccess::stateText(manager);
        };
        const auto verdict = replay::verifyRecording(path.toStdString(), options);
        EXPECT_EQ(verdict.fault, "");
        EXPECT_FALSE(verdict.breaksOff);
        ASSERT_FALSE(verdict.difference)
            << "line " << verdict.difference->line << ", expected " << verdict.difference->expected
            << ", got " << verdict.difference->got;
        ASSERT_EQ(firstDifference(played, live), "");
    }
}

std::string readAll(const std::string& path) {
    std::string text;
    replay::CLineReader reader(path);
    for (std::string_view line; reader.next(line);) text.append(line).append("\n");
    return text;
}

// The copy is played and compared with the recording by anonymise itself.
TEST_P(RecordingThreads, AStormWithoutItsNamesIsPlayedAgainWithoutADifference) {
    for (unsigned seed = 11; seed < 15; ++seed) {
        SCOPED_TRACE(seed);
        const QTemporaryDir directory;
        const std::string path = directory.path().toStdString() + "/storm.jsonl.gz";
        {
            CStorm storm(seed, std::get<0>(GetParam()), QString::fromStdString(path),
                         std::get<1>(GetParam()));
            storm.blow();
            storm.calm();
            CStorm::manager().stopRecording();
        }
        const auto copy = replay::anonymise(path, path + ".copy", seed);
        ASSERT_EQ(copy.fault, "");
        EXPECT_FALSE(copy.verdict.difference || copy.verdict.breaksOff);
        EXPECT_GT(copy.verdict.steps, 10u);
        const std::string text = readAll(path + ".copy");
        for (const char* const key : {"\"A\"", "\"B\"", "\"A:", "\"B:", "\"AS\"", "\"BU\""}) {
            EXPECT_EQ(text.find(key), std::string::npos) << key;
        }
    }
}

// That a part shows what the storm showed is proven by the cut itself.
TEST_P(RecordingThreads, PartsOfAStormArePlayedWithoutADifference) {
    const QTemporaryDir directory;
    const std::string path = directory.path().toStdString() + "/storm.jsonl.gz";
    {
        CStorm storm(7, std::get<0>(GetParam()), QString::fromStdString(path),
                     std::get<1>(GetParam()));
        storm.blow();
        storm.calm();
        CStorm::manager().stopRecording();
    }
    const auto whole = replay::verifyRecording(path);
    // On a quick machine a storm takes four seconds.
    const std::string moments[] = {"", "2024-01-02 10:00:02", "2024-01-02 10:00:03",
                                   "2024-01-02 10:00:07"};
    int parts = 0;
    int cut = 0;
    for (const std::string& from : moments) {
        SCOPED_TRACE(from);
        const auto copy =
            replay::cutRecording(path, path + ".part" + std::to_string(++parts), {.from = from});
        // A storm may be over by then, or have no rest behind a moment.
        if (copy.fault.find("no whole step") != std::string::npos ||
            copy.fault.find("at no moment") != std::string::npos) {
            continue;
        }
        ++cut;
        EXPECT_EQ(copy.fault, "");
        EXPECT_FALSE(copy.verdict.difference || copy.verdict.breaksOff);
        EXPECT_LE(copy.verdict.steps, whole.steps);
        EXPECT_GT(copy.verdict.steps, 0u);
    }
    EXPECT_GT(cut, 0);
}

// Each file is played by itself.
TEST(RecordingFiles, AStormInSeveralFilesIsPlayedAgainWithoutADifference) {
    int followed = 0;  // one may wait for a rest to the end
    for (unsigned seed = 21; seed < 24; ++seed) {
        SCOPED_TRACE(seed);
        const QTemporaryDir directory;
        {
            CStorm storm(seed, seed % 2 == 0, directory.path() + "/storm.rec", false,
                         {.mostBytes = 6'000, .goesOn = true});
            // A file that is full within a minute is not followed.
            storm.pass(61'000'000);
            storm.blow();
            for (int second = 0; second < 5; ++second) {
                storm.calm();
                storm.pass(1'000'000);
            }
            CStorm::manager().stopRecording();
        }
        const QStringList files = QDir(directory.path()).entryList({"storm*.rec"}, QDir::Files);
        followed += files.size() - 1;
        for (const QString& file : files) {
            SCOPED_TRACE(file.toStdString());
            const auto verdict = replay::verifyRecording(directory.filePath(file).toStdString());
            EXPECT_EQ(verdict.fault, "");
            EXPECT_FALSE(verdict.breaksOff);
            ASSERT_FALSE(verdict.difference)
                << "line " << verdict.difference->line << ", expected "
                << verdict.difference->expected << ", got " << verdict.difference->got;
        }
    }
    EXPECT_GT(followed, 0);
}

INSTANTIATE_TEST_SUITE_P(GuardAndMiddle, RecordingThreads,
                         testing::Combine(testing::Bool(), testing::Bool()));

}  // namespace
