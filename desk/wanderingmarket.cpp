#include "desk/wanderingmarket.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <array>
#include <cstdint>

namespace desk {

namespace {

constexpr std::array ACCOUNTS = {"A01", "A02", "A03"};
constexpr std::array STRATEGIES = {"alpha", "grid", "pairs", "basket"};
constexpr int TICK_MILLIS = 500;
constexpr int LEVELS = 5;

double yuan(int ticks) { return ticks / 100.0; }

}  // namespace

CWanderingMarket::CWanderingMarket(boost::asio::io_service& service, paper::CPaperClient& client)
    : m_client(client), m_timer(service) {
    m_stocks = {{"SH", "600001", "样本银行", 1285, 1285},
                {"SH", "600002", "样本能源", 842, 842},
                {"SH", "600003", "样本科技", 5630, 5630},
                {"SZ", "000001", "样本医药", 3318, 3318},
                {"SZ", "000002", "样本消费", 12450, 12450}};
    for (const Stock& stock : m_stocks) {
        paper::Instrument instrument;
        instrument.market = stock.market;
        instrument.code = stock.code;
        instrument.name = stock.name;
        instrument.reference = yuan(stock.reference);
        instrument.limitUp = yuan(stock.reference * 11 / 10);
        instrument.limitDown = yuan(stock.reference * 9 / 10);
        m_client.setInstrument(instrument);
    }
    for (const char* key : ACCOUNTS) {
        paper::Account account;
        account.key = key;
        account.id = key;
        account.name = std::string("Paper ") + key;
        account.type =
            key == ACCOUNTS.back() ? vexservice::ACCOUNT_CREDIT : vexservice::ACCOUNT_STOCK;
        account.broker = "Paper";
        account.fee = vexservice::CStkExchangeRateLimit{0.00025, 5.0, 0.00001, 0.0005};
        m_client.setAccount(account);
    }
}

/// What the accounts hold from the days before. The paper exchange changes no position.
void CWanderingMarket::reportPositions() {
    std::uint64_t key = 0;
    for (const char* account : ACCOUNTS) {
        for (const Stock& stock : m_stocks) {
            auto position = boost::make_shared<vexservice::CPositionStatics>();
            position->m_nRecordKey = ++key;
            position->m_strMarket = stock.market;
            position->m_strCode = stock.code;
            position->m_nVolume = position->m_nAvailable = 100 * (10 + upTo(40));
            position->m_dCost = yuan(stock.reference + upTo(100) - 50);
            position->m_pAccountInfo = m_client.accountInfo(account);
            m_client.report(account, position);
        }
    }
}

void CWanderingMarket::open() {
    reportPositions();
    for (const Stock& stock : m_stocks) quote(stock);
    arm();
}

std::vector<std::string> CWanderingMarket::stockKeys() const {
    std::vector<std::string> keys;
    for (const Stock& stock : m_stocks) keys.push_back(stock.market + stock.code);
    return keys;
}

void CWanderingMarket::arm() {
    m_timer.expires_from_now(boost::posix_time::milliseconds(TICK_MILLIS));
    m_timer.async_wait([this](const boost::system::error_code& error) {
        if (error) return;
        tick();
        arm();
    });
}

void CWanderingMarket::tick() {
    ++m_nTicks;
    for (Stock& stock : m_stocks) {
        if (upTo(2) == 0) move(stock);
    }
    for (int orders = upTo(2); orders > 0; --orders) trade();
}

void CWanderingMarket::move(Stock& stock) {
    const int width = std::max(1, stock.reference / 2000);
    const int pull = stock.price > stock.reference ? -1 : 1;
    stock.price += upTo(2 * width) - width + (upTo(5) == 0 ? pull : 0);
    stock.price = std::clamp(stock.price, stock.reference * 19 / 20, stock.reference * 21 / 20);
    quote(stock);
}

void CWanderingMarket::quote(const Stock& stock) {
    auto price = boost::make_shared<vexservice::CPriceData>();
    price->m_strStockKey = stock.market + stock.code;
    price->m_dLastPrice = yuan(stock.price);
    for (int level = 0; level < LEVELS; ++level) {
        price->m_asks.push_back({yuan(stock.price + 1 + level), 100 * (1 + upTo(30))});
        price->m_bids.push_back({yuan(stock.price - level), 100 * (1 + upTo(30))});
    }
    m_client.setPrice(price->m_strStockKey, price);
}

void CWanderingMarket::trade() {
    const Stock& stock = m_stocks[static_cast<std::size_t>(upTo(int(m_stocks.size()) - 1))];
    const char* account = ACCOUNTS[static_cast<std::size_t>(upTo(int(ACCOUNTS.size()) - 1))];
    const char* strategy = STRATEGIES[static_cast<std::size_t>(upTo(int(STRATEGIES.size()) - 1))];
    const bool buys = upTo(1) == 0;
    const int lots = 1 + upTo(9);
    if (m_nTicks % 20 == 0) {
        m_client.startTask({.account = account,
                            .market = stock.market,
                            .code = stock.code,
                            .buys = buys,
                            .volume = 500 * lots,
                            .slices = 5,
                            .seconds = 60.0,
                            .strategy = strategy});
        return;
    }
    // One order in three waits a little away from the market.
    const int away = upTo(2) == 0 ? 2 + upTo(4) : -2;
    const int price = buys ? stock.price - away : stock.price + away;
    m_client.send({.account = account,
                   .market = stock.market,
                   .code = stock.code,
                   .buys = buys,
                   .volume = 100 * lots,
                   .price = yuan(price),
                   .strategy = strategy});
}

}  // namespace desk
