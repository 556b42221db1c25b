#include "paper/datacenter.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"
#include "tests/support/changemirror.h"
#include "tests/support/fixture.h"
#include "textbook/textbook.h"

#include <boost/signals2/connection.hpp>

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <deque>
#include <limits>
#include <map>
#include <random>

// Random days through the library and through the textbook: every figure must agree. What is told
// of changes, to some that ask often and to some that ask seldom, must add up to the same.

namespace {

using namespace tests;
using namespace textbook;
using namespace vexservice;

constexpr int SEEDS = 60;
constexpr int STEPS = 500;
constexpr int STEPS_BETWEEN_LOOKS = 25;

const std::array<std::string, 3> ACCOUNTS = {"A1", "A2", "B"};
// Among them stocks that are never followed, and one that nobody described.
const std::array<std::string, 7> STOCKS = {"SH600000", "SZ000001", "SH510300", "SZ300001",
                                           "SH204001", "SZ072001", "SH6ST001"};
const std::array<std::string, 4> STRATEGIES = {"", "grid", "pairs", "trend"};

class CRandomDay {
public:
    explicit CRandomDay(unsigned seed)
        : m_random(seed),
          m_nClientType(seed % 2 ? 1 : 3),
          m_fixture({.tradeDate = m_strDate, .clientType = m_nClientType}),
          m_textbook(m_strDate) {
        describeStocks();
        for (const std::string& key : ACCOUNTS) describeAccount(key);
        follow();
        m_fixture.init();
        for (const std::string& key : ACCOUNTS) requested(key);
    }

    void step() {
        const int dice = below(1000);
        if (dice < 620) {
            reportOrder();
        } else if (dice < 930) {
            reportDeal();
        } else if (dice < 950) {
            quote();
        } else if (dice < 960) {
            pass();
        } else if (dice < 970) {
            describeStocks();
        } else if (dice < 975) {
            describeAccount(any(ACCOUNTS));
        } else if (dice < 995) {
            requestAgain();
        } else {
            rollover();
        }
        if (chance(20)) m_mirrors[0].ask(m_fixture.manager());
        if (chance(10)) m_mirrors[1].ask(m_fixture.manager());
        if (chance(1)) m_mirrors[2].catchUp(m_fixture.manager());
    }

    std::string difference() {
        for (const auto& [record, figures] : m_held) {
            if (figuresOf(*record) != figures) return "figures that somebody holds have changed";
        }
        if (!m_strProfits.empty()) return m_strProfits;
        const TC::ManagerState state = m_fixture.state();
        for (CChangeMirror& mirror : m_mirrors) {
            mirror.catchUp(m_fixture.manager());
            if (!mirror.twice.empty()) return mirror.twice + " stands in one answer twice";
            if (const std::string found = differenceOf(mirror, state); !found.empty()) return found;
        }
        return firstDifference(m_textbook.state(), state);
    }

    std::string faults() {
        return fmt::format("{}", fmt::join(m_fixture.manager().checkIntegrity(), "\n"));
    }

private:
    int below(int bound) { return static_cast<int>(m_random() % static_cast<unsigned>(bound)); }
    bool chance(int percent) { return below(100) < percent; }
    template <class List>
    const std::string& any(const List& list) {
        return list[static_cast<std::size_t>(below(static_cast<int>(list.size())))];
    }
    // Often at a limit.
    double price() { return chance(20) ? 9.0 + 2 * below(2) : (900 + below(200)) / 100.0; }
    // Client type 3 has amounts of orders in its profits: their sums are exact in any order.
    double money() { return below(100'000'000) / (m_nClientType == 3 ? 64.0 : 100.0); }

    void describeStocks() {
        const double tiny = std::numeric_limits<double>::denorm_min();
        m_fixture.instrument({.stock = STOCKS[0],
                              .reference = chance(80) ? price() : below(2) * tiny,
                              .limitUp = 11.0,
                              .limitDown = 9.0});
        m_fixture.instrument({.stock = STOCKS[1], .reference = 10.0, .unit = chance(50) ? 100 : 1});
        m_fixture.instrument(
            {.stock = STOCKS[6], .limitUp = 11.0, .limitDown = 9.0, .detail = chance(70)});
        m_fixture.instrument(
            {.stock = STOCKS[2], .tick = 0.001, .reference = 4.0, .unit = chance(50) ? 100 : 200});
        m_fixture.instrument({.stock = STOCKS[3], .detail = chance(50)});
        m_fixture.instrument({.stock = STOCKS[4], .types = {STOCKTYPE_REPURCHASE}});
        m_fixture.instrument({.stock = STOCKS[5], .types = {STOCKTYPE_SUBSCRIPTION}});
    }

    void describeAccount(const std::string& key) {
        paper::Account account{.key = key, .id = key};
        if (chance(70)) {
            account.fee = CStkExchangeRateLimit{0.0003, below(2) * 5.0, 0.00001, 0.001};
        }
        m_fixture.account(account);
    }

    // The textbook hears what the library hears.
    void follow() {
        auto* const center = TraderCenter::instance()->getDataCenter();
        m_orders = center->subscribe("", DATA_ORDER, "", [this](auto& key, const auto& data) {
            m_textbook.order(key, boost::dynamic_pointer_cast<COrderDetail>(data));
            noteReported<COrderDetail>(m_reportedOrders, key, data);
        });
        m_deals = center->subscribe("", DATA_DEAL, "", [this](auto& key, const auto& data) {
            m_textbook.deal(key, boost::dynamic_pointer_cast<CDealDetail>(data));
            noteReported<CDealDetail>(m_reportedDeals, key, data);
        });
    }

    template <class Report>
    using Reports = std::map<CChangeMirror::Record, boost::shared_ptr<Report>>;

    template <class Report>
    void noteReported(Reports<Report>& reported, const std::string& account,
                      const boost::shared_ptr<IData>& data) {
        const auto report = boost::dynamic_pointer_cast<Report>(data);
        const std::string stock = report->m_strMarket + report->m_strCode;
        if (stock == STOCKS[4] || stock == STOCKS[5]) return;
        reported[CChangeMirror::keyOf(account, *report)] = report;
    }

    // The account has been loaded: the records of the data center are what was reported of it.
    void requested(const std::string& key) {
        m_textbook.requestAccount(key);
        const auto ofAccount = [&](const auto& each) { return std::get<0>(each.first) == key; };
        std::erase_if(m_reportedOrders, ofAccount);
        std::erase_if(m_reportedDeals, ofAccount);
        const auto data =
            TraderCenter::instance()->getDataCenter()->getAccountData(utils::hash(key));
        std::vector<boost::shared_ptr<IData>> orders, deals;
        data->getVector(DATA_ORDER, orders);
        data->getVector(DATA_DEAL, deals);
        for (const auto& each : orders) noteReported<COrderDetail>(m_reportedOrders, key, each);
        for (const auto& each : deals) noteReported<CDealDetail>(m_reportedDeals, key, each);
    }

    std::string differenceOf(const CChangeMirror& mirror, const TC::ManagerState& state) {
        if (mirror.orders != m_reportedOrders) return "orders that were told as changed";
        if (mirror.deals != m_reportedDeals) return "deals that were told as changed";
        decltype(mirror.figures) figures;
        std::map<CChangeMirror::Pair, double> profits;
        for (const auto& [account, strategies] : state.tradeStatDatas) {
            for (const auto& [strategy, stocks] : strategies) {
                for (const auto& [stock, record] : stocks) {
                    figures[{account, strategy, stock}] = record;
                    profits[{account, strategy}] += record->worth().m_dProfit;
                }
            }
        }
        if (mirror.figures != figures) return "figures that were told as changed";
        for (const auto& [pair, profit] : profits) {
            const auto at = mirror.pairs.find(pair);
            if (at == mirror.pairs.end()) return "a pair was not told: " + pair.second;
            const int running = m_fixture.manager().getRunningOrders(pair.first, pair.second);
            if (at->second.runningOrders != running ||
                std::fabs(at->second.profit - profit) > 1e-6) {
                return fmt::format("pair {}/{}: {} run, profit {}; found {}, {}", pair.first,
                                   pair.second, running, profit, at->second.runningOrders,
                                   at->second.profit);
            }
        }
        // A price that no pass has used yet is in the state; the others were used.
        for (const auto& [key, stock] : mirror.stocks) {
            const auto unused = state.latestPrices.find(key);
            const bool right = unused == state.latestPrices.end()
                                   ? stock.lastPrice == stock.valuedPrice
                                   : stock.lastPrice == unused->second;
            if (!right) return "the price that was told as changed of " + key;
        }
        for (const auto& [key, price] : state.latestPrices) {
            if (mirror.stocks.count(key) == 0) return "no price was told of " + key;
        }
        return std::string();
    }

    // Most reports carry an order on; some come back with everything different.
    void reportOrder() {
        const std::string& account = any(ACCOUNTS);
        const auto key = static_cast<std::uint64_t>(1 + below(40));
        const auto [at, fresh] = m_lastOrders.try_emplace({account, key});
        Order& order = at->second;
        if (fresh || chance(12)) place(order, account, key);
        if (chance(3)) order.stock = any(STOCKS);
        if (chance(3)) order.side = order.side == Side::Buy ? Side::Sell : Side::Buy;
        if (chance(3)) order.price = price();
        if (chance(3)) order.strategy = any(STRATEGIES);
        if (chance(3)) order.tradeDate = chance(50) ? "20240101" : m_strDate;
        if (!chance(10)) {
            order.status = STATUS_UNREPORTED + below(10);
            order.traded = below(order.volume + 1);
            order.amount = chance(20) ? 0.0 : money();
        }
        order.push = !chance(4);
        m_fixture.order(order);
    }

    void place(Order& order, const std::string& account, std::uint64_t key) {
        order = {};
        order.account = account;
        order.key = key;
        order.stock = any(STOCKS);
        order.side = chance(50) ? Side::Buy : Side::Sell;
        order.price = chance(95) ? price() : 0.0;
        order.volume = 100 * (1 + below(30)) + (chance(20) ? below(100) : 0);
        order.tradeDate = m_strDate;
        if (chance(85)) order.strategy = any(STRATEGIES);
        if (chance(20)) order.strategy2 = any(STRATEGIES);
        if (chance(8)) order.tag = chance(80) ? "历史配平" : "历史";
    }

    void reportDeal() {
        const std::string& account = any(ACCOUNTS);
        const auto key = static_cast<std::uint64_t>(1 + below(120));
        const auto [at, fresh] = m_lastDeals.try_emplace({account, key});
        Deal& deal = at->second;
        if (fresh || !chance(40)) {
            deal = {};
            deal.account = account;
            deal.key = key;
            deal.stock = any(STOCKS);
            deal.side = chance(50) ? Side::Buy : Side::Sell;
            deal.price = chance(95) ? price() : 0.0;
            deal.volume = 1 + below(5000);
            deal.amount = money();
            const std::array<std::string, 7> times = {"093000", "093001", "112959", "145900",
                                                      "150000", "",       "000000"};
            deal.time = any(times);
            deal.tradeDate = chance(90) ? m_strDate : "20240101";
            if (chance(85)) deal.strategy = any(STRATEGIES);
            if (chance(20)) deal.strategy2 = any(STRATEGIES);
            if (chance(8)) deal.tag = "历史配平";
        }
        deal.push = !chance(4);
        m_fixture.deal(deal);
    }

    void quote() {
        const Quote quote{.stock = any(STOCKS),
                          .last = chance(85) ? std::optional(price()) : std::nullopt,
                          .push = chance(60)};
        m_fixture.price(quote);
        if (quote.push && quote.last) m_textbook.price(quote.stock, *quote.last);
    }

    void pass() {
        m_fixture.forget();
        m_fixture.advance(3);
        Texts seen;
        for (const SeenSignal& each : m_fixture.signals()) {
            if (each.name == "profitChanged")
                seen.push_back(fmt::format("{}", fmt::join(each.args, "/")));
        }
        const Texts expected = m_textbook.pass(m_nClientType == 3);
        if (seen != expected && m_strProfits.empty()) {
            m_strProfits = fmt::format("profits: expected {}, found {}", fmt::join(expected, " "),
                                       fmt::join(seen, " "));
        }
    }

    using FiguresPtr = boost::shared_ptr<TC::LinkagePeriodExtData>;

    static std::array<double, 6> figuresOf(const TC::LinkagePeriodExtData& record) {
        const TC::DealFigures& deals = record.deals();
        return {static_cast<double>(deals.m_nBuyVolume),
                static_cast<double>(deals.m_nSellVolume),
                deals.m_dCommission,
                static_cast<double>(record.m_buyVolumes.sum()),
                static_cast<double>(record.m_sellVolumes.sum()),
                record.worth().m_dProfit};
    }

    // A client holds what it was given: the figures that a request drops stay as they were.
    void hold(const std::string& account) {
        for (const auto& [stock, record] :
             m_fixture.manager().getTradeStatDatas(account, any(STRATEGIES))) {
            m_held.emplace_back(record, figuresOf(*record));
        }
        while (m_held.size() > 6) m_held.pop_front();
    }

    // Some centers forget the records of other dates: their deals stay dropped meanwhile.
    void requestAgain() {
        auto* const center =
            dynamic_cast<paper::CDataCenter*>(TraderCenter::instance()->getDataCenter());
        if (chance(50)) center->beginTradingDate(m_strDate);
        if (chance(20)) {
            m_fixture.manager().requestAccounts();
            m_fixture.settle();
            for (const std::string& key : ACCOUNTS) requested(key);
            return;
        }
        const std::string& key = any(ACCOUNTS);
        hold(key);
        m_fixture.accountReady(key);
        requested(key);
    }

    void rollover() {
        m_strDate = std::to_string(std::stoi(m_strDate) + 1);
        m_fixture.newTradingDate(m_strDate);
        m_textbook.rollover(m_strDate);
        for (const std::string& key : ACCOUNTS) requested(key);
    }

    std::string m_strDate = "20240102";
    std::mt19937 m_random;
    int m_nClientType;
    Fixture m_fixture;
    CTextbook m_textbook;
    std::map<std::pair<std::string, std::uint64_t>, Order> m_lastOrders;
    std::map<std::pair<std::string, std::uint64_t>, Deal> m_lastDeals;
    boost::signals2::scoped_connection m_orders;
    boost::signals2::scoped_connection m_deals;
    std::deque<std::pair<FiguresPtr, std::array<double, 6>>> m_held;
    std::string m_strProfits;  ///< the first pass that announced others

    Reports<COrderDetail> m_reportedOrders;
    Reports<CDealDetail> m_reportedDeals;
    CChangeMirror m_mirrors[3] = {CChangeMirror(3), CChangeMirror(50), CChangeMirror()};
};

}  // namespace

TEST(Differential, RandomDaysAgreeWithTheTextbook) {
    for (unsigned seed = 1; seed <= SEEDS; ++seed) {
        CRandomDay day(seed);
        for (int step = 1; step <= STEPS; ++step) {
            day.step();
            ASSERT_EQ(day.faults(), "") << "seed " << seed << ", step " << step;
            if (step % STEPS_BETWEEN_LOOKS) continue;
            const std::string difference = day.difference();
            ASSERT_EQ(difference, "") << "seed " << seed << ", by step " << step;
        }
    }
}
