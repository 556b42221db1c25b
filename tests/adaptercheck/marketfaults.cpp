#include "paper/orderrules.h"
#include "platform/utils/referencedata.h"
#include "tests/adaptercheck/faultkit.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace faulty {

namespace {

struct Stocks : TC::CStockManager {
    bool defaults = false;
    std::shared_ptr<CInstrumentDetail> stock = std::make_shared<CInstrumentDetail>();
    using TC::CStockManager::getInstrumentDetail;
    std::shared_ptr<CInstrumentDetail> getInstrumentDetail(const QString& key) override {
        stock->m_strMarket = "SH";
        stock->m_strCode = "600000";
        return key == "SH600000" || defaults ? stock : nullptr;
    }
};
struct Types : StockTypeCenter {
    bool typed = false;
    int unit = 100;
    bool isTypedStock(int, const std::string&, const std::string&) override { return typed; }
    int tradeMinUnit(const std::string&, const std::string&) override { return unit; }
};
struct Rules : IOrderRules {
    paper::COrderRules real{std::make_shared<paper::CInstruments>()};
    double withoutQuote = 0.0;
    bool prices = true, protects = true, fixes = true;
    void orderSettingToParam(const COrderSetting& setting, CCodeOrderParam& order,
                             EOperationType operation, int volume, double price,
                             const boost::shared_ptr<CPriceData>& quote) override {
        real.orderSettingToParam(setting, order, operation, volume, price, quote);
        if (!prices) order.m_dPrice = 0.0;
    }
    double getPriceForOrder(const boost::shared_ptr<CPriceData>& quote, EPriceType type,
                            EOperationType operation) override {
        if (!quote) return withoutQuote;
        return protects ? real.getPriceForOrder(quote, type, operation) : 0.0;
    }
    void fixTimeRange(CCodeOrderParam& order) override {
        if (fixes) real.fixTimeRange(order);
    }
};
struct Switches : ConfigCollector {
    bool useRegistRules() override { throw std::runtime_error("not loaded yet"); }
};
struct Fees : IFeeLimitService {
    boost::shared_ptr<CStkExchangeRateLimit> limits =
        boost::make_shared<CStkExchangeRateLimit>(CStkExchangeRateLimit{0.0003, 5.0, 0.0, 0.0});
    boost::shared_ptr<CStkExchangeRateLimit> getFeeLimits(const boost::shared_ptr<CAccountInfo>&,
                                                          const std::string&,
                                                          const std::string&) override {
        return limits;
    }
};

/// Fees of a service that lives as long as its adapter; a change alters them and tells `announce`.
adaptercheck::Factory fees(double rate, bool announces) {
    return [=] {
        auto made = adapter();
        const auto service = std::make_shared<Fees>();
        service->limits->m_dRate = rate;
        made->onInstall = [service](Adapter&) {
            const auto center = boost::make_shared<Center>();
            center->fees = service.get();
            TraderCenter::install(center);
        };
        made->onChange = [service, announces] {
            service->limits = boost::make_shared<CStkExchangeRateLimit>(*service->limits);
            service->limits->m_dMinimum += 1.0;
            if (announces) utils::referenceDataChanged();
            return true;
        };
        return made;
    };
}

}  // namespace

std::vector<Fault> referenceFaults() {
    using StocksService = As<TC::CStockManager, Stocks>;
    using TypesService = As<StockTypeCenter, Types>;
    using RulesService = As<IOrderRules, Rules>;
    return {
        {"a detail for every stock",
         {701},
         service<StocksService>([](Stocks& at, Adapter& all) {
             at.defaults = true;
             all.onChange = [&at] {
                 at.stock = std::make_shared<CInstrumentDetail>(*at.stock);
                 at.stock->m_dReferencePrice += 1.0;
                 utils::referenceDataChanged();
                 return true;
             };
         }),
         true},
        {"a detail changes in place",
         {702},
         service<StocksService>([](Stocks& at, Adapter& all) {
             all.onChange = [&at] {
                 at.stock->m_dReferencePrice += 1.0;
                 utils::referenceDataChanged();
                 return true;
             };
         }),
         true},
        {"every stock is of every type", {703}, service<TypesService>([](Types& at, Adapter&) {
             at.typed = true;
         })},
        {"no lot", {704}, service<TypesService>([](Types& at, Adapter&) { at.unit = 0; })},
        {"changed fees are not announced", {705}, fees(0.0003, false), true},
        {"rates in ten-thousandths", {706}, fees(3.0, true), true},
        {"a price without a quote", {707}, service<RulesService>([](Rules& at, Adapter&) {
             at.withoutQuote = 10.0;
         })},
        {"a fixed price is lost", {708}, service<RulesService>([](Rules& at, Adapter&) {
             at.prices = false;
         })},
        {"no protective price", {709}, service<RulesService>([](Rules& at, Adapter&) {
             at.protects = false;
         })},
        {"a range that is none", {710}, service<RulesService>([](Rules& at, Adapter&) {
             at.fixes = false;
         })},
        {"switches that throw", {711}, service<As<ConfigCollector, Switches>>(nothing)},
        {"every 64th end is lost",
         {801},
         news(DATA_ORDER,
              [](const auto& heard, const std::string& key, const auto& order) {
                  if (order->recordKey() % 64 != 0 || !isFinal(*order)) heard(key, order);
              })},
        {"a reader sees a record twice", {802}, center([](Center& at) {
             at.records = [owner = std::this_thread::get_id()](int, Records& all) {
                 if (std::this_thread::get_id() == owner) return;
                 all.push_back(boost::make_shared<COrderDetail>());
                 all.push_back(all.back());
             };
         })},
    };
}

std::vector<Fault> quoteFaults() {
    using PricePtr = Quotes::PricePtr;
    using Callback = TC::CQuoteRequest::Callback;
    return {
        {"an unknown stock has a price", {601}, quotes([](Quotes& at) {
             at.price = [](const PricePtr& price) {
                 return price ? price : boost::make_shared<CPriceData>();
             };
         })},
        {"requesting delivers", {602}, quotes([](Quotes& at) {
             at.callback = [&at](const QString& key, Callback heard) {
                 if (const auto price = at.real->getStockPrice(key)) heard(price);
                 return heard;
             };
         })},
        {"a price comes before it is kept", {603}, quotes([](Quotes& at) {
             const auto delivering = std::make_shared<bool>(false);
             at.callback = [=](auto&, Callback heard) {
                 return [=](const PricePtr& price) {
                     *delivering = true;
                     heard(price);
                     *delivering = false;
                 };
             };
             at.price = [=](const PricePtr& price) { return *delivering ? PricePtr() : price; };
         })},
        {"a lock is held while prices come", {604}, quotes([](Quotes& at) {
             const auto mutex = std::make_shared<std::recursive_mutex>();
             at.callback = [=](auto&, Callback heard) {
                 return [=](const PricePtr& price) {
                     const std::lock_guard lock(*mutex);
                     heard(price);
                 };
             };
             at.price = [=](const PricePtr& price) {
                 const std::lock_guard lock(*mutex);
                 return price;
             };
         })},
        {"a request never ends", {605, 803}, quotes([](Quotes& at) {
             const auto kept =
                 std::make_shared<std::vector<boost::shared_ptr<TC::CQuoteRequest>>>();
             at.requested = [=](boost::shared_ptr<TC::CQuoteRequest>& request) {
                 kept->push_back(request);
                 request = boost::make_shared<TC::CQuoteRequest>();
             };
         })},
        {"one price that changes", {606}, quotes([](Quotes& at) {
             at.price = [mine = boost::make_shared<CPriceData>()](const PricePtr& price) {
                 if (price) *mine = *price;
                 return price ? mine : price;
             };
         })},
        {"the worst price first", {607}, quotes([](Quotes& at) {
             at.price = [](const PricePtr& price) {
                 if (!price) return price;
                 const auto copy = boost::make_shared<CPriceData>(*price);
                 std::reverse(copy->m_asks.begin(), copy->m_asks.end());
                 return copy;
             };
         })},
        {"the newest bar first", {608}, quotes([](Quotes& at) {
             at.bars = [](auto& bars) { std::reverse(bars.begin(), bars.end()); };
         })},
    };
}

}  // namespace faulty
