#include "linkage/core/clinkagemanager.h"
#include "linkage/stats/periodpoint.h"
#include "replay/records.h"
#include "replay/replay.h"
#include "replay/times.h"

#include <gtest/gtest.h>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

/// Profits and profit curves of the recorded day, worked out apart from the library: its
/// deals and prices are added up while it is played. LINKAGE_DATA names its folder.
namespace {

constexpr const char* NAME = "/sse_600519_20230201";
constexpr const char* STOCK = "SH600519";
constexpr const char* DATE = "20230201";
constexpr double CENT = 0.01;

using Manager = utils::CSingletonT<TC::CLinkageManager>;

struct Totals {
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    double buyAmount = 0.0;
    double sellAmount = 0.0;
    double commission = 0.0;

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
            closings[pair] = {record->worth().m_dProfit.get(),
                              record->worth().m_dPositionValue.get(),
                              manager.getPeriodCurve(account, strategy)};
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
        if (minute == curve.rbegin()->first) price = lastPrice;
        EXPECT_NEAR(point.profit, sum.profitAt(price), CENT) << minute;
    }
}

TEST(RecordedProfits, AreThoseOfItsDealsAndPrices) {
    const char* folder = std::getenv("LINKAGE_DATA");
    if (!folder) GTEST_SKIP() << "LINKAGE_DATA names no folder with the recorded day";
    const std::string base = std::string(folder) + NAME;
    QFile file(QString::fromStdString(base + ".expect.json"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonObject expected = QJsonDocument::fromJson(file.readAll()).object();
    const double lastPrice = expected["lastPrice"].toDouble();
    ASSERT_GT(lastPrice, 0.0);

    CDayAside day;
    replay::COutput nowhere([](std::string_view) {});
    ASSERT_EQ(replay::playFile(base + ".jsonl.gz", {.log = false}, nowhere, &day), "");
    ASSERT_EQ(day.closings.size(),
              static_cast<std::size_t>(expected["strategies"].toObject().size()));
    double total = 0.0;
    for (const auto& [pair, closing] : day.closings) {
        SCOPED_TRACE(pair);
        Totals whole;
        for (const auto& [minute, deals] : day.deals.at(pair)) whole += deals;
        const QJsonObject figures =
            expected["strategies"].toObject()[QString::fromStdString(pair)].toObject();
        EXPECT_EQ(whole.bought, figures["buyVolume"].toInt());
        EXPECT_EQ(whole.sold, figures["sellVolume"].toInt());
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
}

}  // namespace
