#include "linkage/core/clinkagemanager.h"
#include "linkage/stats/periodpoint.h"
#include "replay/linereader.h"
#include "replay/records.h"
#include "replay/times.h"
#include "tests/support/playing.h"

#include <gtest/gtest.h>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>

/// A whole recorded day of one stock, compared with totals that were added up without the
/// library, and with the profits and curves that follow from its deals and prices, which are
/// added up aside while it is played. The recording is not part of the project; LINKAGE_DATA
/// names its folder.
namespace {

constexpr const char* NAME = "/sse_600519_20230201";
constexpr const char* STOCK = "SH600519";
constexpr const char* DATE = "20230201";
constexpr double CENT = 0.01;
constexpr int OPENING_AUCTION = 9 * 60 + 25;  ///< its last minute of the day

using Manager = utils::CSingletonT<TC::CLinkageManager>;

struct Totals {
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    double buyAmount = 0.0;
    double sellAmount = 0.0;
    double commission = 0.0;

    double meanPrice() const {
        return (buyAmount + sellAmount) / static_cast<double>(bought + sold);
    }
    double profitAt(double price) const {
        return static_cast<double>(bought - sold) * price + (sellAmount - buyAmount) - commission;
    }
    Totals& operator+=(const Totals& other) {
        bought += other.bought;
        sold += other.sold;
        buyAmount += other.buyAmount;
        sellAmount += other.sellAmount;
        commission += other.commission;
        return *this;
    }
};

/// What the library says of an account and strategy at the end.
struct Closing {
    Totals traded;
    double profit = 0.0;
    double positionValue = 0.0;
    std::map<int, TC::PeriodPoint> curve;
};

/// Looks on while the day is played. The minute bars that the quote client answers with
/// are made of the same prices.
class CDayAside final : public replay::IReplayWatcher {
public:
    std::map<std::string, std::map<int, Totals>> deals;  ///< "account/strategy", minute
    std::map<int, double> closes;
    double reference = 0.0;
    std::map<std::string, double> announced;  ///< by the last signal
    std::map<std::string, Closing> closings;
    std::map<std::string, std::int64_t> running;  ///< orders, by account and by pair
    double total = 0.0;

    void after(const replay::Event& event, replay::CSession& session) override {
        if (const auto* stock = std::get_if<replay::InstrumentEvent>(&event)) {
            reference = stock->instrument.reference;
        } else if (const auto* owner = std::get_if<replay::AccountEvent>(&event)) {
            m_fees[owner->account.key] = owner->account.fee.value();
        } else if (std::holds_alternative<replay::InitEvent>(event)) {
            Manager::instance()->sigProfitChanged.connect(
                [this](const std::string& account, const std::string& strategy, double profit) {
                    announced[account + "/" + strategy] = profit;
                });
            Manager::instance()->startProfitCalculator();
        } else if (const auto* deal = std::get_if<replay::DealEvent>(&event)) {
            addDeal(deal->account, *deal->deal);
        } else if (const auto* price = std::get_if<replay::PriceEvent>(&event)) {
            if (price->price->hasLastPrice()) addPrice(price->price->m_dLastPrice, session);
        }
    }

    void finished(replay::CSession& session) override {
        // One more run of each calculator.
        session.advanceTo(session.loop().nowMicros() + 10'000'000);
        const TC::CLinkageManager& manager = *Manager::instance();
        for (const auto& [pair, minutes] : deals) {
            const std::string account = pair.substr(0, pair.find('/'));
            const std::string strategy = pair.substr(pair.find('/') + 1);
            const auto record = manager.getTradeStatDatas(account, strategy).at(STOCK);
            const TC::DealFigures& own = record->deals();
            closings[pair] = {{own.m_nBuyVolume, own.m_nSellVolume, own.m_dBuyAmount,
                               own.m_dSellAmount, own.m_dCommission},
                              record->worth().m_dProfit.get(),
                              record->worth().m_dPositionValue.get(),
                              manager.getPeriodCurve(account, strategy)};
            running[pair] = manager.getRunningOrders(account, strategy);
            running[account] = manager.getRunningOrders(account, "");
        }
        total = manager.getTotalProfits({}, {}, {}, true).begin()->second;
    }

private:
    void addDeal(const std::string& account, const vexservice::CDealDetail& deal) {
        const int time = std::stoi(deal.m_strTradeTime);
        const int minute = time / 10000 * 60 + time / 100 % 100 + (time % 100 > 0 ? 1 : 0);
        Totals& sum = deals[account + "/" + replay::strategyOf(deal.m_pCommand)][minute];
        const bool buys = replay::isBuy(deal);
        const auto& fee = m_fees.at(account);
        (buys ? sum.bought : sum.sold) += deal.m_nVolume;
        (buys ? sum.buyAmount : sum.sellAmount) += deal.m_dAmount;
        sum.commission += std::max(fee.m_dRate * deal.m_dAmount, fee.m_dMinimum) +
                          fee.m_dTransfer * deal.m_dAmount +
                          (buys ? 0.0 : fee.m_dStamp * deal.m_dAmount);
    }

    // A price on the full minute belongs to the next one: when a minute ends, its bar is
    // final.
    void addPrice(double last, replay::CSession& session) {
        const int now = std::stoi(replay::timeText(session.loop().nowMicros()));
        const int minute = now / 10000 * 60 + now / 100 % 100 + 1;
        closes[minute] = last;
        session.client().setBars(STOCK, DATE, {{minute, last}});
    }

    std::map<std::string, vexservice::CStkExchangeRateLimit> m_fees;
};

void expectCurve(const std::map<int, TC::PeriodPoint>& curve, const std::map<int, Totals>& deals,
                 const CDayAside& day, double lastPrice) {
    ASSERT_FALSE(curve.empty());
    EXPECT_EQ(curve.begin()->first, deals.begin()->first);
    Totals sum;
    double price = day.reference;
    auto deal = deals.begin();
    auto close = day.closes.begin();
    for (const auto& [minute, point] : curve) {
        for (; deal != deals.end() && deal->first <= minute; ++deal) sum += deal->second;
        for (; close != day.closes.end() && close->first <= minute; ++close) price = close->second;
        // No quote came by the end of the opening auction, so the price of its deals is taken.
        if (minute == OPENING_AUCTION) price = sum.meanPrice();
        if (minute == curve.rbegin()->first) price = lastPrice;
        EXPECT_NEAR(point.profit, sum.profitAt(price), CENT) << minute;
    }
}

class RecordedDay : public testing::Test {
protected:
    void SetUp() override {
        const char* folder = std::getenv("LINKAGE_DATA");
        if (!folder) GTEST_SKIP() << "LINKAGE_DATA names no folder with the recorded day";
        m_base = std::string(folder) + NAME;
        QFile file(QString::fromStdString(m_base + ".expect.json"));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        m_expected = QJsonDocument::fromJson(file.readAll()).object();
        ASSERT_FALSE(m_expected["strategies"].toObject().isEmpty());
    }

    void expectTotals(const CDayAside& day) const {
        const QJsonObject strategies = m_expected["strategies"].toObject();
        EXPECT_EQ(day.closings.size(), static_cast<std::size_t>(strategies.size()));
        for (const QString& pair : strategies.keys()) {
            SCOPED_TRACE(pair.toStdString());
            const QJsonObject expected = strategies[pair].toObject();
            const Totals& got = day.closings.at(pair.toStdString()).traded;
            EXPECT_EQ(got.bought, expected["buyVolume"].toInt());
            EXPECT_EQ(got.sold, expected["sellVolume"].toInt());
            EXPECT_NEAR(got.buyAmount, expected["buyAmount"].toDouble(), CENT);
            EXPECT_NEAR(got.sellAmount, expected["sellAmount"].toDouble(), CENT);
        }
        const QJsonObject running = m_expected["running"].toObject();
        for (const QString& key : running.keys()) {
            EXPECT_EQ(day.running.at(key.toStdString()), running[key].toInt());
        }
    }

    std::string m_base;
    QJsonObject m_expected;
};

TEST_F(RecordedDay, EndsWithTheTotalsProfitsAndCurvesOfItsDealsAndTheSameBytesTwice) {
    CDayAside day, again;
    const tests::Played played = tests::playFile(m_base + ".jsonl.gz", {.log = false}, &day);
    ASSERT_EQ(played.fault, "");
    expectTotals(day);
    const double lastPrice = m_expected["lastPrice"].toDouble();
    double total = 0.0;
    for (const auto& [pair, closing] : day.closings) {
        SCOPED_TRACE(pair);
        Totals whole;
        for (const auto& [minute, deals] : day.deals.at(pair)) whole += deals;
        EXPECT_EQ(whole.bought, closing.traded.bought);
        EXPECT_EQ(whole.sold, closing.traded.sold);
        total += closing.profit;
        EXPECT_NEAR(closing.profit, whole.profitAt(lastPrice), CENT);
        const double open = std::fabs(static_cast<double>(whole.bought - whole.sold));
        EXPECT_NEAR(closing.positionValue, open * lastPrice, CENT);
        EXPECT_EQ(closing.profit, day.announced[pair]);
        expectCurve(closing.curve, day.deals.at(pair), day, lastPrice);
        ASSERT_FALSE(closing.curve.empty());
        EXPECT_EQ(closing.curve.rbegin()->second.profit, closing.profit) << "to the bit";
    }
    EXPECT_NEAR(day.total, total, CENT) << "every deal has a strategy";
    EXPECT_TRUE(tests::playFile(m_base + ".jsonl.gz", {.log = false}, &again).output ==
                played.output);
}

TEST_F(RecordedDay, ReportsThatComeTwiceCountOnceSentTwiceOrAskedForAgainAtNoon) {
    constexpr std::string_view ADVANCE = "{\"do\":\"advance\",\"seconds\":";
    for (const bool sentTwice : {true, false}) {
        SCOPED_TRACE(sentTwice ? "sent twice" : "asked for again");
        std::string text;
        double clock = 9 * 3600.0 + 10 * 60;  // the recording starts at ten past nine
        bool asked = sentTwice;
        replay::CLineReader reader(m_base + ".jsonl.gz");
        for (std::string_view line; reader.next(line);) {
            const bool report =
                line.starts_with("{\"do\":\"order\"") || line.starts_with("{\"do\":\"deal\"");
            for (int times = sentTwice && report ? 2 : 1; times > 0; --times) {
                (text += line) += '\n';
            }
            if (!line.starts_with(ADVANCE)) continue;
            clock += std::stod(std::string(line.substr(ADVANCE.size())));
            if (asked || clock < 12 * 3600.0) continue;
            asked = true;
            text += "{\"do\":\"call\",\"op\":\"requestAccounts\"}\n";
        }
        EXPECT_TRUE(asked);
        CDayAside day;
        EXPECT_EQ(tests::ScenarioFolder().play(text, {.log = false}, &day).fault, "");
        expectTotals(day);
    }
}

}  // namespace
