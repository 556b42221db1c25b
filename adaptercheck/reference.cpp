#include "adaptercheck/cases.h"
#include "adaptercheck/world.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/referencedata.h"

#include <cmath>

/// Instruments, fees, and the rules of orders.
namespace adaptercheck {

using namespace vexservice;

namespace {

constexpr char NO_MARKET[] = "SH";
constexpr char NO_CODE[] = "987654";

std::shared_ptr<CInstrumentDetail> detail(CStage& stage) {
    stock(stage);
    return utils::CSingletonT<TC::CStockManager>::instance()->getInstrumentDetail(
        stage.facts().market, stage.facts().code);
}

bool same(const CInstrumentDetail& one, const CInstrumentDetail& two) {
    return one.m_strName == two.m_strName && one.m_dPriceTick == two.m_dPriceTick &&
           one.m_dReferencePrice == two.m_dReferencePrice && one.m_dLimitUp == two.m_dLimitUp &&
           one.m_dLimitDown == two.m_dLimitDown;
}

void detailsAreFound(CStage& stage) {
    const auto found = detail(stage);
    expect(found != nullptr, "the stock has no detail");
    expect(found->m_strMarket == stage.facts().market && found->m_strCode == stage.facts().code,
           "the detail is of " + found->m_strMarket + found->m_strCode);
    auto* const manager = utils::CSingletonT<TC::CStockManager>::instance();
    expect(!manager->getInstrumentDetail(std::string(NO_MARKET), std::string(NO_CODE)),
           "a stock that does not exist has a detail");
}

/// Changes reference data and waits until the answer is another one.
void changeAndSee(CStage& stage, EReferenceData what, const std::function<bool()>& changed) {
    const auto revision = utils::referenceDataRevision();
    need(stage.adapter().change(what), "a change of reference data");
    expect(stage.await(changed), "after the change the answer is the old one");
    expect(stage.await([&] { return utils::referenceDataRevision() != revision; }),
           "the change was not announced by utils::referenceDataChanged()");
}

void changedDetailsAreNew(CStage& stage) {
    const auto before = detail(stage);
    expect(before != nullptr, "the stock has no detail");
    const CInstrumentDetail held = *before;
    changeAndSee(stage, EReferenceData::Instrument, [&] {
        const auto now = detail(stage);
        return !now || !same(*now, held);
    });
    expect(same(*before, held), "a detail that was handed out has changed");
}

void unknownStocksHaveNoType(CStage&) {
    for (const int type : {STOCKTYPE_REPURCHASE, STOCKTYPE_SUBSCRIPTION, STOCKTYPE_ANY_VOLUME_A,
                           STOCKTYPE_ANY_VOLUME_B}) {
        expect(!isTypedStock(type, NO_MARKET, NO_CODE, ""),
               "a stock that does not exist is of the type " + std::to_string(type));
    }
}

void lotsAreAtLeastOne(CStage& stage) {
    const int known = getTradeMinUnit(stage.facts().market, stage.facts().code);
    const int unknown = getTradeMinUnit(NO_MARKET, NO_CODE);
    expect(known >= 1, "the stock's is " + std::to_string(known));
    expect(unknown >= 1, "that of a stock nobody knows is " + std::to_string(unknown));
}

boost::shared_ptr<CStkExchangeRateLimit> fees(CStage& stage) {
    auto* const service = TraderCenter::instance()->getFeeLimitService();
    expect(service != nullptr, "there is no service of fees");
    return service->getFeeLimits(accountData(account(stage))->getAccountInfo(),
                                 stage.facts().market, stage.facts().code);
}

void changedFeesAreAnnounced(CStage& stage) {
    const auto before = fees(stage);
    const CStkExchangeRateLimit held = before ? *before : CStkExchangeRateLimit{};
    const auto differ = [](const CStkExchangeRateLimit& one, const CStkExchangeRateLimit& two) {
        return one.m_dRate != two.m_dRate || one.m_dMinimum != two.m_dMinimum ||
               one.m_dTransfer != two.m_dTransfer || one.m_dStamp != two.m_dStamp;
    };
    changeAndSee(stage, EReferenceData::Fees, [&] {
        const auto now = fees(stage);
        return (now == nullptr) != (before == nullptr) || (now && differ(*now, held));
    });
}

void ratesAreFractions(CStage& stage) {
    constexpr double LARGEST = 0.05;
    const auto limits = fees(stage);
    need(limits != nullptr, "fees of the account");
    for (const double rate : {limits->m_dRate, limits->m_dTransfer, limits->m_dStamp}) {
        expect(rate >= 0.0 && rate <= LARGEST, "a rate is " + std::to_string(rate));
    }
}

IOrderRules& rules() { return *utils::CSingletonT<IOrderRules>::instance(); }

void noQuoteNoPrice(CStage&) {
    for (const auto type : {PRTP_LATEST, PRTP_COMPETE, PRTP_HANG, PRTP_MARKET}) {
        for (const auto operation : {OPT_BUY, OPT_SELL}) {
            const double price = rules().getPriceForOrder({}, type, operation);
            expect(price == 0.0, "price type " + std::to_string(type) + " gives without a quote " +
                                     std::to_string(price));
        }
    }
}

void settingsBecomeOrders(CStage&) {
    CCodeOrderParam order;
    rules().orderSettingToParam({PRTP_FIX, 10.01}, order, OPT_BUY, 100, 10.01, {});
    expect(order.m_ePriceType == PRTP_FIX,
           "a fixed price became the type " + std::to_string(order.m_ePriceType));
    expect(std::fabs(order.m_dPrice - 10.01) < 1e-6,
           "a price of 10.01 became " + std::to_string(order.m_dPrice));
}

void marketOrdersAreProtected(CStage& stage) {
    need(stage.adapter().quote(10.0), "quotes");
    const QString key = QString::fromStdString(stock(stage));
    boost::shared_ptr<CPriceData> quote;
    stage.await([&] {
        quote = utils::CManualSingletonT<TC::CQuoteClient>::instance()->getStockPrice(key);
        return quote && quote->hasLastPrice();
    });
    need(quote && quote->hasLastPrice(), "a price");
    const double buy = rules().getPriceForOrder(quote, PRTP_MARKET, OPT_BUY);
    const double sell = rules().getPriceForOrder(quote, PRTP_MARKET, OPT_SELL);
    const double last = quote->m_dLastPrice;
    expect(buy >= last, "a buy is protected at " + std::to_string(buy) + ", below the last price");
    expect(sell > 0.0 && sell <= last, "a sell is protected at " + std::to_string(sell) +
                                           ", the last price is higher or it is 0");
}

void timesAreValid(CStage&) {
    constexpr int DAY = 24 * 60 * 60;
    for (const auto& [from, to] : {std::pair{0, 0}, {34'200, 54'000}, {54'000, 34'200}, {-5, 5}}) {
        CCodeOrderParam order;
        order.m_nValidFrom = from;
        order.m_nValidTo = to;
        rules().fixTimeRange(order);
        const bool whole = order.m_nValidFrom == 0 && order.m_nValidTo == 0;
        const bool range = order.m_nValidFrom >= 0 && order.m_nValidFrom < order.m_nValidTo &&
                           order.m_nValidTo <= DAY;
        expect(whole || range, "it makes " + std::to_string(order.m_nValidFrom) + " to " +
                                   std::to_string(order.m_nValidTo) + " of " +
                                   std::to_string(from) + " to " + std::to_string(to));
    }
}

void switchesAreTold(CStage& stage) {
    const bool rules = ConfigCollector::instance()->useRegistRules();
    const auto other = std::make_shared<std::atomic<bool>>(!rules);
    expect(
        stage.answersElsewhere([other] { *other = ConfigCollector::instance()->useRegistRules(); }),
        "the switches were not told on another thread");
    expect(*other == rules, "two threads were told different switches");
}

}  // namespace

std::vector<Case> referenceCases() {
    constexpr const char* STOCKS = "services/stockmanager.h";
    constexpr const char* RULES = "services/orderrules.h";
    return {
        {701, "details", STOCKS, "By stock key (\"SH600000\"); empty when there is no detail.",
         detailsAreFound},
        {702, "details-stay", STOCKS,
         "A detail is never changed after it was handed out: a change makes a new one and is "
         "announced by utils::referenceDataChanged().",
         changedDetailsAreNew},
        {703, "types-unknown", STOCKS, "a stock that nobody described is of no type.",
         unknownStocksHaveNoType},
        {704, "lots", STOCKS, "The minimum trading unit (lot) in shares, at least 1.",
         lotsAreAtLeastOne},
        {705, "fees-announced", "services/tradercenter.h",
         "Empty when none are known. A change is announced by referenceDataChanged().",
         changedFeesAreAnnounced},
        {706, "rates", "records/ratelimit.h", "Rates are fractions of the amount",
         ratesAreFractions},
        {707, "no-quote", RULES,
         "A missing quote is an empty pointer; a price that needs one is then 0.", noQuoteNoPrice},
        {708, "settings", RULES, "Fills price type, price and the other settings of an order.",
         settingsBecomeOrders},
        {709, "protection", RULES,
         "The price that an order of this type gets; the protective price for a market type.",
         marketOrdersAreProtected},
        {710, "valid-times", RULES, "Corrects the time in which the order is valid.",
         timesAreValid},
        {711, "switches", RULES,
         "Market-wide switches of the client. Threads: any, also under the library's lock. "
         "Failure: nothing throws.",
         switchesAreTold},
    };
}

}  // namespace adaptercheck
