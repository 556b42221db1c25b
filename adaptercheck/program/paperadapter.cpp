#include "adaptercheck/program/paperadapter.h"

#include <boost/make_shared.hpp>

namespace adaptercheck {

using namespace vexservice;

namespace {

constexpr std::int64_t MORNING = 1'704'159'000'000'000;  // of 2024-01-02
constexpr char TODAY[] = "20240102";
constexpr char ACCOUNT[] = "10001";
constexpr char OTHER[] = "10002";
constexpr char STOCK[] = "SH600000";
constexpr double LAST = 10.0;
constexpr double RESTING = 9.5;
constexpr long long DEEP = 1'000'000'000;
/// Longer than the exchange takes for a cancellation, and than a task of the adapter's for a slice.
constexpr double SETTLE_SECONDS = 3.0;

template <class Record>
boost::shared_ptr<Record> pastRecord(std::uint64_t key) {
    auto record = boost::make_shared<Record>();
    record->m_nRecordKey = key;
    record->m_nVolume = 100;
    record->m_strMarket = "SH";
    record->m_strCode = "600000";
    record->m_strTradeDate = "20231229";
    return record;
}

}  // namespace

CPaperAdapter::CPaperAdapter() : m_loop(MORNING) {}
CPaperAdapter::~CPaperAdapter() = default;

Facts CPaperAdapter::facts() const {
    Facts facts;
    facts.account = ACCOUNT;
    facts.otherAccount = OTHER;
    facts.market = "SH";
    facts.code = "600000";
    facts.restingPrice = RESTING;
    facts.pastDay = facts.barsDay = "20231229";
    facts.emptyDay = "20231228";
    facts.unknownDay = "20231227";
    facts.survivesHandlers = true;
    return facts;
}

void CPaperAdapter::install() {
    paper::ClientConfig config;
    config.tradeDate = TODAY;
    config.executes = true;
    config.dataDir = m_files.path();
    m_pClient = std::make_unique<paper::CPaperClient>(m_loop.service(), config);
    setStock();
    for (const char* const key : {ACCOUNT, OTHER}) {
        paper::Account account;
        account.key = account.id = key;
        account.fee = CStkExchangeRateLimit{0.0003, 5.0, 0.00001, 0.0005};
        m_pClient->setAccount(account);
    }
    const Facts known = facts();
    m_pClient->setServerHistory(
        ACCOUNT, known.pastDay,
        {{pastRecord<COrderDetail>(1)}, {pastRecord<CDealDetail>(1)}, {}, false});
    m_pClient->setServerHistory(ACCOUNT, known.unknownDay, {{}, {}, "the day is not there", false});
    m_pClient->setBars(STOCK, known.barsDay, {{572, 9.98}, {571, 9.97}, {573, 9.99}});
    m_pClient->setTradingDay(known.pastDay, true);
    quote(LAST);
}

void CPaperAdapter::remove() { m_pClient.reset(); }

bool CPaperAdapter::settle() {
    m_loop.advanceSeconds(SETTLE_SECONDS);
    return true;
}

void CPaperAdapter::setStock() {
    paper::Instrument stock;
    stock.market = "SH";
    stock.code = "600000";
    stock.name = "stock";
    stock.reference = LAST + 0.01 * m_nChanges;
    m_pClient->setInstrument(stock);
}

bool CPaperAdapter::place(const OutsideOrder& order) {
    paper::OrderRequest request;
    request.account = order.account;
    request.market = "SH";
    request.code = "600000";
    request.volume = order.volume;
    request.price = RESTING;
    request.strategy = order.strategy;
    m_pClient->send(request);
    return true;
}

bool CPaperAdapter::fill(int volume) {
    // The exchange has taken what was placed before.
    m_loop.runToRest();
    quote(RESTING, RESTING, volume);
    quote(LAST);
    return true;
}

bool CPaperAdapter::quote(double last) {
    quote(last, last + 0.01, DEEP);
    return true;
}

void CPaperAdapter::quote(double last, double ask, long long volume) {
    auto price = boost::make_shared<CPriceData>();
    price->m_strStockKey = STOCK;
    price->m_dLastPrice = last;
    price->m_asks = {{ask, volume}, {ask + 2.0, DEEP}};
    price->m_bids = {{RESTING - 0.01, DEEP}, {RESTING - 0.02, DEEP}};
    m_pClient->setPrice(STOCK, price);
}

bool CPaperAdapter::rejectNext() {
    m_pClient->rejectOrders(ACCOUNT, 1);
    return true;
}

bool CPaperAdapter::hold(int volume) {
    auto position = boost::make_shared<CPositionStatics>();
    position->m_nRecordKey = 1;
    position->m_strMarket = "SH";
    position->m_strCode = "600000";
    position->m_nVolume = position->m_nAvailable = volume;
    position->m_pAccountInfo = m_pClient->accountInfo(ACCOUNT);
    m_pClient->report(ACCOUNT, position);
    return true;
}

bool CPaperAdapter::startTask(bool server) {
    const paper::TaskRequest task{.account = ACCOUNT,
                                  .market = "SH",
                                  .code = "600000",
                                  .volume = 1000,
                                  .slices = 10,
                                  .seconds = 10'000.0,
                                  .strategy = "kit",
                                  .server = server};
    m_pClient->startTask(task);
    return true;
}

bool CPaperAdapter::change(EReferenceData what) {
    ++m_nChanges;
    if (what == EReferenceData::Instrument) {
        setStock();
    } else {
        paper::Account account;
        account.key = account.id = ACCOUNT;
        account.fee = CStkExchangeRateLimit{0.0003, 5.0 + m_nChanges, 0.00001, 0.0005};
        m_pClient->setAccount(account);
    }
    return true;
}

bool CPaperAdapter::changeSettings() {
    m_pClient->setTradeSetting(1, PRTP_FIX, 1.0 + ++m_nChanges);
    m_pClient->userDataChanged();
    return true;
}

bool CPaperAdapter::beginTradingDate(const std::string& date) {
    m_pClient->newTradingDate(date, date);
    return true;
}

bool CPaperAdapter::login() {
    m_pClient->login(true, QString());
    return true;
}

bool CPaperAdapter::disconnect() {
    m_pClient->setFault(paper::EService::TradeClient, paper::EFault::Null, 1);
    return true;
}

bool CPaperAdapter::refuseNext() {
    m_pClient->refuseCommands(1);
    return true;
}

bool CPaperAdapter::initAccount() {
    m_pClient->accountReady(ACCOUNT);
    return true;
}

}  // namespace adaptercheck
