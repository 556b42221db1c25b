#include "replay/sampleday.h"

#include "replay/samplestock.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

namespace replay {

namespace {

constexpr const char* DAY = "20231120";
constexpr const char* NEXT_DAY = "20231121";
constexpr const char* NEXT_DATE = "2023-11-21";

constexpr int QUOTE_SECONDS = 3;
constexpr int MORNING = 9 * 3600 + 30 * 60;
constexpr int NOON = 11 * 3600 + 30 * 60;
constexpr int AFTERNOON = 13 * 3600;
constexpr int LAST_ORDERS = 14 * 3600 + 48 * 60;
constexpr int FIRST_BALANCE = 14 * 3600 + 50 * 60;
constexpr int BALANCE_STEP = 10;           ///< seconds between the pairs' balance times
constexpr int RUSH = 14 * 3600 + 40 * 60;  ///< one stock goes to its upper limit
constexpr int CLOSE = 15 * 3600;
constexpr int CANCEL_EVERY = 20 * 60;

constexpr std::array<const char*, 4> STRATEGIES = {"grid", "rotation", "spread", "momentum"};

struct Pair {
    std::string account;
    std::string strategy;
    int balanceSecond = 0;
};

class CDayWriter {
public:
    CDayWriter(const SampleOptions& options, const std::function<void(std::string_view)>& sink)
        : m_options(options), m_sink(sink), m_chance(options.seed) {
        m_stocks = sampleStocks(options.stocks, m_chance);
        for (int a = 0; a < options.accounts; ++a) {
            for (int s = 0; s < options.strategies; ++s) {
                const int index = static_cast<int>(m_pairs.size());
                m_pairs.push_back({fmt::format("ACC{:02}", a + 1), strategyName(s),
                                   FIRST_BALANCE + BALANCE_STEP * (index % 30)});
            }
        }
    }

    void write() {
        comment("A made-up day: trading, balancing, what is left over, and the morning after.");
        config();
        referenceData();
        schedule();
        trade();
        balance();
        carryOver();
        nextMorning();
    }

private:
    static std::string strategyName(int index) {
        const auto known = static_cast<std::size_t>(index);
        return known < STRATEGIES.size() ? STRATEGIES[known] : fmt::format("strategy{}", index + 1);
    }
    static std::string hhmmss(int second) {
        return fmt::format("{:02}{:02}{:02}", second / 3600, second / 60 % 60, second % 60);
    }

    template <class... Arguments>
    void line(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        m_sink(fmt::format(format, std::forward<Arguments>(arguments)...));
    }
    void comment(const std::string& text) { m_sink("# " + text); }

    void config() {
        line(R"({{"do":"config","now":"2023-11-20 09:15:00","userName":"trader",)"
             R"("registRules":true,"exchange":"paper","scheduler":true,)"
             R"("options":{{"guard":true,"rounds":3,"roundSeconds":60}}}})");
    }

    void instruments() {
        for (const CSampleStock& stock : m_stocks) {
            line(R"({{"do":"instrument","market":"{}","code":"{}","name":"{}","tick":0.01,)"
                 R"("reference":{},"limitUp":{},"limitDown":{},"unit":100}})",
                 stock.market(), stock.code(), stock.name(), yuanText(stock.reference()),
                 yuanText(stock.limitUp()), yuanText(stock.limitDown()));
        }
    }

    void referenceData() {
        instruments();
        for (int a = 0; a < m_options.accounts; ++a) {
            line(R"({{"do":"account","key":"ACC{0:02}","id":"88{0:06}","name":"样本账户{0}",)"
                 R"("type":{1},"broker":"B{2}","fee":{{"rate":0.00025,"minimum":5,)"
                 R"("transfer":0.00001,"stamp":0.0005}}}})",
                 a + 1, a % 2 == 0 ? 2 : 3, a % 3 + 1);
        }
        line(R"({{"do":"tradeSetting","block":1,"priceType":14}})");
        line(R"({{"do":"tradeSetting","block":2,"priceType":12}})");
        int key = 1;
        for (int a = 0; a < m_options.accounts; ++a) {
            for (const CSampleStock& stock : m_stocks) {
                const int volume = m_chance.between(20, 200) * 100;
                line(R"({{"do":"position","account":"ACC{:02}","key":{},"market":"{}",)"
                     R"("code":"{}","volume":{},"available":{},"cost":{}}})",
                     a + 1, key++, stock.market(), stock.code(), volume, volume,
                     yuanText(stock.reference()));
            }
        }
        quotes();
    }

    void schedule() {
        line(R"({{"do":"init"}})");
        for (const Pair& pair : m_pairs) {
            line(R"({{"do":"call","op":"addBalanceTime","args":["{}:{}","{}"]}})", pair.account,
                 pair.strategy, hhmmss(pair.balanceSecond));
        }
        line(R"({{"do":"call","op":"startProfitCalculator"}})");
    }

    void advanceTo(int second) {
        line(R"({{"do":"advance","to":"2023-11-20 {:02}:{:02}:{:02}"}})", second / 3600,
             second / 60 % 60, second % 60);
    }

    static std::string levelText(const std::vector<SampleLevel>& levels) {
        std::string text;
        for (const SampleLevel& level : levels) {
            if (!text.empty()) text += ',';
            text += fmt::format("[{},{}]", yuanText(level.cents), level.volume);
        }
        return text;
    }

    void quote(const CSampleStock& stock) {
        const std::string asks = levelText(stock.asks(m_chance));
        const std::string bids = levelText(stock.bids(m_chance));
        line(R"({{"do":"price","market":"{}","code":"{}","last":{},"asks":[{}],"bids":[{}]}})",
             stock.market(), stock.code(), yuanText(stock.last()), asks, bids);
    }

    void quotes() {
        for (const CSampleStock& stock : m_stocks) quote(stock);
    }

    /// The last stock ends the day at its upper limit, where nobody sells.
    void moveAndQuote(int second) {
        for (std::size_t i = 0; i < m_stocks.size(); ++i) {
            const bool rush = second >= RUSH && m_stocks.size() > 1 && i + 1 == m_stocks.size();
            m_stocks[i].step(m_chance, rush);
            quote(m_stocks[i]);
        }
    }

    void trade() {
        const int ticks =
            (NOON - MORNING) / QUOTE_SECONDS + (LAST_ORDERS - AFTERNOON) / QUOTE_SECONDS;
        int tick = 0;
        for (const auto& [from, to] :
             {std::pair(MORNING, NOON), std::pair(AFTERNOON, LAST_ORDERS)}) {
            for (int second = from; second < to; second += QUOTE_SECONDS, ++tick) {
                advanceTo(second);
                moveAndQuote(second);
                const auto sharesUntil = [&](int t) {
                    return static_cast<int>(static_cast<std::int64_t>(m_options.orders) * t /
                                            ticks);
                };
                for (int i = sharesUntil(tick); i < sharesUntil(tick + 1); ++i) order();
                if (second % CANCEL_EVERY == 0) cancelSomething();
                if (second % 60 == 0) keepBar(second);
                if (tick % std::max(1, ticks / 12) == ticks / 24) task(second);
            }
            bars();
        }
        tasksBeforeBalance();
    }

    const Pair& anyPair() {
        return m_pairs[static_cast<std::size_t>(
            m_chance.between(0, static_cast<int>(m_pairs.size()) - 1))];
    }
    const CSampleStock& anyStock() {
        return m_stocks[static_cast<std::size_t>(
            m_chance.between(0, static_cast<int>(m_stocks.size()) - 1))];
    }

    /// Strategies buy when they are short and sell when they are long, more or less.
    bool buysNext(const Pair& pair, const CSampleStock& stock, int volume) {
        int& net = m_sent[pair.account + pair.strategy + stock.code()];
        const bool buys = m_chance.percent(net > 0 ? 30 : net < 0 ? 70 : 50);
        net += buys ? volume : -volume;
        return buys;
    }

    int priceFor(const CSampleStock& stock, bool buys) {
        if (m_chance.percent(1)) return stock.limitUp() + 100;  // the exchange rejects it
        const int away = m_chance.between(0, 5);
        const bool crosses = m_chance.percent(55);
        const int price = buys ? (crosses ? stock.bestAsk() + away : stock.bestBid() - away)
                               : (crosses ? stock.bestBid() - away : stock.bestAsk() + away);
        return std::clamp(price, stock.limitDown(), stock.limitUp());
    }

    void order() {
        const Pair& pair = anyPair();
        const CSampleStock& stock = anyStock();
        int volume = m_chance.between(1, 20) * 100;
        const bool buys = buysNext(pair, stock, volume);
        if (!buys && m_chance.percent(4)) volume -= 40;  // an odd lot can only be sold
        line(R"({{"do":"send","account":"{}","market":"{}","code":"{}","side":"{}","volume":{},)"
             R"("price":{},"strategy":"{}"}})",
             pair.account, stock.market(), stock.code(), buys ? "buy" : "sell", volume,
             yuanText(priceFor(stock, buys)), pair.strategy);
    }

    void cancelSomething() {
        const Pair& pair = anyPair();
        line(R"({{"do":"call","op":"cancelAllOrders","args":["{}","{}"]}})", pair.account,
             pair.strategy);
    }

    void taskOf(const Pair& pair, int slices, int seconds) {
        const CSampleStock& stock = anyStock();
        const bool server = m_chance.percent(50);
        line(R"({{"do":"startTask","account":"{}","market":"{}","code":"{}","side":"{}",)"
             R"("volume":{},"slices":{},"seconds":{},"strategy":"{}","server":{}}})",
             pair.account, stock.market(), stock.code(), m_chance.percent(50) ? "buy" : "sell",
             slices * 300, slices, seconds, pair.strategy, server);
    }

    void task(int second) {
        if (second + 900 < LAST_ORDERS) taskOf(anyPair(), 10, 600);
    }

    /// Every third pair still runs a task when its balance begins.
    void tasksBeforeBalance() {
        for (std::size_t i = 0; i < m_pairs.size(); i += 3) taskOf(m_pairs[i], 20, 1200);
    }

    void keepBar(int second) {
        for (const CSampleStock& stock : m_stocks) {
            std::string& closes = m_closes[stock.code()];
            if (!closes.empty()) closes += ',';
            closes += fmt::format(R"(["{:02}{:02}",{}])", second / 3600, second / 60 % 60,
                                  yuanText(stock.last()));
        }
    }

    void bars() {
        for (const CSampleStock& stock : m_stocks) {
            line(R"({{"do":"bars","market":"{}","code":"{}","date":"{}","closes":[{}]}})",
                 stock.market(), stock.code(), DAY, m_closes[stock.code()]);
        }
    }

    /// The scheduler starts the balances; the market goes on meanwhile.
    void balance() {
        for (int second = LAST_ORDERS; second <= CLOSE; second += QUOTE_SECONDS) {
            advanceTo(second);
            moveAndQuote(second);
        }
    }

    void carryOver() {
        comment("What is still unequal goes into the history store.");
        line(R"({{"do":"advance","to":"2023-11-20 15:31:00"}})");
        for (const Pair& pair : m_pairs) {
            line(R"({{"do":"call","op":"addHistoryStat","args":["{0}{1}",{{"accountKey":"{0}",)"
                 R"("strategy":"{1}"}}]}})",
                 pair.account, pair.strategy);
            line(R"({{"do":"call","op":"addHistoryLinkdata","args":["{}","{}"]}})", pair.account,
                 pair.strategy);
        }
        line(R"({{"do":"call","op":"historyStatCalculator"}})");
        line(R"({{"do":"call","op":"deleteHistoryAlreadyBalancedata"}})");
        line(R"({{"do":"call","op":"getHistoryStatData"}})");
    }

    void nextMorning() {
        comment("The next morning.");
        line(R"({{"do":"advance","to":"{} 09:15:00"}})", NEXT_DATE);
        for (CSampleStock& stock : m_stocks) stock.nextDay();
        instruments();
        line(R"({{"do":"newTradingDate","date":"{}"}})", NEXT_DAY);
        line(R"({{"do":"advance","to":"{} 09:30:00"}})", NEXT_DATE);
        moveAndQuote(MORNING);
        for (const Pair& pair : m_pairs) {
            line(R"({{"do":"call","op":"doHistoryBalanceBySignalTask","args":["{}","{}"]}})",
                 pair.account, pair.strategy);
        }
        for (int second = MORNING; second < MORNING + 1200; second += QUOTE_SECONDS) {
            line(R"({{"do":"advance","seconds":{}}})", QUOTE_SECONDS);
            moveAndQuote(second);
        }
        line(R"({{"do":"call","op":"historyStatCalculator"}})");
        line(R"({{"do":"call","op":"deleteHistoryAlreadyBalancedata"}})");
        line(R"({{"do":"call","op":"getHistoryStatData"}})");
    }

    const SampleOptions m_options;
    const std::function<void(std::string_view)>& m_sink;
    CChance m_chance;
    std::vector<CSampleStock> m_stocks;
    std::vector<Pair> m_pairs;
    std::map<std::string, int> m_sent;
    std::map<std::string, std::string> m_closes;
};

}  // namespace

void writeSampleDay(const SampleOptions& options,
                    const std::function<void(std::string_view)>& sink) {
    CDayWriter(options, sink).write();
}

}  // namespace replay
